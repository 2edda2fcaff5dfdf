// SPDX-License-Identifier: MIT
#include "app/path_expander.h"

#include <windows.h>

#include <shlwapi.h>

#include <algorithm>
#include <iterator>
#include <set>

#include "platform/com.h"
#include "platform/file.h"
#include "platform/text.h"
#include "sound/cue_files.h"
#include "sound/sound_library.h"

namespace melorin {
namespace {

constexpr int kMaxDepth = 32;
constexpr size_t kMaxFiles = 100000;

bool IsSheet(const std::string& name_gbk) {
  return EqualNoCaseGbk(PathExtension(name_gbk), "cue");
}

class FolderWalk {
 public:
  FolderWalk(const SoundLibrary& library, const std::atomic<bool>& stop, std::vector<std::string>& files)
      : library_(library), stop_(stop), files_(files) {}

  void Walk(const std::string& folder, int depth) {
    if (depth > kMaxDepth) return;
    std::vector<std::string> paths;
    std::vector<std::string> folders;
    std::vector<std::string> sheets;
    for (const DirectoryEntry& entry : ListDirectory(folder)) {
      std::string path = JoinPath(folder, entry.name_gbk);
      if (entry.is_directory) {
        folders.push_back(std::move(path));
      } else if (IsSheet(entry.name_gbk)) {
        sheets.push_back(std::move(path));
      } else if (library_.CanPlay(Utf16FromGbk(entry.name_gbk))) {
        paths.push_back(std::move(path));
      }
    }
    TakeSheets(sheets, paths);
    Sort(paths);
    Sort(folders);
    for (std::string& path : paths) {
      if (Full()) return;
      files_.push_back(std::move(path));
    }
    for (const std::string& path : folders) {
      if (Full()) return;
      Walk(path, depth + 1);
    }
  }

 private:
  bool Full() const { return stop_ || files_.size() >= kMaxFiles; }

  void TakeSheets(const std::vector<std::string>& sheets, std::vector<std::string>& paths) const {
    std::set<std::string> covered;
    for (const std::string& path : sheets) {
      if (stop_) return;
      const CueSheet sheet = ReadCueFile(path);
      if (sheet.files.size() != 1 || sheet.tracks.empty()) continue;
      const std::string audio = FindCueAudio(library_, path, sheet, 0);
      if (audio.empty() || !covered.insert(LowerGbk(audio)).second) continue;
      paths.push_back(path);
    }
    std::erase_if(paths, [&](const std::string& path) { return covered.contains(LowerGbk(path)); });
  }

  static void Sort(std::vector<std::string>& paths) {
    std::vector<std::pair<std::u16string, std::string>> named;
    for (std::string& path : paths)
      named.emplace_back(Utf16FromGbk(PathFileName(path)), std::move(path));
    std::sort(named.begin(), named.end(), [](const auto& a, const auto& b) {
      return StrCmpLogicalW(AsWide(a.first.c_str()), AsWide(b.first.c_str())) < 0;
    });
    for (size_t i = 0; i < named.size(); ++i)
      paths[i] = std::move(named[i].second);
  }

  const SoundLibrary& library_;
  const std::atomic<bool>& stop_;
  std::vector<std::string>& files_;
};

/// By its name; what it is a shortcut to is not known yet.
bool IsKnownType(const SoundLibrary& library, const std::u16string& path) {
  std::string path_gbk = GbkFromUtf16(path);
  return library.CanPlay(path) || EqualNoCaseGbk(PathExtension(path_gbk), "lnk") ||
         DirectoryExists(FullPath(path_gbk)) || IsPlaylistFile(path_gbk);
}

/// Of several files that are named at once, as when all of an album's are dropped, pictures and texts are not
/// meant. A file alone is, whatever it is called.
std::vector<std::u16string> WithoutOtherFiles(const SoundLibrary& library,
                                              const std::vector<std::u16string>& paths) {
  std::vector<std::u16string> known;
  if (paths.size() > 1)
    std::copy_if(paths.begin(), paths.end(), std::back_inserter(known),
                 [&](const std::u16string& path) { return IsKnownType(library, path); });
  return known.empty() ? paths : known;
}

}  // namespace

ExpandedPaths ExpandPaths(const std::vector<std::u16string>& paths, const SoundLibrary& library,
                          const ListFileOptions& options, const std::atomic<bool>& stop, bool sub_folders) {
  ExpandedPaths expanded;
  expanded.entries = Playlist::Create();
  for (const std::u16string& path : WithoutOtherFiles(library, paths)) {
    if (stop) break;
    bool lossy = false;
    std::string path_gbk = FullPath(GbkFromUtf16(path, &lossy));
    if (lossy) {
      expanded.problems.push_back(u"文件名含有无法处理的字符：" + path);
      continue;
    }
    if (!DirectoryExists(path_gbk)) {
      if (!AddPath(*expanded.entries, path_gbk, options))
        expanded.problems.push_back(u"没有可以播放的内容：" + path);
      continue;
    }
    std::vector<std::string> files;
    FolderWalk(library, stop, files).Walk(path_gbk, sub_folders ? 0 : kMaxDepth);
    if (files.empty() && !stop) expanded.problems.push_back(u"文件夹里没有可以播放的文件：" + path);
    for (const std::string& file : files) {
      if (stop) break;
      AddPath(*expanded.entries, file, options);
    }
  }
  return expanded;
}

}  // namespace melorin
