// SPDX-License-Identifier: MIT
#include "playback/win32/driver_thread.h"

#include <objbase.h>
#include <process.h>

#include <memory>

namespace melorin {

namespace {

/// How often a waiting caller looks whether it is to stop.
constexpr DWORD kStopStepMs = 50;

__attribute__((force_align_arg_pointer)) unsigned __stdcall RunThread(void* argument) noexcept {
  const std::unique_ptr<std::function<void()>> body(static_cast<std::function<void()>*>(argument));
  (*body)();
  return 0;
}

}  // namespace

void DriverEvent::WaitAsDriver() {
  while (MsgWaitForMultipleObjectsEx(1, &handle_, INFINITE, QS_ALLINPUT, MWMO_INPUTAVAILABLE) ==
         WAIT_OBJECT_0 + 1) {
    MSG message;
    while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) {
      TranslateMessage(&message);
      DispatchMessageW(&message);
    }
  }
}

bool DriverEvent::WaitAsCaller(uint32_t timeout_ms, const std::atomic<bool>* stop) {
  const DWORD begin = GetTickCount();
  for (;;) {
    const DWORD passed = GetTickCount() - begin;
    const bool stopped = stop && *stop;
    const DWORD left = passed < timeout_ms && !stopped ? timeout_ms - passed : 0;
    const DWORD step = stop && left > kStopStepMs ? kStopStepMs : left;
    const DWORD result = MsgWaitForMultipleObjects(1, &handle_, FALSE, step, QS_SENDMESSAGE);
    if (result == WAIT_TIMEOUT && step < left) continue;
    if (result != WAIT_OBJECT_0 + 1) return WaitForSingleObject(handle_, 0) == WAIT_OBJECT_0;
    MSG message;
    PeekMessageW(&message, nullptr, 0, 0, PM_NOREMOVE | PM_QS_SENDMESSAGE);
  }
}

bool StartDriverThread(std::function<void()> body) {
  return StartLooseThread([run = std::move(body)] {
    const HRESULT apartment = CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
    run();
    if (SUCCEEDED(apartment)) CoUninitialize();
  });
}

bool RunAsDriver(uint32_t timeout_ms, std::function<void()> body, const std::atomic<bool>* stop) {
  const auto ended = std::make_shared<DriverEvent>();
  const auto run = std::make_shared<std::function<void()>>(std::move(body));
  const bool started = *ended && StartDriverThread([run, ended] {
    (*run)();
    ended->Set();
  });
  if (started) return ended->WaitAsCaller(timeout_ms, stop);
  (*run)();
  return true;
}

bool StartLooseThread(std::function<void()> body) {
  auto owned = std::make_unique<std::function<void()>>(std::move(body));
  const uintptr_t handle = _beginthreadex(nullptr, 0, &RunThread, owned.get(), 0, nullptr);
  if (handle == 0) return false;
  static_cast<void>(owned.release());
  CloseHandle(reinterpret_cast<HANDLE>(handle));
  return true;
}

}  // namespace melorin
