// SPDX-License-Identifier: MIT
//
// Owners of GDI objects and device contexts; whatever is selected is put back.
#pragma once

#include <windows.h>

#include <utility>

namespace melorin {

template <class Handle>
class GdiObject {
 public:
  GdiObject() noexcept = default;
  explicit GdiObject(Handle handle) noexcept : handle_(handle) {}
  GdiObject(GdiObject&& other) noexcept : handle_(std::exchange(other.handle_, nullptr)) {}
  GdiObject& operator=(GdiObject&& other) noexcept {
    std::swap(handle_, other.handle_);
    return *this;
  }
  ~GdiObject() {
    if (handle_) DeleteObject(handle_);
  }
  Handle get() const noexcept { return handle_; }
  explicit operator bool() const noexcept { return handle_ != nullptr; }
  /// Gives the object to somebody else, as the system when a region becomes a window's.
  [[nodiscard]] Handle Release() noexcept { return std::exchange(handle_, nullptr); }

 private:
  Handle handle_ = nullptr;
};

/// Selects an object for a scope.
class SelectScope {
 public:
  SelectScope(HDC dc, HGDIOBJ object) noexcept : dc_(dc), before_(SelectObject(dc, object)) {}
  ~SelectScope() { SelectObject(dc_, before_); }
  SelectScope(const SelectScope&) = delete;
  SelectScope& operator=(const SelectScope&) = delete;

 private:
  HDC dc_;
  HGDIOBJ before_;
};

/// BeginPaint and EndPaint.
class PaintScope {
 public:
  explicit PaintScope(HWND window) noexcept : window_(window), dc_(BeginPaint(window, &paint_)) {}
  ~PaintScope() { EndPaint(window_, &paint_); }
  PaintScope(const PaintScope&) = delete;
  PaintScope& operator=(const PaintScope&) = delete;
  HDC dc() const noexcept { return dc_; }
  const RECT& Dirty() const noexcept { return paint_.rcPaint; }

 private:
  HWND window_;
  PAINTSTRUCT paint_{};
  HDC dc_;
};

}  // namespace melorin
