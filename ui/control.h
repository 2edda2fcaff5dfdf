// SPDX-License-Identifier: MIT
//
// Control: a part of a window that paints itself into the window's bitmap and takes the mouse and keys. All
// places and points are 1x pixels of the window; painting scales. Thread: the UI thread.
#pragma once

#include <cstdint>
#include <string>

#include "skin/bitmap.h"
#include "skin/skin_description.h"
#include "skin/skin_painter.h"
#include "skin/text_painter.h"

namespace melorin {

/// What a control paints with. `painter` takes 1x pixels and scales; `target` and `text` are for what no
/// painter function does, in the target's own pixels (1x times `scale`).
struct PaintContext {
  SkinPainter& painter;
  TextPainter* text;  ///< Null where the system has no fonts.
  Bitmap& target;
  int32_t scale = 1;
  /// Pixels of the target outside of which nothing may be painted. A control that never asks for a part of
  /// itself to be painted need not look: it is always painted whole.
  SkinRect clip = {};
};

struct Pointer {
  int32_t x = 0;
  int32_t y = 0;
  bool ctrl = false;
  bool shift = false;
};

/// A virtual key code as KeyStroke has it.
struct KeyPress {
  uint16_t key = 0;
  bool ctrl = false;
  bool shift = false;
  bool alt = false;
};

/// What a control is, for screen readers.
enum class ControlRole { kButton, kSwitch, kSlider, kText, kGraphic, kList, kTabs, kToolbar, kScrollBar };

class Control;

/// What a control needs of its window.
class ControlHost {
 public:
  /// It looks different now; it is painted soon.
  virtual void Repaint(Control& control) = 0;
  /// Only these pixels of the window's bitmap do.
  virtual void RepaintPart(Control& control, const SkinRect& pixels) = 0;
  /// TickMs() has another answer.
  virtual void TickChanged() = 0;
  /// The name, value or state that screen readers tell has changed.
  virtual void ValueChanged(Control& control) = 0;

 protected:
  ~ControlHost() = default;
};

class Control {
 public:
  Control() = default;
  virtual ~Control() = default;
  Control(const Control&) = delete;
  Control& operator=(const Control&) = delete;

  // ---- its place in the window; set by the window's view

  void Attach(ControlHost* host) { host_ = host; }
  const SkinRect& Place() const { return place_; }
  void SetPlace(const SkinRect& place);
  bool IsVisible() const { return visible_; }
  void SetVisible(bool visible);
  bool IsEnabled() const { return enabled_; }
  void SetEnabled(bool enabled);
  /// It has the keyboard.
  bool IsFocused() const { return focused_; }
  void SetFocused(bool focused);
  /// For screen readers, and the tip unless TipAt says another.
  const std::u16string& Name() const { return name_; }
  void SetName(std::u16string name) { name_ = std::move(name); }

  // ---- painting

  /// Over the window's background, within Place().
  virtual void Paint(const PaintContext& context) = 0;

  // ---- the mouse. A control that takes the press gets all that follows until the button is let go.

  /// False: the point belongs to the window, which is moved by it.
  virtual bool TakesPointAt(int32_t x, int32_t y) const;
  virtual void OnPress(const Pointer&) {}
  virtual void OnDrag(const Pointer&) {}  ///< Moved while pressed; may be outside.
  virtual void OnRelease(const Pointer&) {}
  virtual void OnCancel() {}               ///< Another window took the mouse away.
  virtual void OnHover(const Pointer&) {}  ///< Moved over it, not pressed.
  virtual void OnLeave() {}
  virtual void OnDoubleClick(const Pointer&) {}                    ///< Instead of the second press.
  virtual bool OnWheel(const Pointer&, int32_t) { return false; }  ///< Notches, away from the user positive.
  virtual bool OnMiddleClick(const Pointer&) { return false; }
  /// True: the control has shown a menu of its own.
  virtual bool OnContextMenu(const Pointer&) { return false; }
  virtual std::u16string TipAt(int32_t x, int32_t y) const;

  // ---- the keyboard

  virtual bool TakesFocus() const { return false; }
  /// A click gives it the keyboard; not what is only pressed, as buttons are: Space goes on being the
  /// window's.
  virtual bool TakesFocusByMouse() const { return TakesFocus(); }
  virtual bool OnKey(const KeyPress&) { return false; }
  virtual bool OnCharacter(char16_t) { return false; }  ///< Typed text; surrogates one by one.

  // ---- screen readers

  virtual ControlRole Role() const = 0;
  virtual std::u16string Value() const { return {}; }
  virtual bool IsPressed() const { return false; }  ///< A switch that is on.
  /// What a click does.
  virtual void DoDefault() {}
  /// Parts of lists, tabs and toolbars; their places may be empty when they are out of view.
  virtual size_t PartCount() const { return 0; }
  virtual std::u16string PartName(size_t) const { return {}; }
  virtual SkinRect PartPlace(size_t) const { return {}; }
  virtual bool IsPartSelected(size_t) const { return false; }
  virtual void DoPart(size_t) {}

  // ---- motion

  /// How soon OnTick is to be called again, ms; 0: never. Asked only while the window is in view.
  virtual uint32_t TickMs() const { return 0; }
  /// `now_ms`: of a clock that wraps; take differences only.
  virtual void OnTick(uint32_t now_ms) { (void)now_ms; }

 protected:
  void Repaint() {
    if (host_) host_->Repaint(*this);
  }
  /// Of a control that heeds the clip.
  void RepaintPart(const SkinRect& pixels) {
    if (host_) host_->RepaintPart(*this, pixels);
  }
  void TickChanged() {
    if (host_) host_->TickChanged();
  }
  void ValueChanged() {
    if (host_) host_->ValueChanged(*this);
  }
  virtual void OnPlaced() {}  ///< The place is another.

 private:
  ControlHost* host_ = nullptr;
  SkinRect place_;
  std::u16string name_;
  bool visible_ = true;
  bool enabled_ = true;
  bool focused_ = false;
};

inline bool Contains(const SkinRect& place, int32_t x, int32_t y) {
  return x >= place.left && x < place.right && y >= place.top && y < place.bottom;
}

}  // namespace melorin
