// SPDX-License-Identifier: MIT
//
// OptionsFrame: the window of the options dialog: the list of pages, the page that is shown and the buttons
// below. Pages are made when they are first shown. Thread: the UI thread.
#pragma once

#include <windows.h>

#include <array>
#include <functional>
#include <memory>
#include <string>

#include "app/options/counted_choosers.h"
#include "app/options/dialog_font.h"
#include "app/options/options_dialog.h"
#include "app/options/page_window.h"

namespace melorin {

class OptionsFrame {
 public:
  /// The host and the choosers must outlive it.
  /// `closed`: called when the window has gone.
  OptionsFrame(HWND owner, OptionsHost& host, CountedChoosers& choosers, std::function<void()> closed);
  ~OptionsFrame();
  OptionsFrame(const OptionsFrame&) = delete;
  OptionsFrame& operator=(const OptionsFrame&) = delete;

  /// Null when it has been closed, or could not be made.
  HWND Window() const { return window_; }
  void Show(OptionsPageId page);
  bool TakesMessage(MSG& message);
  void Refresh();

 private:
  static INT_PTR CALLBACK Procedure(HWND window, UINT message, WPARAM wparam, LPARAM lparam) noexcept;
  INT_PTR Handle(UINT message, WPARAM wparam, LPARAM lparam);
  void MakeControls();
  void Lay(const RECT* place);
  void SelectPage(int32_t page);
  void StepPage(int32_t step);
  void DrawEntry(const DRAWITEMSTRUCT& draw) const;
  void OnDpiChanged(int dpi, const RECT& place);
  PageWindow* Current();

  HWND owner_;
  OptionsHost& host_;
  CountedChoosers& choosers_;
  std::function<void()> closed_;
  Settings defaults_;
  std::unique_ptr<DialogFont> font_;
  HWND window_ = nullptr;
  HWND list_ = nullptr;
  HWND defaults_button_ = nullptr;
  HWND close_button_ = nullptr;
  RECT page_area_{};
  int32_t current_ = -1;
  std::array<std::unique_ptr<PageWindow>, kOptionsPages> pages_;
};

}  // namespace melorin
