// SPDX-License-Identifier: MIT
#include "app/standard_output.h"

#include <windows.h>

#include <algorithm>
#include <string>

#include "app/win_handle.h"
#include "platform/com.h"
#include "platform/text.h"

namespace melorin {
namespace {

bool WriteBytes(HANDLE file, std::string_view bytes) {
  while (!bytes.empty()) {
    DWORD written = 0;
    if (!WriteFile(file, bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr) || written == 0)
      return false;
    bytes.remove_prefix(written);
  }
  return true;
}

/// Consoles take UTF-16, whatever code page they are set to.
bool WriteConsoleText(HANDLE console, std::u16string_view text) {
  constexpr size_t kMostAtOnce = 8192;
  while (!text.empty()) {
    const size_t length = std::min(text.size(), kMostAtOnce);
    DWORD written = 0;
    if (!WriteConsoleW(console, AsWide(text.data()), static_cast<DWORD>(length), &written, nullptr) ||
        written == 0)
      return false;
    text.remove_prefix(written);
  }
  return true;
}

bool Write(HANDLE output, const std::string& line) {
  DWORD mode = 0;
  if (GetConsoleMode(output, &mode)) return WriteConsoleText(output, Utf16FromUtf8(line));
  return WriteBytes(output, line);
}

}  // namespace

bool PrintLine(std::string_view utf8) {
  const std::string line = std::string(utf8) + "\n";
  HANDLE output = GetStdHandle(STD_OUTPUT_HANDLE);
  if (output && output != INVALID_HANDLE_VALUE && Write(output, line)) return true;
  // Started from a prompt, which gives programs with windows no output.
  if (!AttachConsole(ATTACH_PARENT_PROCESS)) return false;
  const WinHandle console(CreateFileW(L"CONOUT$", GENERIC_READ | GENERIC_WRITE,
                                      FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING, 0,
                                      nullptr));
  const bool written = console && Write(console.get(), line);
  FreeConsole();
  return written;
}

}  // namespace melorin
