// SPDX-License-Identifier: MIT
//
// What the platform's devices have in common.
#pragma once

#include "platform/com_ptr.h"
#include "playback/output_device.h"

namespace melorin {

/// Identity and kind of a device, and the answer of one that cannot be cloned.
template <DeviceKind kKind>
class DeviceBase : public ComObject<OutputDevice> {
 public:
  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** out) final {
    if (!out) return E_POINTER;
    *out = nullptr;
    if (!SameGuid(iid, IID_IUnknown)) return E_NOINTERFACE;
    this->AddRef();
    *out = static_cast<OutputDevice*>(this);
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE GetType(int32_t* kind) final {
    if (!kind) return E_POINTER;
    *kind = static_cast<int32_t>(kKind);
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE Clone(OutputDevice** out) override {
    if (!out) return E_POINTER;
    *out = nullptr;
    return E_NOTIMPL;
  }
};

}  // namespace melorin
