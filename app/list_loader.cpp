// SPDX-License-Identifier: MIT
#include "app/list_loader.h"

#include <atomic>
#include <utility>

#include "playlist/list_storage.h"

namespace melorin {

void ListLoader::Load(ComPtr<Playlist> list, const ListFileOptions& options, DoneFunction done) {
  if (stopped_) return;
  if (list->IsLoaded()) {
    done(true);
    return;
  }
  Job job;
  job.read = Playlist::Create();
  job.read->SetSourcePath(list->SourcePathGbk());
  job.read->SetLoaded(false);
  job.options = options;
  job.finish = [list = std::move(list), read = job.read, done = std::move(done)] {
    if (!list->IsLoaded() && read->IsLoaded()) {
      list->Replace(read->Exchange({}));
      list->SetLoaded(true);
    }
    done(list->IsLoaded());
  };
  Push(std::move(job));
}

void ListLoader::ReadFile(std::string path_gbk, const ListFileOptions& options, FileFunction done) {
  if (stopped_) return;
  Job job;
  job.read = Playlist::Create();
  job.read->SetLoaded(false);
  job.options = options;
  job.file_gbk = std::move(path_gbk);
  job.finish = [read = job.read, done = std::move(done)] {
    // From here on it is one of the player's own lists, which are stored elsewhere.
    read->SetSourcePath({});
    done(read->IsLoaded() ? read : ComPtr<Playlist>());
  };
  Push(std::move(job));
}

void ListLoader::Push(Job job) {
  jobs_.push_back(std::move(job));
  if (jobs_.size() == 1) StartNext();
}

void ListLoader::Stop() {
  stopped_ = true;
  worker_.Stop();
  jobs_.clear();
}

void ListLoader::StartNext() {
  if (jobs_.empty()) return;
  const Job& job = jobs_.front();
  const bool started = worker_.Start(
      [this, read = job.read, options = job.options, file = job.file_gbk](const std::atomic<bool>&) {
        if (file.empty()) {
          EnsureLoaded(*read, options);
        } else if (!LoadPlaylist(*read, file, options)) {
          read->SetLoaded(false);
        }
        post_([this] { Finish(); });
      });
  if (!started) post_([this] { Finish(); });
}

void ListLoader::Finish() {
  if (stopped_ || jobs_.empty()) return;
  const Job job = std::move(jobs_.front());
  jobs_.pop_front();
  StartNext();
  job.finish();
}

}  // namespace melorin
