// SPDX-License-Identifier: MIT
//
// The playback stream's states, commands, pacing, end of track and failures, over simulated parts.
#include "playback/stream_state.h"
#include "playback_sim.h"

namespace melorin::sim {
namespace {

TEST_F(StreamTest, ReportsWhyItCannotBeOpened) {
  device_setup_.buffer_size = E_UNEXPECTED;
  EXPECT_EQ(Open(), E_UNEXPECTED);
  EXPECT_FALSE(stream_);
  EXPECT_EQ(chain_setup_.alive, 0);
  device_setup_.buffer_size = S_OK;
  EXPECT_EQ(Open(12), E_INVALIDARG);
  HRESULT status = S_OK;
  EXPECT_FALSE(PlaybackStream::Create(nullptr, nullptr, MakeFormat(), 0, clock_, &status));
  EXPECT_EQ(status, E_POINTER);
}

TEST_F(StreamTest, OpensWithoutADecodeThread) {
  ASSERT_EQ(Open(16, 0, clock_.Starter(0)), S_OK);
  EXPECT_EQ(stream_->Play(), E_FAIL);
  EXPECT_EQ(stream_->Pause(), E_FAIL);
  EXPECT_EQ(stream_->Stop(), S_OK);
  EXPECT_EQ(stream_->Seek(500), S_OK);
  EXPECT_EQ(stream_->GetPositionMs(), 500u);
  EXPECT_EQ(stream_->SetThreadPriority(0), E_FAIL);
}

TEST_F(StreamTest, FillsAtMostHalfASecondOrHalfTheBufferBeforeTheDevicePlays) {
  struct Case {
    uint32_t buffer_bytes, total_frames;
    int writes;
  };
  for (const Case& c : {Case{32000, 80000, 5}, Case{96000, 80000, 5}, Case{12800, 80000, 2},
                        Case{9600, 80000, 2}, Case{32000, 2000, 3}}) {
    SCOPED_TRACE(c.buffer_bytes + c.total_frames);
    device_setup_.buffer_bytes = c.buffer_bytes;
    chain_setup_.total_frames = c.total_frames;
    ASSERT_EQ(Open(), S_OK);
    ASSERT_EQ(stream_->Play(), S_OK);
    clock_.Advance(20);
    int writes = 0;
    for (const Journal::Entry& entry : journal_.Take()) {
      if (entry.text == "A.Play") break;
      if (entry.text.starts_with("A.Write")) ++writes;
    }
    EXPECT_EQ(writes, c.writes);
    const std::optional<StartTicks> start = stream_->LastStart();
    ASSERT_TRUE(start);
    EXPECT_EQ(start->device - start->first_block, static_cast<uint32_t>(writes));
    stream_.Reset();
    device_.Reset();
    journal_.Take();
  }
}

TEST_F(StreamTest, ACommandEndsThePrefill) {
  ASSERT_EQ(Open(), S_OK);
  stream_->SetFade(0, nullptr);
  ASSERT_EQ(stream_->Play(), S_OK);
  clock_.Settle();
  ASSERT_EQ(stream_->Pause(), S_OK);
  EXPECT_EQ(Happened({"A.W", "A.P", "chain"}),
            "chain.Start, A.Write 3200, A.Play, A.Write 3200, A.Pause, chain.Pause");
  EXPECT_EQ(stream_->State(), DeviceState::kPaused);
}

TEST_F(StreamTest, SleepsByHowFullTheDeviceIs) {
  struct Case {
    DeviceKind kind;
    uint32_t block_frames;  // 8 a millisecond; 0: empty blocks
    int32_t free_bytes;     // Of 32000.
    uint32_t wait;
  };
  constexpr auto kDs = DeviceKind::kDirectSound;
  constexpr auto kAsio = DeviceKind::kAsio;
  const Case cases[] = {
      {kDs, 800, 24000, 5}, {kDs, 800, 23999, 10}, {kDs, 800, 16000, 10},  {kDs, 800, 15999, 20},
      {kDs, 800, 8000, 20}, {kDs, 800, 7999, 40},  {kAsio, 800, 7999, 20}, {kAsio, 800, 8000, 20},
      {kDs, 80, 24000, 1},  {kDs, 80, 16000, 2},   {kDs, 80, 8000, 5},     {kDs, 80, 7999, 7},
      {kDs, 0, 24000, 5},   {kDs, 0, 23999, 10},   {kDs, 800, 3199, 25},   {kAsio, 800, 3199, 25},
      {kDs, 80, 319, 5},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(testing::Message() << c.block_frames << " frames, " << c.free_bytes << " free");
    device_setup_.kind = c.kind;
    device_setup_.free_override = -1;
    chain_setup_.empty_blocks = false;
    chain_setup_.block_frames = c.block_frames ? c.block_frames : 800;
    ASSERT_EQ(Open(), S_OK);
    stream_->SetFade(0, nullptr);
    stream_->Play();
    clock_.Advance(200);  // Past the prefill.
    device_setup_.free_override = c.free_bytes;
    chain_setup_.empty_blocks = c.block_frames == 0;
    clock_.Advance(200);
    EXPECT_EQ(clock_.TakeWaits().back(), c.wait);
    stream_.Reset();
    device_.Reset();
  }
}

enum class At { kIdle, kPlaying, kFadingIn, kPaused, kStopped, kFadingToPause, kFadingToStop };
enum class Do { kPlay, kPause, kStop, kSeek, kRelease };

class CommandTest : public StreamTest, public testing::WithParamInterface<std::tuple<At, Do>> {
 protected:
  void Reach(At at) {
    ASSERT_EQ(Open(), S_OK);
    if (at == At::kIdle) return;
    stream_->Play();
    clock_.Advance(at == At::kFadingIn ? 100 : 1000);
    if (at == At::kPaused || at == At::kFadingToPause) stream_->Pause();
    if (at == At::kStopped || at == At::kFadingToStop) stream_->Stop();
    if (at == At::kPaused || at == At::kStopped) clock_.Advance(1000);
    if (at == At::kFadingToPause || at == At::kFadingToStop) clock_.Advance(100);
    journal_.Take();
  }
};

TEST_P(CommandTest, LeadsToItsStateFromEveryState) {
  const auto [at, command] = GetParam();
  Reach(at);
  const DeviceState before = stream_->State();
  const uint32_t position = stream_->GetPositionMs();
  constexpr uint32_t kSought = 4000;
  switch (command) {
    case Do::kPlay: {
      ASSERT_EQ(stream_->Play(), S_OK);
      EXPECT_EQ(stream_->State(), DeviceState::kRunning);
      const std::string calls = Happened({"chain.Start"});
      EXPECT_EQ(calls, before == DeviceState::kRunning ? "" : "chain.Start");
      clock_.Advance(2000);
      const uint32_t from = at == At::kFadingToStop ? 0 : position;
      EXPECT_NEAR(stream_->GetPositionMs(), from + 2000.0, 12);
      const std::string posts = Happened({"post"});
      EXPECT_EQ(posts, at == At::kPlaying ? "" : "post 10001");
      break;
    }
    case Do::kPause:
      ASSERT_EQ(stream_->Pause(), S_OK);
      EXPECT_EQ(stream_->State(), DeviceState::kPaused);
      clock_.Advance(2000);
      EXPECT_EQ(Happened({"post"}),
                at == At::kPlaying || at == At::kFadingIn || at == At::kFadingToPause ? "post 20001" : "");
      break;
    case Do::kStop: {
      const bool fades = at == At::kPlaying || at == At::kFadingIn || at == At::kFadingToStop;
      ASSERT_EQ(stream_->Stop(), S_OK);
      EXPECT_EQ(stream_->State(), DeviceState::kStopped);
      clock_.Advance(2000);
      EXPECT_EQ(Happened({"post"}), fades ? "post 80001" : "");
      EXPECT_EQ(stream_->GetPositionMs(), 0u);
      break;
    }
    case Do::kSeek:
      ASSERT_EQ(stream_->Seek(kSought), S_OK);
      EXPECT_EQ(stream_->State(), before);
      EXPECT_EQ(stream_->GetPositionMs(), kSought);
      clock_.Advance(2000);
      EXPECT_NEAR(stream_->GetPositionMs(), before == DeviceState::kRunning ? kSought + 2000.0 : kSought, 12);
      EXPECT_EQ(stream_->State(), before);
      stream_->Play();
      clock_.Advance(1000);
      EXPECT_GT(stream_->GetPositionMs(), kSought + 900);
      break;
    case Do::kRelease:
      EXPECT_EQ(stream_.Detach()->Release(), 0u);
      EXPECT_EQ(chain_setup_.alive, 0);
      EXPECT_EQ(device_setup_.alive, 1) << "only the test's own reference is left";
      break;
  }
}

INSTANTIATE_TEST_SUITE_P(
    All, CommandTest,
    testing::Combine(testing::Values(At::kIdle, At::kPlaying, At::kFadingIn, At::kPaused, At::kStopped,
                                     At::kFadingToPause, At::kFadingToStop),
                     testing::Values(Do::kPlay, Do::kPause, Do::kStop, Do::kSeek, Do::kRelease)));

TEST_F(StreamTest, CommandsForTheStateItIsInDoNotReachTheThread) {
  OpenAndPlay();
  clock_.Settle();
  EXPECT_EQ(stream_->Play(), S_OK);
  EXPECT_EQ(Happened({"A.P", "A.R", "A.S", "chain"}), "");
  stream_->Pause();
  clock_.Advance(1000);
  journal_.Take();
  EXPECT_EQ(stream_->Pause(), S_OK);
  EXPECT_EQ(Happened({""}), "");
  stream_->Stop();
  clock_.Settle();
  journal_.Take();
  EXPECT_EQ(stream_->Stop(), S_OK);
  EXPECT_EQ(Happened({""}), "");
}

TEST_F(StreamTest, AFailingStartIsAnsweredAndLeavesTheDeviceSilent) {
  ASSERT_EQ(Open(), S_OK);
  chain_setup_.start = E_OUTOFMEMORY;
  EXPECT_EQ(stream_->Play(), E_OUTOFMEMORY);
  clock_.Advance(500);
  EXPECT_EQ(stream_->State(), DeviceState::kStopped);
  EXPECT_EQ(Happened({"A.Play", "A.Write"}), "");
  chain_setup_.start = S_OK;
  EXPECT_EQ(stream_->Play(), S_OK);
  EXPECT_EQ(stream_->State(), DeviceState::kRunning);
}

TEST_F(StreamTest, FailuresOfTheDeviceAreAnswered) {
  OpenAndPlay();
  stream_->SetFade(0, nullptr);
  device_setup_.pause = E_FAIL;
  EXPECT_EQ(stream_->Seek(3000), E_FAIL);
  device_setup_.pause = S_OK;
  stream_->Play();
  device_setup_.reset = E_UNEXPECTED;
  EXPECT_EQ(stream_->Seek(3000), E_UNEXPECTED);
  EXPECT_EQ(stream_->State(), DeviceState::kPaused);
  EXPECT_EQ(stream_->Stop(), E_UNEXPECTED);
  EXPECT_EQ(stream_->State(), DeviceState::kPaused);
  device_setup_.reset = S_OK;
  chain_setup_.seek = E_INVALIDARG;
  EXPECT_EQ(stream_->Seek(3000), E_INVALIDARG);
  EXPECT_EQ(stream_->GetPositionMs(), 3000u);
  stream_->Play();
  EXPECT_EQ(stream_->Seek(3000), E_INVALIDARG);
  EXPECT_EQ(stream_->State(), DeviceState::kRunning);
}

std::vector<uint8_t> Expected16(uint32_t first_frame, size_t frames) {
  std::vector<uint8_t> bytes;
  for (uint32_t i = 0; i < frames; ++i) {
    const int value = static_cast<int>((first_frame + i) % 32768);
    for (const int sample : {value, -value}) {
      bytes.push_back(static_cast<uint8_t>(sample));
      bytes.push_back(static_cast<uint8_t>(sample >> 8));
    }
  }
  return bytes;
}

TEST_F(StreamTest, WritesEverySampleOnceWhateverHappensInBetween) {
  chain_setup_.total_frames = 24100;
  ASSERT_EQ(Open(), S_OK);
  stream_->Play();
  clock_.Advance(700);
  device_setup_.write = E_FAIL;  // The block stays pending.
  clock_.Advance(300);
  device_setup_.write = S_OK;
  clock_.Advance(200);
  stream_->Pause();
  clock_.Advance(1000);
  stream_->Play();
  clock_.Advance(1500);
  std::vector<uint8_t> written = device_->Captured();
  ASSERT_GE(written.size(), 24100u * 4);
  const bool only_silence_follows =
      std::all_of(written.begin() + 24100 * 4, written.end(), [](uint8_t byte) { return byte == 0; });
  EXPECT_TRUE(only_silence_follows);
  written.resize(24100 * 4);
  EXPECT_EQ(written, Expected16(0, 24100));
}

TEST_F(StreamTest, EndsWhenTheDeviceHasPlayedToTheEndTime) {
  struct Case {
    uint16_t bits;
    HRESULT end;
    uint32_t seek_ms;
  };
  for (const Case& c :
       {Case{16, S_FALSE, 0}, Case{8, E_FAIL, 0}, Case{24, S_FALSE, 1500}, Case{32, S_FALSE, 500}}) {
    SCOPED_TRACE(c.bits);
    const uint32_t frame_bytes = MakeFormat(c.bits).nBlockAlign;
    device_setup_.buffer_bytes = 8000 * frame_bytes;
    chain_setup_.total_frames = 17000;  // 2125 ms
    chain_setup_.duration_ms = 2000;    // An estimate, as headers give it.
    chain_setup_.end = c.end;
    ASSERT_EQ(Open(c.bits), S_OK);
    stream_->SetFade(0, nullptr);
    EXPECT_EQ(stream_->EndTimeMs(), 2000u);
    if (c.seek_ms) stream_->Seek(c.seek_ms);
    stream_->Play();
    clock_.Settle();
    uint32_t last_position = 0;
    int posts = 0;
    for (int ms = 0; ms < 3000 && posts == 0; ++ms) {
      clock_.Advance(1);
      if (stream_->State() == DeviceState::kRunning) last_position = stream_->GetPositionMs();
      posts = Happened({"post"}) == "post 0";
    }
    EXPECT_EQ(posts, 1);
    EXPECT_EQ(stream_->EndTimeMs(), 2125u);
    EXPECT_GE(last_position, 2120u);
    EXPECT_EQ(stream_->State(), DeviceState::kStopped);
    EXPECT_EQ(stream_->GetPositionMs(), 0u);
    const std::vector<uint8_t> written = device_->Captured();
    const size_t audio = (17000 - c.seek_ms * 8) * frame_bytes;
    ASSERT_GT(written.size(), audio) << "silence keeps the device going";
    EXPECT_TRUE(std::all_of(written.begin() + static_cast<ptrdiff_t>(audio), written.end(),
                            [&](uint8_t byte) { return byte == (c.bits == 8 ? 128 : 0); }));
    clock_.Advance(1000);
    EXPECT_EQ(Happened({"post", "A.Write"}), "") << "once, and then all is quiet";
    EXPECT_EQ(stream_->Play(), S_OK);
    clock_.Advance(100);
    EXPECT_EQ(stream_->State(), DeviceState::kRunning);
    stream_.Reset();
    device_.Reset();
    journal_.Take();
  }
}

TEST_F(StreamTest, TheVisualDataIsWhatIsHeardNow) {
  ASSERT_EQ(Open(), S_OK);
  VisualData data;
  EXPECT_EQ(stream_->GetVisualData(nullptr, 0, 1), E_POINTER);
  EXPECT_EQ(stream_->GetVisualData(&data, 0, 1), S_FALSE);
  stream_->Play();
  for (const uint32_t step : {300u, 7u, 1u, 400u, 1000u}) {
    clock_.Advance(step);
    const int heard = static_cast<int>(stream_->GetPositionMs() * 8);
    for (int again = 0; again < 2; ++again) {  // Looking does not use it up.
      ASSERT_EQ(stream_->GetVisualData(&data, kVisualNone, kVisualStereo), S_OK);
      EXPECT_EQ(data.wave[0][0], heard);
      EXPECT_EQ(data.wave[0][511], heard + 511);
      EXPECT_EQ(data.wave[1][100], -(heard + 100));
    }
  }
  stream_->GetVisualData(&data, kVisualMono, kVisualMono);
  EXPECT_EQ(data.wave[1][100], 0);
  EXPECT_GT(data.spectrum[0][0], 0);
  EXPECT_EQ(data.spectrum[1][0], 0);
  // A device that plays its buffer empty: the last 512 frames stay.
  device_setup_.write = E_FAIL;
  clock_.Advance(5000);
  ASSERT_EQ(stream_->GetVisualData(&data, 0, 1), S_OK);
  const int end = static_cast<int>(stream_->GetPositionMs() * 8);
  EXPECT_EQ(data.wave[0][511], end - 1);
  device_setup_.write = S_OK;
  stream_->Stop();
  clock_.Advance(1000);
  EXPECT_EQ(stream_->GetVisualData(&data, 0, 1), S_FALSE);
}

TEST(StreamPosition, GoesOnWhereTheDevicesCountWraps) {
  SimClock clock;
  Journal journal(clock);
  DeviceSetup setup;
  const auto device = ComPtr<SimDevice>::Adopt(new SimDevice(clock, journal, setup, 'A'));
  const std::vector<uint8_t> block(5000);
  device->Write(block.data(), 5000);
  device->Play();
  clock.Advance(100);  // The device's count is 3200.
  StreamState state(clock);
  for (const auto& [written, played] : {std::pair<uint64_t, uint64_t>{5000, 3200},
                                        {(uint64_t{1} << 32) + 5000, (uint64_t{1} << 32) + 3200},
                                        {(uint64_t{3} << 32) - 100, uint64_t{3} << 32 | 3200},
                                        {0, 3200}}) {
    state.bytes_written = written;
    EXPECT_EQ(state.PlayedBytes(*device), played);
  }
}

TEST_F(StreamTest, TheAnalyserSeesEveryBlock) {
  struct Counter final : VisualAnalyser {
    void OnBlock(std::span<const uint8_t> block, const WAVEFORMATEX& format) override {
      bytes += block.size();
      bits = format.wBitsPerSample;
    }
    std::atomic<size_t> bytes{0};
    std::atomic<int> bits{0};
  } counter;
  ASSERT_EQ(Open(24), S_OK);
  stream_->SetAnalyser(&counter);
  stream_->Play();
  clock_.Advance(300);
  EXPECT_EQ(counter.bits, 24);
  EXPECT_EQ(counter.bytes % 4800, 0u);
  EXPECT_GE(counter.bytes, device_->Captured().size());
  stream_.Reset();
}

}  // namespace
}  // namespace melorin::sim
