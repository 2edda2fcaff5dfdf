// SPDX-License-Identifier: MIT
//
// The waveOut device over a made-up platform that plays by the clock, refuses what it is told to, and can
// stand still in any of its calls.
#include <gtest/gtest.h>
#include <windows.h>

#include <mmsystem.h>

#include <atomic>
#include <cstring>
#include <deque>
#include <memory>
#include <vector>

#include "platform/clock.h"
#include "platform/com_ptr.h"
#include "playback/open_track.h"
#include "playback/win32/wave_out_device.h"
#include "tests/playback_sim.h"

namespace melorin {
namespace {

enum class Call { kNone, kOpen, kClose, kPrepare, kWrite, kPause, kRestart, kReset, kPosition, kVolume };

/// The table's functions are plain ones, so there is one of these at a time.
class FakeWaveOut {
 public:
  FakeWaveOut() { self_ = this; }
  ~FakeWaveOut() { self_ = nullptr; }
  FakeWaveOut(const FakeWaveOut&) = delete;
  FakeWaveOut& operator=(const FakeWaveOut&) = delete;

  const WaveOutApi& Api() const {
    static const WaveOutApi api = {&Open,  &Close,   &Prepare, &Unprepare,   &Write,
                                   &Pause, &Restart, &Reset,   &GetPosition, &SetVolume};
    return api;
  }

  std::atomic<Call> refuses{Call::kNone};
  std::atomic<Call> hangs_in{Call::kNone};  ///< Until let_go is set.
  Event let_go{Event::Mode::kManualReset};
  std::atomic<int> refusals{0};
  std::atomic<int> inside{0};  ///< Calls under way.
  std::atomic<int> open_handles{0};
  std::atomic<int> prepared{0};

  bool Idle() const { return inside == 0 && open_handles == 0; }
  std::vector<uint8_t> Taken() {
    const Lock lock(lock_);
    return taken_;
  }

 private:
  static FakeWaveOut& Self() { return *self_; }
  MMRESULT Enter(Call call) {
    ++inside;
    if (hangs_in == call) let_go.Wait();
    const bool refused = refuses == call;
    if (call == Call::kOpen && !refused) ++open_handles;
    if (refused) ++refusals;
    --inside;
    return refused ? MMSYSERR_NODRIVER : MMSYSERR_NOERROR;
  }
  /// Gives back what has been played by now.
  void CatchUp() {
    std::deque<WAVEHDR*> done;
    {
      const Lock lock(lock_);
      const uint32_t now = SystemClock().TickMs();
      if (running_) played_ += uint64_t{now - tick_} * bytes_per_second_ / 1000;
      tick_ = now;
      played_ = std::min(played_, queued_);
      while (!headers_.empty() && ends_.front() <= played_) {
        done.push_back(headers_.front());
        headers_.pop_front();
        ends_.pop_front();
      }
    }
    GiveBack(done);
  }
  void GiveBack(const std::deque<WAVEHDR*>& done) {
    for (WAVEHDR* header : done) {
      header->dwFlags |= WHDR_DONE;
      reinterpret_cast<void(CALLBACK*)(HWAVEOUT, UINT, DWORD_PTR, DWORD_PTR, DWORD_PTR)>(callback_)(
          nullptr, WOM_DONE, instance_, reinterpret_cast<DWORD_PTR>(header), 0);
    }
  }

