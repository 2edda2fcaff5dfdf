// SPDX-License-Identifier: MIT
#include "ui/playlist_window_view.h"

#include <algorithm>
#include <memory>
#include <utility>

#include "platform/text.h"
#include "skin/skin_layout.h"

namespace melorin {
namespace {

/// With fewer rows in view the line below them gives way.
constexpr int32_t kLeastRows = 4;

}  // namespace

LoadedSkin* PlaylistWindowView::Build(SkinWardrobe& wardrobe, Frame* frame) {
  rows_ = nullptr;
  tabs_ = nullptr;
  bar_ = nullptr;
  const auto [window, skin] = wardrobe.Find(&SkinDescription::playlist_window);
  if (!window) return nullptr;
  *frame = {window->image, window->resize_rect, window->resize_tile != 0, window->position};
  if (!window->playlist) return skin;
  area_ = window->playlist->position;
  // Arrange places them.
  tabs_ = Add("tabs", std::make_unique<ListTabs>(parts_.lists, parts_.list_actions), {});
  rows_ = Add("playlist", std::make_unique<PlaylistView>(parts_.entries, parts_.entry_actions), {});
  bar_ = Add("info", std::make_unique<ListInfoBar>(), {});
  tabs_->SetName(u"播放列表");
  rows_->SetName(u"列表中的歌曲");
  bar_->SetName(u"列表信息");
  rows_->SetDropTarget(tabs_);
  rows_->SetEmptyHint(GbkFromUtf16(u"将音频文件或文件夹拖放到此处"));
  tabs_->SetLook(look_);
  rows_->SetLook(look_);
  bar_->SetLook(look_);
  bar_->SetInfo(info_gbk_);
  bar_->SetFindOpen(find_open_);
  return skin;
}

void PlaylistWindowView::Arrange() {
  if (!rows_) return;
  SkinRect area =
      AlignedPosition(area_, kAlignCentre | kAlignVCentre, LeastWidth(), LeastHeight(), Width(), Height());
  const int32_t tabs_bottom = std::min(area.top + ListTabs::HeightFor(look_), area.bottom);
  tabs_->SetPlace({area.left, area.top, area.right, tabs_bottom});
  area.top = tabs_bottom;
  const int32_t bar_height = ListInfoBar::HeightFor(look_, find_open_);
  const bool has_bar = find_open_ || area.Height() >= bar_height + kLeastRows * look_.row_height;
  bar_->SetVisible(has_bar);
  const int32_t bar_top = has_bar ? std::max(area.bottom - bar_height, area.top) : area.bottom;
  bar_->SetPlace({area.left, bar_top, area.right, area.bottom});
  area.bottom = bar_top;
  rows_->SetPlace(area);
}

bool PlaylistWindowView::OnWindowWheel(int32_t notches) {
  return rows_ && rows_->OnWheel({}, notches);
}

bool PlaylistWindowView::OnWindowKey(const KeyPress& key) {
  // Keys are the rows' unless another control wants them.
  return rows_ && Focused() != rows_ && rows_->OnKey(key);
}

// ---- what has changed

void PlaylistWindowView::SetLook(const PlayListLook& look) {
  look_ = ListLook(look);
  if (!rows_) return;
  tabs_->SetLook(look_);
  rows_->SetLook(look_);
  bar_->SetLook(look_);
  Arrange();
  RepaintAll();
}

void PlaylistWindowView::ListChanged() {
  if (rows_) rows_->ListChanged();
}

void PlaylistWindowView::EntriesChanged() {
  if (rows_) rows_->EntriesChanged();
}

void PlaylistWindowView::SelectionChanged() {
  if (rows_) rows_->SelectionChanged();
}

void PlaylistWindowView::TabsChanged() {
  if (tabs_) tabs_->TabsChanged();
}

void PlaylistWindowView::SetInfo(std::string text_gbk) {
  info_gbk_ = std::move(text_gbk);
  if (bar_) bar_->SetInfo(info_gbk_);
}

// ---- finding

void PlaylistWindowView::SetFindOpen(bool open) {
  if (open == find_open_) return;
  find_open_ = open;
  if (!bar_) return;
  bar_->SetFindOpen(open);
  Arrange();
}

void PlaylistWindowView::SetFindResult(std::string text_gbk) {
  if (bar_) bar_->SetFindResult(std::move(text_gbk));
}

SkinRect PlaylistWindowView::FindBarPlace() const {
  return bar_ ? bar_->EditPlace() : SkinRect{};
}

}  // namespace melorin
