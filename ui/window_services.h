// SPDX-License-Identifier: MIT
//
// WindowServices: what the windows' views ask of the program around them.
#pragma once

#include <cstdint>
#include <string>

#include "skin/skin_preview.h"
#include "ui/command_table.h"
#include "ui/menu.h"

namespace melorin {

/// Thread: the UI thread.
class WindowServices {
 public:
  virtual CommandTarget& Commands() = 0;
  /// Shows a menu at a point of a window (1x pixels) and executes what is chosen before it returns. The menu
  /// runs messages of its own: the window may have another skin, and so other controls, afterwards.
  virtual void ShowMenu(MenuKind kind, SkinWindow window, int32_t x, int32_t y) = 0;
  /// Tip of a button: "播放/暂停 (空格)", without the key where the settings say so.
  virtual std::u16string TipOf(CommandId command) = 0;

 protected:
  ~WindowServices() = default;
};

}  // namespace melorin
