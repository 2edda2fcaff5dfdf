// SPDX-License-Identifier: MIT
#include "platform/thread.h"

#include <chrono>
#include <condition_variable>
#include <system_error>
#include <thread>

namespace melorin {

struct Event::Impl {
  std::mutex mutex;
  std::condition_variable changed;
  bool is_set = false;
  bool auto_reset = false;
};

Event::Event(Mode mode) : impl_(std::make_unique<Impl>()) {
  impl_->auto_reset = mode == Mode::kAutoReset;
}
Event::~Event() = default;

void Event::Set() {
  const Lock lock(impl_->mutex);
  impl_->is_set = true;
  // Under the lock: a waiter may destroy the event as soon as it is through.
  impl_->changed.notify_all();
}

void Event::Reset() {
  const Lock lock(impl_->mutex);
  impl_->is_set = false;
}

bool Event::Wait(uint32_t timeout_ms) {
  std::unique_lock lock(impl_->mutex);
  const auto is_set = [this] { return impl_->is_set; };
  if (timeout_ms == kInfinite) {
    impl_->changed.wait(lock, is_set);
  } else {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeout_ms);
    if (!impl_->changed.wait_until(lock, deadline, is_set)) return false;
  }
  if (impl_->auto_reset) impl_->is_set = false;
  return true;
}

struct Thread::Impl {
  std::thread thread;
};

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
    impl->thread = std::thread(std::move(body));
    impl_ = std::move(impl);
    return true;
  } catch (const std::system_error&) {
    return false;
  } catch (const std::bad_alloc&) {
    return false;
  }
}

bool Thread::Running() const {
  return impl_ != nullptr;
}

void Thread::Join() {
  if (!impl_) return;
  impl_->thread.join();
  impl_.reset();
}

bool Thread::SetPriority(int priority) {
  return impl_ && ((priority >= -2 && priority <= 2) || priority == -15 || priority == 15);
}

}  // namespace melorin
