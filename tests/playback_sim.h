// SPDX-License-Identifier: MIT
//
// A simulated clock, device, chain and window for the tests of the playback stream. Time stands still until
// the test advances it, and it is handed out only while every thread of the stream waits: each run takes the
// same steps.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstring>
#include <map>
#include <string>
#include <vector>

#include "platform/clock.h"
#include "playback/playback_stream.h"
#include "playback/track_effects.h"
#include "playback/visual_data.h"

namespace melorin::sim {

/// Wait takes manual-reset events only, since whether one is set is looked at from outside too.
class SimClock final : public Clock {
 public:
  uint32_t TickMs() override {
    const Lock lock(mutex_);
    return now_ms_;
  }

  bool Wait(Event& event, uint32_t timeout_ms) override {
    std::unique_lock lock(mutex_);
    waits_.push_back(timeout_ms);
    if (timeout_ms == 0) return event.Wait(0);
    Waiter waiter{&event, timeout_ms != kInfinite, now_ms_ + uint64_t{timeout_ms}, ThreadNumber(), false};
    waiters_.push_back(&waiter);
    changed_.notify_all();
    bool set = false;
    while (!waiter.released && !(set = event.Wait(0)))
      changed_.wait_for(lock, std::chrono::milliseconds(1));
    waiters_.erase(std::find(waiters_.begin(), waiters_.end(), &waiter));
    changed_.notify_all();
    return set;
  }

  void Sleep(uint32_t duration_ms) override {
    Event never(Event::Mode::kManualReset);
    Wait(never, duration_ms);
  }

  /// Starts threads that this clock knows of; the first `starts_that_work` of them.
  ThreadStarter Starter(int starts_that_work = 1 << 30) {
    return [this, left = std::make_shared<std::atomic<int>>(starts_that_work)](Thread& thread,
                                                                               std::function<void()> body) {
      if ((*left)-- <= 0) return false;
      int number;
      {
        const Lock lock(mutex_);
        ++live_;
        number = ++started_;
      }
      return thread.Start([this, number, run = std::move(body)] {
        ThreadNumber() = number;
        run();
        const Lock lock(mutex_);
        --live_;
        changed_.notify_all();
      });
    };
  }

  /// Until every thread waits and none has a reason to go on.
  void Settle() {
    std::unique_lock lock(mutex_);
    SettleLocked(lock);
  }

  void Advance(uint32_t duration_ms) {
    std::unique_lock lock(mutex_);
    const uint32_t target = now_ms_ + duration_ms;
    for (;;) {
      if (!SettleLocked(lock)) return;
      Waiter* next = nullptr;
      for (Waiter* waiter : waiters_)
        if (waiter->timed &&
            (!next || std::pair(waiter->deadline, waiter->thread) < std::pair(next->deadline, next->thread)))
          next = waiter;
      if (!next || next->deadline > target) break;
      now_ms_ = static_cast<uint32_t>(next->deadline);
      next->released = true;
      changed_.notify_all();
    }
    now_ms_ = target;
  }

  /// Every time-out that was asked for since the last call.
  std::vector<uint32_t> TakeWaits() {
    const Lock lock(mutex_);
    return std::exchange(waits_, {});
  }
  void ReserveWaits(size_t count) {
    const Lock lock(mutex_);
    waits_.reserve(count);
    waiters_.reserve(16);
  }

 private:
  struct Waiter {
    Event* event;
    bool timed;
    uint64_t deadline;
    int thread;
    bool released;
  };

  static int& ThreadNumber() {
    static thread_local int number = 0;
    return number;
  }

  bool SettleLocked(std::unique_lock<std::mutex>& lock) {
    const auto give_up = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    for (;;) {
      const bool still = waiters_.size() == live_ &&
                         std::none_of(waiters_.begin(), waiters_.end(),
                                      [](Waiter* w) { return w->released || w->event->Wait(0); });
      if (still) return true;
      if (std::chrono::steady_clock::now() > give_up) {
        ADD_FAILURE() << "the threads do not come to rest";
        return false;
      }
      changed_.wait_for(lock, std::chrono::milliseconds(1));
    }
  }

