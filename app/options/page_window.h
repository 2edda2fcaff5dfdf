// SPDX-License-Identifier: MIT
//
// PageWindow: the window of one page of the options dialog: makes the controls that the page asks for, lays
// them out in rows, shows the settings in them and brings what the user does back. Thread: the UI thread.
//
//   page.Group(u"启动", 2);
//   page.CheckBox(u"启动时最小化", kGeneralPart(&GeneralSettings::startup_minimize));
#pragma once

#include <windows.h>

#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "app/options/access_keys.h"
#include "app/options/bound_controls.h"
#include "app/options/dialog_font.h"
#include "app/options/options_page.h"
#include "app/options/page_layout.h"

namespace melorin {

/// What all pages share.
struct PageContext {
  OptionsHost& host;
  Choosers& choosers;
  Settings& defaults;
  const DialogFont& font;
};

/// One cell of a page: a label, perhaps, and controls side by side.
class PageItem {
 public:
  using Rule = std::function<bool(const Settings&)>;

  PageItem& Indent();
  PageItem& WholeRow();
  /// The controls from that one on are enabled while the rule says so.
  PageItem& EnabledWhen(Rule rule, size_t first_piece = 0);
  /// The control; of several the first.
  HWND Window() const { return pieces_.front(); }
  const std::vector<HWND>& Windows() const { return pieces_; }

 private:
  friend class PageWindow;

  LayoutItem layout_;
  HWND label_ = nullptr;
  std::vector<HWND> pieces_;
  std::vector<std::unique_ptr<BoundControl>> bound_;
  Rule rule_;
  size_t ruled_from_ = 0;
  int indent_ = 0;
};

class PageWindow {
 public:
  /// The page is as wide as `width` pixels; the parent and what the context names must outlive it.
  PageWindow(HWND parent, int width, const PageContext& context, std::unique_ptr<OptionsPage> page);
  ~PageWindow();
  PageWindow(const PageWindow&) = delete;
  PageWindow& operator=(const PageWindow&) = delete;

  // ---- for the frame

  /// False when the platform refused.
  bool IsMade() const { return window_ != nullptr; }
  int Height() const { return height_; }
  bool HasDefaults() const { return page_->HasDefaults(); }
  void Show(bool shown);
  /// Shows the settings as they are now.
  void Refresh();
  /// Puts the page's settings back to their defaults.
  void Reset();

  // ---- for the page: what it is about

  HWND Window() const { return window_; }
  OptionsHost& Host() const { return context_.host; }
  Choosers& Chooser() const { return context_.choosers; }
  Settings& Values() const { return context_.host.Values(); }
  Settings& Defaults() const { return context_.defaults; }
  const DialogFont& Font() const { return context_.font; }
  /// The page has changed a setting itself.
  void Changed(SettingsPart part);

  // ---- for the page: its controls. Labels and texts get access keys.

  /// What follows stands in a frame of that title, in rows of so many columns.
  void Group(std::u16string_view title, int columns = 1);
  /// What follows stands without a frame.
  void Plain(int columns = 1);
  /// Pixels from one side of a row to the other.
  int RowWidth() const;
  /// The next control gets no access key: its text is to stand as it is.
  void WithoutKey() { next_without_key_ = true; }

  PageItem& CheckBox(std::u16string_view text, Binding<int32_t> binding);
  /// For one bit of a sum.
  PageItem& BitBox(std::u16string_view text, Binding<int32_t> binding, int32_t bit);
  PageItem& Number(std::u16string_view label, Binding<int32_t> binding, const NumberRange& range,
                   std::u16string_view unit = {});
  PageItem& Choice(std::u16string_view label, Binding<int32_t> binding, std::vector<ChoiceItem> items);
  PageItem& TextField(std::u16string_view label, Binding<std::string> binding);
  /// A check box and, behind it, the text that it switches on.
  PageItem& CheckedText(std::u16string_view text, Binding<int32_t> flag, Binding<std::string> binding);
  PageItem& Folder(std::u16string_view label, Binding<std::string> binding);
  /// The question's present name is the setting's.
  PageItem& File(std::u16string_view label, Binding<std::string> binding, FileQuestion question);
  PageItem& Colour(std::u16string_view label, Binding<SettingsColour> binding);
  PageItem& FontOf(std::u16string_view label, Binding<FontRecord> binding);
  /// A text over the whole row, broken into lines.
  PageItem& Note(std::u16string_view text);
  /// The same in the colour of warnings, with room for so many lines; the page fills it in.
  PageItem& Warning(int lines);
  struct ButtonSpec {
    std::u16string_view text;
    std::function<void()> pressed;
  };
  PageItem& Buttons(std::vector<ButtonSpec> buttons);
  struct CustomSpec {
    const wchar_t* window_class;
    DWORD style = 0;  ///< Beside WS_CHILD and WS_VISIBLE.
    DWORD ex_style = 0;
    int width = 0;    ///< Dialog units; 0: the rest of the row.
    int height = 14;  ///< Dialog units.
    std::u16string_view text = {};
    std::function<void(UINT code)> on_command = nullptr;
    std::function<LRESULT(NMHDR&)> on_notify = nullptr;
  };
  /// A control of the page's own. An empty label: none.
  PageItem& Custom(std::u16string_view label, const CustomSpec& spec);
  /// Behind what the item has.
  HWND AddCustomTo(PageItem& item, const CustomSpec& spec);
  HWND AddButtonTo(PageItem& item, std::u16string_view text, std::function<void()> pressed);

 private:
  struct Handler {
    HWND window;
    std::function<void(UINT code)> on_command;
    std::function<LRESULT(NMHDR&)> on_notify;
  };
  struct GroupOfItems {
    HWND frame;
    LayoutGroup layout;
    std::vector<std::unique_ptr<PageItem>> items;
  };

  static INT_PTR CALLBACK Procedure(HWND window, UINT message, WPARAM wparam, LPARAM lparam) noexcept;
  INT_PTR Handle(UINT message, WPARAM wparam, LPARAM lparam);
  void OnCommand(HWND from, UINT code);
  LRESULT OnNotify(NMHDR& header);
  void Place();
  void ShowValues();
  void ApplyRules();
  PageItem* FindItem(HWND window);
  template <class Visitor>
  void ForEachBound(Visitor&& visit);

  std::u16string WithKey(std::u16string_view text);
  PageItem& AddItem(std::u16string_view label);
  HWND AddPiece(PageItem& item, const wchar_t* window_class, std::u16string_view text, DWORD style, int width,
                int height, DWORD ex_style = 0);
  HWND AddButton(PageItem& item, std::u16string_view text);
  PageItem& AddBox(std::u16string_view text, Binding<int32_t> binding, int32_t bit);
  PageItem& AddPath(std::u16string_view label, Binding<std::string> binding, BoundText::Browse browse);

  PageContext context_;
  std::unique_ptr<OptionsPage> page_;
  HWND window_ = nullptr;
  int width_;
  int height_ = 0;
  int next_id_ = 1000;
  bool next_without_key_ = false;
  bool showing_ = false;  ///< What controls notify while values are put into them is no change.
  bool was_shown_ = false;
  AccessKeys keys_{u"CD"};  ///< The frame's buttons have these.
  std::vector<GroupOfItems> groups_;
  std::vector<Handler> handlers_;
  std::vector<HWND> warnings_;
};

}  // namespace melorin
