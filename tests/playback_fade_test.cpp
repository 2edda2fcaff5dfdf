// SPDX-License-Identifier: MIT
//
// The playback stream's fades: on play, pause, stop and seek, their lengths, their events, and what cuts them
// short.
#include "playback/fade_ramp.h"
#include "playback_sim.h"

namespace melorin::sim {
namespace {

struct Step {
  uint32_t ms;
  int volume;
};

// The volumes that one device was set to.
std::vector<Step> Volumes(const std::vector<Journal::Entry>& entries, char device) {
  std::vector<Step> steps;
  const std::string prefix = std::string(1, device) + ".SetVolume ";
  for (const Journal::Entry& entry : entries)
    if (entry.text.starts_with(prefix))
      steps.push_back({entry.ms, std::stoi(entry.text.substr(prefix.size()))});
  return steps;
}

uint32_t TimeOf(const std::vector<Journal::Entry>& entries, const std::string& text) {
  for (const Journal::Entry& entry : entries)
    if (entry.text == text) return entry.ms;
  ADD_FAILURE() << text << " has not happened";
  return 0;
}

TEST(FadeRampTest, EndsByTheClockOrByTheNumberOfQueries) {
  SimClock clock;
  FadeRamp ramp;
  ramp.Start(clock, 200);
  EXPECT_EQ(ramp.Query(clock), 0u);
  clock.Advance(50);
  EXPECT_EQ(ramp.Query(clock), 25u);
  clock.Advance(149);
  EXPECT_EQ(ramp.Query(clock), 99u);
  clock.Advance(1);
  EXPECT_EQ(ramp.Query(clock), 100u);
  ramp.Start(clock, 200);
  for (int i = 1; i < 20; ++i)
    EXPECT_EQ(ramp.Query(clock), 0u);
  EXPECT_EQ(ramp.Query(clock), 100u) << "the twentieth step of 10 ms";
  ramp.Start(clock, 0);
  EXPECT_EQ(ramp.Query(clock), 100u);
}

TEST_F(StreamTest, PlayFadesInFromSilence) {
  for (const int volume : {100, 40, 0, -1}) {
    SCOPED_TRACE(volume);
    ASSERT_EQ(Open(), S_OK);
    stream_->SetVolume(volume);
    journal_.Take();
    stream_->Play();
    clock_.Advance(600);
    const std::vector<Journal::Entry> entries = journal_.Take();
    const std::vector<Step> steps = Volumes(entries, 'A');
    ASSERT_GT(steps.size(), 20u);
    EXPECT_EQ(steps.front().volume, volume > 0 ? 0 : volume);
    EXPECT_EQ(steps.back().volume, volume);
    for (size_t i = 1; i < steps.size(); ++i)
      EXPECT_GE(steps[i].volume, steps[i - 1].volume);
    const uint32_t sounds = TimeOf(entries, "A.Play");
    EXPECT_NEAR(TimeOf(entries, "post 10001"), sounds + 300.0, 11);
    for (const Step& step : steps)
      if (step.ms > sounds + 140 && step.ms < sounds + 160) {
        EXPECT_NEAR(step.volume, volume / 2.0, 5);
      }
    stream_.Reset();
    device_.Reset();
    journal_.Take();
  }
}

TEST_F(StreamTest, PauseFadesOutThenPausesThenReports) {
  OpenAndPlay();
  const uint32_t start = clock_.TickMs();
  ASSERT_EQ(stream_->Pause(), S_OK);
  EXPECT_EQ(stream_->State(), DeviceState::kPaused) << "at once";
  clock_.Advance(2000);
  const std::vector<Journal::Entry> entries = journal_.Take();
  const std::vector<Step> steps = Volumes(entries, 'A');
  ASSERT_GT(steps.size(), 40u);
  EXPECT_LE(steps[steps.size() - 2].volume, 3);
  EXPECT_EQ(steps.back().volume, 100) << "restored for the next start";
  EXPECT_NEAR(steps.back().ms, start + 500.0, 21);
  EXPECT_EQ(Journal::Filter(entries, {"A.P", "A.R", "chain", "post", "A.SetVolume 100"}),
            "A.Pause, A.Pause, chain.Pause, A.SetVolume 100, post 20001")
      << "the fader's pause, then the stream's";
}

TEST_F(StreamTest, StopFadesOutThenResetsThenReports) {
  OpenAndPlay();
  const uint32_t start = clock_.TickMs();
  ASSERT_EQ(stream_->Stop(), S_OK);
  EXPECT_EQ(stream_->State(), DeviceState::kStopped);
  clock_.Advance(2000);
  const std::vector<Journal::Entry> entries = journal_.Take();
  EXPECT_EQ(Journal::Filter(entries, {"A.P", "A.R", "chain", "post", "A.SetVolume 100"}),
            "A.Pause, A.Pause, chain.Stop, A.Reset, chain.Seek 0, A.SetVolume 100, post 80001");
  EXPECT_NEAR(TimeOf(entries, "post 80001"), start + 800.0, 21);
}

TEST_F(StreamTest, AFadeOutIsNoLongerThanWhatTheDeviceHolds) {
  OpenAndPlay();
  device_setup_.free_override = 32000 - 6400;  // 200 ms
  clock_.Advance(50);
  const uint32_t start = clock_.TickMs();
  stream_->Pause();
  clock_.Advance(1000);
  EXPECT_NEAR(TimeOf(journal_.Take(), "post 20001"), start + 200.0, 21);
  stream_->Play();
  clock_.Advance(1000);
  device_setup_.free_override = 32000;  // Nothing: no fade at all.
  clock_.Advance(50);
  journal_.Take();
  stream_->Stop();
  EXPECT_EQ(Happened({"A.SetV", "post"}), "A.SetVolume 100, post 80001");
}

TEST_F(StreamTest, ANewCommandFinishesAStopFadeAtOnce) {
  OpenAndPlay();
  stream_->Stop();
  clock_.Advance(100);
  journal_.Take();
  ASSERT_EQ(stream_->Play(), S_OK);
  EXPECT_EQ(Journal::Filter(journal_.Take(), {"A.P", "A.R", "chain"}).substr(0, 74),
            "A.Pause, chain.Stop, A.Reset, chain.Seek 0, A.Pause, chain.Start")
      << "the stop, then the fader's end, then the start";
  clock_.Advance(1000);
  EXPECT_EQ(Happened({"post"}), "post 10001") << "and the stop is not reported";
}

TEST_F(StreamTest, PlayDuringAPauseFadeTakesTheVolumeUpAgain) {
  OpenAndPlay();
  stream_->Pause();
  clock_.Advance(100);
  stream_->Play();
  journal_.Take();
  clock_.Advance(1000);
  const std::vector<Journal::Entry> entries = journal_.Take();
  EXPECT_EQ(Journal::Filter(entries, {"A.Pause", "A.Play", "post"}), "A.Play, post 10001")
      << "no pause afterwards";
  EXPECT_EQ(Volumes(entries, 'A').back().volume, 100);
}

TEST_F(StreamTest, OnlyADeviceWithVolumeFades) {
  device_setup_.volume = E_NOTIMPL;
  ASSERT_EQ(Open(), S_OK);
  EXPECT_EQ(stream_->FadeFlags(), 0);
  EXPECT_EQ(stream_->SetFade(kFadeAll, nullptr), E_NOTIMPL);
  EXPECT_EQ(stream_->FadeFlags(), 0);
  EXPECT_EQ(stream_->SetVolume(30), E_NOTIMPL);
  EXPECT_EQ(stream_->Volume(), 100);
  stream_->Play();
  clock_.Advance(500);
  journal_.Take();
  stream_->Pause();
  EXPECT_EQ(Happened({"A.P", "post"}), "A.Pause");
  stream_->Stop();
  EXPECT_EQ(Happened({"A.P", "A.R", "post"}), "A.Pause, A.Reset");
}

TEST_F(StreamTest, TheFaderGivesUpWhenTheDeviceRefusesVolume) {
  OpenAndPlay();
  stream_->Pause();
  clock_.Advance(100);
  const uint32_t start = clock_.TickMs();
  journal_.Take();
  device_setup_.volume = E_FAIL;
  clock_.Advance(1000);
  const std::vector<Journal::Entry> entries = journal_.Take();
  // The fader's last step and its pause; then the stream's pause, the volume as it was, the report.
  EXPECT_EQ(Journal::Filter(entries, {"A.Pause", "chain", "post"}),
            "A.Pause, A.Pause, chain.Pause, post 20001");
  EXPECT_EQ(Volumes(entries, 'A').size(), 2u);
  EXPECT_NEAR(TimeOf(entries, "post 20001"), start + 10.0, 11);
}

TEST_F(StreamTest, DevicesWithoutAFaderActAtOnceButFadeIn) {
  for (const DeviceKind kind : {DeviceKind::kWaveOut, DeviceKind::kKernelStreaming, DeviceKind::kAsio}) {
    device_setup_.kind = kind;
    ASSERT_EQ(Open(), S_OK);
    stream_->Play();
    clock_.Advance(1000);
    EXPECT_EQ(Happened({"post"}), "post 10001");
    stream_->Seek(2000);
    EXPECT_EQ(Happened({"A.C", "A.Pau", "A.R", "post"}), "A.Pause, A.Reset");
    stream_->Pause();
    EXPECT_EQ(Happened({"A.Pau", "post"}), "A.Pause");
    stream_->Stop();
    EXPECT_EQ(Happened({"A.Pau", "A.R", "post"}), "A.Pause, A.Reset");
    stream_.Reset();
    device_.Reset();
    journal_.Take();
  }
}

TEST_F(StreamTest, SeekCrossFadesOnlyWhenItCanBeHeard) {
  struct Case {
    const char* name;
    int32_t flags, volume;
    uint32_t seek_ms;   // The fade's duration.
    int32_t queued_ms;  // In the device; -1: full.
    HRESULT clone;
    bool crosses;
  };
  const Case cases[] = {{"as it comes", kFadeAll, 100, 800, -1, S_OK, true},
                        {"only the seek", kFadeSeek, 100, 800, -1, S_OK, true},
                        {"volume 10", kFadeAll, 10, 800, -1, S_OK, true},
                        {"volume 9", kFadeAll, 9, 800, -1, S_OK, false},
                        {"muted", kFadeAll, -1, 800, -1, S_OK, false},
                        {"not asked for", kFadeAll & ~kFadeSeek, 100, 800, -1, S_OK, false},
                        {"51 ms", kFadeAll, 100, 51, -1, S_OK, true},
                        {"50 ms", kFadeAll, 100, 50, -1, S_OK, false},
                        {"51 ms queued", kFadeAll, 100, 800, 51, S_OK, true},
                        {"50 ms queued", kFadeAll, 100, 800, 50, S_OK, false},
                        {"no clone", kFadeAll, 100, 800, -1, E_FAIL, false}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    device_setup_.clone = c.clone;
    device_setup_.free_override = -1;
    OpenAndPlay();
    const FadeDurations durations{.seek = c.seek_ms};
    stream_->SetVolume(c.volume);
    stream_->SetFade(c.flags, &durations);
    if (c.queued_ms >= 0) {
      device_setup_.free_override = 32000 - c.queued_ms * 32;
      clock_.Advance(50);
    }
    journal_.Take();
    const uint32_t start = clock_.TickMs();
    ASSERT_EQ(stream_->Seek(5000), S_OK);
    device_setup_.free_override = -1;
    EXPECT_EQ(stream_->State(), DeviceState::kRunning);
    EXPECT_EQ(stream_->GetPositionMs(), 5000u);
    clock_.Advance(1500);
    const std::vector<Journal::Entry> entries = journal_.Take();
    const std::string order = Journal::Filter(entries, {"A.Pau", "A.R", "B.Pau", "B.R", "chain", "post 1"});
    if (!c.crosses) {
      EXPECT_EQ(order.substr(0, 70), "A.Pause, chain.Pause, A.Reset, chain.Seek 5000, chain.Start" +
                                         std::string(c.flags & kFadePlay ? ", post 1000" : ""));
    } else {
      EXPECT_EQ(order.substr(0, 59), "B.Pause, chain.Pause, B.Reset, chain.Seek 5000, chain.Start");
      EXPECT_EQ(TimeOf(entries, "A.Pause") > start, true) << "the old device fades first";
      const uint32_t longest =
          std::min<uint32_t>(c.seek_ms, c.queued_ms < 0 ? 800 : static_cast<uint32_t>(c.queued_ms));
      EXPECT_NEAR(TimeOf(entries, "A.Pause"), start + longest, 21.0);
      EXPECT_EQ(Volumes(entries, 'B').back().volume, c.volume);
      if (c.flags & kFadePlay) {
        EXPECT_NEAR(TimeOf(entries, "post 10001"), TimeOf(entries, "B.Play") + c.seek_ms, 21.0)
            << "in over the seek's duration";
      }
    }
    EXPECT_NEAR(stream_->GetPositionMs(), 6500.0, 12);
    stream_.Reset();
    device_.Reset();
    journal_.Take();
  }
}

TEST_F(StreamTest, SeekAgainDuringACrossFade) {
  OpenAndPlay();
  stream_->Seek(5000);
  clock_.Advance(200);
  stream_->Seek(2000);
  EXPECT_EQ(device_setup_.alive, 3) << "the test's, the one that fades now, and the playing one";
  clock_.Advance(2000);
  EXPECT_EQ(device_setup_.alive, 2);
  EXPECT_NEAR(stream_->GetPositionMs(), 4000.0, 12);
}

// The fader of a pause right after a cross-fade seek works on the playing device; the next Play must end it.
TEST_F(StreamTest, PauseAndPlayRightAfterACrossFadeSeek) {
  for (const int32_t flags : {static_cast<int32_t>(kFadeAll), kFadeSeek | kFadePause}) {
    SCOPED_TRACE(flags);
    OpenAndPlay();
    stream_->SetFade(flags, nullptr);
    stream_->Seek(5000);
    clock_.Advance(100);
    stream_->Pause();
    clock_.Advance(100);
    stream_->Play();
    journal_.Take();
    clock_.Advance(2000);
    EXPECT_EQ(Happened({"B.Pause"}), "");
    EXPECT_NEAR(stream_->GetPositionMs(), 7200.0, 40);
    stream_.Reset();
    device_.Reset();
    journal_.Take();
  }
}

TEST_F(StreamTest, AStreamThatFadesOutLivesOnInASecondReference) {
  OpenAndPlay();
  stream_->AddRef();
  PlaybackStream* fading = stream_.get();
  stream_->SetFade(kFadeStop, nullptr);
  ASSERT_EQ(stream_->Stop(), S_OK);
  EXPECT_EQ(stream_.Detach()->Release(), 1u);
  clock_.Advance(400);
  EXPECT_EQ(Happened({"post"}), "");
  clock_.Advance(600);
  EXPECT_EQ(Happened({"post"}), "post 80001");
  EXPECT_EQ(fading->Release(), 0u);
}

TEST_F(StreamTest, TheFaderDoesWithoutAThread) {
  ASSERT_EQ(Open(16, 0, clock_.Starter(1)), S_OK);
  stream_->Play();
  clock_.Advance(1000);
  journal_.Take();
  EXPECT_EQ(stream_->Pause(), S_OK);
  EXPECT_EQ(Happened({"A.Pause", "post"}), "A.Pause, A.Pause, post 20001");
}

TEST_F(StreamTest, AFailingPauseAfterAFadeIsReportedAsStopped) {
  OpenAndPlay();
  device_setup_.pause = E_FAIL;
  EXPECT_EQ(stream_->Pause(), S_OK);
  clock_.Advance(1000);
  EXPECT_EQ(Happened({"post"}), "post 20001");
  device_setup_.pause = S_OK;
  EXPECT_EQ(stream_->Play(), S_OK);
  clock_.Advance(100);
  EXPECT_EQ(stream_->State(), DeviceState::kRunning);
}

}  // namespace
}  // namespace melorin::sim