  static MMRESULT WINAPI Open(LPHWAVEOUT handle, UINT, LPCWAVEFORMATEX format, DWORD_PTR callback,
                              DWORD_PTR instance, DWORD) {
    FakeWaveOut& self = Self();
    if (const MMRESULT result = self.Enter(Call::kOpen)) return result;
    const Lock lock(self.lock_);
    self.callback_ = callback;
    self.instance_ = instance;
    self.bytes_per_second_ = format->nAvgBytesPerSec;
    self.played_ = self.queued_ = 0;
    self.running_ = true;
    self.tick_ = SystemClock().TickMs();
    *handle = reinterpret_cast<HWAVEOUT>(size_t{0x1234});
    return MMSYSERR_NOERROR;
  }
  static MMRESULT WINAPI Close(HWAVEOUT) {
    FakeWaveOut& self = Self();
    if (const MMRESULT result = self.Enter(Call::kClose)) return result;
    --self.open_handles;
    return MMSYSERR_NOERROR;
  }
  static MMRESULT WINAPI Prepare(HWAVEOUT, LPWAVEHDR header, UINT) {
    if (const MMRESULT result = Self().Enter(Call::kPrepare)) return result;
    header->dwFlags |= WHDR_PREPARED;
    ++Self().prepared;
    return MMSYSERR_NOERROR;
  }
  static MMRESULT WINAPI Unprepare(HWAVEOUT, LPWAVEHDR header, UINT) {
    header->dwFlags &= ~static_cast<DWORD>(WHDR_PREPARED);
    --Self().prepared;
    return MMSYSERR_NOERROR;
  }
  static MMRESULT WINAPI Write(HWAVEOUT, LPWAVEHDR header, UINT) {
    FakeWaveOut& self = Self();
    if (const MMRESULT result = self.Enter(Call::kWrite)) return result;
    self.CatchUp();
    const Lock lock(self.lock_);
    const auto* data = reinterpret_cast<const uint8_t*>(header->lpData);
    self.taken_.insert(self.taken_.end(), data, data + header->dwBufferLength);
    self.queued_ += header->dwBufferLength;
    self.headers_.push_back(header);
    self.ends_.push_back(self.queued_);
    return MMSYSERR_NOERROR;
  }
  static MMRESULT WINAPI Pause(HWAVEOUT) { return Self().SetRunning(Call::kPause, false); }
  static MMRESULT WINAPI Restart(HWAVEOUT) { return Self().SetRunning(Call::kRestart, true); }
  MMRESULT SetRunning(Call call, bool running) {
    if (const MMRESULT result = Enter(call)) return result;
    CatchUp();
    const Lock lock(lock_);
    running_ = running;
    return MMSYSERR_NOERROR;
  }
  static MMRESULT WINAPI Reset(HWAVEOUT) {
    FakeWaveOut& self = Self();
    if (const MMRESULT result = self.Enter(Call::kReset)) return result;
    std::deque<WAVEHDR*> done;
    {
      const Lock lock(self.lock_);
      done.swap(self.headers_);
      self.ends_.clear();
      self.played_ = self.queued_ = 0;
      self.running_ = true;
    }
    self.GiveBack(done);
    return MMSYSERR_NOERROR;
  }
  static MMRESULT WINAPI GetPosition(HWAVEOUT, LPMMTIME time, UINT) {
    FakeWaveOut& self = Self();
    if (const MMRESULT result = self.Enter(Call::kPosition)) return result;
    self.CatchUp();
    const Lock lock(self.lock_);
    time->u.cb = static_cast<DWORD>(self.played_);
    return MMSYSERR_NOERROR;
  }
  static MMRESULT WINAPI SetVolume(HWAVEOUT, DWORD) { return Self().Enter(Call::kVolume); }

  static FakeWaveOut* self_;
  CriticalSection lock_;
  DWORD_PTR callback_ = 0, instance_ = 0;
  uint32_t bytes_per_second_ = 0;
  std::deque<WAVEHDR*> headers_;
  std::deque<uint64_t> ends_;
  std::vector<uint8_t> taken_;
  uint64_t queued_ = 0, played_ = 0;
  uint32_t tick_ = 0;
  bool running_ = false;
};
FakeWaveOut* FakeWaveOut::self_ = nullptr;

constexpr uint32_t kBlock = 400;
constexpr uint32_t kBuffer = 8 * kBlock;
constexpr WaveOutPatience kShort = {500, 200};

bool Await(const std::function<bool()>& true_at_last) {
  for (int i = 0; i < 500; ++i, SystemClock().Sleep(5))
    if (true_at_last()) return true;
  return false;
}

class WaveOut : public testing::Test {
 protected:
  HRESULT Open() {
    device_.Reset();
    return OpenWaveOutDevice(MakePcmFormat(2, 8000, 16), kBuffer, -1, device_.Receive(), fake_.Api(),
                             patience_);
  }
  std::vector<uint8_t> Data(uint32_t bytes) {
    std::vector<uint8_t> data(bytes);
    for (uint8_t& byte : data)
      byte = next_++;
    return data;
  }
  HRESULT Write(const std::vector<uint8_t>& data) {
    return device_->Write(data.data(), static_cast<uint32_t>(data.size()));
  }
  uint32_t Room() {
    uint32_t bytes = 0;
    EXPECT_EQ(device_->GetFreeSpace(&bytes), S_OK);
    return bytes;
  }
  void TearDown() override {
    device_.Reset();
    fake_.let_go.Set();
    EXPECT_TRUE(Await([this] { return fake_.Idle(); }));
    EXPECT_EQ(fake_.prepared, 0);
  }

