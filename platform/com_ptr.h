// SPDX-License-Identifier: MIT
//
// ComPtr: an owning reference to a counted object, and ComObject: the counting itself.
#pragma once

#include <atomic>
#include <cassert>
#include <utility>

#include "platform/com.h"

namespace melorin {

/// Owns one reference. Copies add a reference, moves hand it over.
template <class T>
class ComPtr {
 public:
  ComPtr() noexcept = default;
  ComPtr(std::nullptr_t) noexcept {}
  ComPtr(const ComPtr& other) noexcept : object_(other.object_) { AddRefIfAny(); }
  ComPtr(ComPtr&& other) noexcept : object_(std::exchange(other.object_, nullptr)) {}
  ~ComPtr() { ReleaseIfAny(); }

  ComPtr& operator=(const ComPtr& other) noexcept {
    ComPtr(other).Swap(*this);
    return *this;
  }
  ComPtr& operator=(ComPtr&& other) noexcept {
    ComPtr(std::move(other)).Swap(*this);
    return *this;
  }
  T** operator&() = delete;

  /// Takes over a reference that the caller holds (a fresh object's first one).
  static ComPtr Adopt(T* object) noexcept {
    ComPtr pointer;
    pointer.object_ = object;
    return pointer;
  }
  /// Adds a reference of its own to an object that somebody else holds.
  static ComPtr Share(T* object) noexcept {
    ComPtr pointer;
    pointer.object_ = object;
    pointer.AddRefIfAny();
    return pointer;
  }

  T* get() const noexcept { return object_; }
  T* operator->() const noexcept {
    assert(object_);
    return object_;
  }
  T& operator*() const noexcept { return *object_; }
  explicit operator bool() const noexcept { return object_ != nullptr; }

  /// Where an operation stores the reference that it hands out; the pointer must be empty.
  T** Receive() noexcept {
    assert(!object_);
    return &object_;
  }
  void** ReceiveVoid() noexcept { return reinterpret_cast<void**>(Receive()); }
  /// Gives the reference away without releasing it.
  [[nodiscard]] T* Detach() noexcept { return std::exchange(object_, nullptr); }
  void Reset() noexcept { ComPtr().Swap(*this); }
  void Swap(ComPtr& other) noexcept { std::swap(object_, other.object_); }

 private:
  void AddRefIfAny() const noexcept {
    if (object_) object_->AddRef();
  }
  void ReleaseIfAny() const noexcept {
    if (object_) object_->Release();
  }

  T* object_ = nullptr;
};

/// Counts references for a class that implements one or more interfaces. The count starts at 1; the last
/// Release deletes the object. The derived class answers QueryInterface.
template <class... Interfaces>
class ComObject : public Interfaces... {
 public:
  ComObject() = default;
  ComObject(const ComObject&) = delete;
  ComObject& operator=(const ComObject&) = delete;

  ULONG STDMETHODCALLTYPE AddRef() override { return ++references_; }
  ULONG STDMETHODCALLTYPE Release() override {
    const ULONG left = --references_;
    if (left == 0) delete this;
    return left;
  }

 protected:
  virtual ~ComObject() = default;

 private:
  std::atomic<ULONG> references_{1};
};

}  // namespace melorin
