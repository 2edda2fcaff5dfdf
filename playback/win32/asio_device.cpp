// SPDX-License-Identifier: MIT
#include "playback/win32/asio_device.h"

#include <windows.h>

#include <algorithm>
#include <memory>
#include <new>

#include "platform/clock.h"
#include "platform/com_ptr.h"
#include "platform/thread.h"
#include "playback/device_format.h"
#include "playback/heard_position.h"
#include "playback/win32/asio_loader.h"
#include "playback/win32/asio_registry.h"
#include "playback/win32/asio_session.h"
#include "playback/win32/device_base.h"

namespace melorin {

namespace {

constexpr uint16_t kMaxChannels = 8;

class AsioDevice final : public DeviceBase<DeviceKind::kAsio> {
 public:
  AsioDevice(std::shared_ptr<AsioSession> session, const WAVEFORMATEX& format)
      : session_(std::move(session)),
        heard_(format.nAvgBytesPerSec, format.nBlockAlign, session_->LatencyMs(),
               HeardPosition::kUsualLagMs + session_->HalvesMs()) {}

  HRESULT STDMETHODCALLTYPE Play() override;
  HRESULT STDMETHODCALLTYPE Pause() override;
  HRESULT STDMETHODCALLTYPE Reset() override;
  HRESULT STDMETHODCALLTYPE SetVolume(int32_t) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE SetBalance(int32_t) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE GetBufferSize(uint32_t* bytes) override;
  HRESULT STDMETHODCALLTYPE GetPosition(uint32_t* bytes) override;
  HRESULT STDMETHODCALLTYPE GetFreeSpace(uint32_t* bytes) override;
  HRESULT STDMETHODCALLTYPE Write(const uint8_t* data, uint32_t bytes) override;

 private:
  ~AsioDevice() override { session_->Close(); }