  std::mutex mutex_;
  std::condition_variable changed_;
  uint32_t now_ms_ = 1000;
  size_t live_ = 0;
  int started_ = 0;
  std::vector<Waiter*> waiters_;
  std::vector<uint32_t> waits_;
};

/// What happened, in order: "A.Play", "A.SetVolume 30", "chain.Start", "post 10001".
class Journal {
 public:
  explicit Journal(Clock& clock) : clock_(clock) {}
  struct Entry {
    uint32_t ms;
    std::string text;
  };
  void Add(std::string text) {
    const uint32_t now = clock_.TickMs();
    const Lock lock(mutex_);
    if (!quiet_) entries_.push_back({now, std::move(text)});
  }
  bool Quiet() const { return quiet_; }
  void SetQuiet(bool quiet) { quiet_ = quiet; }
  std::vector<Entry> Take() {
    const Lock lock(mutex_);
    return std::exchange(entries_, {});
  }
  /// The texts of those that start with one of the prefixes, joined by spaces.
  static std::string Filter(const std::vector<Entry>& entries, std::initializer_list<std::string> prefixes) {
    std::string all;
    for (const Entry& entry : entries)
      for (const std::string& prefix : prefixes)
        if (entry.text.starts_with(prefix)) {
          if (!all.empty()) all += ", ";
          all += entry.text;
          break;
        }
    return all;
  }

