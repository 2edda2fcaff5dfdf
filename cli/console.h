// SPDX-License-Identifier: MIT
//
// Where a command writes: results to standard output, messages and progress to standard error. Text is UTF-8
// on every platform; tests put a recorder in the place of the real streams.
#pragma once

#include <span>
#include <string_view>

namespace melorin {

/// Thread: one.
class Console {
 public:
  virtual ~Console() = default;
  /// Bytes to standard output; false when they could not all be written.
  virtual bool Write(std::string_view bytes) = 0;
  /// Hands on what Write has buffered; false when that, or any earlier write, failed.
  virtual bool Flush() = 0;
  /// One line on standard error.
  virtual void Message(std::string_view utf8) = 0;
  /// A line on standard error that the next one replaces. Shown on a terminal only.
  virtual void Progress(std::string_view utf8) = 0;
};

/// The process's own streams, through the C library; on Windows they must be in binary mode.
class StandardConsole final : public Console {
 public:
  explicit StandardConsole(bool error_is_terminal) : error_is_terminal_(error_is_terminal) {}
  bool Write(std::string_view bytes) override;
  bool Flush() override;
  void Message(std::string_view utf8) override;
  void Progress(std::string_view utf8) override;

 private:
  bool error_is_terminal_;
  bool progress_shown_ = false;
};

}  // namespace melorin
