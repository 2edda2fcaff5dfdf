// SPDX-License-Identifier: MIT
#include "playback/win32/wave_out_line.h"

#include <algorithm>
#include <cstring>
#include <new>

#include "platform/clock.h"
#include "playback/output_device.h"
#include "playback/win32/driver_thread.h"

namespace melorin {

namespace {

/// Between what waveOut reports as played and what is heard.
constexpr uint32_t kLatencyMs = 60;
/// A report is good for that long; how far it is followed by the clock when no newer one comes.
constexpr uint32_t kReportMs = 40;
constexpr uint32_t kFollowMs = 100;
/// How long closing waits for the driver to give back its blocks.
constexpr uint32_t kBlocksBackMs = 500;
constexpr uint32_t kStepMs = 5;

/// Lines given up while their threads are in the platform.
std::atomic<int32_t> g_stuck{0};

uint32_t Now() {
  return SystemClock().TickMs();
}

}  // namespace

WaveOutLine::WaveOutLine(WaveOutRequest request)
    : request_(std::move(request)), heard_(Format().nAvgBytesPerSec, Format().nBlockAlign, kLatencyMs) {}

HRESULT WaveOutLine::Open(WaveOutRequest request, std::shared_ptr<WaveOutLine>* out) {
  if (g_stuck > 0) return kDeviceTimedOut;
  auto line = std::make_shared<WaveOutLine>(std::move(request));
  if (!StartLooseThread([line] { line->Run(); })) return E_OUTOFMEMORY;
  if (!line->answered_.Wait(line->request_.patience.open_ms)) {
    line->GiveUp();
    return kDeviceTimedOut;
  }
  if (FAILED(line->result_)) return line->result_;
  *out = std::move(line);
  return S_OK;
}

HRESULT WaveOutLine::Ask(Command command, DWORD argument) {
  const Lock asking(ask_lock_);
  if (lost_) return E_FAIL;
  answered_.Reset();
  argument_ = argument;
  command_ = command;
  work_.Set();
  if (answered_.Wait(request_.patience.call_ms)) return result_;
  GiveUp();
  return kDeviceTimedOut;
}

void WaveOutLine::GiveUp() {
  lost_ = true;
  work_.Set();
  const Lock lock(lock_);
  if (!inside_ || stuck_) return;
  stuck_ = true;
  ++g_stuck;
}

void WaveOutLine::Close() {
  quit_ = true;
  work_.Set();
  if (!lost_ && !closed_.Wait(request_.patience.call_ms)) GiveUp();
}

HRESULT WaveOutLine::Write(const uint8_t* data, uint32_t bytes) {
  if (lost_) return E_FAIL;
  std::list<Block> one;
  bool refused = false;
  {
    const Lock lock(lock_);
    CollectLocked();
    refused = write_failed_;
    // The memory of a prepared block must stay where it is.
    if (!refused && !idle_.empty() && idle_.front().data.size() >= bytes)
      one.splice(one.end(), idle_, idle_.begin());
  }
  if (!refused) {
    if (one.empty()) one.emplace_back().data.resize(bytes);
    Block& block = one.front();
    std::memcpy(block.data.data(), data, bytes);
    block.bytes = bytes;
    const Lock lock(lock_);
    waiting_.splice(waiting_.end(), one);
    queued_bytes_ += bytes;
    queued_total_ += bytes;
  }
  work_.Set();
  return refused ? E_FAIL : S_OK;
}

uint32_t WaveOutLine::FreeBytes() {
  const Lock lock(lock_);
  CollectLocked();
  return queued_bytes_ >= request_.buffer_bytes ? 0 : request_.buffer_bytes - queued_bytes_;
}

HRESULT WaveOutLine::GetPosition(uint32_t* bytes) {
  bool old = false;
  {
    const Lock lock(lock_);
    const uint32_t now = Now();
    const uint32_t age = now - report_tick_;
    old = age >= kReportMs;
    if (position_failed_ && !lost_) {
      if (!wants_position_.exchange(true)) work_.Set();
      return E_FAIL;
    }
    uint64_t reported = reported_total_;
    if (running_) reported += uint64_t{std::min(age, kFollowMs)} * Format().nAvgBytesPerSec / 1000;
    *bytes = static_cast<uint32_t>(heard_.Estimate(std::min(reported, queued_total_), now));
  }
  if (old && !lost_ && !wants_position_.exchange(true)) work_.Set();
  return lost_ ? E_FAIL : S_OK;
}

void WaveOutLine::CollectLocked() {
  const uint32_t finished = finished_.load();
  for (; !queued_.empty() && collected_ != finished; ++collected_) {
    queued_bytes_ -= queued_.front().bytes;
    idle_.splice(idle_.end(), queued_, queued_.begin());
  }
}

void CALLBACK WaveOutLine::OnMessage(HWAVEOUT, UINT message, DWORD_PTR instance, DWORD_PTR, DWORD_PTR) {
  if (message == WOM_DONE) reinterpret_cast<WaveOutLine*>(instance)->finished_.fetch_add(1);
}

void WaveOutLine::Run() {
  SetThreadPriority(GetCurrentThread(), THREAD_PRIORITY_HIGHEST);
  Enter();
  result_ = OpenHandle();
  const bool usable = SUCCEEDED(result_);
  Leave();
  answered_.Set();
  while (usable && !quit_ && !lost_) {
    work_.Wait();
    if (quit_ || lost_) break;
    Enter();
    // What was written before a command goes first.
    HandOver();
    const Command command = command_.exchange(Command::kNone);
    if (command != Command::kNone) result_ = Do(command, argument_);
    if (wants_position_.exchange(false)) ReadPosition();
    Leave();
    if (command != Command::kNone) answered_.Set();
  }
  Enter();
  if (usable) CloseHandle();
  Leave();
  closed_.Set();
}

void WaveOutLine::Enter() {
  const Lock lock(lock_);
  inside_ = true;
}

void WaveOutLine::Leave() {
  const Lock lock(lock_);
  inside_ = false;
  if (stuck_) --g_stuck;
  stuck_ = false;
}

HRESULT WaveOutLine::OpenHandle() {
  const MMRESULT result = request_.api->Open(&handle_, static_cast<UINT>(request_.number), &Format(),
                                             reinterpret_cast<DWORD_PTR>(&OnMessage),
                                             reinterpret_cast<DWORD_PTR>(this), CALLBACK_FUNCTION);
  if (result != MMSYSERR_NOERROR) return result == MMSYSERR_NOMEM ? E_OUTOFMEMORY : E_FAIL;
  request_.api->Pause(handle_);
  return S_OK;
}

void WaveOutLine::CloseHandle() {
  request_.api->Reset(handle_);
  bool all_back = false;
  for (uint32_t waited = 0;; waited += kStepMs) {
    {
      const Lock lock(lock_);
      CollectLocked();
      all_back = queued_.empty();
    }
    if (all_back || waited >= kBlocksBackMs) break;
    SystemClock().Sleep(kStepMs);
  }
  for (std::list<Block>* blocks : {&idle_, &waiting_})
    for (Block& block : *blocks)
      if (block.header.dwFlags & WHDR_PREPARED)
        request_.api->UnprepareHeader(handle_, &block.header, sizeof(WAVEHDR));
  // A driver that still holds our memory may call back: better lost than written to after it is freed.
  if (request_.api->Close(handle_) != MMSYSERR_NOERROR || !all_back)
    static_cast<void>(new (std::nothrow) std::shared_ptr<WaveOutLine>(shared_from_this()));
}

void WaveOutLine::HandOver() {
  while (OfferOldest()) {
  }
}

/// Queues the oldest waiting block with the platform. False when there is none or it is refused.
bool WaveOutLine::OfferOldest() {
  Block* block = nullptr;
  {
    const Lock lock(lock_);
    if (waiting_.empty()) return false;
    block = &waiting_.front();
  }
  WAVEHDR& header = block->header;
  if (header.dwFlags & WHDR_PREPARED) request_.api->UnprepareHeader(handle_, &header, sizeof header);
  header = {};
  header.lpData = reinterpret_cast<LPSTR>(block->data.data());
  header.dwBufferLength = block->bytes;
  const bool prepared = request_.api->PrepareHeader(handle_, &header, sizeof header) == MMSYSERR_NOERROR;
  {
    // Into the queue before the platform sees it: it may be finished before the call returns.
    const Lock lock(lock_);
    queued_.splice(queued_.end(), waiting_, waiting_.begin());
  }
  const bool written = prepared && request_.api->Write(handle_, &header, sizeof header) == MMSYSERR_NOERROR;
  const Lock lock(lock_);
  write_failed_ = !written;
  if (!written) waiting_.splice(waiting_.begin(), queued_, std::prev(queued_.end()));
  return written;
}

HRESULT WaveOutLine::Do(Command command, DWORD argument) {
  switch (command) {
    case Command::kRestart:
      if (request_.api->Restart(handle_) != MMSYSERR_NOERROR) return E_FAIL;
      SetRunning(true);
      return S_OK;
    case Command::kPause:
      if (request_.api->Pause(handle_) != MMSYSERR_NOERROR) return E_FAIL;
      ReadPosition();
      SetRunning(false);
      return S_OK;
    case Command::kReset:
      return DoReset();
    case Command::kSetVolume:
      return request_.api->SetVolume(handle_, argument) == MMSYSERR_NOERROR ? S_OK : E_FAIL;
    default:
      return E_FAIL;
  }
}

HRESULT WaveOutLine::DoReset() {
  if (request_.api->Reset(handle_) != MMSYSERR_NOERROR) return E_FAIL;
  // A reset device may play what is written next; ours waits for Restart.
  request_.api->Pause(handle_);
  uint32_t report = 0;
  PlatformPosition(&report);
  const Lock lock(lock_);
  CollectLocked();
  for (const Block& block : waiting_)
    queued_bytes_ -= block.bytes;
  idle_.splice(idle_.end(), waiting_);
  running_ = write_failed_ = position_failed_ = false;
  queued_total_ = 0;
  reported_total_ = 0;
  last_report_ = report;
  report_tick_ = Now();
  heard_.Reset(report_tick_, false);
  return S_OK;
}

void WaveOutLine::SetRunning(bool running) {
  const Lock lock(lock_);
  running_ = running;
  report_tick_ = Now();
  heard_.SetRunning(running, report_tick_);
}

void WaveOutLine::ReadPosition() {
  uint32_t report = 0;
  const bool told = PlatformPosition(&report);
  const Lock lock(lock_);
  position_failed_ = !told;
  if (!told) return;
  report_tick_ = Now();
  // Half the range forwards is movement, the other half a step back, which happens around a reset.
  const uint32_t moved = report - last_report_;
  if (moved >= 0x80000000u) return;
  reported_total_ = std::min(reported_total_ + moved, queued_total_);
  last_report_ = report;
}

bool WaveOutLine::PlatformPosition(uint32_t* bytes) const {
  MMTIME time = {};
  time.wType = TIME_BYTES;
  if (request_.api->GetPosition(handle_, &time, sizeof time) != MMSYSERR_NOERROR) return false;
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

}  // namespace melorin
