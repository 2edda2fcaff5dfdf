// SPDX-License-Identifier: MIT
//
// Opening the device that a setting names, with everything that is tried when the first way fails. The
// platform itself stands behind DeviceFactory, whose operations are one attempt each, so that every fallback
// can be tested without a sound card.
#pragma once

#include <atomic>
#include <memory>
#include <string>
#include <vector>

#include "platform/com.h"
#include "playback/device_format.h"
#include "playback/output_device.h"
#include "playback/playback_settings.h"

namespace melorin {

/// One attempt at a DirectSound buffer.
struct DirectSoundRequest {
  const WAVEFORMATEX* format = nullptr;  ///< Plain or extensible.
  uint32_t buffer_bytes = 0;
  int32_t index = 0;     ///< 0 the default device, n the n-th of the platform's list; -1: see `guid`.
  GUID guid = {};        ///< The device when index is -1.
  bool software = true;  ///< Ask for a buffer mixed in software.
  bool create_primary = false;
};

/// Every operation is one attempt, without fallbacks. A failure leaves `out` null.
/// Thread: one at a time.
class DeviceFactory {
 public:
  virtual ~DeviceFactory() = default;
  /// number: the platform's device number, -1 the wave mapper.
  virtual HRESULT OpenWaveOut(const WAVEFORMATEX& format, uint32_t buffer_bytes, int32_t number,
                              OutputDevice** out) = 0;
  virtual HRESULT OpenDirectSound(const DirectSoundRequest& request, OutputDevice** out) = 0;
  virtual HRESULT OpenKernelStreaming(const WAVEFORMATEX& format, uint32_t block_bytes, uint32_t blocks,
                                      int32_t index, OutputDevice** out) = 0;
  virtual HRESULT OpenAsio(const WAVEFORMATEX& format, uint32_t buffer_bytes, int32_t index,
                           OutputDevice** out) = 0;
};

/// The platform's devices. window: the main window's handle, which DirectSound is bound to; null is the
/// desktop. On the host there are none: every open fails with E_NOTIMPL. Null when memory runs out.
std::unique_ptr<DeviceFactory> CreatePlatformDeviceFactory(void* window);

/// Opens the device that settings.device_type names:
/// - waveOut: as extensible format, then as plain one; E_FAIL when both fail, kDeviceTimedOut when the
///   platform does not answer;
/// - DirectSound: with "HardwareBuffer" in hardware first, then in software; each of the two plain, then
///   extensible; the failure of the last attempt otherwise, E_INVALIDARG for a buffer below 1024 bytes;
/// - Kernel Streaming: plain, then extensible; ASIO: plain;
/// - any other kind: E_NOTIMPL.
/// E_OUTOFMEMORY is a failure like any other: a card whose own memory is full says so too.
HRESULT OpenDevice(DeviceFactory& factory, const PlaybackSettings& settings, const WAVEFORMATEX& format,
                   const BufferPlan& plan, OutputDevice** out);

/// A device as the settings page lists it.
struct DeviceInfo {
  DeviceKind kind = DeviceKind::kWaveOut;
  GUID id = {};          ///< For the setting "DeviceType".
  std::string name_gbk;  ///< What the platform calls it.
};

/// "DirectSound", "waveOut(Windows 波型输出)" …; empty for a kind that does not exist.
std::string DeviceKindNameGbk(int32_t kind);
/// The devices of that kind in the order of their index; none where the platform has none, does not answer
/// within ten seconds, or `stop` is set before it does. Throws std::bad_alloc. Thread: any.
std::vector<DeviceInfo> ListDevices(DeviceKind kind, const std::atomic<bool>* stop = nullptr);

}  // namespace melorin
