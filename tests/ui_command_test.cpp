// SPDX-License-Identifier: MIT
//
// The table of commands, the names of keys and whose a key is.
#include <gtest/gtest.h>

#include <fstream>
#include <regex>
#include <set>
#include <sstream>

#include "doc/settings.h"
#include "ui/command_table.h"

namespace melorin {
namespace {

/// The numbers that doc/command_id.h names, but those with a number added.
std::set<int32_t> NamedNumbers() {
  std::ifstream file(MELORIN_SOURCE_DIR "/doc/command_id.h");
  std::stringstream text;
  text << file.rdbuf();
  const std::string source = text.str();
  const std::regex entry("\\n  k([A-Za-z]+) = (\\d+),");
  std::set<int32_t> numbers;
  for (std::sregex_iterator match(source.begin(), source.end(), entry), end; match != end; ++match) {
    const std::string name = (*match)[1];
    if (name != "None" && name != "DynamicEnd" && !name.ends_with("First"))
      numbers.insert(std::stoi((*match)[2]));
  }
  return numbers;
}

TEST(UiCommand, EveryCommandHasOneRow) {
  const std::set<int32_t> named = NamedNumbers();
  ASSERT_GT(named.size(), 90u);
  std::set<int32_t> numbers;
  std::set<std::u16string> texts;
  for (const Command& command : Commands()) {
    const auto number = static_cast<int32_t>(command.id);
    EXPECT_TRUE(numbers.insert(number).second) << number;
    EXPECT_EQ(FindCommand(command.id), &command);
    // The options page lists the plain texts: none may stand for two commands.
    const std::u16string plain = PlainCommandText(command.text);
    EXPECT_TRUE(texts.insert(plain).second) << number;
    EXPECT_EQ(plain.find(u'&'), std::u16string::npos) << number;
    EXPECT_NE(std::u16string_view(command.text).find(u"(&"), std::u16string_view::npos) << number;
  }
  EXPECT_EQ(numbers, named);
  EXPECT_EQ(FindCommand(CommandId::kNone), nullptr);
  EXPECT_EQ(FindCommand(Plus(CommandId::kSkinFirst, 3)), nullptr);
}

TEST(UiCommand, PlainTexts) {
  EXPECT_EQ(PlainCommandText(u"停止(&S)"), u"停止");
  EXPECT_EQ(PlainCommandText(u"选项(&O)..."), u"选项");
  EXPECT_EQ(PlainCommandText(u"曲目(一)"), u"曲目(一)");
  EXPECT_EQ(PlainCommandText(u""), u"");
}

TEST(UiCommand, NamesOfKeys) {
  const struct {
    KeyStroke key;
    std::u16string_view text;
  } kCases[] = {
      {{0, 0}, u""},
      {{2, 0}, u""},
      {{0, 0x20}, u"空格"},
      {{3, 'P'}, u"Ctrl+Alt+P"},
      {{15, '7'}, u"Ctrl+Alt+Shift+Win+7"},
      {{2, 0x25}, u"Ctrl+←"},
      {{0, 0xB3}, u"媒体播放/暂停"},
      {{0, 0x70}, u"F1"},
      {{4, 0x87}, u"Shift+F24"},
      {{0, 0x65}, u"小键盘 5"},
      {{2, 0xDB}, u"Ctrl+["},
      {{0, 0xE9}, u"键 233"},
      {{0, 0xFFFF}, u"键 65535"},
  };
  for (const auto& test : kCases)
    EXPECT_EQ(KeyText(test.key), test.text) << test.key.modifiers << ' ' << test.key.key;
}

TEST(UiCommand, KeysBelongToTheFirstCommandThatHasThem) {
  const std::vector<KeyBinding> map = {
      {9999, {2, 'A'}, {}},  // No such command: it keeps no key from others.
      {1001, {2, 'A'}, {0, 0xB3}}, {1002, {2, 'A'}, {}},    {1003, {}, {0, 0xB3}},
      {1001, {2, 'A'}, {}},        {1004, {0x82, 'B'}, {}},
  };
  EXPECT_EQ(CommandOfKey(map, {2, 'A'}), CommandId::kPlayPause);
  EXPECT_EQ(CommandOfKey(map, {2, 'B'}), CommandId::kNext);
  EXPECT_EQ(CommandOfKey(map, {0, 'A'}), CommandId::kNone);
  EXPECT_EQ(CommandOfKey(map, {0, 0}), CommandId::kNone);
  EXPECT_EQ(FindBinding(map, CommandId::kPrevious), map[3]);
  EXPECT_EQ(FindBinding(map, CommandId::kExit), (KeyBinding{1022, {}, {}}));

  const std::vector<KeyConflict> conflicts = FindKeyConflicts(map);
  ASSERT_EQ(conflicts.size(), 2u);
  EXPECT_EQ(conflicts[0].first, CommandId::kPlayPause);
  EXPECT_EQ(conflicts[0].second, CommandId::kStop);
  EXPECT_FALSE(conflicts[0].global);
  EXPECT_EQ(conflicts[1].second, CommandId::kPrevious);
  EXPECT_TRUE(conflicts[1].global);
}

TEST(UiCommand, DefaultKeysAreWithoutConflict) {
  const std::vector<KeyBinding> map = DefaultKeyMap();
  EXPECT_TRUE(FindKeyConflicts(map).empty());
  std::set<int32_t> commands;
  for (const KeyBinding& binding : map) {
    const Command* command = FindCommand(static_cast<CommandId>(binding.command));
    ASSERT_NE(command, nullptr) << binding.command;
    EXPECT_TRUE(command->may_have_key) << binding.command;
    EXPECT_TRUE(commands.insert(binding.command).second) << binding.command;
  }
}

}  // namespace
}  // namespace melorin
