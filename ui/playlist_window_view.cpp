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
  toolbar_ = nullptr;
  scroll_bar_ = nullptr;
  const auto [window, skin] = wardrobe.Find(&SkinDescription::playlist_window);
  if (!window) return nullptr;
  BuildTools(*window, u"播放列表", frame);
  if (window->toolbar)
    toolbar_ = Add("toolbar", std::make_unique<ToolbarControl>(Services(), *window->toolbar),
                   window->toolbar->position, window->toolbar->align);
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
  if (window->scrollbar) BuildScrollBar(*window->scrollbar, *skin);
  rows_->SetScrollListener([this] { OnScrolled(); });
  return skin;
}

void PlaylistWindowView::BuildScrollBar(const SkinScrollBar& look, LoadedSkin& skin) {
  Bitmap nothing;
  scroll_bar_width_ = SkinPainter(skin.Images(), nullptr, nothing).ScrollBarWidth(look);
  if (scroll_bar_width_ <= 0) return;
  scroll_bar_ = Add(
      "scrollbar",
      std::make_unique<ScrollBarControl>(look, [this](int32_t position) { rows_->ScrollTo(position); }), {});
}

void PlaylistWindowView::Arrange() {
  if (toolbar_) toolbar_->SetVisible(toolbar_shown_);
  if (!rows_) return;
  SkinRect whole = area_;
  if (toolbar_ && !toolbar_shown_) whole.top = std::min(whole.top, toolbar_->Place().top);
  SkinRect area =
      AlignedPosition(whole, kAlignCentre | kAlignVCentre, LeastWidth(), LeastHeight(), Width(), Height());
  const int32_t tabs_bottom = std::min(area.top + ListTabs::HeightFor(look_), area.bottom);
  tabs_->SetPlace({area.left, area.top, area.right, tabs_bottom});
  area.top = tabs_bottom;
  const int32_t bar_height = ListInfoBar::HeightFor(look_, find_open_);
  const bool has_bar = find_open_ || area.Height() >= bar_height + kLeastRows * look_.row_height;
  bar_->SetVisible(has_bar);
  const int32_t bar_top = has_bar ? std::max(area.bottom - bar_height, area.top) : area.bottom;
  bar_->SetPlace({area.left, bar_top, area.right, area.bottom});
  area.bottom = bar_top;
  PlaceRows(area);
}

void PlaylistWindowView::PlaceRows(const SkinRect& area) {
  // Rows that are placed tell that they have scrolled.
  arranging_ = true;
  const bool scrolls = scroll_bar_ && rows_->ContentHeight() > area.Height();
  const SkinRect bar = ScrollBarPosition(area, scroll_bar_width_);
  rows_->SetPlace({area.left, area.top, scrolls ? bar.left : area.right, area.bottom});
  if (scroll_bar_) {
    scroll_bar_->SetPlace(bar);
    scroll_bar_->SetVisible(scrolls);
  }
  arranging_ = false;
  OnScrolled();
}

void PlaylistWindowView::OnScrolled() {
  if (arranging_ || !scroll_bar_) return;
  const SkinRect& rows = rows_->Place();
  // There is no bar beside rows that are all in view.
  if (scroll_bar_->IsVisible() != (rows_->ContentHeight() > rows.Height())) return Arrange();
  scroll_bar_->SetRange({rows_->Scroll(), rows_->LargestScroll(), rows.Height(), rows_->RowHeight()});
}

bool PlaylistWindowView::OnWindowWheel(int32_t notches) {
  return rows_ && rows_->OnWheel({}, notches);
}

bool PlaylistWindowView::OnWindowKey(const KeyPress& key) {
  // Keys are the rows' unless another control wants them.
  return rows_ && Focused() != rows_ && rows_->OnKey(key);
}

// ---- what has changed

void PlaylistWindowView::SetToolbarShown(bool shown) {
  if (shown == toolbar_shown_) return;
  toolbar_shown_ = shown;
  if (!rows_) return;
  Arrange();
  RepaintAll();
}

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
