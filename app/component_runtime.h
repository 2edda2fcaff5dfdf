// SPDX-License-Identifier: MIT
//
// The component runtime of a thread, as a single-threaded apartment, for as long as this object lives.
#pragma once

#include <objbase.h>

namespace melorin {

class ComponentRuntime {
 public:
  ComponentRuntime() : result_(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED)) {}
  ~ComponentRuntime() {
    if (SUCCEEDED(result_)) CoUninitialize();
  }
  ComponentRuntime(const ComponentRuntime&) = delete;
  ComponentRuntime& operator=(const ComponentRuntime&) = delete;

 private:
  HRESULT result_;
};

}  // namespace melorin
