// SPDX-License-Identifier: MIT
//
// PlaylistWindowView: the playlist window: caption, toolbar, the lists' tabs, the rows with their scroll bar,
// and a line below them. The tabs and the line share the skin's element "playlist" with the rows.
#pragma once

#include <optional>
#include <string>

#include "doc/settings.h"
#include "ui/list_info_bar.h"
#include "ui/list_look.h"
#include "ui/list_tabs.h"
#include "ui/playlist_view.h"
#include "ui/scroll_bar_control.h"
#include "ui/tool_window_view.h"
#include "ui/toolbar_control.h"

namespace melorin {

/// What the window shows and whom it asks; all must outlive the view.
struct PlaylistWindowParts {
  PlaylistSource& entries;
  PlaylistActions& entry_actions;
  ListTabsSource& lists;
  ListTabsActions& list_actions;
  WindowServices& services;
};

/// Thread: the UI thread.
class PlaylistWindowView final : public ToolWindowView {
 public:
  explicit PlaylistWindowView(const PlaylistWindowParts& parts)
      : ToolWindowView(SkinWindow::kPlaylist, parts.services, CommandId::kShowPlayList), parts_(parts) {}

  void SetLook(const PlayListLook& look);
  /// Without it the list has its place.
  void SetToolbarShown(bool shown);
  const ListLook& Look() const { return look_; }

  /// Null before the first Wear; other ones after each.
  PlaylistView* Rows() const { return rows_; }
  ListTabs* Tabs() const { return tabs_; }

  // ---- what has changed

  void ListChanged();     ///< Entries of the shown list, or which list is shown.
  void EntriesChanged();  ///< Their titles, times and colours only.
  void SelectionChanged();
  void TabsChanged();
  /// "共 128 首 8:42:10"
  void SetInfo(std::string text_gbk);

  // ---- finding

  void SetFindOpen(bool open);
  bool IsFindOpen() const { return find_open_; }
  void SetFindResult(std::string text_gbk);
  /// Where the edit control goes, in 1x pixels; empty while nothing is looked for.
  SkinRect FindBarPlace() const;

 private:
  LoadedSkin* Build(SkinWardrobe& wardrobe, Frame* frame) override;
  void Arrange() override;
  void BuildScrollBar(const SkinScrollBar& look, LoadedSkin& skin);
  void PlaceRows(const SkinRect& area);
  void OnScrolled();
  bool OnWindowWheel(int32_t notches) override;
  bool OnWindowKey(const KeyPress& key) override;

  const PlaylistWindowParts parts_;
  ListLook look_;
  SkinRect area_;  ///< The skin's element, at the window's least size.
  PlaylistView* rows_ = nullptr;
  ListTabs* tabs_ = nullptr;
  ListInfoBar* bar_ = nullptr;
  ToolbarControl* toolbar_ = nullptr;
  ScrollBarControl* scroll_bar_ = nullptr;
  int32_t scroll_bar_width_ = 0;
  bool arranging_ = false;
  std::string info_gbk_;
  bool toolbar_shown_ = true;
  bool find_open_ = false;
};

}  // namespace melorin
