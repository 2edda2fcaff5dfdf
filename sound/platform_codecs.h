// SPDX-License-Identifier: MIT
//
// The sources and decoders that stand on a part of the platform. Each hands out a new, unopened object;
// E_NOTIMPL where the platform lacks the part (all of them on the host), E_OUTOFMEMORY when memory runs out.
// `out` is not null and comes empty. They may be created, opened and used on threads that never
// initialised the component runtime: creating one keeps it running for the whole process.
#pragma once

#include "sound/interfaces.h"

namespace melorin {

HRESULT CreateGraphSource(SoundSource** out);
HRESULT CreateWindowsMediaSource(SoundSource** out);
HRESULT CreateCdSource(SoundSource** out);
HRESULT CreateDmoDecoder(SoundDecoder** out);
HRESULT CreateAcmDecoder(SoundDecoder** out);

}  // namespace melorin
