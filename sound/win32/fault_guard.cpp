// SPDX-License-Identifier: MIT
//
// The compiler knows no structured exception handling, so a vectored handler stands in: for a fault on a
// thread that is inside CallGuarded it lets the thread go on in Recover instead, which jumps back into
// CallGuarded. The jump is made by the thread itself after the system has left exception dispatching, never
// out of the handler.
#include "sound/fault_guard.h"

#include <windows.h>

#include <mutex>

namespace melorin {

namespace {

struct GuardFrame {
  void* registers[5];
  GuardFrame* outer;
};

thread_local GuardFrame* innermost = nullptr;

[[noreturn]] void Recover() {
  GuardFrame* frame = innermost;
  innermost = frame->outer;
  __builtin_longjmp(frame->registers, 1);
}

bool IsFault(DWORD code) {
  switch (code) {
    case EXCEPTION_ACCESS_VIOLATION:
    case EXCEPTION_IN_PAGE_ERROR:
    case EXCEPTION_ILLEGAL_INSTRUCTION:
    case EXCEPTION_PRIV_INSTRUCTION:
    case EXCEPTION_INT_DIVIDE_BY_ZERO:
    case EXCEPTION_INT_OVERFLOW:
    case EXCEPTION_DATATYPE_MISALIGNMENT:
      return true;
    default:
      return false;
  }
}

LONG CALLBACK OnException(EXCEPTION_POINTERS* exception) {
  if (!innermost || !IsFault(exception->ExceptionRecord->ExceptionCode)) return EXCEPTION_CONTINUE_SEARCH;
  CONTEXT& context = *exception->ContextRecord;
  // As if Recover had been called: an aligned stack with a return address on it.
  context.Esp = ((context.Esp - 128) & ~DWORD{15}) - 4;
  context.Eip = static_cast<DWORD>(reinterpret_cast<uintptr_t>(&Recover));
  return EXCEPTION_CONTINUE_EXECUTION;
}

}  // namespace

__attribute__((noinline)) bool CallGuarded(void (*body)(void* context), void* context) {
  static std::once_flag installed;
  std::call_once(installed, [] { AddVectoredExceptionHandler(1, &OnException); });
  GuardFrame frame;
  frame.outer = innermost;
  if (__builtin_setjmp(frame.registers) != 0) return false;
  innermost = &frame;
  body(context);
  innermost = frame.outer;
  return true;
}

}  // namespace melorin
