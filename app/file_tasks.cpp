// SPDX-License-Identifier: MIT
#include "app/file_tasks.h"

#include <shellapi.h>

#include <atomic>
#include <memory>
#include <new>
#include <utility>

#include "platform/com.h"
#include "platform/file.h"
#include "platform/text.h"
#include "playlist/path_check.h"

namespace melorin {
namespace {

/// True when the file is gone afterwards.
bool RecycleOne(const std::string& path_gbk) {
  // The list of names ends with a second zero.
  const std::u16string names = Utf16FromGbk(path_gbk) + u'\0';
  SHFILEOPSTRUCTW operation{};
  operation.wFunc = FO_DELETE;
  operation.pFrom = AsWide(names.c_str());
  operation.fFlags = FOF_ALLOWUNDO | FOF_NOCONFIRMATION | FOF_SILENT | FOF_NOERRORUI;
  SHFileOperationW(&operation);
  return !FileExists(path_gbk);
}

}  // namespace

template <class Work>
bool FileTasks::Start(Work work, std::function<void(PathSet)> done) {
  if (busy_ || stopped_) return false;
  busy_ =
      worker_.Start([this, work = std::move(work), done = std::move(done)](const std::atomic<bool>& stop) {
        auto found = std::make_shared<PathSet>();
        try {
          *found = work(stop);
        } catch (const std::bad_alloc&) {
          // What was found is not known; nothing is done then.
        }
        post_([this, found, done] {
          if (stopped_) return;
          busy_ = false;
          done(std::move(*found));
        });
      });
  return busy_;
}

bool FileTasks::FindMissing(std::vector<std::string> paths_gbk, std::function<void(PathSet)> done) {
  return Start(
      [paths = std::move(paths_gbk)](const std::atomic<bool>& stop) {
        PathSet missing;
        PathCheck check;
        for (const std::string& path : paths) {
          if (stop) break;
          if (!check.IsFile(path)) missing.insert(path);
        }
        return missing;
      },
      std::move(done));
}

bool FileTasks::Recycle(std::vector<std::string> paths_gbk, std::function<void(PathSet)> done) {
  return Start(
      [paths = std::move(paths_gbk)](const std::atomic<bool>& stop) {
        PathSet gone;
        for (const std::string& path : paths) {
          if (stop) break;
          if (RecycleOne(path)) gone.insert(path);
        }
        return gone;
      },
      std::move(done));
}

void FileTasks::Stop() {
  stopped_ = true;
  worker_.Stop();
}

}  // namespace melorin
