// SPDX-License-Identifier: MIT
#include "playback/win32/asio_session.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <memory>
#include <new>

#include "platform/clock.h"
#include "platform/thread.h"
#include "playback/output_device.h"
#include "playback/win32/asio_loader.h"

namespace melorin {

namespace {

constexpr int32_t kMaxLatencyFrames = 1 << 18;
/// A driver that asks for a reset again and again does not work.
constexpr int32_t kMaxResets = 20;
/// A driver that takes longer for a reset while it runs is late for those who watch over the device.
constexpr uint32_t kResetMs = 1500;

/// Which driver is in a session.
struct Seat {
  CriticalSection lock;
  bool taken = false;
  CLSID clsid = {};
};
Seat g_seat;

bool TakeSeat(const CLSID& clsid) {
  const Lock lock(g_seat.lock);
  if (g_seat.taken) return false;
  g_seat.taken = true;
  g_seat.clsid = clsid;
  return true;
}

void LeaveSeat() {
  const Lock lock(g_seat.lock);
  g_seat.taken = false;
}

/// Whom the callbacks mean, and how many of them are inside. A callback counts itself in before it looks for
/// the session, and the session is taken away before the count is looked at.
std::atomic<AsioSession*> g_session{nullptr};
std::atomic<int32_t> g_inside{0};

class Inside {
 public:
  Inside() { ++g_inside; }
  ~Inside() { --g_inside; }
  Inside(const Inside&) = delete;
  Inside& operator=(const Inside&) = delete;
};

void WaitUntilNobodyIsInside() {
  while (g_inside != 0)
    SystemClock().Sleep(1);
}

HRESULT ResultOf(int32_t error) {
  if (error == asio::kOk) return S_OK;
  return error == asio::kNoMemory ? E_OUTOFMEMORY : E_FAIL;
}

bool SameRate(double a, double b) {
  return std::fabs(a - b) < 1.0;
}

}  // namespace

struct AsioSession::Calls {
  __attribute__((force_align_arg_pointer)) static void __cdecl BufferSwitch(int32_t index, int32_t) {
    const Inside inside;
    if (AsioSession* session = g_session) session->Switch(index);
  }

  __attribute__((force_align_arg_pointer)) static asio::Time* __cdecl BufferSwitchTimeInfo(asio::Time*,
                                                                                           int32_t index,
                                                                                           int32_t) {
    const Inside inside;
    if (AsioSession* session = g_session) session->Switch(index);
    return nullptr;
  }

  /// 0 says that the driver has lost its clock and knows no rate.
  __attribute__((force_align_arg_pointer)) static void __cdecl RateChanged(double rate) {
    const Inside inside;
    AsioSession* session = g_session;
    if (session && rate > 0 && !SameRate(rate, session->request_.format.nSamplesPerSec)) session->Lose();
  }

  __attribute__((force_align_arg_pointer)) static int32_t __cdecl OnMessage(int32_t selector, int32_t value,
                                                                            void*, double*) {
    const Inside inside;
    switch (selector) {
      case asio::kSelectorSupported:
        return value == asio::kSelectorSupported || value == asio::kEngineVersion ||
               value == asio::kResetRequest || value == asio::kResyncRequest;
      case asio::kEngineVersion:
        return asio::kHostVersion;
      case asio::kResetRequest:
        // It must not be done before the driver has its answer.
        if (AsioSession* session = g_session) session->AskForReset();
        return 1;
      case asio::kResyncRequest:
        // Some samples were lost, as happens under load. Nothing here keeps step with the driver's count.
        return 1;
      default:
        return 0;
    }
  }

