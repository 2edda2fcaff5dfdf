// SPDX-License-Identifier: MIT
#include "platform/thread.h"

#include <process.h>
#include <windows.h>

namespace melorin {

struct Event::Impl {
  HANDLE handle = nullptr;
};

Event::Event(Mode mode) : impl_(std::make_unique<Impl>()) {
  impl_->handle = CreateEventW(nullptr, mode == Mode::kManualReset, FALSE, nullptr);
}
Event::~Event() {
  if (impl_->handle) CloseHandle(impl_->handle);
}
void Event::Set() {
  SetEvent(impl_->handle);
}
void Event::Reset() {
  ResetEvent(impl_->handle);
}
bool Event::Wait(uint32_t timeout_ms) {
  return WaitForSingleObject(impl_->handle, timeout_ms == kInfinite ? INFINITE : timeout_ms) == WAIT_OBJECT_0;
}

struct Thread::Impl {
  HANDLE handle = nullptr;
  std::function<void()> body;
};

namespace {

// The system starts threads with a stack aligned to 4 bytes; the compiler's code expects 16.
__attribute__((force_align_arg_pointer)) unsigned __stdcall RunBody(void* argument) noexcept {
  (*static_cast<std::function<void()>*>(argument))();
  return 1;
}

}  // namespace

Thread::Thread() noexcept = default;
Thread::~Thread() {
  Join();
}
Thread::Thread(Thread&&) noexcept = default;
Thread& Thread::operator=(Thread&& other) noexcept {
  Join();
  impl_ = std::move(other.impl_);
  return *this;
}

bool Thread::Start(std::function<void()> body) {
  if (impl_) return false;
  try {
    auto impl = std::make_unique<Impl>();
    impl->body = std::move(body);
    const uintptr_t handle = _beginthreadex(nullptr, 0, RunBody, &impl->body, 0, nullptr);
    if (handle == 0) return false;
    impl->handle = reinterpret_cast<HANDLE>(handle);
    impl_ = std::move(impl);
    return true;
  } catch (const std::bad_alloc&) {
    return false;
  }
}

bool Thread::Running() const {
  return impl_ != nullptr;
}

void Thread::Join() {
  if (!impl_) return;
  WaitForSingleObject(impl_->handle, INFINITE);
  CloseHandle(impl_->handle);
  impl_.reset();
}

bool Thread::SetPriority(int priority) {
  return impl_ && SetThreadPriority(impl_->handle, priority) != 0;
}

}  // namespace melorin
