// SPDX-License-Identifier: MIT
//
// ListLoader: reads lists of which only the name was read, and list files, one after another, on a worker.
#pragma once

#include <deque>
#include <functional>
#include <string>
#include <utility>

#include "app/worker.h"
#include "platform/com_ptr.h"
#include "playlist/list_file.h"
#include "playlist/playlist.h"

namespace melorin {

/// The stored lists must not be written while IsBusy(), unless after WaitForRead: the worker reads the same
/// folder. Thread: the UI thread, but for what the worker calls.
class ListLoader {
 public:
  /// Brings a task to the UI thread. Called on the worker.
  using PostFunction = std::function<void(std::function<void()>)>;
  /// `loaded`: false when the list cannot be read; it stays as it is.
  using DoneFunction = std::function<void(bool loaded)>;

  explicit ListLoader(PostFunction post) : post_(std::move(post)) {}

  /// Calls `done` at once for a list that is loaded, else later.
  void Load(ComPtr<Playlist> list, const ListFileOptions& options, DoneFunction done);
  /// `done` gets a new list with the file's name and entries, or null.
  using FileFunction = std::function<void(ComPtr<Playlist> list)>;
  void ReadFile(std::string path_gbk, const ListFileOptions& options, FileFunction done);
  bool IsBusy() const { return !jobs_.empty(); }
  /// Waits for the list that is being read. The next one's turn comes with the UI thread's next tasks.
  void WaitForRead() { worker_.Stop(); }
  /// The same; no `done` is called any more.
  void Stop();

 private:
  struct Job {
    ComPtr<Playlist> read;  ///< The worker's own; lists are the UI thread's.
    ListFileOptions options;
    std::string file_gbk;  ///< Of ReadFile.
    std::function<void()> finish;
  };
  void Push(Job job);
  void StartNext();
  void Finish();

  const PostFunction post_;
  Worker worker_;
  std::deque<Job> jobs_;  ///< The first is under way.
  bool stopped_ = false;
};

}  // namespace melorin
