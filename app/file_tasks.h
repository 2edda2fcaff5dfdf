// SPDX-License-Identifier: MIT
//
// FileTasks: what commands of lists do with many files on the disk, on a worker: looking which are missing,
// and moving files to the recycle bin.
#pragma once

#include <windows.h>

#include <functional>
#include <string>
#include <unordered_set>
#include <vector>

#include "app/worker.h"

namespace melorin {

/// One task at a time. Thread: the UI thread, but for what the worker calls.
class FileTasks {
 public:
  using PostFunction = std::function<void(std::function<void()>)>;
  using PathSet = std::unordered_set<std::string>;

  explicit FileTasks(PostFunction post) : post_(std::move(post)) {}

  bool IsBusy() const { return busy_; }
  /// `done` gets those of the paths that are no files (any more). False when another task is under way.
  bool FindMissing(std::vector<std::string> paths_gbk, std::function<void(PathSet missing)> done);
  /// Moves the files to the recycle bin, where the disk has one. `done` gets those that are gone afterwards.
  bool Recycle(std::vector<std::string> paths_gbk, std::function<void(PathSet gone)> done);
  /// Ends a task early and waits for it; its `done` is not called.
  void Stop();

 private:
  template <class Work>
  bool Start(Work work, std::function<void(PathSet)> done);

  const PostFunction post_;
  bool busy_ = false;
  bool stopped_ = false;
  Worker worker_;
};

}  // namespace melorin
