// SPDX-License-Identifier: MIT
//
// WindowView: one window of the player without the platform's window: its size, its controls, its bitmap, and
// where the mouse and the keyboard go. A shell brings messages here and shows the bitmap. Points and sizes
// are 1x pixels; bitmaps and the areas of RepaintArea are in pixels of the screen. Thread: the UI thread.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "skin/loaded_skin.h"
#include "skin/skin_preview.h"
#include "ui/control.h"

namespace melorin {

/// What a view needs of the shell around it.
class WindowViewHost {
 public:
  virtual void RepaintArea(const SkinRect& pixels) = 0;
  virtual void ViewTickChanged() = 0;
  /// For screen readers: the place of the control in Controls().
  virtual void ControlChanged(size_t control) = 0;
  virtual void ControlFocused(size_t control) = 0;

 protected:
  ~WindowViewHost() = default;
};

/// Where a point of a window is.
enum class WindowPart {
  kControl,
  kCaption,  ///< The window is moved by it.
  kLeft,
  kTop,
  kRight,
  kBottom,
  kTopLeft,
  kTopRight,
  kBottomLeft,
  kBottomRight,
};

class WindowView : private ControlHost {
 public:
  explicit WindowView(SkinWindow kind) : kind_(kind) {}
  virtual ~WindowView() = default;
  WindowView(const WindowView&) = delete;
  WindowView& operator=(const WindowView&) = delete;

  SkinWindow Kind() const { return kind_; }
  /// The host must outlive the view or be taken away with null.
  void SetHost(WindowViewHost* host) { host_ = host; }

  // ---- the skin

  /// Makes all controls anew from what is worn, which must outlive this or be followed by another call. The
  /// size stays where the new skin allows it. `text` may be null.
  void Wear(SkinWardrobe& wardrobe, TextPainter* text);
  /// Where the skin wants the window, seen from the player window, and how large; empty: wherever.
  const SkinRect& SkinPosition() const { return frame_.position; }
  int32_t Scale() const { return scale_; }

  // ---- the size

  int32_t Width() const { return width_; }
  int32_t Height() const { return height_; }
  int32_t LeastWidth() const { return image_width_; }
  int32_t LeastHeight() const { return image_height_; }
  bool IsResizable() const { return !frame_.resize_rect.IsEmpty(); }
  /// Brought to the least size; ignored by windows that cannot be resized.
  void Resize(int32_t width, int32_t height);

  // ---- painting

  /// Paints what has changed since the last time. Valid until the next call.
  const Bitmap& Compose();
  /// The window's shape: true where the background is to be seen. Changes with skin and size.
  bool IsInShape(int32_t x_pixels, int32_t y_pixels);
  /// Where the run of pixels ends that are in the shape as that pixel is, or out of it; to go through rows
  /// fast.
  int32_t ShapeRunEnd(int32_t x_pixels, int32_t y_pixels);
  /// Everything is to be painted anew.
  void RepaintAll();
  /// Gives the bitmaps' memory back while the window is hidden.
  void FreeBitmaps();

  // ---- the mouse

  WindowPart PartAt(int32_t x, int32_t y) const;
  void OnPress(const Pointer& pointer);  ///< Left button, on a control.
  void OnDoubleClick(const Pointer& pointer);
  void OnMove(const Pointer& pointer);  ///< Pressed or not.
  void OnRelease(const Pointer& pointer);
  void OnCancel();  ///< The mouse was taken away.
  void OnLeave();
  bool OnWheel(const Pointer& pointer, int32_t notches);
  bool OnMiddleClick(const Pointer& pointer);
  bool OnContextMenu(const Pointer& pointer);
  bool IsPressed() const { return pressed_ != nullptr; }
  /// The control's tip and the control, which is null where there is none.
  std::pair<std::u16string, const Control*> TipAt(int32_t x, int32_t y) const;

  // ---- the keyboard

  /// Tab and Shift+Tab, then the control that has the focus, then OnWindowKey.
  bool OnKey(const KeyPress& key);
  bool OnCharacter(char16_t character);
  Control* Focused() const { return focused_; }
  void Focus(Control* control, bool by_keyboard);
  /// Whether keys come to this window; only then does it show where they go.
  void SetActive(bool active);

  // ---- screen readers and motion

  size_t ControlCount() const { return placed_.size(); }
  Control& ControlAtIndex(size_t index) const { return *placed_[index].control; }
  /// By the element's name in the skin ("play"); null when the skin does not have it.
  Control* FindControl(std::string_view element) const;

  uint32_t TickMs() const;  ///< The soonest of the visible controls; 0: none moves.
  void OnTick(uint32_t now_ms);

 protected:
  /// What a window's element has of the window itself.
  struct Frame {
    std::string image_gbk;
    SkinRect resize_rect;
    bool tile = false;
    SkinRect position;
  };
  /// Finds its element and skin in the wardrobe, and adds the controls. Null: there is no such window, which
  /// cannot be with the built-in skin.
  virtual LoadedSkin* Build(SkinWardrobe& wardrobe, Frame* frame) = 0;
  /// After the size or the skin changed, for what AlignedPosition does not place.
  virtual void Arrange() {}
  virtual bool OnWindowWheel(int32_t) { return false; }
  virtual bool OnWindowKey(const KeyPress&) { return false; }
  /// After a control under the mouse was hidden: the one that is seen there now is hovered.
  void RefreshHover();

  /// Adds a control. `align`: the edges that it keeps its distance to, as SkinAlign says. Only from Build.
  template <class T>
  T* Add(std::string_view element, std::unique_ptr<T> control, const SkinRect& position,
         int32_t align = kAlignLeft | kAlignTop) {
    T* added = control.get();
    AddControl(element, std::move(control), position, align);
    return added;
  }

 private:
  struct Placed {
    std::string element;
    std::unique_ptr<Control> control;
    SkinRect position;
    int32_t align = 0;
    bool dirty = true;
    SkinRect dirty_part = {};  ///< Pixels; counts while it is not dirty as a whole.
  };

  void Repaint(Control& control) override;
  void RepaintPart(Control& control, const SkinRect& pixels) override;
  void TickChanged() override;
  void ValueChanged(Control& control) override;

  void AddControl(std::string_view element, std::unique_ptr<Control> control, const SkinRect& position,
                  int32_t align);
  void PlaceControls();
  void PrepareBackground();
  SkinRect PixelsOf(const Control& control) const;
  SkinRect DirtyPixelsOf(const Placed& placed) const;
  void PaintControl(Control& control, const SkinRect& clip);
  void MoveFocus(int direction);
  Control* At(int32_t x, int32_t y) const;
  size_t IndexOf(const Control& control) const;

  const SkinWindow kind_;
  WindowViewHost* host_ = nullptr;
  LoadedSkin* skin_ = nullptr;
  TextPainter* text_ = nullptr;
  Frame frame_;
  int32_t image_width_ = 0;
  int32_t image_height_ = 0;
  int32_t width_ = 0;
  int32_t height_ = 0;
  int32_t scale_ = 1;
  std::vector<Placed> placed_;
  Bitmap background_;
  Bitmap canvas_;
  bool all_dirty_ = true;
  Control* pressed_ = nullptr;
  Control* hovered_ = nullptr;
  Control* focused_ = nullptr;
  Pointer pointer_;           ///< Where the mouse was seen last.
  bool shows_focus_ = false;  ///< The focus came by the keyboard.
  bool active_ = true;
};

}  // namespace melorin
