// SPDX-License-Identifier: MIT
//
// Player control over real streams on simulated devices, with a window of the test's own: what is opened
// when, what fades, what resumes, what the exit waits for.
#include "playback/player_control.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <deque>
#include <functional>
#include <limits>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "playback_sim.h"
#include "playlist/list_undo.h"
#include "sound/text_out.h"

namespace melorin {
namespace {

using sim::ChainSetup;
using sim::DeviceSetup;
using sim::Journal;
using sim::SimClock;

/// Sleeps of the UI thread move the simulated time on.
class UiClock final : public Clock {
 public:
  explicit UiClock(SimClock& clock) : clock_(clock) {}
  uint32_t TickMs() override { return clock_.TickMs(); }
  bool Wait(Event& event, uint32_t timeout_ms) override { return clock_.Wait(event, timeout_ms); }
  void Sleep(uint32_t duration_ms) override {
    sleeps.push_back(duration_ms);
    clock_.Advance(duration_ms);
  }
  std::vector<uint32_t> sleeps;

 private:
  SimClock& clock_;
};

class Window final : public PlayerHost {
 public:
  explicit Window(SimClock& clock) : clock_(clock) {}
  void StartNextTimer(uint32_t delay_ms) override {
    delays.push_back(delay_ms);
    due_ = clock_.TickMs() + delay_ms;
    running_ = true;
  }
  void StopNextTimer() override { running_ = false; }
  void PostStreamEvent(uint32_t message, uint32_t event, PlaybackStream* stream) override {
    EXPECT_EQ(message, kStreamMessage);
    const Lock lock(mutex_);
    queue_.emplace_back(event, stream);
  }
  void DropStreamEvents(PlaybackStream* stream) override {
    if (before_drop) before_drop();
    const Lock lock(mutex_);
    std::erase_if(queue_, [&](const auto& entry) { return entry.second == stream; });
  }
  void PumpMessages() override {
    ++pumps;
    if (on_pump) on_pump();
    while (const auto event = TakeEvent())
      if (!deaf) control->OnStreamEvent(event->first, event->second);
    if (running_ && static_cast<int32_t>(clock_.TickMs() - due_) >= 0) control->OnNextTrackTimer();
  }
  void* WindowHandle() override { return nullptr; }

  PlayerControl* control = nullptr;
  std::vector<uint32_t> delays;
  std::function<void()> before_drop, on_pump;
  bool deaf = false;
  int pumps = 0;

 private:
  std::optional<std::pair<uint32_t, PlaybackStream*>> TakeEvent() {
    const Lock lock(mutex_);
    if (queue_.empty()) return std::nullopt;
    const auto event = queue_.front();
    queue_.pop_front();
    return event;
  }

