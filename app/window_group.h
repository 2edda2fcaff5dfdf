// SPDX-License-Identifier: MIT
//
// WindowGroup: the player's five windows together: which are shown in either mode, where they are, that they
// move together, lie above others and let through what is behind. The settings remember it all.
#pragma once

#include <windows.h>

#include <array>
#include <memory>
#include <string>
#include <vector>

#include "app/skinned_window.h"
#include "app/window_places.h"
#include "doc/settings.h"
#include "ui/command_handler.h"

namespace melorin {

/// What the windows ask the program for.
class WindowGroupHost {
 public:
  virtual bool OnHotKey(const KeyPress& key) = 0;
  virtual bool OnMediaCommand(int app_command) = 0;
  /// `x`, `y`: 1x pixels of the window.
  virtual void OnFilesDropped(SkinWindow kind, int32_t x, int32_t y, std::vector<std::u16string> paths) = 0;
  virtual void ShowContextMenu(SkinWindow kind, POINT screen) = 0;
  /// The player window or the mini player is to be closed: the program ends.
  virtual void OnExitWanted() = 0;
  /// Artwork of another scale is due: wear it, then call OnSkinChanged.
  virtual void OnScaleChanged(int32_t scale) = 0;
  /// Another window is shown than before, or one less: for the buttons that tell.
  virtual void OnWindowsChanged() = 0;
  /// The settings have changed and are to be saved before long.
  virtual void SaveSettingsLater() = 0;

 protected:
  ~WindowGroupHost() = default;
};

/// The scale of the artwork for a screen with so many dots per inch.
constexpr int32_t ScaleOfDpi(int dpi) {
  return dpi >= 144 ? 2 : 1;
}
/// Of the main screen.
int ScreenDpi();

/// Thread: the UI thread.
class WindowGroup final : public CommandHandler, private SkinnedWindowHost {
 public:
  /// Everything must outlive the group. No view may be null; they wear their skin before Create.
  WindowGroup(HINSTANCE instance, WindowGroupHost& host, Settings& settings, const WindowViews& views);
  ~WindowGroup() = default;
  WindowGroup(const WindowGroup&) = delete;
  WindowGroup& operator=(const WindowGroup&) = delete;

  /// Makes the windows, hidden, where they were. `owner` is hidden and owns them all. False when the platform
  /// refuses.
  bool Create(HWND owner);
  /// Shows them as they were, minimised if the settings or `show` (SW_…) say so.
  void Open(int show);

  /// Hides them all; the settings keep which were shown.
  void Close();

  // ---- what the owner brings

  /// The views wear another skin. Windows that stood where the one before wanted them go where this one does.
  void OnSkinChanged();
  /// Somebody else changed the settings.
  void OnSettingsChanged();
  /// Of the player window and the mini player.
  void SetCaption(const std::u16string& caption);
  /// Shows what is hidden or minimised and comes to the front.
  void BringToFront();
  /// Shows or hides the playlist, the equalizer or the lyrics, as their commands do; nothing for those that
  /// the mode does without.
  void SetShown(SkinWindow kind, bool shown);

  // ---- what is shown

  bool IsMini() const { return settings_.player.mini_mode != 0; }
  /// To be seen; false for all while hidden or minimised.
  bool IsShown(SkinWindow kind) const { return !minimized_ && Window(kind).IsShown(); }
  /// "player", "mini", "playlist", "equalizer", "lyric".
  std::vector<std::string> ShownNames() const;
  /// The player window or the mini player: owner of dialogs and menus.
  HWND MainHandle() const { return Window(MainKind()).Handle(); }
  SkinnedWindow& Window(SkinWindow kind) { return *windows_[IndexOf(kind)]; }
  const SkinnedWindow& Window(SkinWindow kind) const { return *windows_[IndexOf(kind)]; }

  // ---- commands

  bool Handles(CommandId command) const override;
  void Execute(CommandId command) override;
  bool IsEnabled(CommandId command) const override;
  bool IsChecked(CommandId command) const override;

 private:
  /// F6 and Shift+F6, unless they are bound to a command, take the keyboard to the next and the previous
  /// window.
  bool OnHotKey(const KeyPress& key) override;
  bool OnMediaCommand(int app_command) override { return host_.OnMediaCommand(app_command); }
  void OnFilesDropped(SkinWindow kind, int32_t x, int32_t y, std::vector<std::u16string> paths) override {
    host_.OnFilesDropped(kind, x, y, std::move(paths));
  }
  void OnContextMenu(SkinWindow kind, POINT screen) override { host_.ShowContextMenu(kind, screen); }
  void OnCloseWanted(SkinWindow kind) override;
  void OnMinimizeWanted(SkinWindow kind) override;
  void OnMinimized(SkinWindow kind, bool minimized) override;
  void OnActivated(SkinWindow kind) override;
  void OnProgramActivated(bool active) override;
  void OnDpiChanged(SkinWindow kind, int dpi) override;
  void OnScreensChanged(SkinWindow kind) override;
  void OnEnabled(SkinWindow kind, bool enabled) override;
  void OnDragStart(SkinWindow kind, WindowPart part) override;
  void OnDragTo(SkinWindow kind, WindowPart part, const SkinRect& wanted) override;
  void OnDragEnd(SkinWindow kind) override;
  void OnPlaced(SkinWindow kind) override;

  SkinWindow MainKind() const { return IsMini() ? SkinWindow::kMini : SkinWindow::kPlayer; }
  /// Whether the settings want it in this mode.
  bool IsWanted(SkinWindow kind) const;
  /// The setting that says so; null for the player window and the mini player, and what the mode does
  /// without.
  int32_t* WantedFlag(SkinWindow kind) const;
  bool IsOnTop(SkinWindow kind) const;
  void ShowWanted(bool fade, SkinnedWindow::Activation activation);
  void SetHidden(bool hidden);
  void SetMini(bool mini);
  void Minimize();
  void ApplyTopMost();
  void ApplyAlpha();
  void RestorePlaces();
  void Remember(SkinWindow kind);
  bool Fades() const { return settings_.general.fade_windows != 0; }
  bool Snaps() const { return settings_.general.snap_windows != 0; }
  std::vector<bool> MovedWith(SkinWindow kind) const;
  void MoveWindows(int32_t dx, int32_t dy);

  const HINSTANCE instance_;
  WindowGroupHost& host_;
  Settings& settings_;
  const WindowViews views_;
  std::array<std::unique_ptr<SkinnedWindow>, kWindowCount> windows_;
  WindowRects skin_places_;  ///< As the skin that is worn wants them, seen from the player window.
  bool hidden_ = true;       ///< All of them, in the tray or before Open.
  bool minimized_ = false;   ///< The main one; the others are hidden.
  bool active_ = false;
  bool enabling_ = false;
  bool arranging_ = false;  ///< Windows are placed by the group, which is not to be remembered.

  // While the mouse moves or resizes a window.
  bool dragging_ = false;
  std::vector<bool> moving_;  ///< By SkinWindow.
  WindowRects drag_places_;   ///< Where all were when it began.
  std::vector<SkinRect> areas_;
  std::vector<SkinRect> others_;  ///< What is in view and not moved.
};

}  // namespace melorin
