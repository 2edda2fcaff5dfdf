// SPDX-License-Identifier: MIT
//
// Owners of kernel handles and mapped views.
#pragma once

#include <windows.h>

#include <utility>

namespace melorin {

/// Closes the handle. Both null and INVALID_HANDLE_VALUE count as none.
class WinHandle {
 public:
  WinHandle() noexcept = default;
  explicit WinHandle(HANDLE handle) noexcept : handle_(handle == INVALID_HANDLE_VALUE ? nullptr : handle) {}
  WinHandle(WinHandle&& other) noexcept : handle_(std::exchange(other.handle_, nullptr)) {}
  WinHandle& operator=(WinHandle&& other) noexcept {
    std::swap(handle_, other.handle_);
    return *this;
  }
  ~WinHandle() {
    if (handle_) CloseHandle(handle_);
  }

  HANDLE get() const noexcept { return handle_; }
  explicit operator bool() const noexcept { return handle_ != nullptr; }

 private:
  HANDLE handle_ = nullptr;
};

/// A view of a file mapping as one record.
template <class T>
class MappedView {
 public:
  MappedView() noexcept = default;
  explicit MappedView(HANDLE mapping) noexcept
      : view_(static_cast<T*>(MapViewOfFile(mapping, FILE_MAP_READ | FILE_MAP_WRITE, 0, 0, sizeof(T)))) {}
  MappedView(MappedView&& other) noexcept : view_(std::exchange(other.view_, nullptr)) {}
  MappedView& operator=(MappedView&& other) noexcept {
    std::swap(view_, other.view_);
    return *this;
  }
  ~MappedView() {
    if (view_) UnmapViewOfFile(view_);
  }

  T* get() const noexcept { return view_; }
  T* operator->() const noexcept { return view_; }
  explicit operator bool() const noexcept { return view_ != nullptr; }

 private:
  T* view_ = nullptr;
};

}  // namespace melorin
