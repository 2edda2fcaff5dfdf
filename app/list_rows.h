// SPDX-License-Identifier: MIT
//
// ListRows: the shown list and the lists' names as the playlist window asks for them.
#pragma once

#include <map>
#include <optional>
#include <string>

#include "app/list_states.h"
#include "app/player.h"
#include "playlist/title_format.h"
#include "ui/list_tabs.h"
#include "ui/playlist_view.h"

namespace melorin {

/// Thread: the UI thread.
class ListRows final : public PlaylistSource, public ListTabsSource {
 public:
  ListRows(Player& player, ListStates& states) : player_(player), states_(states) {}

  /// The settings or the shown list may be other ones.
  void Update();
  void SetFailed(const ItemRef& item, bool failed);
  /// "共 128 首  8:42:10", or of what is selected.
  std::string InfoGbk();

  // ---- PlaylistSource

  size_t Count() const override { return List() ? List()->Size() : 0; }
  std::string TitleGbk(size_t index) const override;
  std::string DurationGbk(size_t index) const override;
  std::u16string Tip(size_t index) const override;
  bool IsFailed(size_t index) const override { return failed_.contains(List()->At(index).get()); }
  std::optional<size_t> Playing() const override;
  bool ShowsNumbers() const override { return titles_.number; }
  bool AllowsDrag() const override { return player_.Data().Values().play_list.enable_drag_drop != 0; }
  PlaylistPlace& Place() override;

  // ---- ListTabsSource

  size_t TabCount() const override { return player_.Data().Lists().Size(); }
  std::string TabNameGbk(size_t tab) const override;
  std::u16string TabTip(size_t tab) const override;
  size_t ShownTab() const override { return player_.Data().ActiveIndex(); }
  std::optional<size_t> PlayingTab() const override;

 private:
  Playlist* List() const;

  Player& player_;
  ListStates& states_;
  TitleSettings titles_;
  PlaylistPlace nowhere_;  ///< While the lists are being read.
  /// What could not be played, held so that no other item gets its address.
  std::map<const PlayListItem*, ItemRef> failed_;
};

/// Details of an entry for tips: title, artist, album, format, path; a line each.
std::u16string DescribeEntry(const PlayListItem& item, const std::u16string& title);
/// "MP3  320 kbps  44100 Hz  立体声"; what is not known is left out.
std::u16string DescribeFormat(const PlayListItem& item);

}  // namespace melorin
