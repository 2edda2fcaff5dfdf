// SPDX-License-Identifier: MIT
//
// SkinnedWindowHost: what concerns more than one window, told by each of them. Thread: the UI thread.
#pragma once

#include <windows.h>

#include <cstdint>
#include <string>
#include <vector>

#include "ui/window_view.h"

namespace melorin {

/// What a window tells of itself. None of these may destroy the window; post a message for that.
class SkinnedWindowHost {
 public:
  /// A key that the view did not take. True: it was a command's, and no character comes of it. (A key that
  /// the view takes still brings its character to the view: so a list shields what is typed from the
  /// commands.)
  virtual bool OnHotKey(const KeyPress& key) = 0;
  /// A media key, as WM_APPCOMMAND has it. True: taken.
  virtual bool OnMediaCommand(int app_command) = 0;
  /// `x`, `y`: 1x pixels of the window.
  virtual void OnFilesDropped(SkinWindow kind, int32_t x, int32_t y, std::vector<std::u16string> paths) = 0;
  /// A right click that no control took, or the key for it. `screen`: where the menu is to be.
  virtual void OnContextMenu(SkinWindow kind, POINT screen) = 0;
  /// Alt+F4, or the task bar's menu.
  virtual void OnCloseWanted(SkinWindow kind) = 0;
  virtual void OnMinimizeWanted(SkinWindow kind) = 0;
  /// The system has done it, at whoever's wish.
  virtual void OnMinimized(SkinWindow kind, bool minimized) = 0;
  virtual void OnActivated(SkinWindow kind) = 0;
  /// The program has come to the front or left it.
  virtual void OnProgramActivated(bool active) = 0;
  virtual void OnDpiChanged(SkinWindow kind, int dpi) = 0;
  /// There are other screens, or they have another size or work area.
  virtual void OnScreensChanged(SkinWindow kind) = 0;
  /// A modal dialog has been opened in front of it, or closed.
  virtual void OnEnabled(SkinWindow kind, bool enabled) = 0;

  // The mouse moves the window, or an edge of it. The host places it, by MoveTo or Place, and whatever is to
  // move along.
  virtual void OnDragStart(SkinWindow kind, WindowPart part) = 0;
  /// `wanted`: where the mouse would have it, pixels of the screen, as when dragging began plus the way
  /// since.
  virtual void OnDragTo(SkinWindow kind, WindowPart part, const SkinRect& wanted) = 0;
  virtual void OnDragEnd(SkinWindow kind) = 0;
  /// The window's place or size is another.
  virtual void OnPlaced(SkinWindow kind) = 0;

 protected:
  ~SkinnedWindowHost() = default;
};

}  // namespace melorin
