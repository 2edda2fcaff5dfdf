// SPDX-License-Identifier: MIT
//
// Menus, hot keys and the tray icon as the system has them.
#include <gtest/gtest.h>

#include <windows.h>

#include <shellapi.h>

#include <span>

#include "app/hot_keys.h"
#include "app/popup_menu.h"
#include "app/tray_icon.h"
#include "platform/com.h"

namespace melorin {
namespace {

class MessageWindow {
 public:
  MessageWindow()
      : window_(CreateWindowExW(0, L"Static", L"", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr, nullptr, nullptr)) {}
  ~MessageWindow() { DestroyWindow(window_); }
  MessageWindow(const MessageWindow&) = delete;
  MessageWindow& operator=(const MessageWindow&) = delete;
  HWND get() const { return window_; }

 private:
  HWND window_;
};

TEST(AppPopupMenu, ItemsBecomeTheSystems) {
  Menu menu(4);
  menu[0].command = CommandId::kPlayPause;
  menu[0].text = u"播放/暂停(&P)\t空格";
  menu[0].is_default = true;
  menu[1].command = CommandId::kStop;
  menu[1].text = u"停止(&S)";
  menu[1].enabled = false;
  menu[3].text = u"播放模式(&M)";
  menu[3].children.resize(1);
  menu[3].children[0].command = CommandId::kModeRandom;
  menu[3].children[0].text = u"随机播放(&R)";
  menu[3].children[0].checked = menu[3].children[0].radio = true;

  HMENU sub = nullptr;
  {
    const MenuHandle handle = MakePopupMenu(menu);
    ASSERT_TRUE(handle);
    ASSERT_EQ(GetMenuItemCount(handle.get()), 4);
    WCHAR text[64] = {};
    GetMenuStringW(handle.get(), 0, text, 64, MF_BYPOSITION);
    EXPECT_EQ(std::u16string(AsChar16(text)), menu[0].text);
    EXPECT_EQ(GetMenuDefaultItem(handle.get(), FALSE, 0), 1001u);
    EXPECT_EQ(GetMenuItemID(handle.get(), 1), 1002u);
    EXPECT_TRUE(GetMenuState(handle.get(), 1, MF_BYPOSITION) & MF_GRAYED);
    EXPECT_TRUE(GetMenuState(handle.get(), 2, MF_BYPOSITION) & MF_SEPARATOR);
    sub = GetSubMenu(handle.get(), 3);
    ASSERT_EQ(GetMenuItemCount(sub), 1);
    MENUITEMINFOW info{};
    info.cbSize = sizeof(info);
    info.fMask = MIIM_FTYPE | MIIM_STATE;
    ASSERT_TRUE(GetMenuItemInfoW(sub, 0, TRUE, &info));
    EXPECT_TRUE(info.fType & MFT_RADIOCHECK);
    EXPECT_TRUE(info.fState & MFS_CHECKED);
  }
  EXPECT_FALSE(IsMenu(sub));
}

TEST(AppHotKeys, AreTakenOnceAndGivenBack) {
  // Keys that no desktop uses.
  const KeyStroke f23 = {MOD_CONTROL | MOD_ALT, VK_F23};
  const KeyStroke f22 = {MOD_CONTROL | MOD_ALT, VK_F22};
  HotKeySettings settings;
  settings.key_map = {{9999, {}, f23}, {1001, {}, f23}, {1002, {}, f23}, {1003, {}, {}}, {1004, {}, f22}};
  const MessageWindow window;
  const MessageWindow other;
  {
    HotKeys keys;
    EXPECT_TRUE(keys.Register(window.get(), settings).empty());
    EXPECT_EQ(keys.CommandOf(1), CommandId::kPlayPause);
    EXPECT_EQ(keys.CommandOf(2), CommandId::kNone);
    EXPECT_EQ(keys.CommandOf(4), CommandId::kNext);
    EXPECT_EQ(keys.CommandOf(77), CommandId::kNone);

    HotKeys late;
    settings.key_map = {{1005, {}, f22}};
    const std::vector<KeyBinding> refused = late.Register(other.get(), settings);
    ASSERT_EQ(refused.size(), 1u);
    EXPECT_EQ(refused[0].command, 1005);
    // Registering anew gives the old ones back first.
    EXPECT_TRUE(keys.Register(window.get(), settings).empty());
    EXPECT_EQ(keys.CommandOf(0), CommandId::kSeekForward);
    settings.global = 0;
    EXPECT_TRUE(keys.Register(window.get(), settings).empty());
    EXPECT_EQ(keys.CommandOf(0), CommandId::kNone);
    settings.global = 1;
    EXPECT_TRUE(late.Register(other.get(), settings).empty());
  }
  EXPECT_TRUE(RegisterHotKey(window.get(), 1, f22.modifiers, f22.key));
  UnregisterHotKey(window.get(), 1);
}

TEST(AppHotKeys, KeysOfMessages) {
  const std::vector<KeyBinding> map = {{1001, {0, VK_SPACE}, {}}, {1002, {MOD_CONTROL, VK_SPACE}, {}}};
  BYTE keys[256] = {};
  SetKeyboardState(keys);
  EXPECT_EQ(CommandOfKeyMessage(map, WM_KEYDOWN, VK_SPACE), CommandId::kPlayPause);
  EXPECT_EQ(CommandOfKeyMessage(map, WM_KEYUP, VK_SPACE), CommandId::kNone);
  keys[VK_CONTROL] = 0x80;
  SetKeyboardState(keys);
  EXPECT_EQ(CommandOfKeyMessage(map, WM_KEYDOWN, VK_SPACE), CommandId::kStop);
  EXPECT_EQ(CommandOfKeyMessage(map, WM_KEYDOWN, VK_CONTROL), CommandId::kNone);
  keys[VK_CONTROL] = 0;
  SetKeyboardState(keys);
  EXPECT_EQ(CommandOfAppCommand(APPCOMMAND_MEDIA_PLAY_PAUSE), CommandId::kPlayPause);
  EXPECT_EQ(CommandOfAppCommand(APPCOMMAND_VOLUME_UP), CommandId::kNone);
}

TEST(AppTrayIcon, MessagesOfBothKinds) {
  const struct {
    bool version_4;
    UINT message;
    TrayAction action;
  } kCases[] = {
      {true, WM_LBUTTONUP, TrayAction::kNone},    {true, NIN_SELECT, TrayAction::kClick},
      {true, NIN_KEYSELECT, TrayAction::kClick},  {true, WM_RBUTTONUP, TrayAction::kNone},
      {true, WM_CONTEXTMENU, TrayAction::kMenu},  {true, WM_MBUTTONUP, TrayAction::kMiddle},
      {true, WM_MOUSEMOVE, TrayAction::kNone},    {false, WM_LBUTTONUP, TrayAction::kClick},
      {false, WM_RBUTTONUP, TrayAction::kMenu},   {false, WM_CONTEXTMENU, TrayAction::kNone},
      {false, WM_MBUTTONUP, TrayAction::kMiddle},
  };
  for (const auto& test : kCases) {
    const LPARAM lparam = test.version_4 ? MAKELPARAM(test.message, 1) : static_cast<LPARAM>(test.message);
    const TrayEvent event = TrayMessages().Decode(test.version_4, MAKEWPARAM(0xFFFE, 7), lparam);
    EXPECT_EQ(event.action, test.action) << test.version_4 << ' ' << test.message;
    ASSERT_EQ(event.at.has_value(), test.version_4);
    // A screen left of the first one has negative coordinates.
    if (test.version_4) {
      EXPECT_EQ(event.at->x, -2);
      EXPECT_EQ(event.at->y, 7);
    }
  }
}

TEST(AppTrayIcon, ADoubleClickIsOneClick) {
  const UINT one[] = {WM_LBUTTONDOWN, WM_LBUTTONUP, NIN_SELECT};
  const UINT two[] = {WM_LBUTTONDOWN, WM_LBUTTONUP, NIN_SELECT, WM_LBUTTONDBLCLK, WM_LBUTTONUP, NIN_SELECT};
  for (const bool version_4 : {false, true}) {
    TrayMessages messages;
    const auto clicks = [&](std::span<const UINT> sent) {
      int count = 0;
      for (const UINT message : sent)
        count += messages.Decode(version_4, 0, static_cast<LPARAM>(message)).action == TrayAction::kClick;
      return count;
    };
    EXPECT_EQ(clicks(two), 1);
    EXPECT_EQ(clicks(one), 1);
    EXPECT_EQ(clicks(two), 1);
  }
}

TEST(AppTrayIcon, TextsAreCutAtWholeCharacters) {
  EXPECT_EQ(CutText(u"晨露", 2), u"晨露");
  EXPECT_EQ(CutText(u"晨露曲", 2), u"晨露");
  EXPECT_EQ(CutText(u"a𠮷", 2), u"a");
  EXPECT_EQ(CutText(u"𠮷a", 2), u"𠮷");
  EXPECT_EQ(CutText(u"𠮷", 0), u"");
}

TEST(AppTrayIcon, ComesAndGoes) {
  const MessageWindow window;
  TrayIcon icon(window.get(), WM_APP);
  icon.SetTip(std::u16string(300, u'晨'));
  icon.SetIconFile("C:\\no such icon.ico");
  EXPECT_TRUE(icon.Show());
  EXPECT_TRUE(icon.IsShown());
  icon.ShowBalloon(u"Melorin", std::u16string(300, u'x'));
  // A desktop that started anew.
  EXPECT_TRUE(icon.OnTaskbarCreated(RegisterWindowMessageW(L"TaskbarCreated")));
  EXPECT_TRUE(icon.IsShown());
  EXPECT_FALSE(icon.OnTaskbarCreated(WM_APP));
  icon.Hide();
  EXPECT_FALSE(icon.IsShown());
}

}  // namespace
}  // namespace melorin
