// SPDX-License-Identifier: MIT
#include "app/player_jobs.h"

#include <memory>
#include <numeric>
#include <unordered_map>
#include <utility>

#include "platform/clock.h"
#include "platform/text.h"
#include "playback/device_format.h"
#include "playlist/list_edit.h"

namespace melorin {
namespace {

constexpr uint32_t kSameActionMs = 1000;
constexpr char16_t kAddAction[] = u"添加";

}  // namespace

void PlayerJobs::LoadLists() {
  const bool started = worker_.Start([this, place = session_.Place()](const std::atomic<bool>& stop) {
    auto stored = std::make_shared<Session::StoredLists>(Session::ReadLists(place));
    if (stop) return;
    host_.PostTask([this, stored = std::move(stored)] {
      if (stopped_) return;
      const size_t read = stored->read;
      session_.TakeLists(std::move(*stored));
      lists_loaded_ = true;
      const int32_t playing = session_.Values().player.playing_item;
      control_.SetPlayingList(session_.ActiveList(),
                              playing >= 0 ? std::optional(static_cast<size_t>(playing)) : std::nullopt);
      host_.OnListsLoaded(read);
      StartNext();
    });
  });
  if (!started) host_.ReportProblem(u"内存不足");
}

void PlayerJobs::Execute(CommandLine line) {
  Job job;
  job.line = std::move(line);
  Push(std::move(job));
}

void PlayerJobs::AddTo(ComPtr<Playlist> list, std::vector<std::u16string> paths, std::optional<size_t> before,
                       bool sub_folders) {
  if (paths.empty()) return;
  Job job;
  job.line.paths = std::move(paths);
  job.list = std::move(list);
  job.before = before;
  job.sub_folders = sub_folders;
  Push(std::move(job));
}

void PlayerJobs::Push(Job job) {
  if (stopped_) return;
  jobs_.push_back(std::move(job));
  if (lists_loaded_ && jobs_.size() == 1) StartNext();
}

void PlayerJobs::Stop() {
  stopped_ = true;
  worker_.Stop();
}

void PlayerJobs::StartNext() {
  if (jobs_.empty()) return;
  const CommandLine& job = jobs_.front().line;
  if (job.paths.empty()) {
    ExpandedPaths nothing;
    nothing.entries = Playlist::Create();
    Finish(std::move(nothing));
    return;
  }
  const bool started = worker_.Start([this, paths = job.paths, sub_folders = jobs_.front().sub_folders,
                                      options = session_.ListOptions()](const std::atomic<bool>& stop) {
    auto expanded = std::make_shared<ExpandedPaths>(ExpandPaths(paths, library_, options, stop, sub_folders));
    if (stop) return;
    host_.PostTask([this, expanded = std::move(expanded)] { Finish(std::move(*expanded)); });
  });
  if (started) return;
  host_.ReportProblem(u"内存不足");
  jobs_.pop_front();
}

void PlayerJobs::Finish(ExpandedPaths expanded) {
  if (jobs_.empty() || stopped_) return;
  const Job job = std::move(jobs_.front());
  const CommandLine& line = job.line;
  if (job.list) {
    Insert(job, expanded);
    jobs_.pop_front();
    StartNext();
    return;
  }
  if (line.auto_close) host_.SetAutoClose();
  for (const std::u16string& problem : line.problems)
    host_.ReportProblem(problem);
  for (const std::u16string& problem : expanded.problems)
    host_.ReportProblem(problem);
  if (line.demo) AddDemo(expanded);
  if (line.mode) host_.SetMode(PlayModeFrom(*line.mode));
  if (line.device) {
    session_.Values().device.device_type =
        PackDeviceId(*line.device == CommandLine::Device::kWaveOut ? uint16_t{0} : uint16_t{1}, uint16_t{0});
  }
  if (line.volume) control_.SetVolume(*line.volume);
  if (line.stop) control_.Stop();
  Load(line, expanded);
  if (std::exchange(first_, false)) ResumeAtStart(line);
  if (line.next) {
    // Both together: what is to be played begins, and the next one takes its place.
    if (line.play && !control_.HasTrack() && !control_.PlayingIndex())
      control_.SetPlayingList(control_.PlayingList(), 0);
    control_.Next();
  }
  if (line.previous) control_.Previous();
  if (line.play) control_.Play();
  if (line.seek_ms) host_.SeekTo(*line.seek_ms);
  if (line.pause && control_.State() != PlayState::kStopped) control_.TogglePause();
  if (line.exit || (line.auto_close && !control_.HasTrack() && !control_.WaitsForNext())) host_.CloseSoon();
  jobs_.pop_front();
  StartNext();
}

void PlayerJobs::Insert(const Job& job, const ExpandedPaths& expanded) {
  for (const std::u16string& problem : expanded.problems)
    host_.ReportProblem(problem);
  // A list that was deleted meanwhile takes nothing any more.
  if (expanded.entries->IsEmpty() || !job.list->IsLoaded() || !session_.IndexOf(job.list.get())) return;
  host_.OnListChanged(
      *job.list, InsertEntries(*job.list, job.before.value_or(job.list->Size()), expanded.entries->Items()),
      kAddAction);
}

void PlayerJobs::AddDemo(ExpandedPaths& expanded) {
  const std::u16string path = host_.DemoTune();
  if (path.empty()) {
    host_.ReportProblem(u"无法写出示例乐曲");
  } else {
    expanded.entries->Append(ItemCache::Obtain(GbkFromUtf16(path), {}, kUnknownDuration, 0));
  }
}

ComPtr<Playlist> PlayerJobs::TargetList(const CommandLine& line) {
  const GeneralSettings& general = session_.Values().general;
  if (line.list_name.empty() && (general.default_list_on_cmd == 0 || line.dropped))
    return session_.ActiveList();
  const ComPtr<Playlist>& list =
      session_.Activate(line.list_name.empty() ? general.str_default_list_gbk : GbkFromUtf16(line.list_name));
  host_.OnListShown();
  return list;
}

void PlayerJobs::Load(const CommandLine& line, const ExpandedPaths& expanded) {
  const std::vector<ItemRef>& items = expanded.entries->Items();
  if (items.empty() && line.list_name.empty()) return;
  const ComPtr<Playlist> list = TargetList(line);
  if (!list->IsLoaded()) {
    host_.ReportProblem(u"无法读取播放列表：" + Utf16FromGbk(list->NameGbk()));
    return;
  }
  const bool stays = line.add && (line.list_name.empty() || control_.HasTrack());
  if (!stays && control_.PlayingList().get() != list.get()) control_.SetPlayingList(list, std::nullopt);
  if (items.empty()) return;
  if (line.add) {
    host_.OnListChanged(*list, InsertEntries(*list, list->Size(), items), kAddAction);
    return;
  }
  if (ClearsList(line) && !list->IsEmpty()) {
    std::vector<size_t> all(list->Size());
    std::iota(all.begin(), all.end(), size_t{0});
    host_.OnListChanged(*list, RemoveEntries(*list, all), u"清空列表");
  }
  AppendAndPlay(list, items);
}

bool PlayerJobs::ClearsList(const CommandLine& line) {
  if (line.dropped) return false;
  const uint32_t now_ms = SystemClock().TickMs();
  const bool follows = loaded_at_ms_ && now_ms - *loaded_at_ms_ < kSameActionMs;
  loaded_at_ms_ = now_ms;
  return session_.Values().general.clear_list_on_cmd != 0 && !follows;
}

void PlayerJobs::AppendAndPlay(const ComPtr<Playlist>& list, const std::vector<ItemRef>& items) {
  std::unordered_map<const PlayListItem*, size_t> places;
  places.reserve(list->Size());
  for (size_t i = list->Size(); i-- > 0;)
    places[list->At(i).get()] = i;
  std::vector<ItemRef> added;
  size_t first = list->Size();
  for (size_t i = 0; i < items.size(); ++i) {
    const auto known = places.find(items[i].get());
    // The same entry twice in what was named now stays twice: a playlist may want that.
    if (known == places.end()) added.push_back(items[i]);
    if (i == 0 && known != places.end()) first = known->second;
  }
  if (!added.empty())
    host_.OnListChanged(*list, InsertEntries(*list, list->Size(), std::move(added)), kAddAction);
  control_.OpenEntry(first);
}

void PlayerJobs::ResumeAtStart(const CommandLine& first_line) {
  if (!first_line.paths.empty() || first_line.demo || first_line.stop ||
      session_.Values().playback.auto_play == 0)
    return;
  control_.OpenEntry(control_.PlayingIndex().value_or(0));
}

}  // namespace melorin
