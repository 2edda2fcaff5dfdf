// SPDX-License-Identifier: MIT
//
// Handing out a text through an interface: a copy in task memory, or the reason why not.
#pragma once

#include "platform/com.h"

namespace melorin {

/// E_POINTER for a null `out`, E_OUTOFMEMORY when there is no memory for the copy. Thread: any.
inline HRESULT HandOutText(const char16_t* text, WideChar** out) {
  if (!out) return E_POINTER;
  *out = CopyText(text);
  return *out ? S_OK : E_OUTOFMEMORY;
}

/// Owns a text in task memory, as operations hand it out.
class TaskText {
 public:
  TaskText() = default;
  explicit TaskText(WideChar* text) : text_(text) {}
  ~TaskText() { CoTaskMemFree(text_); }
  TaskText(const TaskText&) = delete;
  TaskText& operator=(const TaskText&) = delete;

  WideChar** Receive() { return &text_; }
  const char16_t* get() const { return text_ ? AsChar16(text_) : u""; }
  explicit operator bool() const { return text_ != nullptr; }

 private:
  WideChar* text_ = nullptr;
};

}  // namespace melorin
