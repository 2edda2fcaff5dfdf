// SPDX-License-Identifier: MIT
//
// crashing_program FOLDER WAY: crashes in the way that is named, with dumps in FOLDER. A small program: under
// Wine the writer of dumps reads through everything that is loaded.
#include <windows.h>

#include <cstdlib>
#include <string_view>
#include <thread>

#include "app/crash_dump.h"

namespace {

int* volatile nowhere = nullptr;

// Called through a pointer that may change, so that it is no endless loop to the compiler.
int (*volatile deeper)(int);
int FillStack(int depth) {
  volatile char page[2048];
  page[0] = static_cast<char>(depth);
  return deeper(depth + 1) + page[0];
}

void Crash(std::string_view way) {
  if (way == "null write") *nowhere = 1;
  if (way == "stack overflow") {
    deeper = &FillStack;
    FillStack(0);
  }
  if (way == "abort") std::abort();
  if (way == "terminate") std::thread([] { throw 1; }).join();
}

/// Stands in for the system's own last word, which starts a debugger: that takes seconds.
LONG WINAPI EndWithCode(EXCEPTION_POINTERS* exception) {
  TerminateProcess(GetCurrentProcess(), exception->ExceptionRecord->ExceptionCode);
  return EXCEPTION_EXECUTE_HANDLER;
}

}  // namespace

int main(int count, char** arguments) {
  if (count != 3) return 1;
  SetUnhandledExceptionFilter(&EndWithCode);
  const melorin::CrashDump dump(arguments[1]);
  Crash(arguments[2]);
  return 0;
}