  SimClock& clock_;
  std::mutex mutex_;
  std::deque<std::pair<uint32_t, PlaybackStream*>> queue_;
  uint32_t due_ = 0;
  bool running_ = false;
};

/// Hands out tags and a format, as the source of an opened file does.
class TaggedSource final : public ComObject<SoundSource> {
 public:
  explicit TaggedSource(TagFields fields) {
    EXPECT_EQ(CreateTagSet(std::move(fields), kTagId3v2, tags_.Receive()), S_OK);
  }
  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** out) override {
    return SameGuid(iid, kIidTagSet) ? tags_->QueryInterface(iid, out) : E_NOINTERFACE;
  }
  HRESULT STDMETHODCALLTYPE Open(IStream*, uint32_t) override { return S_OK; }
  HRESULT STDMETHODCALLTYPE IsSeekable(uint32_t* yes) override { return *yes = 1, S_OK; }
  HRESULT STDMETHODCALLTYPE GetDuration(uint32_t* milliseconds) override { return *milliseconds = 0, S_OK; }
  HRESULT STDMETHODCALLTYPE GetFormat(WAVEFORMATEX** format) override {
    *format = static_cast<WAVEFORMATEX*>(CoTaskMemAlloc(sizeof(WAVEFORMATEX)));
    **format = sim::MakeFormat();
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE GetReadSize(uint32_t*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE GetCodecName(WideChar** name) override {
    return HandOutText(u"SIM|Simulated", name);
  }
  HRESULT STDMETHODCALLTYPE GetBitrate(uint32_t* bits) override { return *bits = 128000, S_OK; }
  HRESULT STDMETHODCALLTYPE GetBitsPerSample(uint16_t* bits) override { return *bits = 16, S_OK; }
  HRESULT STDMETHODCALLTYPE Start() override { return S_OK; }
  HRESULT STDMETHODCALLTYPE Pause() override { return S_OK; }
  HRESULT STDMETHODCALLTYPE Stop() override { return S_OK; }
  HRESULT STDMETHODCALLTYPE Read(SoundBuffer*) override { return S_FALSE; }
  HRESULT STDMETHODCALLTYPE Seek(uint32_t) override { return S_OK; }

  void SetTag(const char16_t* name, const char16_t* value) { tags_->SetValue(AsWide(name), AsWide(value)); }

 private:
  ComPtr<TagSet> tags_;
};

/// Keeps what it is set to.
class KeepingEffects final : public TrackEffects {
 public:
  void Set(const EffectSettings& settings) override { set = settings; }
  std::optional<TrackGain> ScannedGain() const override { return scanned; }

  EffectSettings set;
  std::optional<TrackGain> scanned;
};

/// A file: what its device and chain do, and whether it can be opened.
struct FakeFile {
  DeviceSetup device;
  ChainSetup chain;
  HRESULT open_result = S_OK;
  OpenStep failing_step = OpenStep::kSource;
};

class PlayerControlTest : public ::testing::Test, public PlayerListener {
 protected:
  PlayerControlTest() {
    // Most tests are about order, not about fades.
    settings_.playback.sound_fade_mode = 0;
    settings_.player.volume = 100;
    window_.control = &control_;
  }
  void TearDown() override {
    control_.Close();
    for (const auto& [name, file] : files_) {
      EXPECT_EQ(file->device.alive, 0) << name;
      EXPECT_EQ(file->chain.alive, 0) << name;
    }
  }

  /// A list of files named by single letters; every one of them lasts that long.
  void MakeList(const std::string& names, uint32_t duration_ms = 400) {
    list_ = Playlist::Create("list");
    for (char name : names) {
      const std::string path(1, name);
      list_->Append(ItemCache::Obtain(path, {}, kUnknownDuration, 0));
      std::unique_ptr<FakeFile>& file = files_[path];
      if (!file) file = std::make_unique<FakeFile>();
      file->chain.duration_ms = duration_ms;
      file->chain.total_frames = duration_ms * 8;
    }
    control_.SetPlayingList(list_, std::nullopt);
  }
  FakeFile& File(const std::string& name) { return *files_[name]; }
  void BreakFiles(const std::string& names) {
    for (char name : names)
      File(std::string(1, name)).open_result = E_FAIL;
  }

  HRESULT Open(const PlayListItem& item, ComPtr<PlaybackStream>* out, OpenStep* failed_at) {
    FakeFile& file = File(item.PathGbk());
    *failed_at = file.failing_step;
    if (FAILED(file.open_result)) return file.open_result;
    HRESULT result = E_FAIL;
    auto device =
        ComPtr<OutputDevice>::Adopt(new sim::SimDevice(clock_, journal_, file.device, item.PathGbk()[0]));
    *out = PlaybackStream::Create(std::make_unique<sim::SimChain>(journal_, file.chain), std::move(device),
                                  sim::MakeFormat(), 0, clock_, &result, clock_.Starter());
    return result;
  }

  /// Lets time pass; the window does what a window does meanwhile.
  void Run(uint32_t duration_ms) {
    for (uint32_t passed = 0; passed < duration_ms; passed += 10) {
      clock_.Advance(10);
      window_.PumpMessages();
    }
  }
  /// What the listener has heard since the last call, but for the words left out.
  std::string Heard(const std::set<std::string>& without = {"playing", "stopped", "ended"}) {
    std::string all;
    for (const std::string& word : std::exchange(heard_, {})) {
      if (without.contains(word.substr(0, word.find(' ')))) continue;
      if (!all.empty()) all += ", ";
      all += word;
    }
    return all;
  }

  void OnTrackOpened() override { heard_.push_back("open " + opened_by_->Item()->PathGbk()); }
  void OnStateChanged(PlayState state) override {
    heard_.push_back(state == PlayState::kPlaying  ? "playing"
                     : state == PlayState::kPaused ? "paused"
                                                   : "stopped");
  }
  void OnTrackFailed(const ItemRef& item, TrackFailure failure, HRESULT) override {
    static constexpr const char* kNames[] = {"fail", "device", "play", "pause", "seek"};
    heard_.push_back(std::string(kNames[static_cast<int>(failure)]) + " " + item->PathGbk());
  }
  void OnTrackEnded() override { heard_.push_back("ended"); }
  void OnFinished() override { heard_.push_back("finished"); }
  void OnResumed(uint32_t position_ms) override {
    heard_.push_back("resumed " + std::to_string(position_ms));
  }
  void OnFading(const ItemRef& item) override { heard_.push_back("fading " + item->PathGbk()); }
  void OnGainScanned(const ItemRef& item) override { heard_.push_back("gain " + item->PathGbk()); }

  SimClock clock_;
  UiClock ui_clock_{clock_};
  Journal journal_{clock_};
  Window window_{clock_};
  Settings settings_;
  std::map<std::string, std::unique_ptr<FakeFile>> files_;
  std::vector<std::string> heard_;
  ComPtr<Playlist> list_;
  PlaybackSettings opened_with_;
  PlayerControl control_{{window_, *this, settings_,
                          [this](const PlayListItem& item, const PlaybackSettings& settings, void*,
                                 ComPtr<PlaybackStream>* out, OpenStep* failed_at) {
                            opened_with_ = settings;
                            return Open(item, out, failed_at);
                          },
                          ui_clock_, SeededRandom(7)}};
  PlayerControl* opened_by_ = &control_;
};

TEST_F(PlayerControlTest, PlayModesAndFailures) {
  struct Case {
    const char* name;
    PlayMode mode;
    const char* broken;
    bool stop_when_fail;
    size_t start;
    const char* heard;  ///< The beginning of it.
  };
  const Case cases[] = {
      {"single stops", PlayMode::kSingle, "", false, 1, "open b, finished"},
      {"repeat one", PlayMode::kRepeatOne, "", false, 1, "open b, open b, open b"},
      {"in order ends", PlayMode::kInOrder, "", false, 1, "open b, open c, end of list, finished"},
      {"repeat all wraps", PlayMode::kRepeatAll, "", false, 1, "open b, open c, open a, open b"},
      {"a missing one is skipped", PlayMode::kInOrder, "b", false, 0,
       "open a, fail b, open c, end of list, finished"},
      {"every round skips it", PlayMode::kRepeatAll, "b", false, 0,
       "open a, fail b, open c, open a, fail b, open c, open a"},
      {"a missing one stops", PlayMode::kRepeatAll, "b", true, 0, "open a, fail b, finished"},
      {"all fail once", PlayMode::kRepeatAll, "abc", false, 1, "fail b, fail c, fail a, fail b, finished"},
      {"all fail, in order", PlayMode::kInOrder, "abc", false, 1, "fail b, fail c, end of list, finished"},
      {"single does not go on", PlayMode::kSingle, "b", false, 1, "fail b, finished"},
      {"the last one fails", PlayMode::kInOrder, "c", false, 1, "open b, fail c, end of list, finished"},
      {"repeat one of a missing file", PlayMode::kRepeatOne, "b", false, 1, "fail b, fail b, finished"},
  };
  control_.SetEndOfListStep([this] { heard_.push_back("end of list"); });
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    MakeList("abc");
    for (const auto& [name, file] : files_)
      file->open_result = S_OK;
    BreakFiles(c.broken);
    settings_.player.play_mode = static_cast<int32_t>(c.mode);
    settings_.playback.stop_when_fail = c.stop_when_fail;
    control_.OpenEntry(c.start);
    Run(3500);
    const std::string heard = Heard();
    EXPECT_TRUE(heard.starts_with(c.heard)) << heard;
    const std::string tail = heard.substr(std::min(heard.size(), std::string(c.heard).size()));
    EXPECT_TRUE(tail.empty() || !std::string(c.heard).ends_with("finished")) << heard;
    control_.Stop();
    Heard();
  }
}

TEST_F(PlayerControlTest, RandomModePlaysEachOnce) {
  MakeList("abcdefgh", 200);
  BreakFiles("d");
  control_.SetMode(PlayMode::kRandom);
  control_.OpenEntry(2);
  Run(4000);
  const std::string heard = Heard();
  std::string names;
  for (size_t at = 0; (at = heard.find_first_of(' ', at)) != std::string::npos && names.size() < 8; ++at)
    if (heard.compare(at - 4, 4, "open") == 0 || heard.compare(at - 4, 4, "fail") == 0)
      names += heard[at + 1];
  EXPECT_EQ(names[0], 'c') << heard;
  std::sort(names.begin(), names.end());
  EXPECT_EQ(names, "abcdefgh") << heard;
  BreakFiles("abcdefgh");
  control_.Next();
  Run(2000);
  const std::string failures = Heard();
  for (char name : std::string("abcdefgh"))
    EXPECT_NE(failures.find(std::string("fail ") + name), std::string::npos) << failures;
  // The order is shuffled anew when it is through, so some come twice before the first failure comes back.
  EXPECT_LE(std::count(failures.begin(), failures.end(), ','), 16) << failures;
  EXPECT_TRUE(failures.ends_with("finished")) << failures;
}

TEST_F(PlayerControlTest, Intervals) {
  struct Case {
    int32_t seconds;
    uint32_t after_end, after_failure;
  };
  for (const Case& c :
       {Case{0, 50, 100}, Case{2, 2000, 2000}, Case{-5, 50, 100}, Case{INT32_MAX, 86400000, 86400000}}) {
    SCOPED_TRACE(c.seconds);
    MakeList("ab");
    BreakFiles("b");
    settings_.playback.tracks_interval = c.seconds;
    window_.delays.clear();
    control_.OpenEntry(0);
    Run(1000);
    control_.OpenEntry(1);
    ASSERT_EQ(window_.delays.size() >= 2, true);
    EXPECT_EQ(window_.delays.front(), c.after_end);
    EXPECT_EQ(window_.delays.back(), c.after_failure);
    EXPECT_TRUE(control_.WaitsForNext());
    control_.Stop();
    EXPECT_FALSE(control_.WaitsForNext());
  }
}

TEST_F(PlayerControlTest, ResumesOnceAndOnlyTheSavedFile) {
  struct Case {
    const char* name;
    bool auto_play, continue_play;
    int32_t saved_ms;
    const char* saved_file;
    const char* heard;
  };
  const Case cases[] = {
      {"both on", true, true, 4000, "A", "open a, resumed 4000"},
      {"no AutoPlay", false, true, 4000, "a", "open a"},
      {"no ContinuePlay", true, false, 4000, "a", "open a"},
      {"another file", true, true, 4000, "b", "open a"},
      {"nothing saved", true, true, 0, "a", "open a"},
      {"the file is shorter now", true, true, 10000, "a", "open a"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    MakeList("ab", 10000);
    settings_.playback.auto_play = c.auto_play;
    settings_.playback.continue_play = c.continue_play;
    settings_.player.playing_time = c.saved_ms;
    settings_.player.playing_file_gbk = c.saved_file;
    PlayerControl session(
        {window_, *this, settings_,
         [this](const PlayListItem& item, const PlaybackSettings&, void*, ComPtr<PlaybackStream>* out,
                OpenStep* failed_at) { return Open(item, out, failed_at); },
         ui_clock_, SeededRandom(1)});
    window_.control = &session;
    control_.SetPlayingList(nullptr, std::nullopt);
    session.SetPlayingList(list_, 0);
    session.StoreResumePoint();
    EXPECT_EQ(settings_.player.playing_time, c.saved_ms) << "kept until something is played";
    opened_by_ = &session;
    ASSERT_TRUE(session.OpenEntry(0));
    EXPECT_EQ(settings_.player.playing_time, 0);
    EXPECT_EQ(Heard(), c.heard);
    Run(1000);
    settings_.player.playing_time = 2000;
    settings_.player.playing_file_gbk = "b";
    session.OpenEntry(1);
    EXPECT_EQ(Heard(), "open b") << "the first track only";
    Run(1500);
    session.StoreResumePoint();
    EXPECT_NEAR(settings_.player.playing_time, 1500, 60);
    EXPECT_EQ(settings_.player.playing_file_gbk, "b");
    session.Stop();
    session.StoreResumePoint();
    EXPECT_EQ(settings_.player.playing_time, 0) << "a stopped track begins anew";
    Heard();
    session.Close();
    opened_by_ = &control_;
    window_.control = &control_;
  }
}

TEST_F(PlayerControlTest, OnlyARunningDirectSoundTrackFadesWhenLeft) {
  struct Case {
    const char* name;
    DeviceKind kind;
    int32_t fades;
    const char* codec;
    bool paused;
    bool fading;
  };
  const Case cases[] = {
      {"DirectSound", DeviceKind::kDirectSound, 8, "", false, true},
      {"with all fades", DeviceKind::kDirectSound, 15, "MP3|MPEG", false, true},
      {"waveOut", DeviceKind::kWaveOut, 8, "", false, false},
      {"no stop fade", DeviceKind::kDirectSound, 7, "", false, false},
      {"a CD", DeviceKind::kDirectSound, 8, "CD|CD Audio", false, false},
      {"paused", DeviceKind::kDirectSound, 8, "", true, false},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    MakeList("ab", 10000);
    File("a").device.kind = c.kind;
    settings_.playback.sound_fade_mode = c.fades;
    list_->At(0)->SetCodec(c.codec);
    control_.OpenEntry(0);
    Run(1500);
    if (c.paused) {
      control_.Pause();
      Run(1000);
    }
    Heard();
    journal_.Take();
    control_.Next();
    EXPECT_EQ(Heard({"stopped", "playing"}), c.fading ? "fading a, open b" : "open b");
    EXPECT_EQ(control_.IsFading(), c.fading);
    EXPECT_EQ(File("a").device.alive, c.fading ? 1 : 0);
    Run(400);
    if (c.fading) {
      // Both sound at once: the old one ever more quietly, the new one with its own volume.
      const std::string volumes = Journal::Filter(journal_.Take(), {"a.SetVolume", "b.Play"});
      EXPECT_NE(volumes.find("a.SetVolume 60"), std::string::npos) << volumes;
      EXPECT_NE(volumes.find("b.Play"), std::string::npos) << volumes;
      EXPECT_EQ(File("a").device.alive, 1);
    }
    Run(1000);
    EXPECT_FALSE(control_.IsFading());
    EXPECT_EQ(File("a").device.alive, 0);
    EXPECT_EQ(control_.State(), PlayState::kPlaying);
    EXPECT_EQ(control_.Item()->PathGbk(), "b");
    control_.Stop();
    Run(1000);
  }
}

TEST_F(PlayerControlTest, ASecondFadeReplacesTheFirst) {
  MakeList("abc", 10000);
  settings_.playback.sound_fade_mode = kFadeStop;
  control_.OpenEntry(0);
  Run(1500);
  control_.Next();
  Run(300);
  ASSERT_EQ(File("a").device.alive, 1);
  control_.Next();
  EXPECT_EQ(File("a").device.alive, 0);
  EXPECT_EQ(File("b").device.alive, 1);
  EXPECT_TRUE(control_.IsFading());
  Run(1000);
  EXPECT_FALSE(control_.IsFading());
  EXPECT_EQ(File("b").device.alive, 0);
}

TEST_F(PlayerControlTest, EventsOfStreamsThatAreGoneChangeNothing) {
  MakeList("abc", 10000);
  settings_.playback.sound_fade_mode = kFadeAll;
  control_.OpenEntry(0);
  PlaybackStream* first = control_.Stream();
  // The end of the fade-in is on its way when the track is left: it must not cut the fade-out short.
  clock_.Advance(1000);
  control_.Next();
  ASSERT_TRUE(control_.IsFading());
  window_.PumpMessages();
  EXPECT_TRUE(control_.IsFading());
  Heard();
  // Any other event of the fading stream empties the slot.
  control_.OnStreamEvent(kEventTrackEnd, first);
  EXPECT_FALSE(control_.IsFading());
  EXPECT_EQ(control_.State(), PlayState::kPlaying);
  control_.OnStreamEvent(kEventTrackEnd, first);
  control_.OnStreamEvent(kEventTrackEnd, nullptr);
  control_.OnStreamEvent(kEventFadeInDone, control_.Stream());
  EXPECT_EQ(control_.State(), PlayState::kPlaying);
  EXPECT_EQ(Heard({}), "");
}

TEST_F(PlayerControlTest, ASlotIsNotFilledForAFadeThatNeverEnds) {
  for (const bool refuses_volume : {false, true}) {
    SCOPED_TRACE(refuses_volume ? "the device refuses the volume" : "the track ends at this moment");
    MakeList("ab", 3000);
    settings_.playback.sound_fade_mode = kFadeStop;
    control_.OpenEntry(0);
    Run(2500);
    control_.Seek(2950);
    ASSERT_EQ(control_.Stream()->State(), DeviceState::kRunning);
    if (refuses_volume)
      File("a").device.volume = E_FAIL;
    else
      window_.before_drop = [this] { clock_.Advance(200); };
    control_.Next();
    window_.before_drop = nullptr;
    EXPECT_FALSE(control_.IsFading());
    EXPECT_EQ(File("a").device.alive, 0);
    EXPECT_EQ(control_.Item()->PathGbk(), "b");
    File("a").device.volume = S_OK;
    control_.Stop();
    Run(1000);
  }
}

TEST_F(PlayerControlTest, NothingFollowsAStop) {
  MakeList("ab", 400);
  control_.OpenEntry(0);
  clock_.Advance(1000);
  control_.Stop();  // The track's end is on its way.
  Run(500);
  EXPECT_EQ(Heard(), "open a");
  control_.Play();
  Run(450);
  ASSERT_TRUE(control_.WaitsForNext());
  control_.Stop();
  control_.OnNextTrackTimer();  // So is the timer's message.
  Run(500);
  EXPECT_EQ(Heard(), "");
  EXPECT_EQ(control_.State(), PlayState::kStopped);
}

TEST_F(PlayerControlTest, LetsGoOfTheFiles) {
  MakeList("ab", 10000);
  settings_.playback.sound_fade_mode = kFadeStop;
  control_.OpenEntry(0);
  Run(1000);
  control_.OpenEntry(1);
  ASSERT_TRUE(control_.IsFading());
  control_.LetGo();
  EXPECT_EQ(File("a").device.alive + File("b").device.alive, 0);
  EXPECT_FALSE(control_.HasTrack());
  EXPECT_EQ(control_.State(), PlayState::kStopped);
  control_.LetGo();
  control_.Play();
  EXPECT_EQ(control_.Item()->PathGbk(), "b");
}

TEST_F(PlayerControlTest, WhatComesDuringTheExitIsTooLate) {
  MakeList("ab", 10000);
  settings_.playback.sound_fade_mode = kFadeStop;
  control_.OpenEntry(0);
  Run(1500);
  control_.StoreResumePoint();
  const int32_t stored = settings_.player.playing_time;
  EXPECT_GT(stored, 1000);
  // A save that was due anyway, a second program's command line, a key.
  window_.on_pump = [this] {
    control_.StoreResumePoint();
    control_.OpenEntry(1);
    control_.Next();
    control_.Play();
  };
  control_.Close();
  window_.on_pump = nullptr;
  EXPECT_EQ(Heard(), "open a, fading a");
  EXPECT_EQ(settings_.player.playing_time, stored);
  EXPECT_EQ(settings_.player.playing_file_gbk, "a");
  EXPECT_EQ(control_.PlayingIndex(), 0u);
}

TEST_F(PlayerControlTest, TheExitWaitsForTheFade) {
  struct Case {
    const char* name;
    int32_t stop_ms;
    bool deaf;
    uint32_t shortest, longest;
  };
  for (const Case& c : {Case{"until it is over", 600, false, 500, 700},
                        Case{"no longer than half a second more", 600, true, 1100, 1120},
                        Case{"a fade of nothing", 0, false, 0, 40}}) {
    SCOPED_TRACE(c.name);
    MakeList("a", 10000);
    settings_.playback.sound_fade_mode = kFadeStop;
    settings_.playback.fade_duration[3] = c.stop_ms;
    control_.OpenEntry(0);
    Run(1500);
    window_.deaf = c.deaf;
    ui_clock_.sleeps.clear();
    const uint32_t start = clock_.TickMs();
    control_.Close();
    const uint32_t waited = clock_.TickMs() - start;
    EXPECT_GE(waited, c.shortest);
    EXPECT_LE(waited, c.longest);
    EXPECT_TRUE(std::all_of(ui_clock_.sleeps.begin(), ui_clock_.sleeps.end(),
                            [](uint32_t duration) { return duration == 20; }));
    EXPECT_EQ(File("a").device.alive, 0);
    window_.deaf = false;
  }
  // Without a fading stream nothing is waited for.
  settings_.playback.sound_fade_mode = 0;
  control_.OpenEntry(0);
  Run(500);
  const uint32_t start = clock_.TickMs();
  control_.Close();
  EXPECT_EQ(clock_.TickMs(), start);
}

TEST_F(PlayerControlTest, SettingsReachANewStreamBeforeItPlays) {
  MakeList("ab", 20000);
  settings_.player.volume = 70;
  settings_.player.mute = 1;
  settings_.player.balance = -130;
  settings_.playback.sound_fade_mode = 15 | 0x70;
  control_.OpenEntry(0, false);
  EXPECT_EQ(Heard({}), "open a");
  EXPECT_EQ(control_.State(), PlayState::kStopped);
  const std::string done = Journal::Filter(journal_.Take(), {"a."});
  EXPECT_EQ(done, "a.SetVolume 100, a.SetVolume -1, a.SetBalance -100, a.SetVolume -1")
      << "once asked, once set, once for fades";
  EXPECT_EQ(control_.Stream()->FadeFlags(), 15);
  EXPECT_EQ(control_.DurationMs(), 20000u);
  EXPECT_EQ(control_.PositionStepMs(), 1000u);
  control_.SetVolume(130);
  EXPECT_EQ(settings_.player.volume, 100);
  EXPECT_EQ(settings_.player.mute, 0);
  EXPECT_EQ(control_.Stream()->Volume(), 100);
  control_.Play();
  EXPECT_EQ(control_.State(), PlayState::kPlaying);
  MakeList("cd", 30000);
  control_.OpenEntry(0);
  EXPECT_EQ(control_.PositionStepMs(), 5000u);
}

TEST_F(PlayerControlTest, AFailureOfTheDeviceIsToldApart) {
  MakeList("ab", 10000);
  File("a").open_result = E_FAIL;
  File("a").failing_step = OpenStep::kDevice;
  File("b").chain.start = E_FAIL;
  control_.SetMode(PlayMode::kSingle);
  EXPECT_FALSE(control_.OpenEntry(0));
  EXPECT_FALSE(control_.OpenEntry(1));
  EXPECT_EQ(Heard(), "device a, finished, open b, play b, finished");
  settings_.player.playing_time = 4000;
  control_.StoreResumePoint();
  EXPECT_EQ(settings_.player.playing_time, 4000) << "kept until something is played";
  EXPECT_FALSE(control_.HasTrack());
  EXPECT_FALSE(control_.OpenEntry(2));
  EXPECT_EQ(Heard(), "");
}

TEST_F(PlayerControlTest, EffectsFollowTheSettingsAndTakeOverWhatTheDeviceRefuses) {
  MakeList("ab", 5000);
  KeepingEffects effects;
  const auto source = ComPtr<TaggedSource>::Adopt(new TaggedSource({}));
  source->SetTag(u"REPLAYGAIN_TRACK_GAIN", u"-6,5 dB");
  source->SetTag(u"replaygain_track_peak", u"0.75");
  for (const char* name : {"a", "b"}) {
    File(name).chain.effects = &effects;
    File(name).chain.source = source.get();
  }
  settings_.player.volume = 60;
  settings_.player.balance = -20;
  settings_.equalizer.surround = 40;
  settings_.equalizer.current.values = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, -3};
  control_.OpenEntry(0);
  EXPECT_EQ(effects.set.equalizer, settings_.equalizer.current);
  EXPECT_EQ(effects.set.surround, 40);
  EXPECT_EQ(effects.set.gain, std::nullopt);
  EXPECT_EQ(effects.set.volume, 100);
  EXPECT_EQ(effects.set.balance, 0);

  control_.SetEqualizer({});
  control_.SetSurround(0);
  settings_.playback.auto_gain = 1;
  control_.ApplySettings();
  EXPECT_EQ(effects.set.equalizer, EqualizerBands{});
  EXPECT_EQ(effects.set.surround, 0);
  EXPECT_EQ(effects.set.gain, (TrackGain{-6.5, 0.75}));

  // Kernel Streaming and ASIO.
  File("b").device.volume = E_NOTIMPL;
  control_.OpenEntry(1);
  EXPECT_EQ(effects.set.volume, 60);
  EXPECT_EQ(effects.set.balance, 0);
  EXPECT_EQ(control_.Stream()->FadeFlags(), 0);
  control_.SetMute(true);
  EXPECT_EQ(effects.set.volume, -1);
  control_.SetVolume(30);
  EXPECT_EQ(effects.set.volume, 30);
  File("b").device.volume = S_OK;
  control_.SetVolume(40);
  EXPECT_EQ(effects.set.volume, 100) << "not twice";
  control_.OpenEntry(0);
  EXPECT_EQ(effects.set.volume, 100);
  control_.Close();
}

TEST_F(PlayerControlTest, AMeasuredGainIsKeptAndUsedTheNextTime) {
  MakeList("ab");
  KeepingEffects effects;
  effects.scanned = TrackGain{-7.25, 0.9};
  const auto source = ComPtr<TaggedSource>::Adopt(new TaggedSource({}));
  File("a").chain.effects = &effects;
  File("a").chain.source = source.get();
  settings_.playback.auto_gain = settings_.playback.auto_scan_gain = 1;
  control_.SetMode(PlayMode::kSingle);
  control_.OpenEntry(0);
  EXPECT_TRUE(opened_with_.auto_scan_gain && opened_with_.skip_scan_gain && opened_with_.auto_gain);
  EXPECT_EQ(opened_with_.listed_gain, std::nullopt);
  Run(600);
  // At its end already, once.
  EXPECT_EQ(Heard(), "open a, gain a, finished");
  EXPECT_EQ(list_->At(0)->TagValue("replaygain_track_gain"), "-7.25 dB");
  EXPECT_EQ(effects.set.gain, (TrackGain{-7.25, 0.9})) << "for when it is played again";
  control_.OpenEntry(1);
  const auto reopened = ComPtr<TaggedSource>::Adopt(new TaggedSource({}));
  File("a").chain.source = reopened.get();
  effects.scanned.reset();
  control_.OpenEntry(0);
  EXPECT_EQ(Heard(), "open b, open a");
  EXPECT_EQ(opened_with_.listed_gain, (TrackGain{-7.25, 0.9}));
  EXPECT_EQ(effects.set.gain, (TrackGain{-7.25, 0.9}));
  // A gain without a peak in the file's own tags since: the list keeps the peak, and that is no news.
  control_.OpenEntry(1);
  const auto tagged = ComPtr<TaggedSource>::Adopt(new TaggedSource({}));
  tagged->SetTag(u"replaygain_track_gain", u"-3.50 dB");
  File("a").chain.source = tagged.get();
  control_.OpenEntry(0);
  Run(600);
  EXPECT_EQ(Heard(), "open b, open a, finished");
  EXPECT_EQ(list_->At(0)->TagValue("replaygain_track_peak"), "0.900000");
  control_.Close();
}

TEST(PlaybackSettingsTest, NumbersThatNoDeviceTakesDoNotKeepSongsFromPlaying) {
  Settings settings([](const char*) { return false; });
  const auto made = [&](int32_t number) {
    settings.device.buffer_duration = settings.device.resample_rate = number;
    settings.playback.fade_duration.fill(number);
    return MakePlaybackSettings(settings);
  };
  for (const int32_t number : {std::numeric_limits<int32_t>::min(), -1, 0}) {
    const PlaybackSettings least = made(number);
    EXPECT_EQ(least.buffer_duration + least.resample_rate + least.fade_duration[3], 0u) << number;
  }
  const PlaybackSettings most = made(std::numeric_limits<int32_t>::max());
  EXPECT_LE(most.buffer_duration, 10000u);
  EXPECT_EQ(most.resample_rate, 0u);
  EXPECT_LE(most.fade_duration[3], 60000u) << "the exit waits for it";
  const PlaybackSettings usual = made(8000);
  EXPECT_EQ(usual.resample_rate, 8000u);
  EXPECT_EQ(usual.buffer_duration, 8000u);
}

TEST(ChainOptionsTest, GainIsAppliedOrMeasuredAsTheSettingsSay) {
  const TrackGain known{-3, std::nullopt};
  struct Case {
    bool auto_gain, scan, skip, is_known;
    bool applied, measured;
  };
  for (const Case& c :
       {Case{false, false, true, true, false, false}, Case{true, false, true, true, true, false},
        Case{true, true, true, true, true, false}, Case{true, true, false, true, true, true},
        Case{false, true, true, false, false, true}, Case{true, true, true, false, false, true}}) {
    PlaybackSettings settings;
    settings.auto_gain = c.auto_gain;
    settings.auto_scan_gain = c.scan;
    settings.skip_scan_gain = c.skip;
    const ChainOptions options = MakeChainOptions(settings, c.is_known ? std::optional(known) : std::nullopt);
    EXPECT_EQ(options.effects.gain.has_value(), c.applied);
    EXPECT_EQ(options.scan_gain, c.measured);
  }
}

TEST_F(PlayerControlTest, TheItemLearnsFromItsFile) {
  MakeList("ab", 5000);
  TagFields fields;
  fields.Add("Title", "标题");
  const auto source = ComPtr<TaggedSource>::Adopt(new TaggedSource(std::move(fields)));
  File("a").chain.source = source.get();
  control_.OpenEntry(0);
  const PlayListItem& item = *list_->At(0);
  EXPECT_EQ(item.TagValue("title"), "标题");
  EXPECT_EQ(item.CodecGbk(), "SIM|Simulated");
  EXPECT_EQ(item.DurationMs(), 5000);
  EXPECT_EQ(item.Format(), (StreamFormat{8000, 2, 16, 128000}));
  // A gain that was measured while the track played is kept with the item, beyond the next opening.
  source->SetTag(u"replaygain_track_gain", u"-3.50 dB");
  control_.OpenEntry(1);
  EXPECT_EQ(item.TagValue("replaygain_track_gain"), "-3.50 dB");
  const auto reopened = ComPtr<TaggedSource>::Adopt(new TaggedSource({}));
  File("a").chain.source = reopened.get();
  control_.OpenEntry(0);
  EXPECT_EQ(item.TagValue("replaygain_track_gain"), "-3.50 dB");
  EXPECT_EQ(item.TagValue("title"), "");
  control_.Stop();
  control_.Close();
}

TEST_F(PlayerControlTest, FollowsEditsOfThePlayingList) {
  const size_t playing[] = {2}, first[] = {0}, next[] = {1}, all[] = {0, 1};
  MakeList("abcde", 10000);
  control_.OpenEntry(2);
  control_.OnListEdited(*list_, RemoveEntries(*list_, first));  // b C d e
  EXPECT_EQ(control_.PlayingIndex(), 1u);
  control_.OnListEdited(*list_, MoveEntries(*list_, next, 4));  // b d e C
  EXPECT_EQ(control_.PlayingIndex(), 3u);
  control_.Previous();
  Heard();
  control_.OnListEdited(*list_, RemoveEntries(*list_, playing));  // b d (E) c
  EXPECT_EQ(control_.State(), PlayState::kPlaying);
  EXPECT_EQ(control_.PlayingIndex(), std::nullopt);
  control_.OnListEdited(*list_, RemoveEntries(*list_, first));  // d (E) c
  control_.Next();
  EXPECT_EQ(Heard(), "open c") << "what followed the removed entry";
  control_.OnListEdited(*list_, RemoveEntries(*list_, next));  // d (C)
  control_.Previous();
  EXPECT_EQ(Heard(), "open d");
  control_.OnListEdited(*list_, InsertEntries(*list_, 0, {list_->At(0)}));  // d D
  EXPECT_EQ(control_.PlayingIndex(), 1u);
  control_.OnListEdited(*Playlist::Create(), RemoveEntries(*list_, all));
  EXPECT_EQ(control_.PlayingIndex(), 1u) << "another list";
}

TEST_F(PlayerControlTest, WhatFollowsWhenThePlayingEntryIsRemoved) {
  struct Case {
    const char* name;
    PlayMode mode;
    std::vector<size_t> removed;
    const char* added;  ///< At the end.
    const char* heard;
  };
  // Of a b c, b plays.
  const Case cases[] = {
      {"it alone", PlayMode::kInOrder, {1}, "", "open c"},
      {"what followed it too", PlayMode::kInOrder, {1, 2}, "", "end of list, finished"},
      {"and others came", PlayMode::kInOrder, {1, 2}, "d", "open d"},
      {"all, and others came", PlayMode::kInOrder, {0, 1, 2}, "de", "open d"},
      {"all, over and over", PlayMode::kRepeatAll, {0, 1, 2}, "de", "open d"},
      {"all, and it goes on without a list", PlayMode::kInOrder, {0, 1, 2}, "", "open b"},
      {"all", PlayMode::kRepeatAll, {0, 1, 2}, "", "finished"},
      {"it alone, again and again", PlayMode::kRepeatOne, {1}, "", "open b"},
  };
  control_.SetEndOfListStep([this] { heard_.push_back("end of list"); });
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    MakeList("abcde", 400);
    MakeList("abc", 400);
    control_.SetMode(c.mode);
    control_.OpenEntry(1);
    Run(200);
    Heard();
    control_.OnListEdited(*list_, RemoveEntries(*list_, c.removed));
    for (char name : std::string(c.added)) {
      const ItemRef item = ItemCache::Obtain(std::string(1, name), {}, kUnknownDuration, 0);
      control_.OnListEdited(*list_, InsertEntries(*list_, list_->Size(), {item}));
    }
    Run(400);
    EXPECT_EQ(Heard(), c.heard);
    control_.Stop();
  }
  // Nor is a track that failed and was removed in the way of the others.
  MakeList("ab");
  BreakFiles("b");
  control_.SetMode(PlayMode::kSingle);
  control_.OpenEntry(1);
  const size_t last[] = {1};
  control_.OnListEdited(*list_, RemoveEntries(*list_, last));
  Heard();
  control_.Play();
  EXPECT_EQ(Heard(), "open a");
}

TEST_F(PlayerControlTest, AnEntryThatComesBackIsThePlayingOneAgain) {
  MakeList("abcd", 10000);
  ListHistory history;
  const auto remove = [&](std::vector<size_t> indexes) {
    ListEdit edit = RemoveEntries(*list_, indexes);
    control_.OnListEdited(*list_, edit);
    history.Add("remove", std::move(edit));
  };
  control_.OpenEntry(2);
  remove({1, 2});  // a (C) d
  remove({0});
  control_.OnListEdited(*list_, *history.Undo(*list_));
  EXPECT_EQ(control_.PlayingIndex(), std::nullopt) << "another one came back";
  control_.OnListEdited(*list_, *history.Undo(*list_));
  EXPECT_EQ(control_.PlayingIndex(), 2u);
  control_.OnListEdited(*list_, *history.Redo(*list_));
  EXPECT_EQ(control_.PlayingIndex(), std::nullopt);
  Heard();
  control_.Next();
  EXPECT_EQ(Heard(), "open d");
  control_.OnListEdited(*list_, *history.Undo(*list_));
  EXPECT_EQ(control_.PlayingIndex(), 3u) << "it has been left meanwhile";
}

TEST_F(PlayerControlTest, PlayPassesOverAStoppedEntryThatWasRemoved) {
  MakeList("abc", 400);
  control_.OpenEntry(1);
  control_.Stop();
  Heard();
  const size_t stopped[] = {1};
  control_.OnListEdited(*list_, RemoveEntries(*list_, stopped));
  control_.Play();
  EXPECT_EQ(Heard(), "open c");
}

TEST_F(PlayerControlTest, CommandsOfTheUser) {
  MakeList("abc", 10000);
  control_.Play();
  EXPECT_EQ(Heard(), "open a") << "the first entry";
  control_.Previous();
  control_.Next();
  control_.Pause();
  control_.Pause();
  control_.TogglePause();
  EXPECT_EQ(Heard({"stopped"}), "open c, open a, paused, playing");
  control_.Seek(99999);
  EXPECT_EQ(control_.PositionMs(), 9999u);
  Run(300);
  EXPECT_EQ(Heard({"playing", "stopped"}), "ended, open b");
  control_.SetPlayingList(Playlist::Create("empty"), std::nullopt);
  control_.Next();
  control_.Previous();
  EXPECT_EQ(Heard({}), "");
  // With an empty list the current entry is played again in mode 2, and mode 3 stops.
  control_.Seek(9990);
  control_.SetMode(PlayMode::kInOrder);
  Run(400);
  EXPECT_EQ(Heard(), "open b");
  control_.Seek(9990);
  control_.SetMode(PlayMode::kRepeatAll);
  Run(400);
  EXPECT_EQ(Heard(), "finished");
}

}  // namespace
}  // namespace melorin
