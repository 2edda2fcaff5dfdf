// SPDX-License-Identifier: MIT
#include "app/path_expander.h"

#include <windows.h>

#include <shlwapi.h>

#include <algorithm>

#include "platform/com.h"
#include "platform/file.h"
#include "platform/text.h"

namespace melorin {
namespace {

constexpr int kMaxDepth = 32;
constexpr size_t kMaxFiles = 100000;

class FolderWalk {
 public:
  FolderWalk(const std::function<bool(std::u16string_view)>& can_play, const std::atomic<bool>& stop,
             std::vector<std::u16string>& files)
      : can_play_(can_play), stop_(stop), files_(files) {}

  void Walk(const std::u16string& folder, int depth) {
    if (depth > kMaxDepth) return;
    std::vector<std::u16string> names;
    std::vector<std::u16string> folders;
    for (const DirectoryEntry& entry : ListDirectory(GbkFromUtf16(folder))) {
      std::u16string name = Utf16FromGbk(entry.name_gbk);
      if (entry.is_directory) {
        folders.push_back(std::move(name));
      } else if (can_play_(name)) {
        names.push_back(std::move(name));
      }
    }
    const auto by_name = [](const std::u16string& a, const std::u16string& b) {
      return StrCmpLogicalW(AsWide(a.c_str()), AsWide(b.c_str())) < 0;
    };
    std::sort(names.begin(), names.end(), by_name);
    std::sort(folders.begin(), folders.end(), by_name);
    for (const std::u16string& name : names) {
      if (stop_ || files_.size() >= kMaxFiles) return;
      files_.push_back(Join(folder, name));
    }
    for (const std::u16string& name : folders) {
      if (stop_ || files_.size() >= kMaxFiles) return;
      Walk(Join(folder, name), depth + 1);
    }
  }

 private:
  static std::u16string Join(const std::u16string& folder, const std::u16string& name) {
    const bool ends = folder.ends_with(u'\\') || folder.ends_with(u'/');
    return ends ? folder + name : folder + u'\\' + name;
  }

  const std::function<bool(std::u16string_view)>& can_play_;
  const std::atomic<bool>& stop_;
  std::vector<std::u16string>& files_;
};

}  // namespace

std::vector<std::u16string> ExpandPaths(const std::vector<std::u16string>& paths,
                                        const std::function<bool(std::u16string_view)>& can_play,
                                        const std::atomic<bool>& stop) {
  std::vector<std::u16string> files;
  FolderWalk walk(can_play, stop, files);
  for (const std::u16string& path : paths) {
    if (stop) break;
    const DWORD attributes = GetFileAttributesW(AsWide(path.c_str()));
    if (attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0) {
      const size_t before = files.size();
      walk.Walk(path, 0);
      // A folder with nothing to play is an entry of its own, so that the user is told.
      if (files.size() == before && !stop) files.push_back(path);
    } else {
      files.push_back(path);
    }
  }
  return files;
}

PathExpander::~PathExpander() {
  Stop();
}

void PathExpander::Start(std::vector<std::u16string> paths, std::function<bool(std::u16string_view)> can_play,
                         std::function<void(std::vector<std::u16string>)> done) {
  if (worker_.Running()) worker_.Join();
  stop_ = false;
  worker_ = Thread();
  worker_.Start([this, paths = std::move(paths), can_play = std::move(can_play), done = std::move(done)] {
    std::vector<std::u16string> files = ExpandPaths(paths, can_play, stop_);
    if (!stop_) done(std::move(files));
  });
}

void PathExpander::Stop() {
  stop_ = true;
  if (worker_.Running()) worker_.Join();
}

}  // namespace melorin
