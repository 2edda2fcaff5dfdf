// SPDX-License-Identifier: MIT
//
// The host build plays nothing: it decodes and measures.
#include <new>

#include "playback/device_capabilities.h"
#include "playback/open_device.h"

namespace melorin {

namespace {

class NoDevices final : public DeviceFactory {
 public:
  HRESULT OpenWaveOut(const WAVEFORMATEX&, uint32_t, int32_t, OutputDevice**) override { return E_NOTIMPL; }
  HRESULT OpenDirectSound(const DirectSoundRequest&, OutputDevice**) override { return E_NOTIMPL; }
  HRESULT OpenKernelStreaming(const WAVEFORMATEX&, uint32_t, uint32_t, int32_t, OutputDevice**) override {
    return E_NOTIMPL;
  }
  HRESULT OpenAsio(const WAVEFORMATEX&, uint32_t, int32_t, OutputDevice**) override { return E_NOTIMPL; }
};

}  // namespace

std::unique_ptr<DeviceFactory> CreatePlatformDeviceFactory(void*) {
  return std::unique_ptr<DeviceFactory>(new (std::nothrow) NoDevices);
}

std::vector<DeviceInfo> ListDevices(DeviceKind, const std::atomic<bool>*) {
  return {};
}

HRESULT QueryDeviceCapabilities(const GUID&, DeviceCapabilities* out, const std::atomic<bool>*) {
  if (!out) return E_POINTER;
  *out = {};
  return E_NOTIMPL;
}

}  // namespace melorin
