// SPDX-License-Identifier: MIT
//
// 热键: the keys of commands, in the player's windows and everywhere.
#include <windows.h>

#include <commctrl.h>

#include <algorithm>
#include <utility>

#include "app/options/hot_key_edit.h"
#include "app/options/key_field.h"
#include "app/options/page_window.h"
#include "platform/com.h"

namespace melorin {
namespace {

constexpr COLORREF kProblemColour = RGB(192, 0, 0);

class HotKeyPage final : public OptionsPage {
 public:
  ~HotKeyPage() override {
    if (page_) Suspend(false);
  }

  void Build(PageWindow& page) override {
    page_ = &page;
    RegisterKeyField();
    for (const Command& command : Commands())
      if (command.may_have_key) commands_.push_back(&command);

    page.Plain();
    page.CheckBox(u"启用全局热键", kHotKeyPart(&HotKeySettings::global));
    PageWindow::CustomSpec list{WC_LISTVIEWW};
    list.style = WS_TABSTOP | LVS_REPORT | LVS_SINGLESEL | LVS_SHOWSELALWAYS | LVS_NOSORTHEADER;
    list.ex_style = WS_EX_CLIENTEDGE;
    list.height = 158;
    list.on_notify = [this](NMHDR& header) { return OnListNotify(header); };
    list_ = page.Custom({}, list).Window();
    MakeColumns();

    page.Plain(1);
    for (const bool global : {false, true})
      MakeField(global);
    warning_ = page.Warning(3).Window();
    FillList();
  }

  void OnRefresh() override {
    refused_ = page_->Host().RefusedHotKeys();
    ShowKeys();
    ShowSelected();
  }

  void OnReset() override {
    page_->Values().hot_key.key_map = page_->Defaults().hot_key.key_map;
    page_->Changed(SettingsPart::kHotKey);
  }

 private:
  std::vector<KeyBinding>& Map() const { return page_->Values().hot_key.key_map; }

  void MakeColumns() {
    constexpr DWORD kExtended = LVS_EX_FULLROWSELECT | LVS_EX_DOUBLEBUFFER;
    SendMessageW(list_, LVM_SETEXTENDEDLISTVIEWSTYLE, kExtended, kExtended);
    struct {
      const wchar_t* title;
      int width;
    } columns[] = {{L"命令", 112}, {L"窗口热键", 88}, {L"全局热键", 92}};
    for (size_t i = 0; i < std::size(columns); ++i) {
      LVCOLUMNW column{};
      column.mask = LVCF_TEXT | LVCF_WIDTH;
      column.cx = page_->Font().X(columns[i].width);
      column.pszText = const_cast<wchar_t*>(columns[i].title);
      SendMessageW(list_, LVM_INSERTCOLUMNW, i, reinterpret_cast<LPARAM>(&column));
    }
  }

  void MakeField(bool global) {
    PageWindow::CustomSpec field{kKeyFieldClass};
    field.style = WS_TABSTOP;
    field.ex_style = WS_EX_CLIENTEDGE;
    field.on_command = [this, global](UINT code) { OnField(global, code); };
    PageItem& item = page_->Custom(global ? u"全局热键:" : u"窗口热键:", field);
    fields_[global] = item.Window();
    page_->AddButtonTo(item, u"清除", [this, global] { SetKey(global, {}); });
  }

  void FillList() {
    SendMessageW(list_, WM_SETREDRAW, FALSE, 0);
    for (size_t i = 0; i < commands_.size(); ++i) {
      std::u16string text = PlainCommandText(commands_[i]->text);
      LVITEMW item{};
      item.mask = LVIF_TEXT;
      item.iItem = static_cast<int>(i);
      item.pszText = reinterpret_cast<wchar_t*>(text.data());
      SendMessageW(list_, LVM_INSERTITEMW, 0, reinterpret_cast<LPARAM>(&item));
    }
    LVITEMW selected{};
    selected.stateMask = selected.state = LVIS_SELECTED | LVIS_FOCUSED;
    SendMessageW(list_, LVM_SETITEMSTATE, 0, reinterpret_cast<LPARAM>(&selected));
    SendMessageW(list_, WM_SETREDRAW, TRUE, 0);
  }

