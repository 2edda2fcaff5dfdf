// SPDX-License-Identifier: MIT
#include "app/options/page_window.h"

#include <windows.h>

#include <commctrl.h>

#include <algorithm>
#include <set>
#include <utility>

#include "platform/com.h"

namespace melorin {
namespace {

// Dialog units.
constexpr int kBoxHeight = 11;
constexpr int kFieldHeight = 12;
constexpr int kButtonHeight = 13;
constexpr int kLineHeight = 9;
constexpr int kNumberWidth = 42;
constexpr int kColourWidth = 44;
constexpr int kLeastButton = 50;
constexpr int kButtonPadding = 12;
constexpr int kComboPadding = 20;
constexpr int kIndent = 12;
constexpr int kDropHeight = 120;

constexpr COLORREF kWarningColour = RGB(192, 0, 0);

LayoutSpacing SpacingOf(const DialogFont& font) {
  LayoutSpacing spacing;
  spacing.group_top = font.Y(14);
  spacing.group_side = font.X(8);
  spacing.group_gap = font.Y(6);
  spacing.row_gap = font.Y(4);
  spacing.piece_gap = font.X(4);
  spacing.column_gap = font.X(10);
  return spacing;
}

/// An empty dialog: its controls are made when it is there.
struct EmptyTemplate {
  DLGTEMPLATE dialog;
  WORD menu = 0;
  WORD window_class = 0;
  WORD title = 0;
};

bool IsCombo(HWND window) {
  wchar_t name[16] = {};
  GetClassNameW(window, name, static_cast<int>(std::size(name)));
  return lstrcmpiW(name, WC_COMBOBOXW) == 0;
}

void MoveTo(HWND window, const LayoutRect& place, int more_height = 0) {
  SetWindowPos(window, nullptr, place.x, place.y, place.width, place.height + more_height,
               SWP_NOZORDER | SWP_NOACTIVATE);
}

}  // namespace

PageItem& PageItem::Indent() {
  layout_.indent = indent_;
  return *this;
}
PageItem& PageItem::WholeRow() {
  layout_.whole_row = true;
  return *this;
}
PageItem& PageItem::EnabledWhen(Rule rule, size_t first_piece) {
  rule_ = std::move(rule);
  ruled_from_ = first_piece;
  return *this;
}

PageWindow::PageWindow(HWND parent, int width, const PageContext& context, std::unique_ptr<OptionsPage> page)
    : context_(context), page_(std::move(page)), width_(width) {
  EmptyTemplate empty{};
  empty.dialog.style = WS_CHILD | DS_CONTROL;
  empty.dialog.dwExtendedStyle = WS_EX_CONTROLPARENT;
  CreateDialogIndirectParamW(GetModuleHandleW(nullptr), &empty.dialog, parent, Procedure,
                             reinterpret_cast<LPARAM>(this));
  if (!window_) return;
  SendMessageW(window_, WM_SETFONT, reinterpret_cast<WPARAM>(Font().get()), FALSE);
  page_->Build(*this);
  Place();
  Refresh();
}

PageWindow::~PageWindow() {
  if (!window_) return;
  // Controls that go notify their leaving; nobody listens any more.
  SetWindowLongPtrW(window_, DWLP_USER, 0);
  DestroyWindow(window_);
}

void PageWindow::Show(bool shown) {
  ShowWindow(window_, shown ? SW_SHOW : SW_HIDE);
  if (!shown) return;
  Refresh();
  if (std::exchange(was_shown_, true)) return;
  UpdateWindow(window_);
  page_->OnFirstShown();
}

void PageWindow::Refresh() {
  ShowValues();
  page_->OnRefresh();
  ApplyRules();
}

void PageWindow::ShowValues() {
  const bool before = std::exchange(showing_, true);
  ForEachBound([this](BoundControl& bound) { bound.Show(Values()); });
  showing_ = before;
}

void PageWindow::Reset() {
  std::set<SettingsPart> parts;
  ForEachBound([&](BoundControl& bound) {
    bound.Reset(Values(), Defaults());
    parts.insert(bound.Part());
  });
  page_->OnReset();
  for (const SettingsPart part : parts)
    Changed(part);
  Refresh();
}

void PageWindow::Changed(SettingsPart part) {
  page_->OnChanged(part);
  Host().SettingsChanged(part);
  ApplyRules();
}

// ---- making controls

void PageWindow::Group(std::u16string_view title, int columns) {
  const std::u16string text(title);
  const HWND frame = CreateWindowExW(0, WC_BUTTONW, AsWide(text.c_str()), WS_CHILD | WS_VISIBLE | BS_GROUPBOX,
                                     0, 0, 0, 0, window_, nullptr, GetModuleHandleW(nullptr), nullptr);
  SendMessageW(frame, WM_SETFONT, reinterpret_cast<WPARAM>(Font().get()), FALSE);
  groups_.push_back({frame, {}, {}});
  groups_.back().layout.columns = columns;
}

void PageWindow::Plain(int columns) {
  groups_.push_back({nullptr, {}, {}});
  groups_.back().layout.titled = false;
  groups_.back().layout.columns = columns;
}

int PageWindow::RowWidth() const {
  const bool framed = !groups_.empty() && groups_.back().layout.titled;
  return width_ - (framed ? 2 * SpacingOf(Font()).group_side : 0);
}

std::u16string PageWindow::WithKey(std::u16string_view text) {
  if (std::exchange(next_without_key_, false)) return std::u16string(text);
  return keys_.Give(text);
}

PageItem& PageWindow::AddItem(std::u16string_view label) {
  if (groups_.empty()) Plain();
  auto& items = groups_.back().items;
  items.push_back(std::make_unique<PageItem>());
  PageItem& item = *items.back();
  item.indent_ = Font().X(kIndent);
  if (!label.empty()) {
    const std::u16string text = WithKey(label);
    item.label_ =
        CreateWindowExW(0, WC_STATICW, AsWide(text.c_str()), WS_CHILD | WS_VISIBLE | SS_LEFT | SS_CENTERIMAGE,
                        0, 0, 0, 0, window_, nullptr, GetModuleHandleW(nullptr), nullptr);
    SendMessageW(item.label_, WM_SETFONT, reinterpret_cast<WPARAM>(Font().get()), FALSE);
    item.layout_.label_width = Font().TextWidth(text) + 1;
  }
  return item;
}

HWND PageWindow::AddPiece(PageItem& item, const wchar_t* window_class, std::u16string_view text, DWORD style,
                          int width, int height, DWORD ex_style) {
  const std::u16string title(text);
  const auto id = reinterpret_cast<HMENU>(static_cast<INT_PTR>(next_id_++));
  const HWND piece =
      CreateWindowExW(ex_style, window_class, AsWide(title.c_str()), WS_CHILD | WS_VISIBLE | style, 0, 0, 0,
                      0, window_, id, GetModuleHandleW(nullptr), nullptr);
  SendMessageW(piece, WM_SETFONT, reinterpret_cast<WPARAM>(Font().get()), FALSE);
  item.pieces_.push_back(piece);
  item.layout_.pieces.push_back({width, height});
  return piece;
}

HWND PageWindow::AddButton(PageItem& item, std::u16string_view text) {
  const std::u16string named = WithKey(text);
  const int width = std::max(Font().X(kLeastButton), Font().TextWidth(named) + Font().X(kButtonPadding));
  return AddPiece(item, WC_BUTTONW, named, WS_TABSTOP | BS_PUSHBUTTON, width, Font().Y(kButtonHeight));
}

PageItem& PageWindow::AddBox(std::u16string_view text, Binding<int32_t> binding, int32_t bit) {
  PageItem& item = AddItem({});
  const HWND box =
      AddPiece(item, WC_BUTTONW, WithKey(text), WS_TABSTOP | BS_AUTOCHECKBOX, 0, Font().Y(kBoxHeight));
  item.bound_.push_back(std::make_unique<BoundCheckBox>(box, std::move(binding), bit));
  return item;
}

PageItem& PageWindow::CheckBox(std::u16string_view text, Binding<int32_t> binding) {
  return AddBox(text, std::move(binding), 0);
}
PageItem& PageWindow::BitBox(std::u16string_view text, Binding<int32_t> binding, int32_t bit) {
  return AddBox(text, std::move(binding), bit);
}

PageItem& PageWindow::Number(std::u16string_view label, Binding<int32_t> binding, const NumberRange& range,
                             std::u16string_view unit) {
  PageItem& item = AddItem(label);
  const DWORD digits = range.least < 0 ? 0 : ES_NUMBER;
  const HWND edit = AddPiece(item, WC_EDITW, {}, WS_TABSTOP | ES_AUTOHSCROLL | ES_RIGHT | digits,
                             Font().X(kNumberWidth), Font().Y(kFieldHeight), WS_EX_CLIENTEDGE);
  const HWND arrows = CreateWindowExW(
      0, UPDOWN_CLASSW, nullptr,
      WS_CHILD | WS_VISIBLE | UDS_ALIGNRIGHT | UDS_SETBUDDYINT | UDS_ARROWKEYS | UDS_NOTHOUSANDS, 0, 0, 0, 0,
      window_, nullptr, GetModuleHandleW(nullptr), nullptr);
  // Placed with the edit field once that has its place.
  SetPropW(edit, L"MelorinArrows", arrows);
  if (!unit.empty())
    AddPiece(item, WC_STATICW, unit, SS_LEFT | SS_CENTERIMAGE | SS_NOPREFIX, Font().TextWidth(unit) + 1,
             Font().Y(kFieldHeight));
  item.bound_.push_back(std::make_unique<BoundNumber>(edit, arrows, std::move(binding), range));
  return item;
}

PageItem& PageWindow::Choice(std::u16string_view label, Binding<int32_t> binding,
                             std::vector<ChoiceItem> items) {
  PageItem& item = AddItem(label);
  int width = Font().X(kNumberWidth);
  for (const ChoiceItem& choice : items)
    width = std::max(width, Font().TextWidth(choice.text) + Font().X(kComboPadding));
  const HWND combo = AddPiece(item, WC_COMBOBOXW, {}, WS_TABSTOP | WS_VSCROLL | CBS_DROPDOWNLIST, width,
                              Font().Y(kFieldHeight));
  item.bound_.push_back(std::make_unique<BoundChoice>(combo, std::move(binding), std::move(items)));
  return item;
}

PageItem& PageWindow::TextField(std::u16string_view label, Binding<std::string> binding) {
  PageItem& item = AddItem(label);
  const HWND edit =
      AddPiece(item, WC_EDITW, {}, WS_TABSTOP | ES_AUTOHSCROLL, 0, Font().Y(kFieldHeight), WS_EX_CLIENTEDGE);
  item.bound_.push_back(std::make_unique<BoundText>(edit, nullptr, std::move(binding), nullptr));
  return item;
}

PageItem& PageWindow::CheckedText(std::u16string_view text, Binding<int32_t> flag,
                                  Binding<std::string> binding) {
  PageItem& item = AddItem({});
  const std::u16string named = WithKey(text);
  const int box_width = Font().TextWidth(named) + GetSystemMetrics(SM_CXMENUCHECK) + Font().X(6);
  const HWND box =
      AddPiece(item, WC_BUTTONW, named, WS_TABSTOP | BS_AUTOCHECKBOX, box_width, Font().Y(kBoxHeight));
  const HWND edit =
      AddPiece(item, WC_EDITW, {}, WS_TABSTOP | ES_AUTOHSCROLL, 0, Font().Y(kFieldHeight), WS_EX_CLIENTEDGE);
  item.EnabledWhen([field = flag.field](const Settings& s) { return field(const_cast<Settings&>(s)) != 0; },
                   1);
  item.bound_.push_back(std::make_unique<BoundCheckBox>(box, std::move(flag), 0));
  item.bound_.push_back(std::make_unique<BoundText>(edit, nullptr, std::move(binding), nullptr));
  return item;
}

PageItem& PageWindow::AddPath(std::u16string_view label, Binding<std::string> binding,
                              BoundText::Browse browse) {
  PageItem& item = AddItem(label);
  const HWND edit =
      AddPiece(item, WC_EDITW, {}, WS_TABSTOP | ES_AUTOHSCROLL, 0, Font().Y(kFieldHeight), WS_EX_CLIENTEDGE);
  const HWND button = AddButton(item, u"浏览...");
  item.bound_.push_back(std::make_unique<BoundText>(edit, button, std::move(binding), std::move(browse)));
  return item;
}

PageItem& PageWindow::Folder(std::u16string_view label, Binding<std::string> binding) {
  return AddPath(label, std::move(binding),
                 [this](const std::string& now) { return Chooser().Folder(window_, now); });
}

PageItem& PageWindow::File(std::u16string_view label, Binding<std::string> binding, FileQuestion question) {
  return AddPath(label, std::move(binding), [this, question](const std::string& now) {
    FileQuestion asked = question;
    asked.now_gbk = now;
    return Chooser().File(window_, asked);
  });
}

PageItem& PageWindow::Colour(std::u16string_view label, Binding<SettingsColour> binding) {
  PageItem& item = AddItem(label);
  const HWND button = AddPiece(item, WC_BUTTONW, label, WS_TABSTOP | BS_OWNERDRAW, Font().X(kColourWidth),
                               Font().Y(kFieldHeight));
  item.bound_.push_back(std::make_unique<BoundColour>(button, std::move(binding), Chooser()));
  return item;
}

PageItem& PageWindow::FontOf(std::u16string_view label, Binding<FontRecord> binding) {
  PageItem& item = AddItem(label);
  const HWND name = AddPiece(item, WC_STATICW, {}, SS_LEFT | SS_CENTERIMAGE | SS_NOPREFIX | SS_ENDELLIPSIS, 0,
                             Font().Y(kFieldHeight), WS_EX_STATICEDGE);
  const HWND button = AddButton(item, u"更改...");
  item.bound_.push_back(std::make_unique<BoundFont>(name, button, std::move(binding), Chooser()));
  return item;
}

PageItem& PageWindow::Note(std::u16string_view text) {
  PageItem& item = AddItem({});
  AddPiece(item, WC_STATICW, text, SS_LEFT | SS_NOPREFIX, 0, Font().TextHeight(text, RowWidth()));
  return item.WholeRow();
}

PageItem& PageWindow::Warning(int lines) {
  PageItem& item = AddItem({});
  warnings_.push_back(
      AddPiece(item, WC_STATICW, {}, SS_LEFT | SS_NOPREFIX, 0, Font().Y(kLineHeight * lines)));
  return item.WholeRow();
}

PageItem& PageWindow::Buttons(std::vector<ButtonSpec> buttons) {
  PageItem& item = AddItem({});
  for (ButtonSpec& spec : buttons)
    AddButtonTo(item, spec.text, std::move(spec.pressed));
  return item;
}

HWND PageWindow::AddButtonTo(PageItem& item, std::u16string_view text, std::function<void()> pressed) {
  const HWND button = AddButton(item, text);
  const auto on_command = [pressed = std::move(pressed)](UINT code) {
    if (code == BN_CLICKED) pressed();
  };
  handlers_.push_back({button, on_command, nullptr});
  return button;
}

PageItem& PageWindow::Custom(std::u16string_view label, const CustomSpec& spec) {
  PageItem& item = AddItem(label);
  AddCustomTo(item, spec);
  return item;
}

HWND PageWindow::AddCustomTo(PageItem& item, const CustomSpec& spec) {
  const HWND window = AddPiece(item, spec.window_class, spec.text, spec.style, Font().X(spec.width),
                               Font().Y(spec.height), spec.ex_style);
  handlers_.push_back({window, spec.on_command, spec.on_notify});
  return window;
}

// ---- placing

void PageWindow::Place() {
  std::vector<LayoutGroup> layout;
  for (GroupOfItems& group : groups_) {
    group.layout.items.clear();
    for (const auto& item : group.items)
      group.layout.items.push_back(item->layout_);
    layout.push_back(group.layout);
  }
  const PlacedPage placed = PlacePage(layout, width_, SpacingOf(Font()));
  for (size_t g = 0; g < groups_.size(); ++g) {
    if (groups_[g].frame) MoveTo(groups_[g].frame, placed.groups[g].frame);
    for (size_t i = 0; i < groups_[g].items.size(); ++i) {
      const PageItem& item = *groups_[g].items[i];
      const PlacedItem& place = placed.groups[g].items[i];
      if (item.label_) MoveTo(item.label_, place.label);
      for (size_t p = 0; p < item.pieces_.size(); ++p) {
        const HWND piece = item.pieces_[p];
        MoveTo(piece, place.pieces[p], IsCombo(piece) ? Font().Y(kDropHeight) : 0);
        if (const HANDLE arrows = RemovePropW(piece, L"MelorinArrows"))
          SendMessageW(static_cast<HWND>(arrows), UDM_SETBUDDY, reinterpret_cast<WPARAM>(piece), 0);
      }
    }
  }
  height_ = placed.height;
}

void PageWindow::ApplyRules() {
  for (const GroupOfItems& group : groups_)
    for (const auto& item : group.items) {
      if (!item->rule_) continue;
      const BOOL enabled = item->rule_(Values()) ? TRUE : FALSE;
      if (item->label_ && item->ruled_from_ == 0) EnableWindow(item->label_, enabled);
      for (size_t p = item->ruled_from_; p < item->pieces_.size(); ++p)
        EnableWindow(item->pieces_[p], enabled);
    }
}

// ---- messages

INT_PTR CALLBACK PageWindow::Procedure(HWND window, UINT message, WPARAM wparam, LPARAM lparam) noexcept {
  if (message == WM_INITDIALOG) {
    auto* self = reinterpret_cast<PageWindow*>(lparam);
    self->window_ = window;
    SetWindowLongPtrW(window, DWLP_USER, lparam);
    return FALSE;
  }
  auto* self = reinterpret_cast<PageWindow*>(GetWindowLongPtrW(window, DWLP_USER));
  if (!self) return FALSE;
  try {
    return self->Handle(message, wparam, lparam);
  } catch (...) {
    // Memory has run out; the message is lost, the page lives on.
    return FALSE;
  }
}

INT_PTR PageWindow::Handle(UINT message, WPARAM wparam, LPARAM lparam) {
  switch (message) {
    case WM_COMMAND:
      OnCommand(reinterpret_cast<HWND>(lparam), HIWORD(wparam));
      return TRUE;
    case WM_NOTIFY:
      SetWindowLongPtrW(window_, DWLP_MSGRESULT, OnNotify(*reinterpret_cast<NMHDR*>(lparam)));
      return TRUE;
    case WM_DRAWITEM: {
      const auto& draw = *reinterpret_cast<const DRAWITEMSTRUCT*>(lparam);
      PageItem* item = FindItem(draw.hwndItem);
      if (!item) return FALSE;
      for (const auto& bound : item->bound_)
        bound->OnDraw(draw);
      return TRUE;
    }
    case WM_CTLCOLORSTATIC: {
      const auto control = reinterpret_cast<HWND>(lparam);
      if (std::find(warnings_.begin(), warnings_.end(), control) == warnings_.end()) return FALSE;
      const auto dc = reinterpret_cast<HDC>(wparam);
      SetTextColor(dc, kWarningColour);
      SetBkMode(dc, TRANSPARENT);
      return reinterpret_cast<INT_PTR>(GetSysColorBrush(COLOR_BTNFACE));
    }
    case WM_NCDESTROY:
      window_ = nullptr;
      return FALSE;
    default:
      return FALSE;
  }
}

void PageWindow::OnCommand(HWND from, UINT code) {
  if (showing_ || !from) return;
  for (const Handler& handler : handlers_)
    if (handler.window == from && handler.on_command) return handler.on_command(code);
  PageItem* item = FindItem(from);
  if (!item) return;
  for (const auto& bound : item->bound_) {
    if (bound->OnCommand(from, code, Values())) Changed(bound->Part());
  }
}

LRESULT PageWindow::OnNotify(NMHDR& header) {
  for (const Handler& handler : handlers_)
    if (handler.window == header.hwndFrom && handler.on_notify) return handler.on_notify(header);
  return 0;
}

PageItem* PageWindow::FindItem(HWND window) {
  for (const GroupOfItems& group : groups_)
    for (const auto& item : group.items)
      if (std::find(item->pieces_.begin(), item->pieces_.end(), window) != item->pieces_.end())
        return item.get();
  return nullptr;
}

template <class Visitor>
void PageWindow::ForEachBound(Visitor&& visit) {
  for (const GroupOfItems& group : groups_)
    for (const auto& item : group.items)
      for (const auto& bound : item->bound_)
        visit(*bound);
}

}  // namespace melorin