 private:
  Clock& clock_;
  std::mutex mutex_;
  std::vector<Entry> entries_;
  std::atomic<bool> quiet_{false};
};

/// What the devices of one test have in common; set before the stream is made, or while its threads rest.
struct DeviceSetup {
  DeviceKind kind = DeviceKind::kDirectSound;
  uint32_t buffer_bytes = 32000;
  uint32_t bytes_per_second = 32000;
  std::atomic<int32_t> free_override{-1};
  std::atomic<HRESULT> volume{S_OK}, play{S_OK}, write{S_OK}, reset{S_OK}, pause{S_OK}, clone{S_OK},
      buffer_size{S_OK};
  bool capture = true;
  std::atomic<int> alive{0};
};

class SimDevice final : public ComObject<OutputDevice> {
 public:
  SimDevice(Clock& clock, Journal& journal, DeviceSetup& setup, char name)
      : clock_(clock), journal_(journal), setup_(setup), name_(name) {
    ++setup_.alive;
  }

  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID, void**) override { return E_NOINTERFACE; }
  HRESULT STDMETHODCALLTYPE GetType(int32_t* kind) override {
    *kind = static_cast<int32_t>(setup_.kind);
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE Clone(OutputDevice** out) override {
    Note("Clone");
    if (FAILED(setup_.clone)) return setup_.clone;
    *out = clone_ = new SimDevice(clock_, journal_, setup_, static_cast<char>(name_ + 1));
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE Play() override {
    Note("Play");
    if (FAILED(setup_.play)) return setup_.play;
    const Lock lock(mutex_);
    if (!playing_) since_ms_ = clock_.TickMs();
    playing_ = true;
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE Pause() override {
    Note("Pause");
    const Lock lock(mutex_);
    played_ = PlayedLocked();
    playing_ = false;
    return setup_.pause;
  }
  HRESULT STDMETHODCALLTYPE Reset() override {
    Note("Reset");
    if (FAILED(setup_.reset)) return setup_.reset;
    const Lock lock(mutex_);
    played_ = written_ = 0;
    since_ms_ = clock_.TickMs();
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE SetVolume(int32_t volume) override {
    if (!journal_.Quiet()) Note("SetVolume " + std::to_string(volume));
    return setup_.volume;
  }
  HRESULT STDMETHODCALLTYPE SetBalance(int32_t balance) override {
    if (balance != 0) Note("SetBalance " + std::to_string(balance));
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE GetBufferSize(uint32_t* bytes) override {
    *bytes = setup_.buffer_bytes;
    return setup_.buffer_size;
  }
  HRESULT STDMETHODCALLTYPE GetPosition(uint32_t* bytes) override {
    const Lock lock(mutex_);
    *bytes = static_cast<uint32_t>(PlayedLocked());
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE GetFreeSpace(uint32_t* bytes) override {
    const Lock lock(mutex_);
    *bytes = setup_.free_override >= 0
                 ? static_cast<uint32_t>(setup_.free_override)
                 : setup_.buffer_bytes - static_cast<uint32_t>(written_ - PlayedLocked());
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE Write(const uint8_t* data, uint32_t bytes) override {
    if (!journal_.Quiet()) Note("Write " + std::to_string(bytes));
    if (FAILED(setup_.write)) return setup_.write;
    const Lock lock(mutex_);
    const uint64_t played = PlayedLocked();
    if (setup_.free_override < 0) {
      EXPECT_LE(written_ + bytes, played + setup_.buffer_bytes);
    }
    played_ = played;  // An empty device has not played on in the meantime.
    since_ms_ = clock_.TickMs();
    written_ += bytes;
    if (setup_.capture) captured_.insert(captured_.end(), data, data + bytes);
    return S_OK;
  }

  std::vector<uint8_t> Captured() {
    const Lock lock(mutex_);
    return captured_;
  }
  SimDevice* LastClone() { return clone_; }

 private:
  ~SimDevice() override {
    Note("Gone");
    --setup_.alive;
  }
  void Note(const std::string& text) {
    if (!journal_.Quiet()) journal_.Add(std::string(1, name_) + "." + text);
  }
  uint64_t PlayedLocked() {
    if (!playing_) return played_;
    return std::min(written_,
                    played_ + uint64_t{clock_.TickMs() - since_ms_} * setup_.bytes_per_second / 1000);
  }

  Clock& clock_;
  Journal& journal_;
  DeviceSetup& setup_;
  const char name_;
  SimDevice* clone_ = nullptr;
  std::mutex mutex_;
  bool playing_ = false;
  uint32_t since_ms_ = 0;
  uint64_t played_ = 0;
  uint64_t written_ = 0;
  std::vector<uint8_t> captured_;
};

/// 8000 Hz stereo. Frame n holds n in the left channel and -n in the right, in units of 16 bits, wrapping at
/// 32768.
struct ChainSetup {
  uint32_t block_frames = 800;
  uint32_t total_frames = 80000;
  uint32_t duration_ms = 10000;
  std::atomic<bool> empty_blocks{false};
  std::atomic<HRESULT> start{S_OK}, seek{S_OK}, end{S_FALSE};
  std::atomic<int> alive{0};
  SoundSource* source = nullptr;
  TrackEffects* effects = nullptr;
};

inline float SimSample(uint32_t frame, uint32_t channel) {
  const float value = static_cast<float>(frame % 32768) / 32768.0f;
  return channel == 0 ? value : -value;
}

class SimChain final : public PlaybackChain {
 public:
  SimChain(Journal& journal, ChainSetup& setup) : journal_(journal), setup_(setup) { ++setup_.alive; }
  ~SimChain() override { --setup_.alive; }
  uint32_t NativeBlockBytes() const override { return setup_.block_frames * 8; }
  uint32_t ResampledBlockBytes() const override { return 0; }
  bool IsResampling() const override { return false; }
  uint32_t SampleRate() const override { return 8000; }
  uint16_t Channels() const override { return 2; }
  uint16_t SourceBits() const override { return 16; }
  uint32_t DurationMs() const override { return setup_.duration_ms; }
  HRESULT NextBlock(SoundBuffer& block) override {
    if (setup_.empty_blocks) return S_OK;
    const uint32_t frames = std::min(setup_.block_frames, setup_.total_frames - next_frame_);
    if (frames == 0) return setup_.end;
    uint8_t* data = nullptr;
    block.GetData(&data, nullptr);
    for (uint32_t i = 0; i < frames; ++i)
      for (uint32_t channel = 0; channel < 2; ++channel) {
        const float value = SimSample(next_frame_ + i, channel);
        std::memcpy(data + (i * 2 + channel) * 4, &value, 4);
      }
    next_frame_ += frames;
    return block.SetLength(frames * 8);
  }
  HRESULT Seek(uint32_t position_ms) override {
    if (!journal_.Quiet()) journal_.Add("chain.Seek " + std::to_string(position_ms));
    if (FAILED(setup_.seek)) return setup_.seek;
    next_frame_ = std::min(position_ms * 8, setup_.total_frames);
    return S_OK;
  }
  HRESULT NotifyStart() override {
    journal_.Add("chain.Start");
    return setup_.start;
  }
  HRESULT NotifyPause() override {
    journal_.Add("chain.Pause");
    return S_OK;
  }
  HRESULT NotifyStop() override {
    journal_.Add("chain.Stop");
    return S_OK;
  }
  SoundSource* Source() const override { return setup_.source; }
  TrackEffects* Effects() override { return setup_.effects; }

 private:
  Journal& journal_;
  ChainSetup& setup_;
  uint32_t next_frame_ = 0;
};

class SimWindow final : public EventTarget {
 public:
  explicit SimWindow(Journal& journal) : journal_(journal) {}
  void Post(uint32_t message, uint32_t event, PlaybackStream*) override {
    EXPECT_EQ(message, kStreamMessage);
    char text[32];
    std::snprintf(text, sizeof text, "post %x", event);
    journal_.Add(text);
  }

 private:
  Journal& journal_;
};

inline WAVEFORMATEX MakeFormat(uint16_t bits = 16) {
  WAVEFORMATEX format{};
  format.wFormatTag = WAVE_FORMAT_PCM;
  format.nChannels = 2;
  format.nSamplesPerSec = 8000;
  format.wBitsPerSample = bits;
  format.nBlockAlign = static_cast<WORD>(2 * bits / 8);
  format.nAvgBytesPerSec = 8000u * format.nBlockAlign;
  return format;
}

/// One stream over simulated parts: 16-bit, blocks of 100 ms = 3200 bytes, a device of 1000 ms = 32000 bytes.
class StreamTest : public ::testing::Test {
 protected:
  void TearDown() override {
    stream_.Reset();
    device_.Reset();
    EXPECT_EQ(device_setup_.alive, 0);
    EXPECT_EQ(chain_setup_.alive, 0);
  }

  HRESULT Open(uint16_t bits = 16, int32_t dither = 0, ThreadStarter starter = {}) {
    device_setup_.bytes_per_second = MakeFormat(bits).nAvgBytesPerSec;
    device_ = ComPtr<SimDevice>::Adopt(new SimDevice(clock_, journal_, device_setup_, 'A'));
    HRESULT status = E_FAIL;
    stream_ = PlaybackStream::Create(std::make_unique<SimChain>(journal_, chain_setup_),
                                     ComPtr<OutputDevice>::Share(device_.get()), MakeFormat(bits), dither,
                                     clock_, &status, starter ? starter : clock_.Starter());
    if (stream_) stream_->SetNotify(&window_, kStreamMessage);
    clock_.Settle();
    return status;
  }
  /// Plays on until everything that a start brings is over.
  void OpenAndPlay() {
    ASSERT_EQ(Open(), S_OK);
    ASSERT_EQ(stream_->Play(), S_OK);
    clock_.Advance(1000);
    journal_.Take();
    clock_.TakeWaits();
  }
  std::string Happened(std::initializer_list<std::string> prefixes) {
    clock_.Settle();
    return Journal::Filter(journal_.Take(), prefixes);
  }

  SimClock clock_;
  Journal journal_{clock_};
  DeviceSetup device_setup_;
  ChainSetup chain_setup_;
  SimWindow window_{journal_};
  ComPtr<SimDevice> device_;
  ComPtr<PlaybackStream> stream_;
};

}  // namespace melorin::sim