  const std::shared_ptr<AsioSession> session_;
  CriticalSection lock_;  ///< The feed's writing side and what follows. The driver never waits for it.
  HeardPosition heard_;
};

HRESULT AsioDevice::Play() {
  {
    const Lock lock(lock_);
    if (!session_->IsLost()) session_->Feed().Run();
    heard_.SetRunning(true, SystemClock().TickMs());
  }
  // Many a driver asks for both halves before its start returns, so the data is let go before it.
  session_->Start();
  return S_OK;
}

HRESULT AsioDevice::Pause() {
  const Lock lock(lock_);
  heard_.SetRunning(false, SystemClock().TickMs());
  return session_->Feed().Pause() && !session_->IsLost() ? S_OK : E_FAIL;
}

HRESULT AsioDevice::Reset() {
  const Lock lock(lock_);
  if (!session_->Feed().Reset()) return E_FAIL;
  heard_.Reset(SystemClock().TickMs(), false);
  return session_->IsLost() ? E_FAIL : S_OK;
}

HRESULT AsioDevice::GetBufferSize(uint32_t* bytes) {
  if (!bytes) return E_POINTER;
  *bytes = session_->Feed().Capacity();
  return S_OK;
}

HRESULT AsioDevice::GetPosition(uint32_t* bytes) {
  if (!bytes) return E_POINTER;
  const Lock lock(lock_);
  *bytes = static_cast<uint32_t>(heard_.Estimate(session_->Feed().Taken(), SystemClock().TickMs()));
  return S_OK;
}

HRESULT AsioDevice::GetFreeSpace(uint32_t* bytes) {
  if (!bytes) return E_POINTER;
  const Lock lock(lock_);
  *bytes = session_->Feed().FreeBytes();
  return S_OK;
}

HRESULT AsioDevice::Write(const uint8_t* data, uint32_t bytes) {
  if (session_->IsLost()) return E_FAIL;
  if (bytes == 0) return S_OK;
  if (!data || bytes > session_->Feed().Capacity()) return E_INVALIDARG;
  const Lock lock(lock_);
  return session_->Feed().Write(data, bytes) ? S_OK : E_FAIL;
}

bool IsUsableFormat(const WAVEFORMATEX& format) {
  const uint16_t bits = format.wBitsPerSample;
  return format.wFormatTag == WAVE_FORMAT_PCM && format.nChannels > 0 && format.nChannels <= kMaxChannels &&
         (bits == 8 || bits == 16 || bits == 24 || bits == 32) && format.nSamplesPerSec > 0 &&
         format.nBlockAlign == format.nChannels * bits / 8 &&
         format.nAvgBytesPerSec == format.nSamplesPerSec * format.nBlockAlign;
}

void* DialogOwner(void* window) {
  return window && IsWindow(static_cast<HWND>(window)) ? window : GetDesktopWindow();
}

HRESULT AskDriver(const CLSID& clsid, void* window, DeviceCapabilities* out) {
  ComPtr<asio::Driver> driver;
  const HRESULT loaded = LoadAsioDriver(clsid, std::addressof(driver));
  if (FAILED(loaded)) return loaded;
  if (driver->init(window) == 0) return E_FAIL;
  for (const uint32_t rate : kUsualRates)
    if (driver->canSampleRate(rate) == asio::kOk) out->rates.push_back(rate);
  if (!out->rates.empty()) {
    out->min_rate = out->rates.front();
    out->max_rate = out->rates.back();
  }
  int32_t inputs = 0;
  int32_t outputs = 0;
  if (driver->getChannels(&inputs, &outputs) == asio::kOk)
    out->max_channels = static_cast<uint16_t>(std::clamp(outputs, 0, 0xFFFF));
  AsioBufferSizes sizes;
  if (driver->getBufferSize(&sizes.smallest, &sizes.largest, &sizes.preferred, &sizes.granularity) ==
      asio::kOk)
    out->buffer_frames = ChooseAsioFrames(sizes);
  asio::ChannelInfo info = {};
  AsioSampleLayout layout;
  if (driver->getChannelInfo(&info) == asio::kOk && LayoutOfAsioType(info.type, &layout)) {
    out->min_bits = out->max_bits = layout.valid_bits;
    out->bits.push_back(layout.valid_bits);
  }
  return S_OK;
}

/// Shared with the driver's thread, which may come back long after nobody wants to know any more.
struct Question {
  CLSID clsid;
  void* window;
  DriverEvent answered;
  HRESULT result = E_FAIL;
  DeviceCapabilities capabilities;
};

HRESULT QueryDriver(const CLSID& clsid, void* window, const AsioPatience& patience, DeviceCapabilities* out) {
  if (AsioSession::IsInUse(clsid)) return kDeviceBusy;
  auto question = std::make_shared<Question>();
  question->clsid = clsid;
  question->window = window;
  if (!question->answered) return E_OUTOFMEMORY;
  const bool asked = StartDriverThread([question] {
    try {
      question->result = AskDriver(question->clsid, question->window, &question->capabilities);
    } catch (const std::bad_alloc&) {
      question->result = E_OUTOFMEMORY;
    }
    question->answered.Set();
  });
  if (!asked) return E_OUTOFMEMORY;
  if (!question->answered.WaitAsCaller(patience.open_ms)) return kDeviceTimedOut;
  if (SUCCEEDED(question->result)) *out = std::move(question->capabilities);
  return question->result;
}

}  // namespace

HRESULT OpenAsioDevice(const WAVEFORMATEX& format, uint32_t buffer_bytes, int32_t index, void* window,
                       OutputDevice** out, const AsioPatience& patience) {
  if (!out) return E_POINTER;
  *out = nullptr;
  if (!IsUsableFormat(format) || buffer_bytes == 0 || buffer_bytes % format.nBlockAlign != 0)
    return E_INVALIDARG;
  try {
    const std::vector<AsioDriverEntry> drivers = ReadAsioDrivers();
    if (index < 0 || static_cast<size_t>(index) >= drivers.size()) return E_INVALIDARG;
    const AsioRequest request = {drivers[static_cast<size_t>(index)].clsid, format, buffer_bytes,
                                 DialogOwner(window), patience};
    std::shared_ptr<AsioSession> session;
    const HRESULT result = AsioSession::Open(request, &session);
    if (FAILED(result)) return result;
    *out = new (std::nothrow) AsioDevice(session, format);
    if (!*out) session->Close();
    return *out ? S_OK : E_OUTOFMEMORY;
  } catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
  }
}

std::vector<DeviceInfo> ListAsioDevices() {
  std::vector<DeviceInfo> list;
  for (const AsioDriverEntry& driver : ReadAsioDrivers()) {
    DeviceInfo info;
    info.kind = DeviceKind::kAsio;
    info.id = PackDeviceId(static_cast<uint16_t>(DeviceKind::kAsio), static_cast<uint16_t>(list.size()));
    info.name_gbk = driver.name_gbk;
    list.push_back(std::move(info));
  }
  return list;
}

HRESULT QueryAsioDevice(int32_t index, void* window, DeviceCapabilities* out, const AsioPatience& patience) {
  if (!out) return E_POINTER;
  *out = {};
  try {
    const std::vector<AsioDriverEntry> drivers = ReadAsioDrivers();
    if (index < 0 || static_cast<size_t>(index) >= drivers.size()) return E_INVALIDARG;
    return QueryDriver(drivers[static_cast<size_t>(index)].clsid, DialogOwner(window), patience, out);
  } catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
  }
}

}  // namespace melorin
