// SPDX-License-Identifier: MIT
//
// Handles of Kernel Streaming objects, and property calls on them that come back in time even from a driver
// that does not.
#pragma once

#include <cstdint>
#include <memory>
#include <span>

#include "playback/win32/ks_api.h"

namespace melorin {

/// Owns a handle that the table opened.
class KsHandle {
 public:
  KsHandle() = default;
  KsHandle(const KsApi& api, HANDLE handle) : api_(&api), handle_(handle) {}
  KsHandle(KsHandle&& other) noexcept;
  KsHandle& operator=(KsHandle&& other) noexcept;
  ~KsHandle() { Close(); }

  void Close();
  HANDLE get() const { return handle_; }
  explicit operator bool() const { return handle_ != nullptr && handle_ != INVALID_HANDLE_VALUE; }

 private:
  const KsApi* api_ = nullptr;
  HANDLE handle_ = nullptr;
};

/// A manual-reset event of the platform's own.
class KsEvent {
 public:
  KsEvent() : handle_(::CreateEventW(nullptr, TRUE, FALSE, nullptr)) {}
  ~KsEvent() {
    if (handle_) ::CloseHandle(handle_);
  }
  KsEvent(const KsEvent&) = delete;
  KsEvent& operator=(const KsEvent&) = delete;
  HANDLE get() const { return handle_; }

 private:
  const HANDLE handle_;
};

/// How long a call may take that the driver should answer at once.
inline constexpr uint32_t kKsPatienceMs = 1000;

/// Property calls on one object, one at a time. Errors are those of the platform, 0 for success;
/// ERROR_TIMEOUT when the driver does not answer within kKsPatienceMs. It may still write the answer then, so
/// the memory of that call is left to it and every further call fails at once. Thread: one at a time. No
/// allocation after construction.
class KsControl {
 public:
  /// object: opened for overlapped work; must stay open as long as this is used. reply_bytes: of the longest
  /// answer. Throws bad_alloc.
  KsControl(const KsApi& api, HANDLE object, uint32_t reply_bytes);
  ~KsControl();

  /// question: a KSPROPERTY or what begins with one. reply: as much as the driver wrote; valid until the next
  /// call.
  DWORD Get(std::span<const uint8_t> question, std::span<const uint8_t>* reply);
  /// value: at most reply_bytes.
  DWORD Set(std::span<const uint8_t> question, std::span<const uint8_t> value);

  /// Get for an answer of fixed size; ERROR_INVALID_DATA for one that is too short.
  template <class Question, class Value>
  DWORD GetValue(const Question& question, Value* value) {
    std::span<const uint8_t> reply;
    const DWORD error = Get(BytesOf(question), &reply);
    if (error != ERROR_SUCCESS) return error;
    if (reply.size() < sizeof *value) return ERROR_INVALID_DATA;
    __builtin_memcpy(value, reply.data(), sizeof *value);
    return ERROR_SUCCESS;
  }
  template <class Question, class Value>
  DWORD SetValue(const Question& question, const Value& value) {
    return Set(BytesOf(question), BytesOf(value));
  }

 private:
  struct Request;
  template <class Record>
  static std::span<const uint8_t> BytesOf(const Record& record) {
    return {reinterpret_cast<const uint8_t*>(&record), sizeof record};
  }
  DWORD Call(std::span<const uint8_t> question, uint32_t value_bytes, uint32_t* returned);
  DWORD Await(DWORD* returned);

  const KsApi& api_;
  const HANDLE object_;
  std::unique_ptr<Request> request_;  ///< Null once it has been left to the driver.
};

/// A question of that property.
KSPROPERTY KsQuestion(const GUID& set, ULONG id, ULONG flags);

}  // namespace melorin
