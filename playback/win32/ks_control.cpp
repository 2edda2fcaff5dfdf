// SPDX-License-Identifier: MIT
#include "playback/win32/ks_control.h"

#include <winioctl.h>

#include <algorithm>
#include <cstring>
#include <new>
#include <utility>
#include <vector>

namespace melorin {

namespace {

/// For the driver to give a cancelled call back.
constexpr uint32_t kCancelWaitMs = 100;
constexpr size_t kQuestionBytes = 64;

}  // namespace

KsHandle::KsHandle(KsHandle&& other) noexcept
    : api_(other.api_), handle_(std::exchange(other.handle_, nullptr)) {}

KsHandle& KsHandle::operator=(KsHandle&& other) noexcept {
  std::swap(api_, other.api_);
  std::swap(handle_, other.handle_);
  return *this;
}

void KsHandle::Close() {
  if (*this) api_->Close(handle_);
  handle_ = nullptr;
}

struct KsControl::Request {
  OVERLAPPED overlapped = {};
  KsEvent event;
  alignas(8) uint8_t question[kQuestionBytes] = {};
  std::vector<uint8_t> value;
};

KsControl::KsControl(const KsApi& api, HANDLE object, uint32_t reply_bytes)
    : api_(api), object_(object), request_(std::make_unique<Request>()) {
  if (!request_->event.get()) throw std::bad_alloc();
  request_->value.resize(reply_bytes);
}

KsControl::~KsControl() = default;

DWORD KsControl::Get(std::span<const uint8_t> question, std::span<const uint8_t>* reply) {
  *reply = {};
  if (!request_) return ERROR_TIMEOUT;
  uint32_t returned = 0;
  const DWORD error = Call(question, static_cast<uint32_t>(request_->value.size()), &returned);
  if (error == ERROR_SUCCESS) *reply = std::span<const uint8_t>(request_->value).first(returned);
  return error;
}

DWORD KsControl::Set(std::span<const uint8_t> question, std::span<const uint8_t> value) {
  if (!request_) return ERROR_TIMEOUT;
  if (value.size() > request_->value.size()) return ERROR_INVALID_PARAMETER;
  std::memcpy(request_->value.data(), value.data(), value.size());
  uint32_t returned = 0;
  return Call(question, static_cast<uint32_t>(value.size()), &returned);
}

DWORD KsControl::Call(std::span<const uint8_t> question, uint32_t value_bytes, uint32_t* returned) {
  Request& request = *request_;
  if (question.size() > sizeof request.question) return ERROR_INVALID_PARAMETER;
  std::memcpy(request.question, question.data(), question.size());
  request.overlapped = {};
  request.overlapped.hEvent = request.event.get();
  ::ResetEvent(request.event.get());
  DWORD written = 0;
  DWORD error = ERROR_SUCCESS;
  if (!api_.IoControl(object_, IOCTL_KS_PROPERTY, request.question, static_cast<DWORD>(question.size()),
                      request.value.data(), value_bytes, &written, &request.overlapped)) {
    error = ::GetLastError();
    if (error == ERROR_SUCCESS) error = ERROR_GEN_FAILURE;
    if (error == ERROR_IO_PENDING) error = Await(&written);
  }
  *returned = std::min<uint32_t>(written, value_bytes);
  return error;
}

DWORD KsControl::Await(DWORD* returned) {
  Request& request = *request_;
  bool done = ::WaitForSingleObject(request.event.get(), kKsPatienceMs) == WAIT_OBJECT_0;
  if (done) {
    if (api_.OverlappedResult(object_, &request.overlapped, returned, FALSE)) return ERROR_SUCCESS;
    const DWORD error = ::GetLastError();
    if (error != ERROR_IO_INCOMPLETE && error != ERROR_SUCCESS) return error;
    // Says that it is done and that it is not: never to be touched again.
  } else {
    api_.Cancel(object_, &request.overlapped);
    done = ::WaitForSingleObject(request.event.get(), kCancelWaitMs) == WAIT_OBJECT_0 &&
           HasOverlappedIoCompleted(&request.overlapped);
    if (done) request_.reset();
  }
  static_cast<void>(request_.release());
  *returned = 0;
  return ERROR_TIMEOUT;
}

KSPROPERTY KsQuestion(const GUID& set, ULONG id, ULONG flags) {
  KSPROPERTY property = {};
  property.Set = set;
  property.Id = id;
  property.Flags = flags;
  return property;
}

}  // namespace melorin
