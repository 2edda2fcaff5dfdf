// SPDX-License-Identifier: MIT
//
// TipWindow: the tool tip of a window whose controls are not windows. Thread: the UI thread.
#pragma once

#include <windows.h>

#include <string>

#include "skin/skin_description.h"

namespace melorin {

class TipWindow {
 public:
  TipWindow() = default;
  ~TipWindow() { Destroy(); }
  TipWindow(const TipWindow&) = delete;
  TipWindow& operator=(const TipWindow&) = delete;

  /// The window whose mouse messages are relayed. The system's window is made when there is a first text.
  void SetOwner(HWND owner) { owner_ = owner; }
  void Destroy();

  /// What the tip says over the area, pixels of the owner; shown when the mouse has rested there.
  void Set(const std::u16string& text, const SkinRect& area);
  /// Shows the text beside the mouse at once, and moves along.
  void Track(const std::u16string& text, POINT screen);
  void Hide();
  void Relay(UINT message, WPARAM wparam, LPARAM lparam);

 private:
  bool Prepare();
  void StopTracking();

  HWND owner_ = nullptr;
  HWND window_ = nullptr;
  std::u16string text_;
  SkinRect area_;
  std::u16string tracked_text_;
  bool tracks_ = false;
};

}  // namespace melorin
