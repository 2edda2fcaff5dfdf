// SPDX-License-Identifier: MIT
//
// The program's start on Windows: wide arguments, a console that is told to show UTF-8, and the component
// runtime.
#include <windows.h>

#include <fcntl.h>
#include <io.h>
#include <objbase.h>

#include <cstdio>
#include <string>
#include <vector>

#include "cli/commands.h"
#include "platform/file.h"
#include "platform/text.h"

/// Lets the C runtime expand "*.mp3", which the command interpreter leaves to programs.
extern "C" {
extern int _dowildcard;
int _dowildcard = -1;
}

namespace {

/// Switches the console to UTF-8 and back again: the setting would outlive the program.
class Utf8Console {
 public:
  Utf8Console() : before_(GetConsoleOutputCP()) { SetConsoleOutputCP(CP_UTF8); }
  ~Utf8Console() {
    if (before_ != 0) SetConsoleOutputCP(before_);
  }
  Utf8Console(const Utf8Console&) = delete;
  Utf8Console& operator=(const Utf8Console&) = delete;

 private:
  UINT before_;
};

/// For the platform's own readers. No message is pumped here, so objects must not need that.
class ComponentRuntime {
 public:
  ComponentRuntime() : result_(CoInitializeEx(nullptr, COINIT_MULTITHREADED)) {}
  ~ComponentRuntime() {
    if (SUCCEEDED(result_)) CoUninitialize();
  }
  ComponentRuntime(const ComponentRuntime&) = delete;
  ComponentRuntime& operator=(const ComponentRuntime&) = delete;

 private:
  HRESULT result_;
};

std::string Utf8FromWide(const wchar_t* text) {
  return melorin::Utf8FromUtf16(melorin::AsChar16(text));
}

/// Beside the program, as in the player.
std::string AddInFolder() {
  wchar_t path[32768];
  const DWORD length = GetModuleFileNameW(nullptr, path, static_cast<DWORD>(std::size(path)));
  if (length == 0 || length >= std::size(path)) return {};
  const std::string program = melorin::GbkFromUtf16({melorin::AsChar16(path), length});
  return melorin::JoinPath(melorin::PathDirectory(program), "AddIn");
}

}  // namespace

int wmain(int count, wchar_t** values) {
  _setmode(_fileno(stdout), _O_BINARY);
  _setmode(_fileno(stderr), _O_BINARY);
  const Utf8Console utf8_console;
  const ComponentRuntime component_runtime;
  melorin::StandardConsole console(_isatty(_fileno(stderr)) != 0);
  std::vector<std::string> arguments;
  for (int i = 1; i < count; ++i)
    arguments.push_back(Utf8FromWide(values[i]));
  return melorin::RunCommandLine({console, AddInFolder()}, arguments);
}
