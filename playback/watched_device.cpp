// SPDX-License-Identifier: MIT
#include "playback/watched_device.h"

#include <algorithm>
#include <new>

#include "platform/thread.h"

namespace melorin {

namespace {

constexpr uint32_t kPatienceMs = 2000;

class WatchedDevice final : public ComObject<OutputDevice> {
 public:
  WatchedDevice(ComPtr<OutputDevice> device, const WAVEFORMATEX& format, Clock& clock)
      : device_(std::move(device)), format_(format), clock_(clock) {
    if (FAILED(device_->GetBufferSize(&buffer_bytes_))) buffer_bytes_ = 0;
  }

  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** out) override {
    if (!out) return E_POINTER;
    *out = nullptr;
    if (!SameGuid(iid, IID_IUnknown)) return E_NOINTERFACE;
    AddRef();
    *out = static_cast<OutputDevice*>(this);
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE GetType(int32_t* kind) override { return device_->GetType(kind); }
  HRESULT STDMETHODCALLTYPE GetBufferSize(uint32_t* bytes) override { return device_->GetBufferSize(bytes); }
  HRESULT STDMETHODCALLTYPE Clone(OutputDevice** out) override;
  HRESULT STDMETHODCALLTYPE Play() override;
  HRESULT STDMETHODCALLTYPE Pause() override;
  HRESULT STDMETHODCALLTYPE Reset() override;
  HRESULT STDMETHODCALLTYPE SetVolume(int32_t volume) override {
    return IsLost() ? S_OK : device_->SetVolume(volume);
  }
  HRESULT STDMETHODCALLTYPE SetBalance(int32_t balance) override {
    return IsLost() ? S_OK : device_->SetBalance(balance);
  }
  HRESULT STDMETHODCALLTYPE GetPosition(uint32_t* bytes) override;
  HRESULT STDMETHODCALLTYPE GetFreeSpace(uint32_t* bytes) override;
  HRESULT STDMETHODCALLTYPE Write(const uint8_t* data, uint32_t bytes) override;

 private:
  bool IsLost() {
    const Lock lock(lock_);
    return lost_;
  }
  void LoseLocked(uint32_t now);
  bool CheckLocked(bool healthy);
  uint64_t PositionLocked();

  const ComPtr<OutputDevice> device_;
  const WAVEFORMATEX format_;
  Clock& clock_;
  uint32_t buffer_bytes_ = 0;

  CriticalSection lock_;  ///< Guards what follows; not held while the device is called.
  bool lost_ = false;
  bool running_ = false;
  bool write_failed_ = false;   ///< The last one.
  uint32_t healthy_tick_ = 0;   ///< Of the last sign of life.
  uint32_t last_position_ = 0;  ///< As the device told, modulo 2^32.
  uint64_t written_ = 0;        ///< Since the last reset.
  uint64_t played_ = 0;         ///< Since the last reset, in whole frames.
  uint32_t clock_tick_ = 0;     ///< Lost: up to when the clock has been counted.
  uint64_t remainder_ = 0;      ///< Lost: thousandths of a frame.
};

void WatchedDevice::LoseLocked(uint32_t now) {
  if (lost_) return;
  lost_ = true;
  clock_tick_ = now;
  remainder_ = 0;
}

/// healthy: the device has just shown a sign of life. True when it is lost.
bool WatchedDevice::CheckLocked(bool healthy) {
  const uint32_t now = clock_.TickMs();
  if (healthy || !running_) healthy_tick_ = now;
  if (now - healthy_tick_ > kPatienceMs) LoseLocked(now);
  return lost_;
}

/// Lost: what the clock has consumed of the written bytes.
uint64_t WatchedDevice::PositionLocked() {
  const uint32_t now = clock_.TickMs();
  if (running_) {
    const uint64_t thousandths = uint64_t{now - clock_tick_} * format_.nSamplesPerSec + remainder_;
    played_ = std::min(written_, played_ + thousandths / 1000 * format_.nBlockAlign);
    remainder_ = thousandths % 1000;
  }
  clock_tick_ = now;
  return played_;
}

HRESULT WatchedDevice::Clone(OutputDevice** out) {
  if (!out) return E_POINTER;
  *out = nullptr;
  if (IsLost()) return E_FAIL;
  ComPtr<OutputDevice> twin;
  const HRESULT result = device_->Clone(twin.Receive());
  if (FAILED(result)) return result;
  ComPtr<OutputDevice> watched = WatchDevice(std::move(twin), format_, clock_);
  if (!watched) return E_OUTOFMEMORY;
  *out = watched.Detach();
  return result;
}

HRESULT WatchedDevice::Play() {
  const bool lost = IsLost();
  const HRESULT result = lost ? S_OK : device_->Play();
  const Lock lock(lock_);
  if (FAILED(result)) LoseLocked(clock_.TickMs());
  if (lost_) PositionLocked();
  running_ = true;
  healthy_tick_ = clock_.TickMs();
  return FAILED(result) ? S_OK : result;
}

HRESULT WatchedDevice::Pause() {
  const HRESULT result = IsLost() ? S_OK : device_->Pause();
  const Lock lock(lock_);
  if (FAILED(result)) LoseLocked(clock_.TickMs());
  if (lost_) PositionLocked();
  running_ = false;
  return FAILED(result) ? S_OK : result;
}

HRESULT WatchedDevice::Reset() {
  const HRESULT result = IsLost() ? S_OK : device_->Reset();
  const Lock lock(lock_);
  if (FAILED(result)) LoseLocked(clock_.TickMs());
  running_ = false;
  written_ = played_ = remainder_ = 0;
  last_position_ = 0;
  write_failed_ = false;
  return FAILED(result) ? S_OK : result;
}

HRESULT WatchedDevice::GetPosition(uint32_t* bytes) {
  if (!bytes) return E_POINTER;
  uint32_t position = 0;
  const HRESULT result = IsLost() ? E_FAIL : device_->GetPosition(&position);
  const Lock lock(lock_);
  const bool moved = SUCCEEDED(result) && position != last_position_;
  if (moved && !lost_) {
    // A position behind the last one is of before a reset on another thread.
    if (position - last_position_ < 0x80000000u) played_ += position - last_position_;
    last_position_ = position;
  }
  *bytes = static_cast<uint32_t>(CheckLocked(moved) ? PositionLocked() : uint64_t{last_position_});
  return S_OK;
}

HRESULT WatchedDevice::GetFreeSpace(uint32_t* bytes) {
  if (!bytes) return E_POINTER;
  *bytes = 0;
  // The position is the sign of life; whoever feeds need not ask for it.
  uint32_t position = 0;
  GetPosition(&position);
  uint32_t room = 0;
  const HRESULT result = IsLost() ? E_FAIL : device_->GetFreeSpace(&room);
  const Lock lock(lock_);
  // A device that waits for data stands still and is healthy; with its queue half full it should be moving.
  const bool waits = SUCCEEDED(result) && room > buffer_bytes_ / 2 && !write_failed_;
  if (!CheckLocked(waits)) {
    *bytes = SUCCEEDED(result) ? room : 0;
    return S_OK;
  }
  const uint64_t queued = written_ - std::min(written_, PositionLocked());
  *bytes = queued >= buffer_bytes_ ? 0 : buffer_bytes_ - static_cast<uint32_t>(queued);
  return S_OK;
}

HRESULT WatchedDevice::Write(const uint8_t* data, uint32_t bytes) {
  const HRESULT result = IsLost() ? S_OK : device_->Write(data, bytes);
  const Lock lock(lock_);
  write_failed_ = FAILED(result);
  if (SUCCEEDED(result)) written_ += bytes;
  return result;
}

}  // namespace

ComPtr<OutputDevice> WatchDevice(ComPtr<OutputDevice> device, const WAVEFORMATEX& format, Clock& clock) {
  if (!device) return nullptr;
  return ComPtr<OutputDevice>::Adopt(new (std::nothrow) WatchedDevice(std::move(device), format, clock));
}

}  // namespace melorin
