// SPDX-License-Identifier: MIT
//
// The menus: their shape, and what they show of the player.
#include <gtest/gtest.h>

#include <map>
#include <set>

#include "doc/settings.h"
#include "ui/menu.h"

namespace melorin {
namespace {

class FakeTarget final : public CommandTarget {
 public:
  void Execute(CommandId) override {}
  bool IsEnabled(CommandId command) const override { return !disabled.contains(command); }
  bool IsChecked(CommandId command) const override { return checked.contains(command); }

  std::set<CommandId> disabled;
  std::set<CommandId> checked;
};

class UiMenu : public testing::Test {
 protected:
  UiMenu() {
    source_.target = &target_;
    source_.keys = keys_;
    source_.lists = {u"默认", u"R&B\t精选", u"古典"};
    source_.shown_list = 1;
    source_.skins = {u"经典", u"夜色"};
    source_.presets = {u"平直", u"流行"};
    source_.preset_in_use = 1;
    source_.opacity = 70;
  }

  static const MenuItem* Find(const Menu& menu, CommandId command) {
    for (const MenuItem& item : menu) {
      if (item.command == command && !item.IsSeparator()) return &item;
      if (const MenuItem* found = Find(item.children, command)) return found;
    }
    return nullptr;
  }

  FakeTarget target_;
  std::vector<KeyBinding> keys_ = DefaultKeyMap();
  MenuSource source_;
};

/// Lines never first, last or twice; every text has a key that no other of its menu has, or stands for a
/// thing with a name of its own.
void ExpectWellFormed(const Menu& menu) {
  ASSERT_FALSE(menu.empty());
  EXPECT_FALSE(menu.front().IsSeparator());
  EXPECT_FALSE(menu.back().IsSeparator());
  std::map<char16_t, size_t> keys;
  for (size_t i = 0; i < menu.size(); ++i) {
    const MenuItem& item = menu[i];
    if (item.IsSeparator()) {
      EXPECT_FALSE(menu[i + 1].IsSeparator());
      EXPECT_TRUE(item.text.empty());
      continue;
    }
    EXPECT_FALSE(item.text.empty());
    // A text with children is no command.
    EXPECT_NE(item.command == CommandId::kNone, item.children.empty());
    size_t at = 0;
    while ((at = item.text.find(u'&', at)) != std::u16string::npos && item.text[at + 1] == u'&')
      at += 2;
    if (at != std::u16string::npos) {
      EXPECT_TRUE(keys.emplace(item.text[at + 1], i).second)
          << "key " << static_cast<char>(item.text[at + 1]) << " of item " << i;
    } else {
      EXPECT_EQ(FindCommand(item.command), nullptr) << i;
    }
    if (!item.children.empty()) ExpectWellFormed(item.children);
  }
}

TEST_F(UiMenu, EveryMenuIsWellFormed) {
  for (int kind = 0; kind <= static_cast<int>(MenuKind::kVisual); ++kind) {
    SCOPED_TRACE(kind);
    ExpectWellFormed(BuildMenu(static_cast<MenuKind>(kind), source_));
    // With nothing to choose from groups vanish, and their lines with them.
    ExpectWellFormed(BuildMenu(static_cast<MenuKind>(kind), MenuSource{}));
  }
}

TEST_F(UiMenu, ManyListsAndSkinsStayWithinTheirNumbers) {
  source_.lists.assign(1500, u"x");
  source_.skins.assign(1500, u"x");
  source_.presets.assign(1500, u"x");
  const auto last_below = [&](const Menu& menu, CommandId end) {
    return Find(menu, Plus(end, -1)) && !Find(menu, end);
  };
  EXPECT_TRUE(last_below(BuildMenu(MenuKind::kListLists, source_), CommandId::kCopyToListFirst));
  EXPECT_TRUE(last_below(BuildMenu(MenuKind::kListEntry, source_), CommandId::kSkinFirst));
  EXPECT_TRUE(last_below(BuildMenu(MenuKind::kMain, source_), CommandId::kDynamicEnd));
  EXPECT_TRUE(last_below(BuildMenu(MenuKind::kEqualizer, source_), CommandId::kShowListFirst));
}

TEST_F(UiMenu, ItemsShowTheirState) {
  target_.disabled = {CommandId::kStop, CommandId::kUndo};
  target_.checked = {CommandId::kShowLyric, CommandId::kModeRandom};
  source_.undo_action = u"排序";
  const Menu main = BuildMenu(MenuKind::kMain, source_);
  const MenuItem* play = Find(main, CommandId::kPlayPause);
  ASSERT_NE(play, nullptr);
  EXPECT_EQ(play->text, u"播放/暂停(&P)\t空格");
  EXPECT_TRUE(play->is_default && play->enabled && !play->checked);
  EXPECT_FALSE(Find(main, CommandId::kStop)->enabled);
  EXPECT_TRUE(Find(main, CommandId::kShowLyric)->checked);
  EXPECT_FALSE(Find(main, CommandId::kShowLyric)->radio);
  const MenuItem* random = Find(main, CommandId::kModeRandom);
  EXPECT_TRUE(random->checked && random->radio);
  EXPECT_EQ(random->text, u"随机播放(&R)");
  const MenuItem* opacity = Find(main, Plus(CommandId::kOpacityFirst, 70));
  EXPECT_TRUE(opacity->checked && opacity->radio);
  EXPECT_EQ(opacity->text, u"70%(&7)");
  EXPECT_EQ(Find(main, Plus(CommandId::kOpacityFirst, 100))->text, u"100%(&0)");
  EXPECT_TRUE(Find(main, Plus(CommandId::kSkinFirst, 0))->checked);
  EXPECT_TRUE(Find(main, Plus(CommandId::kEqualizerPresetFirst, 1))->checked);
  EXPECT_EQ(Find(main, CommandId::kOptions)->text, u"选项(&O)...\tF5");

  const Menu edit = BuildMenu(MenuKind::kListEdit, source_);
  EXPECT_EQ(edit[0].text, u"撤消 排序(&U)\tCtrl+Z");
  EXPECT_FALSE(edit[0].enabled);
  EXPECT_EQ(edit[1].text, u"重做(&R)\tCtrl+Y");
}

TEST_F(UiMenu, NamesOfListsCannotDisturb) {
  source_.lists.push_back(std::u16string(100000, u'\u4E00'));
  const Menu lists = BuildMenu(MenuKind::kListLists, source_);
  source_.lists.pop_back();
  const MenuItem* shown = Find(lists, Plus(CommandId::kShowListFirst, 1));
  ASSERT_NE(shown, nullptr);
  EXPECT_EQ(shown->text, u"&2 R&&B 精选");
  EXPECT_TRUE(shown->checked);
  const MenuItem* long_one = Find(lists, Plus(CommandId::kShowListFirst, 3));
  ASSERT_NE(long_one, nullptr);
  EXPECT_LT(long_one->text.size(), 70u);
  const Menu entry = BuildMenu(MenuKind::kListEntry, source_);
  EXPECT_NE(Find(entry, Plus(CommandId::kCopyToListFirst, 2)), nullptr);
  // An entry is not copied to where it is.
  EXPECT_EQ(Find(entry, Plus(CommandId::kCopyToListFirst, 1)), nullptr);
}

}  // namespace
}  // namespace melorin
