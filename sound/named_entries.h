// SPDX-License-Identifier: MIT
//
// Readers and decoder entries that are no more than their texts and a function that makes the object.
#pragma once

#include <functional>
#include <string_view>

#include "platform/com_ptr.h"
#include "sound/interfaces.h"

namespace melorin {

using CreateSourceFunction = std::function<HRESULT(SoundSource** out)>;
using CreateDecoderFunction = HRESULT (*)(SoundDecoder** out);

/// Null when memory runs out.
ComPtr<SoundReader> CreateNamedReader(std::u16string_view name, std::u16string_view description,
                                      CreateSourceFunction create);
/// An entry that is willing to try every format: the decoder finds out in SetFormat.
ComPtr<SoundDecoderEntry> CreateNamedDecoderEntry(std::u16string_view name, CreateDecoderFunction create);

}  // namespace melorin
