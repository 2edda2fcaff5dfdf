// SPDX-License-Identifier: MIT
//
// A decoder over the platform's media objects. Which objects there are is a function, so that tests can offer
// one of their own.
#pragma once

#include <functional>

#include "platform/com_ptr.h"
#include "sound/interfaces.h"

#include <mediaobj.h>

namespace melorin {

/// Calls `try_object` with one media object after the other that may decode the subtype, until it answers
/// true.
using VisitMediaObjects =
    std::function<void(const GUID& subtype, const std::function<bool(ComPtr<IMediaObject>)>& try_object)>;

/// The registered audio decoder objects of the platform.
void VisitPlatformMediaObjects(const GUID& subtype,
                               const std::function<bool(ComPtr<IMediaObject>)>& try_object);

/// SetFormat takes the first object that accepts the input and makes 16-bit PCM of it; E_INVALIDARG when none
/// does, also when the object is there but implements none of its operations. Every failure of the object
/// while decoding ends with E_FAIL and the decoder wanting input.
HRESULT CreateDmoDecoder(VisitMediaObjects visit, SoundDecoder** out);

}  // namespace melorin