  FakeWaveOut fake_;
  WaveOutPatience patience_;
  ComPtr<OutputDevice> device_;
  uint8_t next_ = 0;
};

TEST_F(WaveOut, WhatIsRefusedIsOfferedAgainInItsTurn) {
  ASSERT_EQ(Open(), S_OK);
  std::vector<uint8_t> all;
  const auto add = [&all](const std::vector<uint8_t>& data) {
    all.insert(all.end(), data.begin(), data.end());
  };
  for (const Call call : {Call::kWrite, Call::kPrepare}) {
    fake_.refusals = 0;
    fake_.refuses = call;
    const std::vector<uint8_t> first = Data(kBlock), second = Data(kBlock);
    EXPECT_EQ(Write(first), S_OK);
    EXPECT_TRUE(Await([this] { return fake_.refusals > 0; }));
    EXPECT_TRUE(Await([&] { return fake_.inside > 0 || Write(second) == E_FAIL; }));
    fake_.refuses = Call::kNone;
    EXPECT_TRUE(Await([&] { return Write(second) == S_OK; }));
    add(first);
    add(second);
    EXPECT_TRUE(Await([&] { return fake_.Taken().size() >= all.size(); }));
  }
  EXPECT_EQ(fake_.Taken(), all);
  EXPECT_EQ(Room(), kBuffer - 4 * kBlock);
  EXPECT_EQ(device_->Play(), S_OK);
  uint32_t position = 0;
  EXPECT_TRUE(Await([&] { return device_->GetPosition(&position) == S_OK && Room() == kBuffer; }));
}

TEST_F(WaveOut, RefusedCommandsAreFailures) {
  ASSERT_EQ(Open(), S_OK);
  fake_.refuses = Call::kVolume;
  EXPECT_EQ(device_->SetVolume(50), E_FAIL);
  EXPECT_EQ(device_->SetBalance(50), E_FAIL);
  fake_.refuses = Call::kRestart;
  EXPECT_EQ(device_->Play(), E_FAIL);
  fake_.refuses = Call::kPause;
  EXPECT_EQ(device_->Pause(), E_FAIL);
  fake_.refuses = Call::kReset;
  EXPECT_EQ(device_->Reset(), E_FAIL);
  fake_.refuses = Call::kNone;
  EXPECT_EQ(device_->SetVolume(50), S_FALSE);
  EXPECT_EQ(device_->Play(), S_OK);
  fake_.refuses = Call::kOpen;
  EXPECT_EQ(Open(), E_FAIL);
}

TEST_F(WaveOut, APlatformThatStandsStillHoldsUpNobody) {
  patience_ = kShort;
  for (const Call call : {Call::kWrite, Call::kPause, Call::kRestart, Call::kReset, Call::kPosition,
                          Call::kVolume, Call::kClose, Call::kPrepare}) {
    SCOPED_TRACE(static_cast<int>(call));
    fake_.let_go.Reset();
    ASSERT_TRUE(Await([this] { return Open() == S_OK; }));
    ASSERT_EQ(device_->SetVolume(100), S_FALSE);
    ASSERT_EQ(Write(Data(kBlock)), S_OK);
    ASSERT_EQ(device_->Play(), S_OK);
    fake_.hangs_in = call;
    const uint32_t begin = SystemClock().TickMs();
    uint32_t position = 0;
    device_->GetPosition(&position);
    Write(Data(kBlock));
    device_->SetVolume(30);
    device_->Play();
    device_->Pause();
    device_->Reset();
    const bool lost = FAILED(device_->Play());
    EXPECT_EQ(lost, call != Call::kClose);
    if (lost) {
      EXPECT_EQ(Write(Data(kBlock)), E_FAIL);
      EXPECT_EQ(device_->GetPosition(&position), E_FAIL);
    }
    device_.Reset();
    EXPECT_LT(SystemClock().TickMs() - begin, 900u) << "once the patience, not at each call";
    EXPECT_EQ(Open(), kDeviceTimedOut) << "at once while the last one is still inside";
    fake_.hangs_in = Call::kNone;
    fake_.let_go.Set();
    EXPECT_TRUE(Await([this] { return fake_.Idle(); }));
  }
  fake_.hangs_in = Call::kOpen;
  fake_.let_go.Reset();
  EXPECT_EQ(Open(), kDeviceTimedOut);
  EXPECT_FALSE(device_);
}

class WaveOutFactory final : public DeviceFactory {
 public:
  WaveOutFactory(const WaveOutApi& api, const WaveOutPatience& patience) : api_(api), patience_(patience) {}
  HRESULT OpenWaveOut(const WAVEFORMATEX& format, uint32_t buffer_bytes, int32_t number,
                      OutputDevice** out) override {
    return OpenWaveOutDevice(format, buffer_bytes, number, out, api_, patience_);
  }
  HRESULT OpenDirectSound(const DirectSoundRequest&, OutputDevice**) override { return E_NOTIMPL; }
  HRESULT OpenKernelStreaming(const WAVEFORMATEX&, uint32_t, uint32_t, int32_t, OutputDevice**) override {
    return E_NOTIMPL;
  }
  HRESULT OpenAsio(const WAVEFORMATEX&, uint32_t, int32_t, OutputDevice**) override { return E_NOTIMPL; }

