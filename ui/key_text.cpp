// SPDX-License-Identifier: MIT
//
// What keys are called. Keys that have an English word on them are called by it, as on Chinese keyboards.
#include <string>

#include "ui/command_table.h"

namespace melorin {
namespace {

struct KeyName {
  uint16_t key;
  const char16_t* name;
};
/// By virtual key code; codes of punctuation are those of the US layout, which Chinese keyboards have.
constexpr KeyName kNames[] = {
    {0x08, u"Backspace"},
    {0x09, u"Tab"},
    {0x0C, u"Clear"},
    {0x0D, u"Enter"},
    {0x10, u"Shift"},
    {0x11, u"Ctrl"},
    {0x12, u"Alt"},
    {0x13, u"Pause"},
    {0x14, u"CapsLock"},
    {0x1B, u"Esc"},
    {0x20, u"空格"},
    {0x21, u"PageUp"},
    {0x22, u"PageDown"},
    {0x23, u"End"},
    {0x24, u"Home"},
    {0x25, u"←"},
    {0x26, u"↑"},
    {0x27, u"→"},
    {0x28, u"↓"},
    {0x2C, u"PrintScreen"},
    {0x2D, u"Insert"},
    {0x2E, u"Delete"},
    {0x5B, u"左 Win"},
    {0x5C, u"右 Win"},
    {0x5D, u"菜单键"},
    {0x5F, u"睡眠"},
    {0x6A, u"小键盘 *"},
    {0x6B, u"小键盘 +"},
    {0x6D, u"小键盘 -"},
    {0x6E, u"小键盘 ."},
    {0x6F, u"小键盘 /"},
    {0x90, u"NumLock"},
    {0x91, u"ScrollLock"},
    {0xA6, u"浏览器后退"},
    {0xA7, u"浏览器前进"},
    {0xA8, u"浏览器刷新"},
    {0xA9, u"浏览器停止"},
    {0xAA, u"浏览器搜索"},
    {0xAB, u"浏览器收藏"},
    {0xAC, u"浏览器主页"},
    {0xAD, u"媒体静音"},
    {0xAE, u"媒体音量减小"},
    {0xAF, u"媒体音量增大"},
    {0xB0, u"媒体下一首"},
    {0xB1, u"媒体上一首"},
    {0xB2, u"媒体停止"},
    {0xB3, u"媒体播放/暂停"},
    {0xB4, u"启动邮件"},
    {0xB5, u"启动媒体"},
    {0xB6, u"启动程序 1"},
    {0xB7, u"启动程序 2"},
    {0xBA, u";"},
    {0xBB, u"="},
    {0xBC, u","},
    {0xBD, u"-"},
    {0xBE, u"."},
    {0xBF, u"/"},
    {0xC0, u"`"},
    {0xDB, u"["},
    {0xDC, u"\\"},
    {0xDD, u"]"},
    {0xDE, u"'"},
};

std::u16string Digits(unsigned number) {
  const std::string digits = std::to_string(number);
  return {digits.begin(), digits.end()};
}

std::u16string NameOf(uint16_t key) {
  if ((key >= u'0' && key <= u'9') || (key >= u'A' && key <= u'Z')) return {static_cast<char16_t>(key)};
  constexpr uint16_t kNumpad0 = 0x60;
  constexpr uint16_t kNumpad9 = 0x69;
  constexpr uint16_t kF1 = 0x70;
  constexpr uint16_t kF24 = 0x87;
  if (key >= kNumpad0 && key <= kNumpad9) return u"小键盘 " + Digits(key - kNumpad0);
  if (key >= kF1 && key <= kF24) return u"F" + Digits(key - kF1 + 1u);
  for (const KeyName& known : kNames)
    if (known.key == key) return known.name;
  return u"键 " + Digits(key);
}

}  // namespace

std::u16string KeyText(const KeyStroke& key) {
  if (key.key == 0) return {};
  std::u16string text;
  if (key.modifiers & 2) text += u"Ctrl+";
  if (key.modifiers & 1) text += u"Alt+";
  if (key.modifiers & 4) text += u"Shift+";
  if (key.modifiers & 8) text += u"Win+";
  return text + NameOf(key.key);
}

}  // namespace melorin
