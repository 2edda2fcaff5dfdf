// SPDX-License-Identifier: MIT
//
// PlayerWindows: the five windows in the skin that the settings name: makes them wear it, at the scale of the
// screen, and brings their keys, menus and dropped files to whom they concern.
#pragma once

#include <windows.h>

#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "app/drop_target.h"
#include "app/player.h"
#include "app/player_menus.h"
#include "app/window_group.h"
#include "skin/loaded_skin.h"
#include "skin/text_painter.h"
#include "ui/window_view.h"

namespace melorin {

/// What the windows ask the program for.
class PlayerWindowsHost {
 public:
  virtual void ExitPlayer() = 0;
  /// Which windows are shown is another.
  virtual void RefreshWindows() = 0;
  /// Files from elsewhere, at a point of the window (1x pixels).
  virtual void DropFiles(SkinWindow window, int32_t x, int32_t y, std::vector<std::u16string> paths) = 0;
  /// Files from elsewhere are held over that point of the window. Nothing: no longer.
  virtual void HoldFiles(SkinWindow window, std::optional<std::pair<int32_t, int32_t>> point) = 0;
  virtual bool OnMediaCommand(int app_command) = 0;

 protected:
  ~PlayerWindowsHost() = default;
};

/// Thread: the UI thread.
class PlayerWindows final : private WindowGroupHost, private FileDropHandler {
 public:
  /// All must outlive this.
  PlayerWindows(HINSTANCE instance, Player& player, PlayerMenus& menus, PlayerWindowsHost& host,
                const WindowViews& views);
  ~PlayerWindows();
  PlayerWindows(const PlayerWindows&) = delete;
  PlayerWindows& operator=(const PlayerWindows&) = delete;

  /// Makes the windows, hidden. The settings must have been read. False when the platform refuses.
  bool Create(HWND owner);
  WindowGroup& Group() { return group_; }
  const WindowGroup& Group() const { return group_; }

  /// From now on it is shown where files from elsewhere would go; before, they can be dropped only.
  void StartDrops();
  /// Before the windows go.
  void StopDrops() { drops_.reset(); }

  /// Wears the skin that the settings name; the built-in one when it cannot be read, which the user is told.
  void WearSkin();

 private:
  bool OnHotKey(const KeyPress& key) override { return menus_.RunKey(key); }
  bool OnMediaCommand(int app_command) override { return host_.OnMediaCommand(app_command); }
  void OnFilesDropped(SkinWindow kind, int32_t x, int32_t y, std::vector<std::u16string> paths) override {
    host_.DropFiles(kind, x, y, std::move(paths));
  }
  void OnFilesOver(SkinWindow kind, std::optional<POINT> point) override;
  void OnFilesLetGo(SkinWindow kind, POINT point, std::vector<std::u16string> paths) override;
  void ShowContextMenu(SkinWindow kind, POINT screen) override;
  void OnExitWanted() override { host_.ExitPlayer(); }
  void OnScaleChanged(int32_t scale) override;
  void OnWindowsChanged() override { host_.RefreshWindows(); }
  void SaveSettingsLater() override { player_.SaveSoon(); }

  void DressViews(int32_t scale);

  Player& player_;
  PlayerMenus& menus_;
  PlayerWindowsHost& host_;
  const WindowViews views_;
  SkinWardrobe wardrobe_;
  std::unique_ptr<TextPainter> text_;
  WindowGroup group_;
  std::optional<FileDrops> drops_;
};

}  // namespace melorin
