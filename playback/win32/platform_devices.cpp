// SPDX-License-Identifier: MIT
//
// The devices of Windows behind DeviceFactory.
#include <windows.h>

#include <mmsystem.h>

#include <new>

#include "platform/text.h"
#include "playback/device_capabilities.h"
#include "playback/open_device.h"
#include "playback/win32/asio_device.h"
#include "playback/win32/direct_sound_device.h"
#include "playback/win32/driver_thread.h"
#include "playback/win32/kernel_streaming_device.h"
#include "playback/win32/wave_out_device.h"

namespace melorin {

namespace {

/// What asks for devices waits that long; an ASIO driver that wakes up its hardware is given up before.
constexpr uint32_t kAnswerMs = 10000;
constexpr HRESULT kNoDriver = static_cast<HRESULT>(0x88780078);  // DSERR_NODRIVER

/// index: of ListDirectSoundDevices; -1: see guid.
HRESULT OpenHost(int32_t index, GUID guid, void* window, bool create_primary,
                 std::shared_ptr<DirectSoundHost>* out) {
  bool by_default = index == 0;
  if (index > 0) {
    const std::vector<DeviceInfo> list = ListDirectSoundDevices();
    if (static_cast<size_t>(index) >= list.size()) return kNoDriver;
    guid = list[static_cast<size_t>(index)].id;
    by_default = ParseDeviceId(guid).index >= 0;
  }
  return OpenDirectSoundHost(by_default ? nullptr : &guid, window, create_primary, out);
}

class PlatformDevices final : public DeviceFactory {
 public:
  explicit PlatformDevices(void* window) : window_(window) {}

  HRESULT OpenWaveOut(const WAVEFORMATEX& format, uint32_t buffer_bytes, int32_t number,
                      OutputDevice** out) override {
    return OpenWaveOutDevice(format, buffer_bytes, number, out);
  }

  HRESULT OpenDirectSound(const DirectSoundRequest& request, OutputDevice** out) override {
    // One DirectSound object for all attempts at a track; the factory lives no longer than that.
    if (!host_) {
      const HRESULT result = OpenHost(request.index, request.guid, window_, request.create_primary, &host_);
      if (FAILED(result)) return result;
    }
    return OpenDirectSoundDevice(host_, *request.format, request.buffer_bytes, request.software, out);
  }

  HRESULT OpenKernelStreaming(const WAVEFORMATEX& format, uint32_t block_bytes, uint32_t blocks,
                              int32_t index, OutputDevice** out) override {
    const KsApi* api = PlatformKsApi();
    return api ? OpenKernelStreamingDevice(*api, format, block_bytes, blocks, index, out) : E_NOTIMPL;
  }
  HRESULT OpenAsio(const WAVEFORMATEX& format, uint32_t buffer_bytes, int32_t index,
                   OutputDevice** out) override {
    return OpenAsioDevice(format, buffer_bytes, index, window_, out);
  }

 private:
  void* window_;
  std::shared_ptr<DirectSoundHost> host_;
};

HRESULT QueryDirectSound(const DeviceChoice& choice, DeviceCapabilities* out) {
  std::shared_ptr<DirectSoundHost> host;
  const HRESULT result = OpenHost(choice.index, choice.guid, nullptr, false, &host);
  if (FAILED(result)) return result == kNoDriver && choice.index > 0 ? E_INVALIDARG : result;
  return QueryDirectSoundDevice(host, out);
}

std::vector<DeviceInfo> ListWaveOutDevices() {
  std::vector<DeviceInfo> list;
  const int32_t count = static_cast<int32_t>(waveOutGetNumDevs());
  if (count == 0) return list;
  for (int32_t index = 0; WaveOutNumber(index) < count; ++index) {
    WAVEOUTCAPSW caps = {};
    const auto number = static_cast<UINT_PTR>(static_cast<INT_PTR>(WaveOutNumber(index)));
    if (waveOutGetDevCapsW(number, &caps, sizeof caps) != MMSYSERR_NOERROR) continue;
    caps.szPname[MAXPNAMELEN - 1] = 0;
    DeviceInfo info;
    info.kind = DeviceKind::kWaveOut;
    info.id = PackDeviceId(0, static_cast<uint16_t>(index));
    info.name_gbk = GbkFromUtf16(AsChar16(caps.szPname));
    list.push_back(std::move(info));
  }
  return list;
}

std::vector<DeviceInfo> ListKind(DeviceKind kind) {
  switch (kind) {
    case DeviceKind::kWaveOut:
      return ListWaveOutDevices();
    case DeviceKind::kDirectSound:
      return ListDirectSoundDevices();
    case DeviceKind::kKernelStreaming:
      return PlatformKsApi() ? ListKernelStreamingDevices(*PlatformKsApi()) : std::vector<DeviceInfo>();
    case DeviceKind::kAsio:
      return ListAsioDevices();
    default:
      return {};
  }
}

HRESULT Query(const GUID& id, DeviceCapabilities* out) {
  const DeviceChoice choice = ParseDeviceId(id);
  switch (choice.kind) {
    case static_cast<int32_t>(DeviceKind::kWaveOut):
      return QueryWaveOutDevice(WaveOutNumber(choice.index), out);
    case static_cast<int32_t>(DeviceKind::kDirectSound):
      return QueryDirectSound(choice, out);
    case static_cast<int32_t>(DeviceKind::kKernelStreaming):
      return PlatformKsApi() ? QueryKernelStreamingDevice(*PlatformKsApi(), choice.index, out) : E_NOTIMPL;
    case static_cast<int32_t>(DeviceKind::kAsio):
      return QueryAsioDevice(choice.index, nullptr, out);
    default:
      return E_NOTIMPL;
  }
}

/// Shared with the thread that asks, which may come back long after nobody wants to know any more.
struct Answer {
  HRESULT result = E_OUTOFMEMORY;
  DeviceCapabilities capabilities;
  std::vector<DeviceInfo> devices;
};

/// Null when there is no answer in time.
template <class Ask>
std::shared_ptr<Answer> AskInTime(const std::atomic<bool>* stop, Ask ask) {
  auto answer = std::make_shared<Answer>();
  const auto body = [answer, ask] {
    try {
      ask(*answer);
    } catch (const std::bad_alloc&) {
      *answer = {};
    }
  };
  return RunAsDriver(kAnswerMs, body, stop) ? answer : nullptr;
}

}  // namespace

std::unique_ptr<DeviceFactory> CreatePlatformDeviceFactory(void* window) {
  return std::unique_ptr<DeviceFactory>(new (std::nothrow) PlatformDevices(window));
}

std::vector<DeviceInfo> ListDevices(DeviceKind kind, const std::atomic<bool>* stop) {
  const auto answer = AskInTime(stop, [kind](Answer& told) { told.devices = ListKind(kind); });
  return answer ? std::move(answer->devices) : std::vector<DeviceInfo>();
}

HRESULT QueryDeviceCapabilities(const GUID& id, DeviceCapabilities* out, const std::atomic<bool>* stop) {
  if (!out) return E_POINTER;
  *out = {};
  const auto answer = AskInTime(stop, [id](Answer& told) { told.result = Query(id, &told.capabilities); });
  if (!answer) return kDeviceTimedOut;
  *out = std::move(answer->capabilities);
  return answer->result;
}

}  // namespace melorin
