// SPDX-License-Identifier: MIT
//
// How blocks travel: Write copies into a block and queues it with the platform; the platform's callback, on a
// thread of the system, only counts how many blocks it has finished; the next caller takes that many from the
// front of the queue (waveOut finishes blocks in order) and keeps them for later writes. The lock guards the
// lists and counters and is not held while the platform is called with anything that can call back.
#include "playback/win32/wave_out_device.h"

#include <windows.h>

#include <mmsystem.h>

#include <algorithm>
#include <atomic>
#include <cstring>
#include <memory>
#include <new>
#include <vector>

#include "platform/clock.h"
#include "platform/com_ptr.h"
#include "platform/thread.h"
#include "playback/device_format.h"
#include "playback/heard_position.h"
#include "playback/win32/device_base.h"

namespace melorin {

namespace {

/// Between what waveOut reports as played and what is heard.
constexpr uint32_t kLatencyMs = 60;
/// How long closing waits for the driver to give back its blocks.
constexpr uint32_t kCloseWaitMs = 500;
constexpr uint32_t kCloseStepMs = 5;

struct Block {
  WAVEHDR header = {};
  std::vector<uint8_t> data;
};

/// What the callback may touch. On its own, so that it can be left behind when a driver never lets go.
struct CallbackState {
  std::atomic<uint32_t> finished{0};
};

void CALLBACK OnWaveOut(HWAVEOUT, UINT message, DWORD_PTR instance, DWORD_PTR, DWORD_PTR) {
  if (message == WOM_DONE) reinterpret_cast<CallbackState*>(instance)->finished.fetch_add(1);
}

class WaveOutDevice final : public DeviceBase<DeviceKind::kWaveOut> {
 public:
  WaveOutDevice(std::vector<uint8_t> format, uint32_t buffer_bytes, int32_t number)
      : format_bytes_(std::move(format)),
        buffer_bytes_(buffer_bytes),
        number_(number),
        heard_(Format().nAvgBytesPerSec, Format().nBlockAlign, kLatencyMs),
        state_(std::make_unique<CallbackState>()) {}

  HRESULT Open();

  HRESULT STDMETHODCALLTYPE Clone(OutputDevice** out) override;
  HRESULT STDMETHODCALLTYPE Play() override;
  HRESULT STDMETHODCALLTYPE Pause() override;
  HRESULT STDMETHODCALLTYPE Reset() override;
  HRESULT STDMETHODCALLTYPE SetVolume(int32_t volume) override;
  HRESULT STDMETHODCALLTYPE SetBalance(int32_t balance) override;
  HRESULT STDMETHODCALLTYPE GetBufferSize(uint32_t* bytes) override;
  HRESULT STDMETHODCALLTYPE GetPosition(uint32_t* bytes) override;
  HRESULT STDMETHODCALLTYPE GetFreeSpace(uint32_t* bytes) override;
  HRESULT STDMETHODCALLTYPE Write(const uint8_t* data, uint32_t bytes) override;

 private:
  ~WaveOutDevice() override;
  const WAVEFORMATEX& Format() const { return *reinterpret_cast<const WAVEFORMATEX*>(format_bytes_.data()); }
  void CollectFinished();
  std::unique_ptr<Block> TakeBlock();
  bool PlatformPosition(uint32_t* bytes) const;
  HRESULT ApplyVolume();

  const std::vector<uint8_t> format_bytes_;
  const uint32_t buffer_bytes_;
  const int32_t number_;
  HWAVEOUT handle_ = nullptr;

  CriticalSection lock_;
  HeardPosition heard_;
  std::vector<std::unique_ptr<Block>> queued_;  ///< With the platform, oldest first.
  std::vector<std::unique_ptr<Block>> idle_;    ///< Finished; still prepared until they are used again.
  uint32_t collected_ = 0;  ///< Blocks taken back, modulo 2^32 as CallbackState::finished.
  uint32_t queued_bytes_ = 0;
  uint64_t queued_total_ = 0;    ///< Bytes written since the last reset.
  uint64_t reported_total_ = 0;  ///< The platform's position in 64 bits.
  uint32_t last_report_ = 0;

