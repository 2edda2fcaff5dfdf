// SPDX-License-Identifier: MIT
#include "app/options/bound_controls.h"

#include <windows.h>

#include <commctrl.h>

#include <algorithm>
#include <cstdlib>
#include <utility>

#include "app/gdi.h"
#include "platform/com.h"
#include "platform/text.h"

namespace melorin {
namespace {

std::u16string Digits(int32_t number) {
  const std::string digits = std::to_string(number);
  return {digits.begin(), digits.end()};
}

/// False for an empty text, and one that is no number or a very large one.
bool ReadNumber(const std::u16string& text, int32_t* out) {
  constexpr size_t kMostDigits = 9;
  size_t at = text.starts_with(u'-') ? 1 : 0;
  if (at == text.size() || text.size() - at > kMostDigits) return false;
  int32_t number = 0;
  for (; at < text.size(); ++at) {
    if (text[at] < u'0' || text[at] > u'9') return false;
    number = number * 10 + (text[at] - u'0');
  }
  *out = text.starts_with(u'-') ? -number : number;
  return true;
}

}  // namespace

std::u16string WindowText(HWND window) {
  std::u16string text(static_cast<size_t>(GetWindowTextLengthW(window)) + 1, u'\0');
  const int length =
      GetWindowTextW(window, reinterpret_cast<wchar_t*>(text.data()), static_cast<int>(text.size()));
  text.resize(static_cast<size_t>(std::max(length, 0)));
  return text;
}

void ShowText(HWND window, const std::u16string& text) {
  if (WindowText(window) != text) SetWindowTextW(window, AsWide(text.c_str()));
}

// ---- check boxes

void BoundCheckBox::Show(Settings& values) {
  const int32_t value = Field(values);
  const bool on = bit_ == 0 ? value != 0 : (value & bit_) != 0;
  SendMessageW(box_, BM_SETCHECK, on ? BST_CHECKED : BST_UNCHECKED, 0);
}

bool BoundCheckBox::OnCommand(HWND from, UINT code, Settings& values) {
  if (from != box_ || code != BN_CLICKED) return false;
  const bool on = SendMessageW(box_, BM_GETCHECK, 0, 0) == BST_CHECKED;
  if (bit_ == 0) return Set(values, on ? 1 : 0);
  return Set(values, on ? Field(values) | bit_ : Field(values) & ~bit_);
}

void BoundCheckBox::Reset(Settings& values, Settings& defaults) {
  if (bit_ == 0) return BoundValue::Reset(values, defaults);
  Field(values) = (Field(values) & ~bit_) | (Field(defaults) & bit_);
}

// ---- numbers

BoundNumber::BoundNumber(HWND edit, HWND arrows, Binding<int32_t> binding, const NumberRange& range)
    : BoundValue(std::move(binding)), edit_(edit), arrows_(arrows), range_(range) {
  SendMessageW(arrows_, UDM_SETRANGE32, static_cast<WPARAM>(range_.least), range_.most);
  UDACCEL steps[] = {{0, static_cast<UINT>(range_.step)}, {2, static_cast<UINT>(range_.step) * 5}};
  SendMessageW(arrows_, UDM_SETACCEL, std::size(steps), reinterpret_cast<LPARAM>(steps));
}

void BoundNumber::Show(Settings& values) {
  // A file may hold any number; it is shown as it is and counts until the user writes another.
  ShowText(edit_, Digits(Field(values)));
}

bool BoundNumber::OnCommand(HWND from, UINT code, Settings& values) {
  if (from != edit_) return false;
  int32_t number = 0;
  if (code == EN_CHANGE && ReadNumber(WindowText(edit_), &number) && number >= range_.least &&
      number <= range_.most)
    return Set(values, number);
  if (code == EN_KILLFOCUS) Show(values);
  return false;
}

// ---- choices

BoundChoice::BoundChoice(HWND combo, Binding<int32_t> binding, std::vector<ChoiceItem> items)
    : BoundValue(std::move(binding)), combo_(combo), items_(std::move(items)), own_items_(items_.size()) {
  for (const ChoiceItem& item : items_)
    SendMessageW(combo_, CB_ADDSTRING, 0, reinterpret_cast<LPARAM>(item.text.c_str()));
}

void BoundChoice::Show(Settings& values) {
  const int32_t value = Field(values);
  auto found =
      std::find_if(items_.begin(), items_.end(), [&](const ChoiceItem& item) { return item.value == value; });
  if (found == items_.end()) {
    if (items_.size() > own_items_) {
      items_.pop_back();
      SendMessageW(combo_, CB_DELETESTRING, own_items_, 0);
    }
    items_.push_back({Digits(value), value});
    SendMessageW(combo_, CB_ADDSTRING, 0, reinterpret_cast<LPARAM>(items_.back().text.c_str()));
    found = items_.end() - 1;
  }
  SendMessageW(combo_, CB_SETCURSEL, static_cast<WPARAM>(found - items_.begin()), 0);
}

bool BoundChoice::OnCommand(HWND from, UINT code, Settings& values) {
  if (from != combo_ || code != CBN_SELCHANGE) return false;
  const LRESULT chosen = SendMessageW(combo_, CB_GETCURSEL, 0, 0);
  if (chosen < 0 || static_cast<size_t>(chosen) >= items_.size()) return false;
  return Set(values, items_[static_cast<size_t>(chosen)].value);
}

// ---- texts

BoundText::BoundText(HWND edit, HWND button, Binding<std::string> binding, Browse browse)
    : BoundValue(std::move(binding)), edit_(edit), button_(button), browse_(std::move(browse)) {}

void BoundText::Show(Settings& values) {
  ShowText(edit_, Utf16FromGbk(Field(values)));
}

bool BoundText::OnCommand(HWND from, UINT code, Settings& values) {
  if (from == edit_ && code == EN_CHANGE) return Set(values, GbkFromUtf16(WindowText(edit_)));
  if (!button_ || from != button_ || code != BN_CLICKED) return false;
  const std::optional<std::string> path = browse_(Field(values));
  if (!path || !Set(values, *path)) return false;
  Show(values);
  return true;
}

// ---- colours

BoundColour::BoundColour(HWND button, Binding<SettingsColour> binding, Choosers& choosers)
    : BoundValue(std::move(binding)), button_(button), choosers_(choosers) {}

void BoundColour::Show(Settings& values) {
  shown_ = Field(values);
  InvalidateRect(button_, nullptr, FALSE);
}

bool BoundColour::OnCommand(HWND from, UINT code, Settings& values) {
  if (from != button_ || code != BN_CLICKED) return false;
  const std::optional<SettingsColour> colour = choosers_.Colour(button_, Field(values));
  if (!colour || !Set(values, *colour)) return false;
  Show(values);
  return true;
}

void BoundColour::OnDraw(const DRAWITEMSTRUCT& draw) {
  RECT area = draw.rcItem;
  const bool disabled = (draw.itemState & ODS_DISABLED) != 0;
  const bool focused = (draw.itemState & ODS_FOCUS) != 0;
  FrameRect(draw.hDC, &area, GetSysColorBrush(focused ? COLOR_HIGHLIGHT : COLOR_BTNSHADOW));
  InflateRect(&area, -1, -1);
  FrameRect(draw.hDC, &area, GetSysColorBrush(focused ? COLOR_HIGHLIGHT : COLOR_WINDOW));
  InflateRect(&area, -1, -1);
  const GdiObject<HBRUSH> brush(CreateSolidBrush(shown_.value & 0x00FFFFFF));
  FillRect(draw.hDC, &area, disabled ? GetSysColorBrush(COLOR_BTNFACE) : brush.get());
}

// ---- fonts

BoundFont::BoundFont(HWND name, HWND button, Binding<FontRecord> binding, Choosers& choosers)
    : BoundValue(std::move(binding)), name_(name), button_(button), choosers_(choosers) {}

void BoundFont::Show(Settings& values) {
  ShowText(name_, DescribeFont(Field(values)));
}

bool BoundFont::OnCommand(HWND from, UINT code, Settings& values) {
  if (from != button_ || code != BN_CLICKED) return false;
  const std::optional<FontRecord> font = choosers_.Font(button_, Field(values));
  if (!font || !Set(values, *font)) return false;
  Show(values);
  return true;
}

std::u16string DescribeFont(const FontRecord& font) {
  constexpr int kPointsPerInch = 72;
  constexpr int kBold = 600;
  std::u16string text = Utf16FromGbk(font.FaceGbk());
  text += u", " + Digits(MulDiv(std::abs(font.height), kPointsPerInch, USER_DEFAULT_SCREEN_DPI)) + u" 磅";
  if (font.weight >= kBold) text += u", 粗体";
  if (font.italic) text += u", 斜体";
  return text;
}

}  // namespace melorin
