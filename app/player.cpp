// SPDX-License-Identifier: MIT
#include "app/player.h"

#include <windows.h>

#include <algorithm>
#include <cstdio>
#include <utility>

#include "app/demo_tune.h"
#include "app/player_text.h"
#include "doc/settings_location.h"
#include "platform/clock.h"
#include "platform/file.h"
#include "platform/text.h"
#include "playback/open_device.h"
#include "playlist/title_format.h"
#include "sound/sheet_tracks.h"
#include "tags/tag_scan.h"

namespace melorin {
namespace {

/// Edits often come in rows, and one save does for all.
constexpr uint32_t kSaveDelayMs = 3000;
/// While playing, the position is saved this often, so that a crash costs no more of it.
constexpr uint32_t kSaveWhilePlayingMs = 60000;

const char* StateName(PlayState state) {
  switch (state) {
    case PlayState::kPlaying:
      return "playing";
    case PlayState::kPaused:
      return "paused";
    case PlayState::kStopped:
      break;
  }
  return "stopped";
}

/// Tells a missing file and an empty one from what no reader takes.
std::u16string FileProblem(const std::u16string& path) {
  WIN32_FILE_ATTRIBUTE_DATA data{};
  if (!GetFileAttributesExW(AsWide(path.c_str()), GetFileExInfoStandard, &data))
    return GetLastError() == ERROR_ACCESS_DENIED ? u"没有读取文件的权限" : u"找不到文件";
  if (data.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) return u"文件夹里没有可以播放的文件";
  if (data.nFileSizeLow == 0 && data.nFileSizeHigh == 0) return u"文件是空的";
  return {};
}

std::u16string DescribeTrackFailure(const std::u16string& path, TrackFailure failure, HRESULT result) {
  switch (failure) {
    case TrackFailure::kFile: {
      const std::u16string problem = FileProblem(path);
      return problem.empty() ? DescribeFailure(result, false) : problem;
    }
    case TrackFailure::kDevice:
      return DescribeFailure(result, true);
    case TrackFailure::kPlay:
      return u"无法开始播放";
    case TrackFailure::kPause:
      return u"无法暂停播放";
    case TrackFailure::kSeek:
      return u"无法改变播放位置";
  }
  return {};
}

/// For files that are read from now on.
void ChooseTags(const GeneralSettings& general) {
  SetUsersTagPriority(general.mp3_read_tag_priority == 1 ? TagPriority::kApeFirst : TagPriority::kId3v2First);
}

}  // namespace

Player::Player(const SoundLibrary& library, PlayerFrame& frame, std::string data_folder_gbk)
    : library_(library),
      frame_(frame),
      session_(std::move(data_folder_gbk),
               [&library](const std::string& path_gbk) { return ReadSheetTracks(library, path_gbk); }),
      control_({frame, *this, session_.Values(), OpenerFor(library, SystemClock()), SystemClock(),
                SeededRandom(GetTickCount())}),
      jobs_(library, session_, control_, *this),
      loader_([this](std::function<void()> task) { frame_.PostTask(std::move(task)); }),
      info_([&library](const std::string& path_gbk, uint32_t subtrack,
                       ItemInfo* out) { return ReadItemInfo(library, path_gbk, subtrack, out); },
            FileTimeStamp, [this] { frame_.PostTask([this] { TakeInfo(); }); }) {}

void Player::LoadSettings() {
  std::string kept_aside;
  const LoadResult result = session_.LoadSettings(&kept_aside);
  ChooseTags(session_.Values().general);
  if (result != LoadResult::kForeignOrDamaged) return;
  start_problem_ = kept_aside.empty() ? std::u16string(u"设置文件已损坏，本次不保存设置")
                                      : u"设置文件已损坏，已另存为 " + Utf16FromGbk(kept_aside);
}

void Player::Start(CommandLine line) {
  saved_at_ms_ = GetTickCount();
  if (!start_problem_.empty()) ReportProblem(start_problem_);
  jobs_.Execute(std::move(line));
  jobs_.LoadLists();
  info_.Start();
}

// ---- what is shown

std::u16string Player::Tag(const char* name) const {
  return Utf16FromUtf8(control_.Item()->TagValue(name));
}

std::u16string Player::Title() const {
  return control_.HasTrack() ? EntryTitle(*control_.Item(), session_.Titles()) : std::u16string();
}

// ---- commands

void Player::SeekTo(uint32_t position_ms) {
  if (control_.State() == PlayState::kStopped) return;
  control_.Seek(position_ms);
  log_.Write(LogEntry("seek").Add("ms", position_ms));
  frame_.Refresh();
}

void Player::StepPosition(int direction) {
  const auto step = static_cast<int32_t>(control_.PositionStepMs());
  SeekTo(melorin::StepPosition(control_.PositionMs(), direction * step, control_.DurationMs()));
}

void Player::ChangeVolume(int change) {
  control_.SetVolume(session_.Values().player.volume + change);
  frame_.SaveLater(kSaveDelayMs);
  frame_.Refresh();
}

void Player::OnSettingsChanged() {
  ChooseTags(session_.Values().general);
  control_.ApplySettings();
  frame_.SaveLater(kSaveDelayMs);
  frame_.Refresh();
}

void Player::ToggleMute() {
  control_.SetMute(session_.Values().player.mute == 0);
  frame_.SaveLater(kSaveDelayMs);
  frame_.Refresh();
}

void Player::SetMode(PlayMode mode) {
  users_mode_.reset();
  control_.SetMode(mode);
  log_.Write(LogEntry("mode").Add("mode", static_cast<uint32_t>(mode)));
  frame_.SaveLater(kSaveDelayMs);
  frame_.Refresh();
}

void Player::CycleMode() {
  SetMode(PlayModeFrom((static_cast<int32_t>(control_.Mode()) + 1) % 5));
}

// ---- what the control tells

void Player::OnTrackOpened() {
  logged_second_ = 0;
  const PlayListItem& item = *control_.Item();
  const WAVEFORMATEX& format = control_.Stream()->Format();
  std::u16string codec = Utf16FromGbk(item.CodecGbk());
  codec.resize(std::min(codec.find(u'|'), codec.size()));
  LogEntry entry("opened");
  entry.Add("file", Utf16FromGbk(item.PathGbk()))
      .Add("subtrack", item.Subtrack())
      .Add("title", Title())
      .Add("artist", Tag("Artist"))
      .Add("codec", codec)
      .Add("duration_ms", control_.DurationMs())
      .Add("sample_rate", format.nSamplesPerSec)
      .Add("channels", format.nChannels)
      .Add("bits", format.wBitsPerSample)
      .Add("device", Utf16FromGbk(DeviceKindNameGbk(static_cast<int32_t>(control_.Stream()->Kind()))));
  if (const auto index = control_.PlayingIndex()) entry.Add("index", static_cast<uint32_t>(*index));
  if (control_.PlayingList()) entry.Add("list", Utf16FromGbk(control_.PlayingList()->NameGbk()));
  log_.Write(std::move(entry));
  session_.MarkInfoChanged();
  if (observer_) observer_->OnPlayingChanged();
  frame_.SaveLater(kSaveDelayMs);
  frame_.Refresh();
}

void Player::OnStateChanged(PlayState state) {
  log_.Write(LogEntry(StateName(state)).Add("ms", control_.PositionMs()));
  if (state == PlayState::kPlaying) start_is_logged_ = false;
  if (observer_) observer_->OnPlayingChanged();
  frame_.Refresh();
}

void Player::OnTrackFailed(const ItemRef& item, TrackFailure failure, HRESULT result) {
  char code[16];
  std::snprintf(code, sizeof(code), "0x%08lX", static_cast<unsigned long>(result));
  const std::u16string path = Utf16FromGbk(item->PathGbk());
  const std::u16string text = DescribeTrackFailure(path, failure, result);
  log_.Write(
      LogEntry("error").Add("file", path).Add("text", text).Add("code", std::u16string(code, code + 10)));
  if (auto_close_) exit_code_ = 2;
  if (observer_ && failure == TrackFailure::kFile) observer_->OnEntryFailed(item);
  frame_.ShowMessage(std::u16string(FileNameOf(path)) + u"：" + text);
}

void Player::OnTrackEnded() {
  log_.Write(LogEntry("ended"));
}

void Player::OnFinished() {
  log_.Write(LogEntry("finished"));
  if (observer_) observer_->OnPlayFinished();
  if (auto_close_) frame_.CloseSoon();
  frame_.Refresh();
}

void Player::OnResumed(uint32_t position_ms) {
  log_.Write(LogEntry("resumed").Add("ms", position_ms));
}

void Player::OnFading(const ItemRef& item) {
  log_.Write(LogEntry("fading").Add("file", Utf16FromGbk(item->PathGbk())));
}

void Player::OnGainScanned(const ItemRef& item) {
  log_.Write(LogEntry("gain")
                 .Add("file", Utf16FromGbk(item->PathGbk()))
                 .Add("value", Utf16FromUtf8(item->TagValue("replaygain_track_gain"))));
  session_.MarkInfoChanged();
  frame_.SaveLater(kSaveDelayMs);
}

// ---- what the jobs tell

void Player::ReportProblem(const std::u16string& text) {
  log_.Write(LogEntry("error").Add("text", text));
  frame_.ShowMessage(text);
}

void Player::ListShown() {
  if (observer_) observer_->OnListsChanged();
  frame_.SaveLater(kSaveDelayMs);
  frame_.Refresh();
}

void Player::OnListsLoaded(size_t read) {
  log_.Write(LogEntry("lists")
                 .Add("read", static_cast<uint32_t>(read))
                 .Add("count", static_cast<uint32_t>(session_.Lists().Size()))
                 .Add("list", Utf16FromGbk(session_.ActiveList()->NameGbk()))
                 .Add("entries", static_cast<uint32_t>(session_.ActiveList()->Size())));
  ReadInfoOf(*session_.ActiveList());
  if (observer_) observer_->OnListsChanged();
  frame_.Refresh();
}

void Player::SetAutoClose() {
  if (std::exchange(auto_close_, true)) return;
  // The list is to be played once; the user's own mode comes back with the next start.
  users_mode_ = session_.Values().player.play_mode;
  control_.SetMode(PlayMode::kInOrder);
}

std::u16string Player::DemoTune() {
  return WriteDemoTune(GetModuleHandleW(nullptr));
}

// ---- lists

void Player::ListEdited(Playlist& list, ListEdit edit, const std::u16string& action) {
  if (!edit.Changed()) return;
  control_.OnListEdited(list, edit);
  session_.MarkListsChanged();
  if (edit.inserted > 0) ReadInfoOf(list);
  if (observer_) observer_->OnListEdited(list, std::move(edit), action);
  frame_.SaveLater(kSaveDelayMs);
  frame_.Refresh();
}

void Player::ListsEdited() {
  session_.MarkListsChanged();
  if (observer_) observer_->OnListsChanged();
  frame_.SaveLater(kSaveDelayMs);
  frame_.Refresh();
}

void Player::LoadList(ComPtr<Playlist> list, ListLoader::DoneFunction done) {
  loader_.Load(std::move(list), session_.ListOptions(), std::move(done));
}

void Player::ReadListFile(std::string path_gbk, ListLoader::FileFunction done) {
  loader_.ReadFile(std::move(path_gbk), session_.ListOptions(), std::move(done));
}

void Player::SaveSoon() {
  frame_.SaveLater(kSaveDelayMs);
}

void Player::ReadShownInfo(std::span<const ItemRef> items) {
  if (ReadInfoModeFrom(session_.Values().play_list.read_info_mode) == ReadInfoMode::kWhenPlayed) return;
  info_.EnqueueShown(items);
}

void Player::ReadInfoAgain(std::span<const ItemRef> items) {
  for (const ItemRef& item : items)
    info_.Enqueue(item, InfoReader::Again::kYes);
}

void Player::ReadInfoOf(const Playlist& list) {
  if (ReadInfoModeFrom(session_.Values().play_list.read_info_mode) != ReadInfoMode::kAsAdded) return;
  for (const ItemRef& item : list.Items())
    info_.Enqueue(item);
}

void Player::TakeInfo() {
  if (!info_.Drain().empty()) {
    session_.MarkInfoChanged();
    if (observer_) observer_->OnInfoRead();
  }
  frame_.Refresh();
}

// ---- saving

void Player::OnTick() {
  LogStart();
  const uint32_t second = control_.PositionMs() / 1000;
  if (second != logged_second_) {
    logged_second_ = second;
    log_.Write(LogEntry("position").Add("ms", control_.PositionMs()));
  }
  if (GetTickCount() - saved_at_ms_ >= kSaveWhilePlayingMs) SaveNow();
}

void Player::LogStart() {
  if (start_is_logged_ || !log_.IsOpen() || !control_.HasTrack()) return;
  const std::optional<StartTicks> start = control_.Stream()->LastStart();
  if (!start) return;
  start_is_logged_ = true;
  const uint32_t tick_at_start = SystemClock().TickMs() - ProcessAgeMs();
  log_.Write(LogEntry("delivered")
                 .Add("block_ms", start->first_block - tick_at_start)
                 .Add("device_ms", start->device - tick_at_start));
}

bool Player::SaveNow(bool at_end) {
  using Result = Session::SaveResult;
  saved_at_ms_ = GetTickCount();
  Settings& settings = session_.Values();
  control_.StoreResumePoint();
  std::optional<size_t> begin_with;
  if (session_.HasLists()) {
    // The next start goes on with what plays, so the list that it is in counts, be another one shown.
    if (control_.PlayingIndex()) begin_with = session_.IndexOf(control_.PlayingList().get());
    settings.player.playing_item = begin_with ? static_cast<int32_t>(*control_.PlayingIndex()) : -1;
  }
  // Not while a list is read from the same folder.
  if (at_end) loader_.WaitForRead();
  const bool waits = loader_.IsBusy() && !at_end;
  if (waits) frame_.SaveLater(kSaveDelayMs);
  const Result lists = waits ? Result::kNothingToDo : session_.SaveLists(at_end);
  const int32_t mode = settings.player.play_mode;
  settings.player.play_mode = users_mode_.value_or(mode);
  const Result saved = session_.SaveSettings(begin_with);
  settings.player.play_mode = mode;
  log_.Write(LogEntry("saved")
                 .Add("settings", saved == Result::kSaved ? 1u : 0u)
                 .Add("lists", lists == Result::kSaved ? 1u : 0u));
  if (lists == Result::kFailed) ReportProblem(u"无法保存播放列表，原有的列表文件没有改动");
  if (saved == Result::kFailed) ReportProblem(u"无法保存设置，原有的设置文件没有改动");
  return lists != Result::kFailed && saved != Result::kFailed;
}

bool Player::Close() {
  jobs_.Stop();
  loader_.Stop();
  info_.Stop();
  // Before the track is left: its position belongs to what is saved.
  bool saved = SaveNow(true);
  control_.Close();
  // What was learned of the last track as it was left.
  saved = session_.SaveLists(true) != Session::SaveResult::kFailed && saved;
  log_.Write(LogEntry("closed"));
  return saved || auto_close_;
}

}  // namespace melorin