  std::unique_ptr<CallbackState> state_;
  std::atomic<int32_t> volume_{100};
  std::atomic<int32_t> balance_{0};
};

HRESULT WaveOutDevice::Open() {
  queued_.reserve(64);
  idle_.reserve(64);
  const MMRESULT result =
      waveOutOpen(&handle_, static_cast<UINT>(number_), &Format(), reinterpret_cast<DWORD_PTR>(&OnWaveOut),
                  reinterpret_cast<DWORD_PTR>(state_.get()), CALLBACK_FUNCTION);
  if (result != MMSYSERR_NOERROR) {
    handle_ = nullptr;
    return result == MMSYSERR_NOMEM ? E_OUTOFMEMORY : E_FAIL;
  }
  waveOutPause(handle_);
  return S_OK;
}

WaveOutDevice::~WaveOutDevice() {
  if (!handle_) return;
  waveOutReset(handle_);
  for (uint32_t waited = 0; waited < kCloseWaitMs; waited += kCloseStepMs) {
    CollectFinished();
    if (queued_.empty()) break;
    ::Sleep(kCloseStepMs);
  }
  for (auto& block : idle_)
    waveOutUnprepareHeader(handle_, &block->header, sizeof(WAVEHDR));
  if (waveOutClose(handle_) != MMSYSERR_NOERROR || !queued_.empty()) {
    // The driver still holds our memory and may call back: better lost than written to after it is freed.
    for (auto& block : queued_)
      static_cast<void>(block.release());
    static_cast<void>(state_.release());
  }
}

HRESULT WaveOutDevice::Clone(OutputDevice** out) {
  if (!out) return E_POINTER;
  const HRESULT result = OpenWaveOutDevice(Format(), buffer_bytes_, number_, out);
  if (FAILED(result)) return result;
  (*out)->SetBalance(balance_);
  (*out)->SetVolume(volume_);
  return S_OK;
}

HRESULT WaveOutDevice::Play() {
  if (waveOutRestart(handle_) != MMSYSERR_NOERROR) return E_FAIL;
  const Lock lock(lock_);
  heard_.SetRunning(true, SystemClock().TickMs());
  return S_OK;
}

HRESULT WaveOutDevice::Pause() {
  if (waveOutPause(handle_) != MMSYSERR_NOERROR) return E_FAIL;
  const Lock lock(lock_);
  heard_.SetRunning(false, SystemClock().TickMs());
  return S_OK;
}

HRESULT WaveOutDevice::Reset() {
  if (waveOutReset(handle_) != MMSYSERR_NOERROR) return E_FAIL;
  // A reset device may play what is written next; ours waits for Play.
  waveOutPause(handle_);
  CollectFinished();
  uint32_t report = 0;
  PlatformPosition(&report);
  const Lock lock(lock_);
  queued_total_ = 0;
  reported_total_ = 0;
  last_report_ = report;
  heard_.Reset(SystemClock().TickMs(), false);
  return S_OK;
}

HRESULT WaveOutDevice::ApplyVolume() {
  const DWORD word = WaveOutVolumeWord(volume_, balance_);
  return waveOutSetVolume(handle_, word) == MMSYSERR_NOERROR ? S_FALSE : E_FAIL;
}

HRESULT WaveOutDevice::SetVolume(int32_t volume) {
  volume_ = volume;
  return ApplyVolume();
}

HRESULT WaveOutDevice::SetBalance(int32_t balance) {
  balance_ = balance;
  return ApplyVolume();
}

HRESULT WaveOutDevice::GetBufferSize(uint32_t* bytes) {
  if (!bytes) return E_POINTER;
  *bytes = buffer_bytes_;
  return S_OK;
}

bool WaveOutDevice::PlatformPosition(uint32_t* bytes) const {
  MMTIME time = {};
  time.wType = TIME_BYTES;
  if (waveOutGetPosition(handle_, &time, sizeof time) != MMSYSERR_NOERROR) return false;
  // A driver that does not count bytes answers in a unit of its own choice.
  switch (time.wType) {
    case TIME_BYTES:
      *bytes = time.u.cb;
      return true;
    case TIME_SAMPLES:
      *bytes = time.u.sample * Format().nBlockAlign;
      return true;
    case TIME_MS:
      *bytes =
          static_cast<uint32_t>(uint64_t{time.u.ms} * Format().nSamplesPerSec / 1000 * Format().nBlockAlign);
      return true;
    default:
      return false;
  }
}

HRESULT WaveOutDevice::GetPosition(uint32_t* bytes) {
  if (!bytes) return E_POINTER;
  *bytes = 0;
  uint32_t report = 0;
  if (!PlatformPosition(&report)) return E_FAIL;
  const Lock lock(lock_);
  const uint32_t moved = report - last_report_;
  // Half the range forwards is movement, the other half a step back, which happens around a reset.
  if (moved < 0x80000000u) {
    reported_total_ = std::min(reported_total_ + moved, queued_total_);
    last_report_ = report;
  }
  *bytes = static_cast<uint32_t>(heard_.Estimate(reported_total_, SystemClock().TickMs()));
  return S_OK;
}

void WaveOutDevice::CollectFinished() {
  const Lock lock(lock_);
  // Under the lock: a count that is older than what another caller has collected would seem to be a whole
  // round ahead.
  const uint32_t finished = state_->finished.load();
  auto end = queued_.begin();
  for (; end != queued_.end() && collected_ != finished; ++end, ++collected_) {
    queued_bytes_ -= (*end)->header.dwBufferLength;
    idle_.push_back(std::move(*end));
  }
  queued_.erase(queued_.begin(), end);
}

HRESULT WaveOutDevice::GetFreeSpace(uint32_t* bytes) {
  if (!bytes) return E_POINTER;
  CollectFinished();
  const Lock lock(lock_);
  *bytes = queued_bytes_ >= buffer_bytes_ ? 0 : buffer_bytes_ - queued_bytes_;
  return S_OK;
}

std::unique_ptr<Block> WaveOutDevice::TakeBlock() {
  const Lock lock(lock_);
  if (idle_.empty()) return nullptr;
  std::unique_ptr<Block> block = std::move(idle_.back());
  idle_.pop_back();
  return block;
}

HRESULT WaveOutDevice::Write(const uint8_t* data, uint32_t bytes) {
  if (bytes == 0) return S_OK;
  if (!data || bytes > buffer_bytes_) return E_INVALIDARG;
  CollectFinished();
  try {
    std::unique_ptr<Block> block = TakeBlock();
    if (block) {
      waveOutUnprepareHeader(handle_, &block->header, sizeof(WAVEHDR));
    } else {
      block = std::make_unique<Block>();
    }
    if (block->data.size() < bytes) block->data.resize(bytes);
    std::memcpy(block->data.data(), data, bytes);
    block->header = {};
    block->header.lpData = reinterpret_cast<LPSTR>(block->data.data());
    block->header.dwBufferLength = bytes;
    WAVEHDR* header = &block->header;
    bool prepared = waveOutPrepareHeader(handle_, header, sizeof(WAVEHDR)) == MMSYSERR_NOERROR;
    {
      // Into the queue before the platform sees it: it may be finished before waveOutWrite returns. Room in
      // the idle list too, so that taking it back cannot fail.
      const Lock lock(lock_);
      queued_.push_back(std::move(block));
      idle_.reserve(idle_.size() + queued_.size());
      queued_bytes_ += bytes;
      queued_total_ += bytes;
    }
    if (prepared && waveOutWrite(handle_, header, sizeof(WAVEHDR)) == MMSYSERR_NOERROR) return S_OK;
    const Lock lock(lock_);
    idle_.push_back(std::move(queued_.back()));
    queued_.pop_back();
    queued_bytes_ -= bytes;
    queued_total_ -= bytes;
    return E_FAIL;
  } catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
  }
}

/// In the two ways in which a track tries to open it.
bool Takes(int32_t number, const WAVEFORMATEX& format) {
  const auto asks = [number](const WAVEFORMATEX& way) {
    return waveOutOpen(nullptr, static_cast<UINT>(number), &way, 0, 0, WAVE_FORMAT_QUERY) == MMSYSERR_NOERROR;
  };
  return asks(MakeExtensible(format).Format) || asks(format);
}

}  // namespace