 private:
  const WaveOutApi& api_;
  const WaveOutPatience patience_;
};

/// Whole tracks of 16-bit stereo at 8000 Hz.
class WaveOutTrack : public WaveOut, private EventTarget {
 protected:
  void Play(uint32_t frames) {
    chain_setup_.total_frames = frames;
    chain_setup_.duration_ms = frames / 8;
    chain_setup_.block_frames = 200;
    journal_.SetQuiet(true);
    PlaybackSettings settings;
    settings.device_type = PackDeviceId(0, 0);
    settings.buffer_duration = 200;
    WaveOutFactory factory(fake_.Api(), patience_);
    ASSERT_EQ(OpenForChain(std::make_unique<sim::SimChain>(journal_, chain_setup_), settings, nullptr,
                           SystemClock(), std::addressof(stream_), &factory),
              S_OK);
    stream_->SetNotify(this, kStreamMessage);
    ASSERT_EQ(stream_->Play(), S_OK);
  }
  void Post(uint32_t, uint32_t event, PlaybackStream*) override {
    if (event == kEventTrackEnd) ended_.Set();
  }
  void TearDown() override {
    stream_.Reset();
    WaveOut::TearDown();
  }

  sim::Journal journal_{SystemClock()};
  sim::ChainSetup chain_setup_;
  Event ended_{Event::Mode::kManualReset};
  ComPtr<PlaybackStream> stream_;
};

TEST_F(WaveOutTrack, RunsToItsEndInTime) {
  const uint32_t begin = SystemClock().TickMs();
  ASSERT_NO_FATAL_FAILURE(Play(4000));
  ASSERT_TRUE(ended_.Wait(5000));
  EXPECT_GE(SystemClock().TickMs() - begin, 490u);
  const std::vector<uint8_t> taken = fake_.Taken();
  ASSERT_GE(taken.size(), 16000u);
  for (uint32_t frame = 0; frame < 4000; ++frame) {
    int16_t left = 0;
    std::memcpy(&left, &taken[frame * 4], 2);
    ASSERT_EQ(left, static_cast<int16_t>(frame));
  }
}

TEST_F(WaveOutTrack, RunsOnUnheardWhenTheDeviceIsTakenAway) {
  ASSERT_NO_FATAL_FAILURE(Play(8000));
  SystemClock().Sleep(100);
  fake_.refuses = Call::kWrite;
  EXPECT_TRUE(ended_.Wait(6000)) << "after the watch's two seconds";
  EXPECT_LT(fake_.Taken().size(), 8000u * 4);
  EXPECT_EQ(stream_->Play(), S_OK);
  EXPECT_EQ(stream_->Stop(), S_OK);
}

TEST_F(WaveOutTrack, CommandsWorkWhileThePlatformStandsStill) {
  patience_ = kShort;
  ASSERT_NO_FATAL_FAILURE(Play(80000));
  SystemClock().Sleep(50);
  fake_.hangs_in = Call::kPosition;
  SystemClock().Sleep(50);
  const uint32_t begin = SystemClock().TickMs();
  EXPECT_EQ(stream_->Pause(), S_OK);
  EXPECT_EQ(stream_->Seek(9900), S_OK);
  EXPECT_EQ(stream_->Play(), S_OK);
  EXPECT_TRUE(ended_.Wait(2000)) << "unheard, by the clock";
  EXPECT_EQ(stream_->Play(), S_OK);
  EXPECT_EQ(stream_->Stop(), S_OK);
  stream_.Reset();
  EXPECT_LT(SystemClock().TickMs() - begin, 2500u);
}

}  // namespace
}  // namespace melorin
