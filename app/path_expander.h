// SPDX-License-Identifier: MIT
//
// Turns the paths that the user names into files: a folder becomes the playable files in it and below it, in
// name order. Runs on a thread of its own, since a folder may lie on a slow disk.
#pragma once

#include <atomic>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/thread.h"

namespace melorin {

/// Files stay, whatever their extension (the user asked for them, and learns why when one cannot be played);
/// folders are replaced by the files inside for which `can_play` holds, folders after files, deepest 32
/// levels, at most 100,000 files. Names are ordered as a user expects: digits by value ("2.mp3" before
/// "10.mp3"), no case. `stop`: gives up early with what there is.
std::vector<std::u16string> ExpandPaths(const std::vector<std::u16string>& paths,
                                        const std::function<bool(std::u16string_view path)>& can_play,
                                        const std::atomic<bool>& stop);

/// One expansion at a time, in the order asked for.
/// Thread: the UI thread; `done` and `can_play` are called on the worker.
class PathExpander {
 public:
  ~PathExpander();
  /// Waits for an expansion under way first.
  void Start(std::vector<std::u16string> paths, std::function<bool(std::u16string_view)> can_play,
             std::function<void(std::vector<std::u16string>)> done);
  /// Ends an expansion under way; its `done` is not called afterwards.
  void Stop();

 private:
  Thread worker_;
  std::atomic<bool> stop_{false};
};

}  // namespace melorin
