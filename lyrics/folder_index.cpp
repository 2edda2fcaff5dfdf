// SPDX-License-Identifier: MIT
#include "lyrics/folder_index.h"

#include <algorithm>
#include <chrono>
#include <unordered_set>

#include "lyrics/name_similarity.h"
#include "platform/text.h"

namespace melorin {
namespace {

constexpr int64_t kSecond = 1000000;
/// A folder that changed so shortly before it was read may have changed again within the same stamp: file
/// systems keep two seconds or less.
constexpr int64_t kUnsureTime = 3 * kSecond;
/// FAT and some shares do not stamp folders.
constexpr int64_t kTrustTime = 600 * kSecond;

int64_t NowMicroseconds() {
  using std::chrono::duration_cast;
  return duration_cast<std::chrono::microseconds>(std::chrono::system_clock::now().time_since_epoch())
      .count();
}

/// As names are told apart on this platform.
std::string NameKey(std::string_view name_gbk) {
  return kPathSeparator == '\\' ? LowerGbk(name_gbk) : std::string(name_gbk);
}

uint32_t HashOf(std::string_view name) {
  return static_cast<uint32_t>(std::hash<std::string_view>()(name));
}

std::string_view WithoutExtension(std::string_view name_gbk) {
  return name_gbk.substr(0, name_gbk.size() - 4);  // ".lrc" and ".txt".
}

bool EndsWithNoCase(std::string_view name_gbk, std::string_view extension) {
  const size_t dot = FindLastGbk(name_gbk, '.');
  return dot != std::string_view::npos && EqualNoCaseGbk(name_gbk.substr(dot), extension);
}

}  // namespace

bool IsLyricFileName(std::string_view name_gbk) {
  return EndsWithNoCase(name_gbk, ".lrc") || EndsWithNoCase(name_gbk, ".txt");
}

ListedFolder::ListedFolder(std::string path_gbk)
    : path_gbk_(std::move(path_gbk)),
      // Before the listing: a change meanwhile shows the next time.
      stamp_us_(FolderTimeStamp(path_gbk_)),
      listed_us_(NowMicroseconds()),
      identity_(IdentifyFolder(path_gbk_)) {
  std::vector<DirectoryEntry> entries = ListDirectoryUpTo(path_gbk_, kMostEntries);
  entries_ = entries.size();
  for (DirectoryEntry& entry : entries) {
    if (entry.is_directory) {
      subfolders_.push_back(std::move(entry.name_gbk));
    } else if (IsLyricFileName(entry.name_gbk)) {
      names_.push_back({HashOf(NameKey(entry.name_gbk)), static_cast<uint32_t>(lyrics_.size())});
      lyrics_.push_back(std::move(entry.name_gbk));
    }
  }
  std::sort(names_.begin(), names_.end());
  lyrics_.shrink_to_fit();
  names_.shrink_to_fit();
}

bool ListedFolder::Has(std::string_view name_gbk) const {
  const std::string wanted = NameKey(name_gbk);
  const uint32_t hash = HashOf(wanted);
  for (auto at = std::lower_bound(names_.begin(), names_.end(), KeyedFile{hash, 0});
       at != names_.end() && at->key == hash; ++at)
    if (NameKey(lyrics_[at->file]) == wanted) return true;
  return false;
}

std::vector<uint32_t> ListedFolder::Candidates(const std::vector<uint32_t>& lookup_keys) const {
  if (!has_keys_) MakeKeys();
  std::vector<uint32_t> files;
  for (const uint32_t key : lookup_keys)
    for (auto at = std::lower_bound(keys_.begin(), keys_.end(), KeyedFile{key, 0});
         at != keys_.end() && at->key == key; ++at)
      files.push_back(at->file);
  std::sort(files.begin(), files.end());
  files.erase(std::unique(files.begin(), files.end()), files.end());
  return files;
}

void ListedFolder::MakeKeys() const {
  std::unordered_set<std::string> lrc_names;
  for (const std::string& name : lyrics_)
    if (EndsWithNoCase(name, ".lrc")) lrc_names.insert(NameKey(WithoutExtension(name)));
  for (size_t i = 0; i < lyrics_.size(); ++i) {
    const std::string& name = lyrics_[i];
    if (EndsWithNoCase(name, ".txt") && lrc_names.contains(NameKey(WithoutExtension(name)))) continue;
    for (const uint32_t key : IndexKeys(FoldName(WithoutExtension(name))))
      keys_.push_back({key, static_cast<uint32_t>(i)});
  }
  std::sort(keys_.begin(), keys_.end());
  keys_.shrink_to_fit();
  has_keys_ = true;
}

bool ListedFolder::IsCurrent(int64_t stamp_us, int64_t now_us) const {
  return stamp_us == stamp_us_ && stamp_us_ + kUnsureTime < listed_us_ && now_us >= listed_us_ &&
         now_us - listed_us_ < kTrustTime;
}

std::shared_ptr<const ListedFolder> FolderIndex::Open(const std::string& path_gbk) {
  const int64_t stamp = FolderTimeStamp(path_gbk);
  if (stamp == 0) {
    Forget(path_gbk);
    return nullptr;
  }
  const auto known = folders_.find(path_gbk);
  if (known != folders_.end()) {
    if (known->second.folder->IsCurrent(stamp, NowMicroseconds())) {
      known->second.last_use = ++uses_;
      return known->second.folder;
    }
    Forget(path_gbk);
  }
  auto folder = std::make_shared<const ListedFolder>(path_gbk);
  files_ += folder->Lyrics().size() + 1;
  folders_[path_gbk] = {folder, ++uses_};
  if (files_ > kMostFiles) MakeRoom();
  return folder;
}

void FolderIndex::Forget(const std::string& path_gbk) {
  const auto known = folders_.find(path_gbk);
  if (known == folders_.end()) return;
  files_ -= known->second.folder->Lyrics().size() + 1;
  folders_.erase(known);
}

void FolderIndex::Clear() {
  folders_.clear();
  files_ = 0;
}

void FolderIndex::MakeRoom() {
  // A quarter at once, so that it is seldom done.
  std::vector<std::pair<uint64_t, std::string>> by_use;
  for (const auto& [path, slot] : folders_)
    by_use.emplace_back(slot.last_use, path);
  std::sort(by_use.begin(), by_use.end());
  for (const auto& [use, path] : by_use) {
    if (files_ <= kMostFiles / 4 * 3) break;
    Forget(path);
  }
}

}  // namespace melorin
