// SPDX-License-Identifier: MIT
#include "playback/open_device.h"

#include "platform/text.h"

namespace melorin {

namespace {

constexpr uint32_t kMinDirectSoundBytes = 1024;

HRESULT OpenWaveOut(DeviceFactory& factory, const WAVEFORMATEX& format, const BufferPlan& plan, int32_t index,
                    OutputDevice** out) {
  const WAVEFORMATEXTENSIBLE extensible = MakeExtensible(format);
  const int32_t number = WaveOutNumber(index);
  HRESULT result = factory.OpenWaveOut(extensible.Format, plan.Bytes(), number, out);
  // Who does not answer has not refused; asking again only takes as long again.
  if (result == kDeviceTimedOut) return result;
  if (FAILED(result)) result = factory.OpenWaveOut(format, plan.Bytes(), number, out);
  return FAILED(result) ? E_FAIL : result;
}

HRESULT OpenDirectSound(DeviceFactory& factory, const PlaybackSettings& settings, const DeviceChoice& choice,
                        const WAVEFORMATEX& format, const BufferPlan& plan, OutputDevice** out) {
  if (plan.Bytes() < kMinDirectSoundBytes) return E_INVALIDARG;
  const WAVEFORMATEXTENSIBLE extensible = MakeExtensible(format);
  DirectSoundRequest request;
  request.buffer_bytes = plan.Bytes();
  request.index = choice.index;
  request.guid = choice.guid;
  request.create_primary = settings.create_primary;
  HRESULT result = E_FAIL;
  for (int attempt = settings.hardware_buffer ? 0 : 2; attempt < 4; ++attempt) {
    request.software = attempt >= 2;
    request.format = attempt % 2 == 0 ? &format : &extensible.Format;
    result = factory.OpenDirectSound(request, out);
    if (SUCCEEDED(result)) break;
  }
  return result;
}

HRESULT OpenKernelStreaming(DeviceFactory& factory, const WAVEFORMATEX& format, const BufferPlan& plan,
                            int32_t index, OutputDevice** out) {
  const HRESULT result = factory.OpenKernelStreaming(format, plan.block_bytes, plan.blocks, index, out);
  if (SUCCEEDED(result)) return result;
  const WAVEFORMATEXTENSIBLE extensible = MakeExtensible(format);
  return factory.OpenKernelStreaming(extensible.Format, plan.block_bytes, plan.blocks, index, out);
}

}  // namespace

HRESULT OpenDevice(DeviceFactory& factory, const PlaybackSettings& settings, const WAVEFORMATEX& format,
                   const BufferPlan& plan, OutputDevice** out) {
  if (!out) return E_POINTER;
  *out = nullptr;
  const DeviceChoice choice = ParseDeviceId(settings.device_type);
  switch (choice.kind) {
    case static_cast<int32_t>(DeviceKind::kWaveOut):
      return OpenWaveOut(factory, format, plan, choice.index, out);
    case static_cast<int32_t>(DeviceKind::kDirectSound):
      return OpenDirectSound(factory, settings, choice, format, plan, out);
    case static_cast<int32_t>(DeviceKind::kKernelStreaming):
      return OpenKernelStreaming(factory, format, plan, choice.index, out);
    case static_cast<int32_t>(DeviceKind::kAsio):
      return factory.OpenAsio(format, plan.Bytes(), choice.index, out);
    default:
      return E_NOTIMPL;
  }
}

std::string DeviceKindNameGbk(int32_t kind) {
  switch (kind) {
    case static_cast<int32_t>(DeviceKind::kWaveOut):
      return GbkFromUtf8("waveOut(Windows 波型输出)");
    case static_cast<int32_t>(DeviceKind::kDirectSound):
      return "DirectSound";
    case static_cast<int32_t>(DeviceKind::kKernelStreaming):
      return GbkFromUtf8("Kernel Streaming(内核音频流)");
    case static_cast<int32_t>(DeviceKind::kAsio):
      return "ASIO(Steinberg Audio Stream I/O API)";
    default:
      return {};
  }
}

}  // namespace melorin
