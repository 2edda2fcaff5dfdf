// SPDX-License-Identifier: MIT
//
// The console over the C library's streams.
#include "cli/console.h"

#include <cstdio>

namespace melorin {
namespace {

/// Back to the line's start, and erase it (ECMA-48: CR, and EL without a parameter).
constexpr std::string_view kEraseLine = "\r\x1B[K";

void WriteTo(std::FILE* stream, std::string_view text) {
  std::fwrite(text.data(), 1, text.size(), stream);
}

}  // namespace

bool StandardConsole::Write(std::string_view bytes) {
  return std::fwrite(bytes.data(), 1, bytes.size(), stdout) == bytes.size();
}

bool StandardConsole::Flush() {
  return std::fflush(stdout) == 0 && std::ferror(stdout) == 0;
}

void StandardConsole::Message(std::string_view utf8) {
  std::fflush(stdout);
  if (progress_shown_) WriteTo(stderr, kEraseLine);
  progress_shown_ = false;
  WriteTo(stderr, utf8);
  WriteTo(stderr, "\n");
  std::fflush(stderr);
}

void StandardConsole::Progress(std::string_view utf8) {
  if (!error_is_terminal_) return;
  WriteTo(stderr, kEraseLine);
  WriteTo(stderr, utf8);
  std::fflush(stderr);
  progress_shown_ = true;
}

}  // namespace melorin