  static constexpr asio::Callbacks kTable = {&BufferSwitch, &RateChanged, &OnMessage, &BufferSwitchTimeInfo};
};

HRESULT AsioSession::Open(const AsioRequest& request, std::shared_ptr<AsioSession>* out) {
  auto session = std::make_shared<AsioSession>(request);
  if (!session->prepared_ || !session->command_ || !session->answer_ || !session->ended_)
    return E_OUTOFMEMORY;
  if (!TakeSeat(request.clsid)) return kDeviceBusy;
  bool runs = false;
  try {
    runs = StartDriverThread([session] { session->Run(); });
  } catch (const std::bad_alloc&) {
  }
  if (!runs) {
    LeaveSeat();
    return E_OUTOFMEMORY;
  }
  const bool prepared = session->prepared_.WaitAsCaller(request.patience.open_ms);
  const HRESULT result = prepared ? session->result_ : kDeviceTimedOut;
  if (FAILED(result)) {
    session->Close();
    return result;
  }
  *out = std::move(session);
  return S_OK;
}

bool AsioSession::IsInUse(const CLSID& clsid) {
  const Lock lock(g_seat.lock);
  return g_seat.taken && SameGuid(g_seat.clsid, clsid);
}

bool AsioSession::Start() {
  if (lost_) return false;
  if (started_) return true;
  answer_.Reset();
  start_ = true;
  command_.Set();
  if (!answer_.WaitAsCaller(request_.patience.start_ms) || !started_) Lose();
  return !lost_;
}

void AsioSession::Close() {
  quit_ = true;
  command_.Set();
  ended_.WaitAsCaller(request_.patience.close_ms);
}

void AsioSession::Lose() {
  lost_ = true;
  // The driver may go on asking: with silence from now on, not with the same two halves for ever.
  if (feed_) feed_->Halt();
}

void AsioSession::AskForReset() {
  reset_ = true;
  command_.Set();
}

void AsioSession::Run() {
  result_ = TryPrepare();
  const bool usable = SUCCEEDED(result_);
  prepared_.Set();
  while (usable) {
    command_.WaitAsDriver();
    if (quit_) break;
    command_.Reset();
    if (quit_) break;
    if (reset_.exchange(false) && !lost_) ResetDriver();
    if (start_.exchange(false)) {
      if (!started_ && !lost_) started_ = driver_->start() == asio::kOk;
      answer_.Set();
    }
  }
  Release();
  LeaveSeat();
  ended_.Set();
}

/// Loads and prepares the driver again; what is queued goes on where it was.
void AsioSession::ResetDriver() {
  const bool ran = started_;
  const uint32_t begin = SystemClock().TickMs();
  Release();
  bool works = ++resets_ <= kMaxResets && SUCCEEDED(TryPrepare());
  if (works && ran && !quit_) {
    started_ = SystemClock().TickMs() - begin <= kResetMs && driver_->start() == asio::kOk;
    works = started_;
  }
  if (!works) Lose();
}

HRESULT AsioSession::TryPrepare() {
  try {
    return Prepare();
  } catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
  }
}

HRESULT AsioSession::Prepare() {
  const HRESULT loaded = LoadAsioDriver(request_.clsid, std::addressof(driver_));
  if (FAILED(loaded)) return loaded;
  if (driver_->init(request_.window) == 0) return E_FAIL;
  const HRESULT rate_set = SetRate();
  if (FAILED(rate_set)) return rate_set;

  int32_t inputs = 0;
  int32_t outputs = 0;
  int32_t error = driver_->getChannels(&inputs, &outputs);
  if (error != asio::kOk) return ResultOf(error);
  // A mono track is to be heard on both sides where there are two.
  const uint16_t channels = request_.format.nChannels == 1 && outputs > 1 ? 2 : request_.format.nChannels;
  if (outputs < channels) return E_FAIL;

  asio::Driver& driver = *driver_;
  AsioBufferSizes sizes;
  error = driver.getBufferSize(&sizes.smallest, &sizes.largest, &sizes.preferred, &sizes.granularity);
  if (error != asio::kOk) return ResultOf(error);
  const uint32_t frames = ChooseAsioFrames(sizes);
  if (frames == 0) return E_FAIL;

  const uint32_t both = 2 * frames * request_.format.nBlockAlign;
  const bool first = !feed_;
  if (first) {
    // In steps of the size that was asked for. A stream fills half of it before it plays, and many a driver
    // asks for both of its buffers at once when it starts.
    const uint32_t steps = (2 * both + request_.buffer_bytes - 1) / request_.buffer_bytes;
    feed_ = std::make_unique<AsioFeed>(request_.format, steps * request_.buffer_bytes);
  }
  if (feed_->Capacity() < both) return E_FAIL;

  g_session = this;
  const HRESULT created = CreateBuffers(channels, frames);
  if (FAILED(created)) return created;
  int32_t latency = 0;
  int32_t ignored = 0;
  if (driver.getLatencies(&ignored, &latency) != asio::kOk || latency < 0) latency = 0;
  latency = std::min(latency, kMaxLatencyFrames);
  if (first) {
    latency_ms_ = static_cast<uint32_t>(uint64_t{static_cast<uint32_t>(latency)} * 1000 /
                                        request_.format.nSamplesPerSec);
    halves_ms_ = static_cast<uint32_t>(uint64_t{2} * frames * 1000 / request_.format.nSamplesPerSec);
  }
  tells_ready_ = driver.outputReady() == asio::kOk;
  return lost_ ? E_FAIL : S_OK;
}