HRESULT OpenWaveOutDevice(const WAVEFORMATEX& format, uint32_t buffer_bytes, int32_t number,
                          OutputDevice** out) {
  if (!out) return E_POINTER;
  *out = nullptr;
  if (format.nBlockAlign == 0 || format.nAvgBytesPerSec == 0 || buffer_bytes == 0) return E_INVALIDARG;
  try {
    const auto* bytes = reinterpret_cast<const uint8_t*>(&format);
    auto device = ComPtr<WaveOutDevice>::Adopt(
        new WaveOutDevice(std::vector<uint8_t>(bytes, bytes + FormatSize(format)), buffer_bytes, number));
    const HRESULT result = device->Open();
    if (FAILED(result)) return result;
    *out = device.Detach();
    return S_OK;
  } catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
  }
}

HRESULT QueryWaveOutDevice(int32_t number, DeviceCapabilities* out) {
  if (!out) return E_POINTER;
  *out = {};
  const UINT count = waveOutGetNumDevs();
  if (count == 0) return number > 0 ? E_INVALIDARG : E_FAIL;
  if (number < -1 || number >= static_cast<int32_t>(count)) return E_INVALIDARG;
  WAVEOUTCAPSW caps = {};
  const auto device = static_cast<UINT_PTR>(static_cast<INT_PTR>(number));
  if (waveOutGetDevCapsW(device, &caps, sizeof caps) != MMSYSERR_NOERROR) return E_FAIL;
  try {
    // Some say 65535 where they do not know.
    const uint16_t channels = caps.wChannels == 0 || caps.wChannels > 8 ? uint16_t{2} : caps.wChannels;
    const uint16_t stereo = std::min<uint16_t>(channels, 2);
    DeviceCapabilities found;
    found.max_channels = channels;
    for (const uint32_t rate : kUsualRates)
      if (Takes(number, MakePcmFormat(stereo, rate, 16))) found.rates.push_back(rate);
    if (found.rates.empty()) return E_FAIL;
    found.min_rate = found.rates.front();
    found.max_rate = found.rates.back();
    const bool has_44100 = std::find(found.rates.begin(), found.rates.end(), 44100u) != found.rates.end();
    for (const uint16_t bits : kOutputBits)
      if (Takes(number, MakePcmFormat(stereo, has_44100 ? 44100 : found.max_rate, bits)))
        found.bits.push_back(bits);
    if (!found.bits.empty()) {
      found.min_bits = found.bits.front();
      found.max_bits = found.bits.back();
    }
    *out = std::move(found);
    return S_OK;
  } catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
  }
}

}  // namespace melorin
