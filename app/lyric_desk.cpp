// SPDX-License-Identifier: MIT
#include "app/lyric_desk.h"

#include <commdlg.h>
#include <shellapi.h>

#include <algorithm>
#include <cstring>
#include <utility>

#include "app/player_text.h"
#include "lyrics/shown_text.h"
#include "lyrics/song_key.h"
#include "platform/com.h"
#include "platform/file.h"
#include "platform/text.h"
#include "tags/tag_set.h"

namespace melorin {
namespace {

using Id = CommandId;

constexpr int32_t kMoveMs = 500;
constexpr DWORD kPathCapacity = 4096;
/// Windows that are wider than this hold no line of a song.
constexpr int32_t kWidestWindow = 900;
/// Songs that the user has moved the lyric of, in one session.
constexpr size_t kMostMoved = 1000;

struct LookCommand {
  Id command;
  int32_t LyricSettings::*setting;
  int32_t value;
};
constexpr LookCommand kLookCommands[] = {{Id::kLyricVertical, &LyricSettings::scroll_mode, 0},
                                         {Id::kLyricHorizontal, &LyricSettings::scroll_mode, 1},
                                         {Id::kLyricAlignLeft, &LyricSettings::text_align, 0},
                                         {Id::kLyricAlignCentre, &LyricSettings::text_align, 1},
                                         {Id::kLyricAlignRight, &LyricSettings::text_align, 2}};

const LookCommand* FindLook(Id command) {
  for (const LookCommand& look : kLookCommands)
    if (look.command == command) return &look;
  return nullptr;
}

std::string SongKeyText(const PlayListItem& item) {
  return item.PathGbk() + '\0' + std::to_string(item.Subtrack());
}

std::shared_ptr<LyricDoc> DocOf(const std::u16string& text) {
  auto doc = std::make_shared<LyricDoc>();
  doc->Parse(text);
  return doc;
}

std::shared_ptr<const LyricDoc> Moved(const LyricDoc& lyric, int32_t delta_ms) {
  auto moved = std::make_shared<LyricDoc>(lyric);
  moved->ShiftAll(delta_ms);
  moved->ShiftWords(delta_ms);
  return moved;
}

bool PutText(HWND owner, const std::u16string& text) {
  if (!OpenClipboard(owner)) return false;
  EmptyClipboard();
  const size_t bytes = (text.size() + 1) * sizeof(char16_t);
  bool put = false;
  if (const HGLOBAL memory = GlobalAlloc(GMEM_MOVEABLE, bytes)) {
    if (void* at = GlobalLock(memory)) {
      std::memcpy(at, text.c_str(), bytes);
      GlobalUnlock(memory);
      put = SetClipboardData(CF_UNICODETEXT, memory) != nullptr;
    }
    if (!put) GlobalFree(memory);
  }
  CloseClipboard();
  return put;
}

}  // namespace

std::optional<std::u16string> LyricDeskHost::AskForLyricFile(const std::u16string& folder) {
  std::vector<wchar_t> path(kPathCapacity);
  OPENFILENAMEW request{};
  request.lStructSize = sizeof(request);
  request.hwndOwner = DialogOwner();
  request.lpstrFilter = L"歌词文件 (*.lrc;*.txt)\0*.lrc;*.txt\0所有文件\0*.*\0";
  request.lpstrFile = path.data();
  request.nMaxFile = kPathCapacity;
  request.lpstrInitialDir = AsWide(folder.c_str());
  request.lpstrTitle = L"关联歌词";
  request.Flags = OFN_EXPLORER | OFN_FILEMUSTEXIST | OFN_HIDEREADONLY | OFN_NOCHANGEDIR;
  if (!GetOpenFileNameW(&request)) return std::nullopt;
  return std::u16string(AsChar16(path.data()));
}

LyricDesk::LyricDesk(Player& player, WindowServices& services, LyricDeskHost& host)
    : player_(player),
      services_(services),
      host_(host),
      service_(player.Library(), LyricAssociationsPath(player.Data().DataFolderGbk()),
               [&player](std::function<void()> task) { player.PostToUi(std::move(task)); }),
      view_(services, *this),
      editor_(*this) {
  view_.SetWidthListener([this](int32_t width) {
    const LyricSettings& look = Look();
    if (look.auto_width == 0 || (look.auto_width_only_vert != 0 && look.scroll_mode != 0)) return;
    // Not while the window is being painted.
    player_.PostToUi([this, width] { host_.SetLyricWidth(std::min(width, kWidestWindow)); });
  });
  view_.SetLook(Look());
  UpdateView();
}

LyricDesk::~LyricDesk() {
  Close();
}

void LyricDesk::Close() {
  editor_.Destroy();
  service_.CancelLoads();
}

// ---- commands

bool LyricDesk::Handles(Id command) const {
  const auto id = static_cast<int32_t>(command);
  return id >= static_cast<int32_t>(Id::kLyricAssociate) && id <= static_cast<int32_t>(Id::kLyricKaraoke);
}

bool LyricDesk::IsEnabled(Id command) const {
  switch (command) {
    case Id::kLyricAssociate:
    case Id::kLyricReload:
      return static_cast<bool>(item_);
    case Id::kLyricEdit:
      return item_ && !loading_;
    case Id::kLyricDissociate:
      return item_ && lyric_.associated;
    case Id::kLyricEarlier:
    case Id::kLyricLater:
      return IsTimed() && !IsSame(edited_item_);
    case Id::kLyricSave:
      return lyric_.doc && !IsSame(edited_item_);
    case Id::kLyricCopy:
      return static_cast<bool>(lyric_.doc);
    case Id::kLyricOpenFolder:
      return !lyric_.path_gbk.empty();
    case Id::kLyricAlignLeft:
    case Id::kLyricAlignCentre:
    case Id::kLyricAlignRight:
      return Look().scroll_mode == 0;
    default:
      return Handles(command);
  }
}

bool LyricDesk::IsChecked(Id command) const {
  if (command == Id::kLyricKaraoke) return Look().karaoke_mode != 0;
  const LookCommand* look = FindLook(command);
  return look && Look().*look->setting == look->value;
}

void LyricDesk::Execute(Id command) {
  if (!IsEnabled(command)) return;
  switch (command) {
    case Id::kLyricAssociate:
      return Associate();
    case Id::kLyricDissociate:
      return Dissociate();
    case Id::kLyricReload:
      moved_.erase(SongKeyText(*item_));
      return Load(true, true);
    case Id::kLyricEdit:
      return Edit();
    case Id::kLyricEarlier:
    case Id::kLyricLater:
      return MoveLyric(command == Id::kLyricEarlier);
    case Id::kLyricSave:
      return Save();
    case Id::kLyricCopy:
      return Copy();
    case Id::kLyricOpenFolder:
      return OpenFolder();
    case Id::kLyricKaraoke:
      return ChangeLook(&LyricSettings::karaoke_mode, Look().karaoke_mode == 0 ? 1 : 0);
    default:
      if (const LookCommand* look = FindLook(command)) ChangeLook(look->setting, look->value);
  }
}

void LyricDesk::ChangeLook(int32_t LyricSettings::*value, int32_t to) {
  Look().*value = to;
  player_.SaveSoon();
  SettingsChanged();
  host_.LyricCommandsChanged();
}

void LyricDesk::SettingsChanged() {
  view_.SetLook(Look());
  UpdateLine();
}

void LyricDesk::Tell(const std::u16string& text) {
  view_.ShowNotice(GbkFromUtf16(text), GetTickCount());
  player_.Tell(text);
}

// ---- what plays

std::string LyricDesk::SongGbk() const {
  if (!item_) return {};
  const SongKey key = SongKeyOf(*item_);
  return key.artist.empty() ? key.title : key.artist + " - " + key.title;
}

void LyricDesk::OnTrackChanged() {
  // Also of a track that could not be played: its words can be read, and edited.
  const ItemRef& item = player_.Control().Item();
  if (item.get() != item_.get()) {
    item_ = item;
    lyric_ = {};
    Load(Look().auto_load_lyric != 0, false);
  }
  OnTick();
}

void LyricDesk::Load(bool wanted, bool forget) {
  service_.CancelLoads();
  loading_ = item_ && wanted;
  if (loading_) {
    LyricService::LoadRequest request;
    request.item = item_;
    request.search = {Look().folders_gbk, Look().down_load_folder_gbk};
    request.trim = Look().trim_spaces != 0;
    request.save_tags = Look().auto_save_lyric_tag != 0;
    request.merge = Look().save_compress != 0;
    request.tag_kinds = TagKinds();
    request.forget = forget;
    service_.Load(std::move(request), [this](LoadedLyric lyric) { Take(std::move(lyric)); });
  }
  ShowLyric();
}

void LyricDesk::Take(LoadedLyric lyric) {
  loading_ = false;
  lyric_ = std::move(lyric);
  if (const auto moved = moved_.find(SongKeyText(*item_)); moved != moved_.end() && IsTimed()) {
    lyric_.doc = Moved(*lyric_.doc, moved->second);
  }
  ShowLyric();
  OnTick();
  if (lyric_.doc && Look().auto_visible != 0) host_.ShowLyricWindow();
}

const std::shared_ptr<const LyricDoc>& LyricDesk::ShownDoc() const {
  // What is being edited is shown as it will be.
  return draft_ && IsSame(edited_item_) ? draft_ : lyric_.doc;
}

void LyricDesk::UpdateView() {
  ShownLyric shown;
  if (const auto& doc = ShownDoc(); doc && HasText(*doc)) shown.doc = doc;
  if (!shown.doc) {
    shown.title_gbk = SongGbk();
    shown.message_gbk = GbkFromUtf16(!item_ ? u"没有播放歌曲" : loading_ ? u"正在查找歌词..." : u"没有歌词");
  }
  view_.SetLyric(std::move(shown));
}

void LyricDesk::ShowLyric() {
  UpdateView();
  UpdateLine();
  host_.LyricCommandsChanged();
}

void LyricDesk::OnTick() {
  const PlayerControl& control = player_.Control();
  const bool runs = control.State() == PlayState::kPlaying;
  view_.SetPosition(item_ ? static_cast<int32_t>(std::min<uint32_t>(control.PositionMs(), INT32_MAX)) : 0,
                    static_cast<int32_t>(std::min<uint32_t>(control.DurationMs(), INT32_MAX)), runs,
                    GetTickCount());
  UpdateLine();
}

void LyricDesk::UpdateLine() {
  std::string line;
  if (const std::shared_ptr<const LyricDoc>& doc = ShownDoc(); item_ && doc) {
    const auto position = doc->LineAtTime(static_cast<int32_t>(player_.Control().PositionMs()), 1, 0);
    if (position && position->index < doc->Lines().size() && position->progress >= 0 &&
        static_cast<int64_t>(player_.Control().PositionMs()) >= position->start_ms)
      line = ShownTextGbk(doc->Lines()[position->index].text_gbk, Look().char_set);
  }
  if (line == line_gbk_) return;
  line_gbk_ = std::move(line);
  host_.LineChanged();
}

void LyricDesk::SeekToLyric(uint32_t position_ms) {
  player_.SeekTo(position_ms);
  OnTick();
}

void LyricDesk::ShowLyricMenu(int32_t x, int32_t y) {
  services_.ShowMenu(MenuKind::kLyric, SkinWindow::kLyric, x, y);
}

void LyricDesk::MoveLyric(bool earlier) {
  if (!IsEnabled(Id::kLyricEarlier)) return;
  const int32_t delta = earlier ? -kMoveMs : kMoveMs;
  lyric_.doc = Moved(*lyric_.doc, delta);
  if (moved_.size() >= kMostMoved) moved_.clear();
  const int32_t moved = moved_[SongKeyText(*item_)] += delta;
  ShowLyric();
  const int32_t tenths = std::abs(moved) / 100;
  Tell(moved == 0 ? std::u16string(u"歌词已恢复原来的时间")
                  : std::u16string(moved < 0 ? u"歌词提前 " : u"歌词推后 ") +
                        ToText(static_cast<uint32_t>(tenths / 10)) + u"." +
                        ToText(static_cast<uint32_t>(tenths % 10)) + u" 秒");
}

// ---- files

void LyricDesk::Associate() {
  const ItemRef item = item_;
  const std::string folder(PathDirectory(lyric_.path_gbk.empty() ? item->PathGbk() : lyric_.path_gbk));
  const std::optional<std::u16string> path = host_.AskForLyricFile(Utf16FromGbk(folder));
  if (!path) return;
  moved_.erase(SongKeyText(*item));
  service_.Associate(item, GbkFromUtf16(*path), [this](bool saved) {
    if (!saved) Tell(u"无法保存歌词关联");
  });
  if (IsSame(item)) Load(true, false);
}

void LyricDesk::Dissociate() {
  moved_.erase(SongKeyText(*item_));
  service_.Associate(item_, {}, [this](bool saved) {
    if (!saved) Tell(u"无法保存歌词关联");
  });
  Load(true, false);
}

uint32_t LyricDesk::TagKinds() const {
  // The setting's numbers are those of the kinds.
  static_assert(kTagId3v2 == 8 && kTagApeV2 == 4 && kTagId3v1 == 1);
  return static_cast<uint32_t>(player_.Data().Values().general.mp3_write_tag_type);
}

LyricService::SaveRequest LyricDesk::RequestFor(const ItemRef& item, const LoadedLyric& lyric,
                                                std::shared_ptr<const LyricDoc> doc) const {
  const LyricSettings& look = Look();
  LyricService::SaveRequest request;
  request.doc = std::move(doc);
  request.item = item;
  request.mode = LyricSaveModeFrom(look.lyric_save_mode);
  request.merge = look.save_compress != 0;
  request.tag_kinds = TagKinds();
  request.path_gbk = lyric.path_gbk;
  request.encoding = lyric.encoding;
  const bool beside = look.save_to_sound_folder != 0 || look.down_load_folder_gbk.empty();
  request.folder_gbk = beside ? std::string(PathDirectory(item->PathGbk())) : look.down_load_folder_gbk;
  const SongKey key = SongKeyOf(*item);
  request.name_gbk = LyricFileNameGbk(look.same_file_title != 0 ? key.base_name : key.FullName());
  request.overwrite = look.over_write != 0;
  request.associate = look.auto_associate != 0;
  return request;
}

bool LyricDesk::TakeSaved(const ItemRef& item, LoadedLyric& lyric, const LyricService::SaveResult& result) {
  if (!result.path_gbk.empty()) {
    lyric.source = LyricSource::kFile;
    lyric.path_gbk = result.path_gbk;
    lyric.associated = result.associated;
  }
  // Whoever wants it in a file as well has it there.
  const bool has_no_place = result.tags == TagWrite::kNoKind && result.path_gbk.empty();
  const bool tags_failed =
      result.tags == TagWrite::kNotSupported || result.tags == TagWrite::kFailed || has_no_place;
  if (result.file_failed || tags_failed) {
    const std::u16string problem = result.file_failed ? u"无法写入歌词文件"
                                   : has_no_place ? u"选项“标签”中没有选择能保存歌词的类型"
                                   : result.tags == TagWrite::kNotSupported ? u"这种文件的标签不能保存歌词"
                                                                            : u"无法写入歌曲标签";
    player_.Report(problem);
    view_.ShowNotice(GbkFromUtf16(problem), GetTickCount());
    return false;
  }
  moved_.erase(SongKeyText(*item));
  if (!result.path_gbk.empty())
    Tell(u"歌词已保存到 " + Utf16FromGbk(std::string(PathFileName(result.path_gbk))));
  else
    Tell(result.tags == TagWrite::kInUse ? u"换歌后写入歌曲标签" : u"歌词已保存到歌曲标签");
  return true;
}

void LyricDesk::Save() {
  const ItemRef item = item_;
  service_.Save(RequestFor(item, lyric_, lyric_.doc), [this, item](const LyricService::SaveResult& result) {
    LoadedLyric other;
    TakeSaved(item, IsSame(item) ? lyric_ : other, result);
    host_.LyricCommandsChanged();
  });
}

void LyricDesk::Copy() {
  std::string text;
  for (const LyricLine& line : lyric_.doc->Lines())
    text.append(line.text_gbk).append("\r\n");
  if (text.empty()) text = lyric_.doc->plain_text_gbk;
  if (!PutText(host_.DialogOwner(), Utf16FromGbk(ShownTextGbk(text, Look().char_set))))
    Tell(u"无法复制到剪贴板");
}

void LyricDesk::OpenFolder() {
  const std::u16string arguments = u"/select,\"" + Utf16FromGbk(lyric_.path_gbk) + u"\"";
  ShellExecuteW(host_.DialogOwner(), nullptr, L"explorer.exe", AsWide(arguments.c_str()), nullptr,
                SW_SHOWNORMAL);
}

// ---- the editor

void LyricDesk::Edit() {
  if (editor_.IsOpen()) {
    if (IsSame(edited_item_)) {
      editor_.BringForward();
      return;
    }
    if (!editor_.TryClose()) {
      if (editor_.IsSaving()) when_closed_ = [this] { Execute(Id::kLyricEdit); };
      return;
    }
  }
  edited_item_ = item_;
  edited_ = lyric_;
  draft_ = nullptr;
  std::u16string text;
  if (lyric_.doc) {
    text = lyric_.doc->Write(false);
  } else {
    LyricDoc empty;
    const SongKey key = SongKeyOf(*item_);
    empty.title_gbk = key.title;
    empty.artist_gbk = key.artist;
    empty.album_gbk = GbkFromUtf8(item_->TagValue("Album"));
    text = empty.Write(false);
  }
  editor_.Open(host_.DialogOwner(), Utf16FromGbk(SongGbk()), text, Look().new_line_after_tag != 0);
}

std::optional<int32_t> LyricDesk::EditedPosition() {
  if (!IsSame(edited_item_) || player_.Control().State() == PlayState::kStopped) return std::nullopt;
  return static_cast<int32_t>(std::min<uint32_t>(player_.Control().PositionMs(), INT32_MAX));
}

bool LyricDesk::IsEditedPlaying() {
  return player_.Control().State() == PlayState::kPlaying;
}

void LyricDesk::PlayOrPauseEdited() {
  services_.Commands().Execute(Id::kPlayPause);
}

void LyricDesk::SeekEdited(int32_t position_ms) {
  SeekToLyric(static_cast<uint32_t>(std::max(position_ms, 0)));
}

void LyricDesk::OnEdited(const std::u16string& text) {
  draft_ = DocOf(text);
  if (IsSame(edited_item_)) ShowLyric();
}

void LyricDesk::SaveEdited(const std::u16string& text) {
  const std::shared_ptr<const LyricDoc> doc = DocOf(text);
  service_.Save(RequestFor(edited_item_, edited_, doc),
                [this, doc, item = edited_item_](const LyricService::SaveResult& result) {
                  // Another may be edited by now.
                  LoadedLyric other;
                  LoadedLyric& lyric = edited_item_.get() == item.get() ? edited_ : other;
                  const bool saved = TakeSaved(item, lyric, result);
                  if (saved) {
                    lyric.doc = doc;
                    if (lyric.source == LyricSource::kNone) lyric.source = LyricSource::kTags;
                    if (IsSame(item)) lyric_ = lyric;
                    ShowLyric();
                  }
                  if (!saved) when_closed_ = nullptr;
                  editor_.OnSaved(saved);
                });
}

void LyricDesk::OnEditorClosed() {
  draft_ = nullptr;
  const bool shown = IsSame(edited_item_);
  edited_item_ = {};
  if (shown) ShowLyric();
  if (auto then = std::exchange(when_closed_, nullptr)) player_.PostToUi(std::move(then));
}

bool LyricDesk::MayClose(std::function<void()> again) {
  when_closed_ = nullptr;
  if (editor_.TryClose()) return true;
  if (editor_.IsSaving()) when_closed_ = std::move(again);
  return false;
}

}  // namespace melorin