/// The rate stays when the driver is released: setting it back would make the card's clock jump twice between
/// two tracks.
HRESULT AsioSession::SetRate() {
  const double wanted = request_.format.nSamplesPerSec;
  if (driver_->canSampleRate(wanted) != asio::kOk) return E_FAIL;
  double rate = 0;
  if (driver_->getSampleRate(&rate) == asio::kOk && SameRate(rate, wanted)) return S_OK;
  const int32_t error = driver_->setSampleRate(wanted);
  if (error != asio::kOk) return ResultOf(error);
  // Some take every rate and keep the one that their clock source gives.
  if (driver_->getSampleRate(&rate) == asio::kOk && !SameRate(rate, wanted)) return E_FAIL;
  return S_OK;
}

HRESULT AsioSession::CreateBuffers(uint16_t channels, uint32_t frames) {
  std::vector<asio::BufferInfo> buffers(channels);
  std::vector<AsioSampleLayout> layouts(channels);
  for (uint16_t channel = 0; channel < channels; ++channel) {
    asio::ChannelInfo info = {};
    info.channel = channel;
    const int32_t error = driver_->getChannelInfo(&info);
    if (error != asio::kOk) return ResultOf(error);
    if (!LayoutOfAsioType(info.type, &layouts[channel])) return E_FAIL;
    buffers[channel].channelNum = channel;
  }
  const int32_t error =
      driver_->createBuffers(buffers.data(), channels, static_cast<int32_t>(frames), &Calls::kTable);
  if (error != asio::kOk) return ResultOf(error);
  has_buffers_ = true;
  frames_ = frames;
  for (size_t half = 0; half < outputs_.size(); ++half) {
    for (uint16_t channel = 0; channel < channels; ++channel) {
      auto* memory = static_cast<uint8_t*>(buffers[channel].buffers[half]);
      if (!memory) return E_FAIL;
      std::memset(memory, 0, size_t{frames} * layouts[channel].bytes);
      const auto source = static_cast<uint16_t>(request_.format.nChannels == 1 ? 0 : channel);
      outputs_[half].push_back({memory, layouts[channel], source});
    }
  }
  ready_ = true;
  return S_OK;
}

/// Only when the driver is gone and none of its threads is inside any more may the next session begin. Takes
/// as long as that takes: nobody waits for this thread longer than he wants.
void AsioSession::Release() {
  if (started_) driver_->stop();
  started_ = false;
  g_session = nullptr;
  WaitUntilNobodyIsInside();
  ready_ = tells_ready_ = false;
  if (has_buffers_) driver_->disposeBuffers();
  has_buffers_ = false;
  for (std::vector<AsioFeed::Output>& half : outputs_)
    half.clear();
  driver_.Reset();
}

void AsioSession::Switch(int32_t index) {
  if (!ready_ || index < 0 || index > 1) return;
  feed_->Fill(outputs_[static_cast<size_t>(index)], frames_);
  if (tells_ready_) driver_->outputReady();
}

}  // namespace melorin
