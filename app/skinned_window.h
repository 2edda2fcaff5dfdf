// SPDX-License-Identifier: MIT
//
// SkinnedWindow: the platform's window over a WindowView: a pop-up without a frame, in the shape of the skin.
// It paints, brings mouse and keys to the view, moves and resizes itself under the mouse, fades in and out,
// and shows tips. What concerns more than one window is its host's. Thread: the UI thread.
#pragma once

#include <windows.h>

#include <shellapi.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "app/accessible_window.h"
#include "app/fade_ramp.h"
#include "app/tip_window.h"
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

class SkinnedWindow final : private WindowViewHost {
 public:
  /// The view and the host must outlive the window.
  SkinnedWindow(WindowView& view, SkinnedWindowHost& host) : view_(view), host_(host) {}
  ~SkinnedWindow();
  SkinnedWindow(const SkinnedWindow&) = delete;
  SkinnedWindow& operator=(const SkinnedWindow&) = delete;

  struct Traits {
    const wchar_t* class_name;
    const wchar_t* caption;
    bool on_task_bar;
  };
  /// Makes the window, hidden, in the size of the view, which wears its skin already. False when the platform
  /// refuses.
  bool Create(HINSTANCE instance, HWND owner, const Traits& traits);

  HWND Handle() const { return window_; }
  WindowView& View() { return view_; }
  SkinWindow Kind() const { return view_.Kind(); }

  // ---- showing

  /// True from Show to Hide, be the window still fading.
  bool IsShown() const { return shown_; }
  bool IsMinimized() const { return minimized_; }
  enum class Activation { kActivate, kLeave };
  void Show(bool fade, Activation activation);
  void Hide(bool fade);
  void Minimize();
  void SetCaption(const std::u16string& caption);
  /// 0 to 255 while shown and not fading.
  void SetAlpha(int alpha);
  void SetTopMost(bool top_most);
  bool IsTopMost() const { return top_most_; }

  // ---- place and size, pixels of the screen

  /// Where the window is, or will be when it is no longer minimised.
  const SkinRect& Place() const { return place_; }
  /// The left top corner.
  void MoveTo(int32_t left, int32_t top);
  /// Sizes that the view does not take are brought to the nearest it does; the edges that `part` does not
  /// move stay. kCaption: left and top stay.
  void SetPlace(const SkinRect& place, WindowPart part = WindowPart::kCaption);
  /// The view wears another skin, maybe at another scale. Left and top stay.
  void OnSkinChanged();

 private:
  static LRESULT CALLBACK Procedure(HWND window, UINT message, WPARAM wparam, LPARAM lparam) noexcept;
  // Each is true when the message needs nothing of the system's own doing.
  bool Take(UINT message, WPARAM wparam, LPARAM lparam, LRESULT* result);
  bool TakeMouse(UINT message, WPARAM wparam, LPARAM lparam);
  bool TakeKey(UINT message, WPARAM wparam);
  bool TakeChange(UINT message, WPARAM wparam);

  void RepaintArea(const SkinRect& pixels) override;
  void ViewTickChanged() override;
  void ControlChanged(size_t control) override;
  void ControlFocused(size_t control) override;

  void Paint();
  void ShapeWindow();
  void ApplyAlpha(int alpha);
  void StartFade(int to);
  void StopFade();
  void OnTimer(WPARAM timer);
  void FinishHiding();
  void SetTick();

  Pointer PointerAt(POINT client) const;
  void OnButtonDown(POINT client, bool again);
  void OnButtonUp(POINT client);
  void OnMouseMove(POINT client);
  void OnWheel(POINT screen, int delta);
  void OnContextMenu(LPARAM where);
  POINT KeyboardMenuPoint() const;
  void OnCaptureLost();
  bool ShowEdgeCursor();
  void StartDrag(WindowPart part, POINT client);
  void Drag(POINT client);
  void LetGo();
  void UpdateTip(POINT client);
  void OnDrop(HDROP drop);
  void OnPositionChanged();
  void OnAccessibleAction(size_t control, LPARAM part);

  WindowView& view_;
  SkinnedWindowHost& host_;
  HWND window_ = nullptr;
  SkinRect place_;
  TipWindow tip_;
  std::unique_ptr<AccessibleWindow> accessible_;  ///< Made when somebody asks.

  bool shown_ = false;
  bool minimized_ = false;
  bool top_most_ = false;
  bool shaped_ = false;
  bool shape_is_old_ = true;
  int alpha_ = 255;
  int applied_alpha_ = 255;
  FadeRamp fade_;
  UINT tick_ms_ = 0;  ///< Of the timer that runs; 0: none.

  bool tracks_leave_ = false;
  bool letting_go_ = false;
  int wheel_ = 0;                  ///< Parts of a notch.
  const Control* told_ = nullptr;  ///< A slider under the mouse's hand, whose value the tip tells.
  bool dragging_ = false;
  WindowPart drag_part_ = WindowPart::kCaption;
  POINT drag_from_{};
  SkinRect drag_place_;
};

}  // namespace melorin
