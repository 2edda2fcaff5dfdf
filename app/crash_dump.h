// SPDX-License-Identifier: MIT
//
// What is left of a crash: a minidump in the data folder, "crash\melorin-YYYYMMDD-HHMMSS.dmp" (local time),
// for whoever is to find out why. It is written for a fault that nobody handles (a full stack too), for
// std::terminate and abort, and so for pure virtual calls, and when the C runtime refuses a parameter. After
// it the process ends as it would have without, with the code it would have had.
//
// The crashed thread may have no stack left and may hold any lock, so it only wakes a thread that was made
// beforehand and has everything ready: its stack, the system's writer of dumps, the path. Nothing of ours
// allocates from there on.
#pragma once

#include <memory>
#include <string>

namespace melorin {

/// From construction to destruction crashes of any thread leave a dump. One at a time in a process.
class CrashDump {
 public:
  /// Dumps that are kept; one more removes the oldest.
  static constexpr size_t kKept = 5;

  /// Makes no folder: that is done when there is something to put into it. Where no thread can be made,
  /// crashes leave nothing.
  explicit CrashDump(const std::string& data_folder_gbk);
  ~CrashDump();
  CrashDump(const CrashDump&) = delete;
  CrashDump& operator=(const CrashDump&) = delete;

  /// The path of the newest dump that was there at construction; empty: none.
  const std::string& NewestGbk() const { return newest_gbk_; }

  struct Worker;

 private:
  std::string newest_gbk_;
  std::unique_ptr<Worker> worker_;
};

}  // namespace melorin
