// SPDX-License-Identifier: MIT
#include "app/hot_keys.h"

#include <algorithm>

namespace melorin {
namespace {

// The system takes these from programs; see RegisterHotKey.
constexpr size_t kMaxIds = 0xBFFF;
constexpr UINT kModifiers = MOD_ALT | MOD_CONTROL | MOD_SHIFT | MOD_WIN;
#ifndef MOD_NOREPEAT
constexpr UINT MOD_NOREPEAT = 0x4000;
#endif

/// Commands that go on while their key is held.
bool Repeats(CommandId command) {
  return command == CommandId::kVolumeUp || command == CommandId::kVolumeDown ||
         command == CommandId::kSeekForward || command == CommandId::kSeekBackward;
}

bool Held(int key) {
  return GetKeyState(key) < 0;
}

bool IsModifier(WPARAM key) {
  switch (key) {
    case VK_SHIFT:
    case VK_CONTROL:
    case VK_MENU:
    case VK_LWIN:
    case VK_RWIN:
      return true;
    default:
      return false;
  }
}

}  // namespace

std::vector<KeyBinding> HotKeys::Register(HWND window, const HotKeySettings& settings) {
  Unregister();
  std::vector<KeyBinding> refused;
  if (settings.global == 0) return refused;
  window_ = window;
  std::vector<KeyStroke> taken;
  const size_t count = std::min(settings.key_map.size(), kMaxIds);
  for (size_t i = 0; i < count; ++i) {
    const KeyBinding& binding = settings.key_map[i];
    const auto command = static_cast<CommandId>(binding.command);
    const KeyStroke key = {static_cast<uint16_t>(binding.global.modifiers & kModifiers), binding.global.key};
    // A key that two commands have is the first one's.
    if (key.key == 0 || !FindCommand(command) || std::ranges::find(taken, key) != taken.end()) continue;
    const int id = static_cast<int>(i);
    if (RegisterHotKey(window, id, key.modifiers | (Repeats(command) ? 0 : MOD_NOREPEAT), key.key)) {
      registered_.push_back({id, command});
      taken.push_back(key);
    } else {
      refused.push_back(binding);
    }
  }
  return refused;
}

void HotKeys::Unregister() {
  for (const Registered& one : registered_)
    UnregisterHotKey(window_, one.id);
  registered_.clear();
  window_ = nullptr;
}

CommandId HotKeys::CommandOf(WPARAM id) const {
  for (const Registered& one : registered_)
    if (static_cast<WPARAM>(one.id) == id) return one.command;
  return CommandId::kNone;
}

KeyStroke KeyStrokeOf(WPARAM key) {
  UINT modifiers = 0;
  if (Held(VK_MENU)) modifiers |= MOD_ALT;
  if (Held(VK_CONTROL)) modifiers |= MOD_CONTROL;
  if (Held(VK_SHIFT)) modifiers |= MOD_SHIFT;
  if (Held(VK_LWIN) || Held(VK_RWIN)) modifiers |= MOD_WIN;
  return {static_cast<uint16_t>(modifiers), static_cast<uint16_t>(key)};
}

CommandId CommandOfKeyMessage(std::span<const KeyBinding> map, UINT message, WPARAM key) {
  if ((message != WM_KEYDOWN && message != WM_SYSKEYDOWN) || IsModifier(key)) return CommandId::kNone;
  return CommandOfKey(map, KeyStrokeOf(key));
}

CommandId CommandOfAppCommand(int app_command) {
  switch (app_command) {
    case APPCOMMAND_MEDIA_PLAY_PAUSE:
      return CommandId::kPlayPause;
    case APPCOMMAND_MEDIA_PLAY:
      return CommandId::kPlay;
    case APPCOMMAND_MEDIA_PAUSE:
      return CommandId::kPause;
    case APPCOMMAND_MEDIA_STOP:
      return CommandId::kStop;
    case APPCOMMAND_MEDIA_NEXTTRACK:
      return CommandId::kNext;
    case APPCOMMAND_MEDIA_PREVIOUSTRACK:
      return CommandId::kPrevious;
    case APPCOMMAND_MEDIA_FAST_FORWARD:
      return CommandId::kSeekForward;
    case APPCOMMAND_MEDIA_REWIND:
      return CommandId::kSeekBackward;
    default:
      return CommandId::kNone;
  }
}

}  // namespace melorin
