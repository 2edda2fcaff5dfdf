// SPDX-License-Identifier: MIT
//
// An apartment lasts as long as one thread stands in it, so a thread stands in it for good. (The runtime's
// own call for this purpose is younger than the oldest system that the player runs on.)
#include "sound/win32/component_runtime.h"

#include <windows.h>

#include <objbase.h>

#include <mutex>

namespace melorin {
namespace {

struct Keeper {
  HANDLE ready;
  HRESULT result;
};

DWORD WINAPI KeepApartment(void* context) {
  auto* keeper = static_cast<Keeper*>(context);
  const HRESULT result = CoInitializeEx(nullptr, COINIT_MULTITHREADED);
  keeper->result = result;
  SetEvent(keeper->ready);  // `keeper` is gone after this.
  if (SUCCEEDED(result)) Sleep(INFINITE);
  return 0;
}

bool StartKeeper() {
  constexpr SIZE_T kStackBytes = 256 * 1024;
  Keeper keeper{CreateEventW(nullptr, TRUE, FALSE, nullptr), E_FAIL};
  if (!keeper.ready) return false;
  const HANDLE thread =
      CreateThread(nullptr, kStackBytes, &KeepApartment, &keeper, STACK_SIZE_PARAM_IS_A_RESERVATION, nullptr);
  if (thread) {
    WaitForSingleObject(keeper.ready, INFINITE);
    CloseHandle(thread);
  }
  CloseHandle(keeper.ready);
  return SUCCEEDED(keeper.result);
}

}  // namespace

bool KeepComponentRuntime() {
  static std::mutex lock;
  static bool kept = false;
  const std::lock_guard guard(lock);
  if (!kept) kept = StartKeeper();
  return kept;
}

}  // namespace melorin
