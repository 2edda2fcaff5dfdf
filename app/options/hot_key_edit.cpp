// SPDX-License-Identifier: MIT
#include "app/options/hot_key_edit.h"

#include <algorithm>

namespace melorin {
namespace {

std::u16string NameOf(CommandId id) {
  const Command* command = FindCommand(id);
  return command ? PlainCommandText(command->text) : std::u16string();
}

void AddLine(std::u16string& text, const std::u16string& line) {
  if (!text.empty()) text += u'\n';
  text += line;
}

std::u16string Describe(const KeyConflict& conflict) {
  const char16_t* kind = conflict.global ? u"全局热键 " : u"窗口热键 ";
  return kind + KeyText(conflict.key) + u" 冲突：“" + NameOf(conflict.first) + u"”和“" +
         NameOf(conflict.second) + u"”，只对前者有效。";
}

}  // namespace

bool MayBeGlobal(const KeyStroke& key) {
  constexpr uint16_t kAltControlWindows = 1 | 2 | 8;
  constexpr uint16_t kFirstMediaKey = 0xA6;  // VK_BROWSER_BACK
  constexpr uint16_t kLastMediaKey = 0xB7;   // VK_LAUNCH_APP2
  return (key.modifiers & kAltControlWindows) != 0 || (key.key >= kFirstMediaKey && key.key <= kLastMediaKey);
}

void SetHotKey(std::vector<KeyBinding>& map, CommandId command, bool global, const KeyStroke& key) {
  const auto number = static_cast<int32_t>(command);
  auto found = std::find_if(map.begin(), map.end(),
                            [&](const KeyBinding& binding) { return binding.command == number; });
  if (found == map.end()) found = map.insert(map.end(), KeyBinding{number, {}, {}});
  (global ? found->global : found->application) = key;
}

std::u16string HotKeyProblems(std::span<const KeyBinding> map, std::span<const CommandId> refused,
                              CommandId command) {
  std::u16string text;
  for (const KeyConflict& conflict : FindKeyConflicts(map))
    if (command == CommandId::kNone || conflict.first == command || conflict.second == command)
      AddLine(text, Describe(conflict));
  for (const CommandId id : refused)
    if (command == CommandId::kNone || id == command)
      AddLine(text, u"全局热键 " + KeyText(FindBinding(map, id).global) + u" 已被其他程序占用（“" +
                        NameOf(id) + u"”）。");
  return text;
}

}  // namespace melorin
