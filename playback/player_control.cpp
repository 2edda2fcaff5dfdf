// SPDX-License-Identifier: MIT
#include "playback/player_control.h"

#include <algorithm>
#include <memory>
#include <new>
#include <utility>
#include <vector>

#include "platform/file.h"
#include "platform/text.h"
#include "playback/effects/tagged_gain.h"
#include "playback/track_effects.h"
#include "playlist/item_info.h"
#include "sound/sheet_tracks.h"

namespace melorin {
namespace {

constexpr uint32_t kShortestAfterEndMs = 50;
constexpr uint32_t kShortestAfterFailureMs = 100;
constexpr uint32_t kExitExtraMs = 500;
constexpr uint32_t kExitStepMs = 20;
constexpr int32_t kLongestIntervalSeconds = 24 * 60 * 60;
constexpr char kCdCodec[] = "CD|CD Audio";

constexpr char kGainFieldUtf8[] = "replaygain_track_gain";
constexpr char kPeakFieldUtf8[] = "replaygain_track_peak";

std::optional<TrackGain> ListedGain(const PlayListItem& item) {
  const std::optional<double> gain_db = ParseGainDb(Utf16FromUtf8(item.TagValue(kGainFieldUtf8)));
  if (!gain_db) return std::nullopt;
  return TrackGain{*gain_db, ParsePeak(Utf16FromUtf8(item.TagValue(kPeakFieldUtf8)))};
}

void StoreListedGain(PlayListItem& item, const TrackGain& gain) {
  item.SetTag(kGainFieldUtf8, Utf8FromUtf16(FormatGainDb(gain.gain_db)));
  if (gain.peak) item.SetTag(kPeakFieldUtf8, Utf8FromUtf16(FormatPeak(*gain.peak)));
}

// A settings file may hold anything; what no device takes must not keep songs from playing.
constexpr int32_t kLongestBufferMs = 10000;
constexpr int32_t kLongestFadeMs = 60000;
constexpr int32_t kLowestRate = 8000;
constexpr int32_t kHighestRate = 384000;

uint32_t NotNegative(int32_t value) {
  return static_cast<uint32_t>(std::max(value, 0));
}

uint32_t UpTo(int32_t most, int32_t value) {
  return static_cast<uint32_t>(std::clamp(value, 0, most));
}

FadeDurations FadesOf(const PlaybackSettings& settings) {
  return {settings.fade_duration[0], settings.fade_duration[1], settings.fade_duration[2],
          settings.fade_duration[3]};
}

}  // namespace

TrackOpener OpenerFor(const SoundLibrary& library, Clock& clock) {
  return [&library, &clock](const PlayListItem& item, const PlaybackSettings& settings, void* window,
                            ComPtr<PlaybackStream>* out, OpenStep* failed_at) {
    return OpenForTrack(library, AsWide(Utf16FromGbk(item.PathGbk()).c_str()), SubtrackFlags(item.Subtrack()),
                        settings, window, clock, out, nullptr, failed_at);
  };
}

PlaybackSettings MakePlaybackSettings(const Settings& settings) {
  PlaybackSettings result;
  result.device_type = settings.device.device_type;
  result.output_bits = NotNegative(settings.device.output_bits);
  result.buffer_duration = UpTo(kLongestBufferMs, settings.device.buffer_duration);
  result.hardware_buffer = settings.device.hardware_buffer != 0;
  result.create_primary = settings.device.create_primary != 0;
  result.dither = std::clamp(settings.device.dither, 0, 4);
  result.volume = std::clamp(settings.player.volume, 0, 100);
  result.balance = std::clamp(settings.player.balance, -100, 100);
  result.mute = settings.player.mute != 0;
  const int32_t rate = settings.device.resample_rate;
  result.resample_rate = rate >= kLowestRate && rate <= kHighestRate ? static_cast<uint32_t>(rate) : 0;
  result.hq_resample = settings.device.hq_resample != 0;
  result.equalizer = settings.equalizer.current;
  result.surround = settings.equalizer.surround;
  result.auto_gain = settings.playback.auto_gain != 0;
  result.auto_scan_gain = settings.playback.auto_scan_gain != 0;
  result.skip_scan_gain = settings.playback.skip_scan_gain != 0;
  result.thread_priority = settings.playback.thread_priority;
  result.sound_fade_mode = settings.playback.sound_fade_mode & kFadeAll;
  for (size_t i = 0; i < result.fade_duration.size(); ++i)
    result.fade_duration[i] = UpTo(kLongestFadeMs, settings.playback.fade_duration[i]);
  return result;
}

PlayerControl::PlayerControl(Parts parts)
    : host_(parts.host),
      listener_(parts.listener),
      settings_(parts.settings),
      open_(std::move(parts.open)),
      clock_(parts.clock),
      order_(std::move(parts.random)) {}

PlayerControl::~PlayerControl() {
  Drop(current_);
  Drop(fading_);
}

void PlayerControl::Post(uint32_t message, uint32_t event, PlaybackStream* stream) {
  host_.PostStreamEvent(message, event, stream);
}

uint32_t PlayerControl::PositionMs() const {
  if (!current_ || state_ == PlayState::kStopped) return 0;
  const uint32_t position_ms = current_->GetPositionMs();
  // Zero when it is not known how long the track lasts.
  return duration_ms_ != 0 ? std::min(position_ms, duration_ms_) : position_ms;
}

void PlayerControl::SetState(PlayState state) {
  if (state_ == state) return;
  state_ = state;
  listener_.OnStateChanged(state);
}

void PlayerControl::StartTimer(uint32_t shortest_ms) {
  const int32_t seconds = std::clamp(settings_.playback.tracks_interval, 0, kLongestIntervalSeconds);
  next_due_ = true;
  host_.StartNextTimer(std::max(static_cast<uint32_t>(seconds) * 1000, shortest_ms));
}

void PlayerControl::CancelTimer() {
  if (next_due_) host_.StopNextTimer();
  next_due_ = false;
}

// ---- opening

void PlayerControl::SetPlayingList(ComPtr<Playlist> list, std::optional<size_t> index) {
  list_ = std::move(list);
  index_ = index && *index < Count() ? index : std::nullopt;
  gap_.reset();
  first_failed_.reset();
  order_.Reset();
}

bool PlayerControl::OpenEntry(size_t index, bool play_now) {
  first_failed_.reset();
  return OpenAt(index, play_now);
}

bool PlayerControl::OpenAt(size_t index, bool play_now) {
  if (closing_ || index >= Count()) return false;
  index_ = index;
  gap_.reset();
  return OpenItem(list_->At(index), play_now);
}

bool PlayerControl::OpenItem(ItemRef item, bool play_now) {
  CancelTimer();
  Leave();
  item_ = std::move(item);
  TrackFailure failure = TrackFailure::kFile;
  HRESULT result = E_OUTOFMEMORY;
  try {
    result = OpenStream(play_now, failure);
  } catch (const std::bad_alloc&) {
  }
  if (SUCCEEDED(result)) {
    // The next one that fails begins a new round.
    first_failed_.reset();
    return true;
  }
  Drop(current_);
  duration_ms_ = 0;
  position_step_ms_ = melorin::PositionStepMs(0);
  SetState(PlayState::kStopped);
  listener_.OnTrackFailed(item_, failure, result);
  if (play_now) AfterFailure();
  return false;
}

HRESULT PlayerControl::OpenStream(bool play_now, TrackFailure& failure) {
  OpenStep step = OpenStep::kSource;
  HRESULT result = open_(*item_, SettingsFor(*item_), host_.WindowHandle(), std::addressof(current_), &step);
  if (FAILED(result)) {
    failure = step == OpenStep::kSource ? TrackFailure::kFile : TrackFailure::kDevice;
    return result;
  }
  current_->SetNotify(this, kStreamMessage);
  duration_ms_ = current_->EndTimeMs();
  position_step_ms_ = melorin::PositionStepMs(duration_ms_);
  ApplySettings();
  LearnFromSource();
  listener_.OnTrackOpened();
  if (!play_now) {
    SetState(PlayState::kStopped);
    return S_OK;
  }
  result = current_->Play();
  if (FAILED(result)) {
    failure = TrackFailure::kPlay;
    return result;
  }
  has_played_ = true;
  SetState(PlayState::kPlaying);
  StartResumed();
  return S_OK;
}

void PlayerControl::StartResumed() {
  if (!std::exchange(may_resume_, false)) return;
  const uint32_t saved_ms = NotNegative(std::exchange(settings_.player.playing_time, 0));
  if (settings_.playback.auto_play == 0 || settings_.playback.continue_play == 0 || saved_ms == 0) return;
  if (!EqualNoCaseGbk(item_->PathGbk(), settings_.player.playing_file_gbk)) return;
  // The file may have become shorter since.
  if (duration_ms_ != 0 && saved_ms >= duration_ms_) return;
  if (SUCCEEDED(current_->Seek(saved_ms))) listener_.OnResumed(saved_ms);
}

void PlayerControl::LearnFromSource() {
  SoundSource* source = current_->Source();
  if (!source) return;
  ItemInfo info = InfoOfSource(*source);
  info.duration_ms = static_cast<int32_t>(std::min<uint32_t>(duration_ms_, INT32_MAX));
  info.time_stamp = FileTimeStamp(item_->PathGbk());
  ApplyItemInfo(*item_, info);
}

void PlayerControl::ApplySettings() {
  if (!current_) return;
  // A device that refuses one of these plays all the same.
  const PlaybackSettings settings = MakePlaybackSettings(settings_);
  const FadeDurations durations = FadesOf(settings);
  volume_refused_ = FAILED(current_->SetVolume(settings.mute ? -1 : settings.volume));
  balance_refused_ = FAILED(current_->SetBalance(settings.balance));
  current_->SetFade(settings.sound_fade_mode, &durations);
  current_->SetThreadPriority(settings.thread_priority);
  ApplyEffects();
}

PlaybackSettings PlayerControl::SettingsFor(const PlayListItem& item) const {
  PlaybackSettings settings = MakePlaybackSettings(settings_);
  settings.listed_gain = ListedGain(item);
  return settings;
}

void PlayerControl::ApplyEffects() {
  TrackEffects* effects = current_ ? current_->Chain().Effects() : nullptr;
  if (!effects) return;
  const PlaybackSettings settings = SettingsFor(*item_);
  EffectSettings wanted = MakeChainOptions(settings, KnownGain(current_->Source(), settings)).effects;
  if (volume_refused_) wanted.volume = settings.mute ? -1 : settings.volume;
  if (balance_refused_) wanted.balance = settings.balance;
  effects->Set(wanted);
}

// ---- leaving

void PlayerControl::Leave() {
  if (!current_) return;
  KeepScannedGain();
  const bool fades = (current_->FadeFlags() & kFadeStop) != 0 && item_->CodecGbk() != kCdCodec &&
                     current_->Kind() == DeviceKind::kDirectSound &&
                     current_->State() == DeviceState::kRunning;
  if (fades) {
    LetFade();
  } else {
    current_->Stop();
    Drop(current_);
  }
}

void PlayerControl::LetFade() {
  Drop(fading_);
  const FadeDurations durations = FadesOf(MakePlaybackSettings(settings_));
  fading_ = current_;
  fading_->SetFade(kFadeStop, &durations);
  // News of the time before would end the fade: any event of a fading stream does.
  host_.DropStreamEvents(fading_.get());
  // When its end was among that news, nothing more comes that would empty the slot.
  const bool ended = fading_->State() == DeviceState::kStopped;
  current_->Stop();
  current_.Reset();
  if ((fading_->FadeFlags() & kFadeStop) && !ended) {
    listener_.OnFading(item_);
  } else {
    Drop(fading_);
  }
}

void PlayerControl::KeepScannedGain() {
  SoundSource* source = current_->Source();
  if (!source) return;
  // The source's tags carry what was measured, as if the file had said so.
  TrackEffects* effects = current_->Chain().Effects();
  const auto scanned = effects ? effects->ScannedGain() : std::nullopt;
  if (scanned) WriteTrackGain(*source, *scanned);
  const std::optional<TrackGain> gain = ReadTrackGain(*source);
  if (!gain) return;
  // The list may know a peak that the tags lack.
  const std::optional<TrackGain> listed = ListedGain(*item_);
  if (listed && listed->gain_db == gain->gain_db && (!gain->peak || listed->peak == gain->peak)) return;
  StoreListedGain(*item_, *gain);
  listener_.OnGainScanned(item_);
}

void PlayerControl::Drop(ComPtr<PlaybackStream>& stream) {
  if (!stream) return;
  PlaybackStream* gone = stream.get();
  gone->SetNotify(nullptr, 0);
  stream.Reset();
  host_.DropStreamEvents(gone);
}

// ---- what follows

void PlayerControl::AfterFailure() {
  const bool tries_on = Mode() != PlayMode::kSingle && settings_.playback.stop_when_fail == 0 && index_ &&
                        first_failed_ != index_;
  if (!tries_on) {
    first_failed_.reset();
    listener_.OnFinished();
    return;
  }
  if (!first_failed_) first_failed_ = index_;
  StartTimer(kShortestAfterFailureMs);
}

std::optional<size_t> PlayerControl::PlaceBeforeNext() const {
  if (index_ || !gap_ || *gap_ == 0 || Mode() == PlayMode::kRandom) return index_;
  return *gap_ - 1;
}

void PlayerControl::OnNextTrackTimer() {
  // One that was under way when the timer was stopped.
  if (!next_due_) return;
  CancelTimer();
  if (!list_ && Mode() != PlayMode::kRepeatOne) {
    listener_.OnFinished();
    return;
  }
  const AfterEnd next = ChooseAfterEnd(Mode(), Count(), PlaceBeforeNext(), order_);
  switch (next.action) {
    case AfterEnd::Action::kPlay:
      OpenAt(next.index, true);
      return;
    case AfterEnd::Action::kReplay:
      if (item_) OpenItem(item_, true);
      return;
    case AfterEnd::Action::kEndOfList:
      if (end_of_list_step_) end_of_list_step_();
      break;
    case AfterEnd::Action::kStop:
      break;
  }
  listener_.OnFinished();
}

void PlayerControl::OnStreamEvent(uint32_t event, PlaybackStream* stream) {
  if (!stream) return;
  if (stream != current_.get()) {
    if (stream == fading_.get()) Drop(fading_);
    return;
  }
  if (event != kEventTrackEnd) return;
  if (current_->State() != DeviceState::kStopped) current_->Stop();
  // Now, so that it is saved although nothing may be played for hours.
  KeepScannedGain();
  // Played again it has its gain from the start, not from the next change of a setting on.
  ApplyEffects();
  SetState(PlayState::kStopped);
  listener_.OnTrackEnded();
  if (Mode() != PlayMode::kSingle) {
    StartTimer(kShortestAfterEndMs);
  } else {
    listener_.OnFinished();
  }
}

// ---- commands

void PlayerControl::Next() {
  if (const auto next = ChooseNext(Mode(), Count(), PlaceBeforeNext(), order_)) OpenEntry(*next);
}

void PlayerControl::Previous() {
  const std::optional<size_t> after = Mode() == PlayMode::kRandom ? std::nullopt : gap_;
  if (const auto previous = ChoosePrevious(Mode(), Count(), index_ ? index_ : after, order_))
    OpenEntry(*previous);
}

void PlayerControl::Play() {
  if (state_ == PlayState::kPlaying || closing_) return;
  // A stopped track that was removed from its list gives way to what followed it.
  const bool removed = state_ == PlayState::kStopped && !index_ && gap_ && Count() > 0;
  if (!current_ || removed) {
    const size_t index = index_.value_or(gap_.value_or(0));
    OpenEntry(index < Count() ? index : 0);
    return;
  }
  CancelTimer();
  const HRESULT result = current_->Play();
  if (FAILED(result)) {
    listener_.OnTrackFailed(item_, TrackFailure::kPlay, result);
    return;
  }
  has_played_ = true;
  SetState(PlayState::kPlaying);
  StartResumed();
}

void PlayerControl::Pause() {
  if (state_ != PlayState::kPlaying) return;
  const HRESULT result = current_->Pause();
  if (SUCCEEDED(result)) {
    SetState(PlayState::kPaused);
  } else {
    listener_.OnTrackFailed(item_, TrackFailure::kPause, result);
  }
}

void PlayerControl::Stop() {
  CancelTimer();
  if (current_) {
    current_->Stop();
    // Its end may be on its way, and would start the next one.
    host_.DropStreamEvents(current_.get());
  }
  SetState(PlayState::kStopped);
}

void PlayerControl::LetGo() {
  if (current_) KeepScannedGain();
  Stop();
  Drop(current_);
  Drop(fading_);
}

void PlayerControl::Seek(uint32_t position_ms) {
  if (!current_ || state_ == PlayState::kStopped || duration_ms_ == 0) return;
  const HRESULT result = current_->Seek(std::min(position_ms, duration_ms_ - 1));
  // A source that cannot seek goes on where it was.
  if (FAILED(result)) listener_.OnTrackFailed(item_, TrackFailure::kSeek, result);
}

void PlayerControl::SetMode(PlayMode mode) {
  settings_.player.play_mode = static_cast<int32_t>(mode);
}

void PlayerControl::SetVolume(int32_t volume) {
  settings_.player.volume = std::clamp(volume, 0, 100);
  settings_.player.mute = 0;
  ApplyVolume();
}

void PlayerControl::SetMute(bool mute) {
  settings_.player.mute = mute ? 1 : 0;
  ApplyVolume();
}

void PlayerControl::ApplyVolume() {
  if (!current_) return;
  const int32_t volume = settings_.player.mute != 0 ? -1 : std::clamp(settings_.player.volume, 0, 100);
  const bool was_refused = std::exchange(volume_refused_, FAILED(current_->SetVolume(volume)));
  if (volume_refused_ || was_refused) ApplyEffects();
}

void PlayerControl::SetBalance(int32_t balance) {
  settings_.player.balance = std::clamp(balance, -100, 100);
  if (!current_) return;
  const bool was_refused =
      std::exchange(balance_refused_, FAILED(current_->SetBalance(settings_.player.balance)));
  if (balance_refused_ || was_refused) ApplyEffects();
}

void PlayerControl::SetEqualizer(const EqualizerBands& bands) {
  settings_.equalizer.current = bands;
  ApplyEffects();
}

void PlayerControl::SetSurround(int32_t level) {
  settings_.equalizer.surround = std::clamp(level, 0, 100);
  ApplyEffects();
}

void PlayerControl::OnListEdited(const Playlist& list, const ListEdit& edit) {
  if (&list != list_.get() || !edit.Changed()) return;
  order_.Reset();
  first_failed_.reset();
  const std::optional<size_t> old = index_ ? index_ : gap_;
  if (!old) return;
  const std::optional<size_t> now = edit.NewIndex(old);
  if (index_ && now) {
    index_ = now;
    return;
  }
  index_.reset();
  if (const auto again = gap_ ? NewIndexOfItem(edit) : std::nullopt) {
    index_ = again;
    gap_.reset();
    return;
  }
  gap_ = now ? now : edit.NewIndexOfNext(*old);
  if (gap_) return;
  // Behind the last one before it that is still there, so that what is added there follows.
  gap_ = 0;
  for (size_t i = std::min(*old, edit.moved_to.size()); i-- > 0 && *gap_ == 0;)
    if (const auto before = edit.NewIndex(i)) gap_ = *before + 1;
}

std::optional<size_t> PlayerControl::NewIndexOfItem(const ListEdit& edit) const {
  if (edit.inserted == 0) return std::nullopt;
  std::vector<bool> was_there(Count());
  for (const uint32_t index : edit.moved_to)
    if (index < was_there.size()) was_there[index] = true;
  for (size_t i = 0; i < Count(); ++i)
    if (!was_there[i] && list_->At(i).get() == item_.get()) return i;
  return std::nullopt;
}

// ---- the program's start and end

void PlayerControl::StoreResumePoint() {
  if (!has_played_) return;
  settings_.player.playing_time = static_cast<int32_t>(std::min<uint32_t>(PositionMs(), INT32_MAX));
  settings_.player.playing_file_gbk = item_ ? item_->PathGbk() : std::string();
}

void PlayerControl::Close() {
  CancelTimer();
  // Messages that are handled meanwhile must neither play anything nor store the place of a track that is
  // left.
  closing_ = true;
  has_played_ = false;
  Leave();
  SetState(PlayState::kStopped);
  const PlaybackSettings settings = MakePlaybackSettings(settings_);
  const uint32_t start = clock_.TickMs();
  const uint32_t limit =
      (settings.sound_fade_mode & kFadeStop) != 0 ? settings.fade_duration[3] + kExitExtraMs : 0;
  while (fading_ && clock_.TickMs() - start < limit) {
    host_.PumpMessages();
    if (fading_) clock_.Sleep(kExitStepMs);
  }
  Drop(fading_);
  closing_ = false;
}

}  // namespace melorin
