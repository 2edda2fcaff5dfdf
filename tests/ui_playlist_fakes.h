// SPDX-License-Identifier: MIT
//
// A playlist window over lists that are not there.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "platform/text.h"
#include "skin/loaded_skin.h"
#include "ui/playlist_window_view.h"

namespace melorin {

/// Entries that are made when they are asked for, and a record of all that is asked of it.
class FakeLists final : public PlaylistSource,
                        public PlaylistActions,
                        public ListTabsSource,
                        public ListTabsActions {
 public:
  size_t count = 100;
  std::optional<size_t> playing;
  std::optional<size_t> failed;
  bool allows_drag = true;
  PlaylistPlace place;
  std::vector<std::string> tabs = {"default", "second", "third"};
  size_t shown_tab = 0;
  std::vector<std::string> titles_gbk;  ///< In turn; empty: "Title 7".
  mutable size_t titles_asked = 0;
  std::vector<std::string> asked;  ///< "play 3", "move before 5", …

  std::string Asked() {
    std::string all;
    for (const std::string& one : asked)
      all += (all.empty() ? "" : "; ") + one;
    asked.clear();
    return all;
  }

  size_t Count() const override { return count; }
  std::string TitleGbk(size_t index) const override {
    ++titles_asked;
    return titles_gbk.empty() ? "Title " + std::to_string(index) : titles_gbk[index % titles_gbk.size()];
  }
  std::string DurationGbk(size_t index) const override {
    return std::to_string(index % 9 + 1) + ":" + std::to_string(10 + index % 50);
  }
  std::u16string Tip(size_t index) const override { return u"tip " + Number(index); }
  bool IsFailed(size_t index) const override { return failed == index; }
  std::optional<size_t> Playing() const override { return playing; }
  bool ShowsNumbers() const override { return true; }
  bool AllowsDrag() const override { return allows_drag; }
  PlaylistPlace& Place() override { return place; }

  void PlayEntry(size_t index) override { Ask("play", index); }
  void RemoveSelected() override { asked.push_back("remove"); }
  void MoveSelected(size_t before, bool copy) override { Ask(copy ? "copy before" : "move before", before); }
  void MoveSelectedToList(size_t tab, bool copy) override { Ask(copy ? "copy to tab" : "move to tab", tab); }
  void SelectionChanged() override {}
  void RowsShown(size_t first, size_t end) override { shown = {first, end}; }
  void ShowEntryMenu(int32_t, int32_t) override { asked.push_back("menu"); }

  size_t TabCount() const override { return tabs.size(); }
  std::string TabNameGbk(size_t tab) const override { return tabs[tab]; }
  std::u16string TabTip(size_t) const override { return {}; }
  size_t ShownTab() const override { return shown_tab; }
  std::optional<size_t> PlayingTab() const override { return 0; }
  void ShowTab(size_t tab) override { Ask("show tab", tab); }
  void MoveTab(size_t tab, size_t to) override { Ask("tab " + std::to_string(tab) + " to", to); }
  void RenameTab(size_t tab) override { Ask("rename tab", tab); }
  void DeleteTab(size_t tab) override { Ask("delete tab", tab); }
  void NewTab() override { asked.push_back("new tab"); }
  void ShowTabMenu(size_t tab, int32_t, int32_t) override { Ask("tab menu", tab); }

  std::pair<size_t, size_t> shown;

 private:
  static std::u16string Number(size_t index) { return Utf16FromUtf8(std::to_string(index)); }
  void Ask(const std::string& what, size_t index) { asked.push_back(what + " " + std::to_string(index)); }
};

}  // namespace melorin