  void ShowKeys() {
    for (size_t i = 0; i < commands_.size(); ++i) {
      const KeyBinding binding = FindBinding(Map(), commands_[i]->id);
      SetCell(i, 1, KeyText(binding.application));
      SetCell(i, 2, KeyText(binding.global));
    }
    conflicts_ = FindKeyConflicts(Map());
    InvalidateRect(list_, nullptr, FALSE);
  }

  void SetCell(size_t row, int column, std::u16string text) const {
    LVITEMW item{};
    item.iSubItem = column;
    item.pszText = reinterpret_cast<wchar_t*>(text.data());
    SendMessageW(list_, LVM_SETITEMTEXTW, row, reinterpret_cast<LPARAM>(&item));
  }

  CommandId Selected() const {
    const LRESULT row = SendMessageW(list_, LVM_GETNEXTITEM, static_cast<WPARAM>(-1), LVNI_SELECTED);
    return row < 0 || static_cast<size_t>(row) >= commands_.size() ? CommandId::kNone
                                                                   : commands_[static_cast<size_t>(row)]->id;
  }

  void ShowSelected() {
    const CommandId command = Selected();
    const KeyBinding binding = FindBinding(Map(), command);
    ShowKeyInField(fields_[0], binding.application);
    ShowKeyInField(fields_[1], binding.global);
    for (const HWND field : fields_)
      EnableWindow(field, command != CommandId::kNone);
    std::u16string problems;
    if (command != CommandId::kNone) problems = HotKeyProblems(Map(), refused_, command);
    if (problems.empty()) problems = HotKeyProblems(Map(), refused_, CommandId::kNone);
    ShowText(warning_, problems);
  }

  bool HasProblem(CommandId command) const {
    if (std::find(refused_.begin(), refused_.end(), command) != refused_.end()) return true;
    return std::any_of(conflicts_.begin(), conflicts_.end(), [&](const KeyConflict& conflict) {
      return conflict.first == command || conflict.second == command;
    });
  }

  LRESULT OnListNotify(NMHDR& header) {
    if (header.code == LVN_ITEMCHANGED) ShowSelected();
    if (header.code != static_cast<UINT>(NM_CUSTOMDRAW)) return 0;
    auto& draw = reinterpret_cast<NMLVCUSTOMDRAW&>(header);
    if (draw.nmcd.dwDrawStage == CDDS_PREPAINT) return CDRF_NOTIFYITEMDRAW;
    if (draw.nmcd.dwDrawStage == CDDS_ITEMPREPAINT && draw.nmcd.dwItemSpec < commands_.size() &&
        HasProblem(commands_[draw.nmcd.dwItemSpec]->id))
      draw.clrText = kProblemColour;
    return CDRF_DODEFAULT;
  }

  void OnField(bool global, UINT code) {
    if (code == kKeyEntered || code == kKeyLeft) Suspend(code == kKeyEntered);
    if (code != kKeyChosen) return;
    const KeyStroke key = KeyOfField(fields_[global]);
    if (global && !MayBeGlobal(key)) {
      ShowSelected();
      ShowText(warning_, u"全局热键须与 Ctrl、Alt 或 Win 组合，或使用媒体键。");
      return;
    }
    SetKey(global, key);
  }

  void Suspend(bool suspended) {
    if (std::exchange(suspended_, suspended) != suspended) page_->Host().SuspendHotKeys(suspended);
  }

  void SetKey(bool global, const KeyStroke& key) {
    const CommandId command = Selected();
    if (command == CommandId::kNone) return;
    SetHotKey(Map(), command, global, key);
    page_->Changed(SettingsPart::kHotKey);
    if (suspended_) page_->Host().SuspendHotKeys(true);
    OnRefresh();
  }

  PageWindow* page_ = nullptr;
  HWND list_ = nullptr;
  HWND fields_[2] = {};  ///< [1]: global.
  HWND warning_ = nullptr;
  std::vector<const Command*> commands_;
  std::vector<CommandId> refused_;
  std::vector<KeyConflict> conflicts_;
  bool suspended_ = false;
};

}  // namespace

std::unique_ptr<OptionsPage> MakeHotKeyPage() {
  return std::make_unique<HotKeyPage>();
}

}  // namespace melorin
