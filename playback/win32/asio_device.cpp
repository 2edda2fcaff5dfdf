// SPDX-License-Identifier: MIT
#include "playback/win32/asio_device.h"

#include <memory>
#include <new>

#include "platform/clock.h"
#include "platform/com_ptr.h"
#include "platform/thread.h"
#include "playback/device_format.h"
#include "playback/heard_position.h"
#include "playback/win32/asio_query.h"
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
                                 AsioDialogOwner(window), patience};
    // Many a driver makes one object only.
    if (!AwaitAsioQuery(request.clsid, patience.open_ms)) return kDeviceTimedOut;
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

}  // namespace melorin
