// SPDX-License-Identifier: MIT
//
// The search, folder by folder in order; the first file with the best score wins.
// 1. "artist - title" with ".lrc", then ".txt": 9. The name of the song's own file, likewise: 4.
// 2. Every lyric file by its similarity.
// 3. The subfolders, each in the same way.
// A score of 9 ends it. Names are looked up in what is remembered of a folder, and only files are rated that
// share a key with the song, since all others have no similarity (name_similarity.h). In a search folder
// itself the names of step 1 are asked of the disk as well: where folders are not stamped (FAT) a new file is
// found at once by its name.
#include "lyrics/lyric_finder.h"

#include <algorithm>
#include <array>
#include <string_view>
#include <unordered_set>

#include "doc/settings.h"
#include "lyrics/folder_index.h"
#include "lyrics/name_similarity.h"
#include "platform/text.h"

namespace melorin {
namespace {

/// Levels below a search folder: artist, album, disc and one more.
constexpr int kMostDepth = 4;
/// What is looked at below one search folder; the rest is not seen.
constexpr size_t kMostEntries = 200000;
constexpr size_t kMostFolders = 20000;
constexpr int kBaseNameScore = 4;
constexpr std::array<std::string_view, 2> kExtensions = {".lrc", ".txt"};

/// False for names that no file can have, or that would lead into another folder.
bool CanBeFileName(std::string_view name_gbk) {
  constexpr std::string_view kForbidden = kPathSeparator == '\\' ? "\\/:*?\"<>|" : "/";
  if (name_gbk.empty()) return false;
  for (size_t i = 0; i < name_gbk.size(); ++i) {
    const auto byte = static_cast<unsigned char>(name_gbk[i]);
    if (IsGbkLead(byte) && i + 1 < name_gbk.size())
      ++i;
    else if (byte == 0 || (kPathSeparator == '\\' && byte < 0x20) ||
             kForbidden.find(name_gbk[i]) != std::string_view::npos)
      return false;
  }
  return true;
}

/// One search for one song.
class Search {
 public:
  Search(FolderIndex& index, const SongKey& key)
      : index_(index),
        full_name_(key.FullName()),
        base_name_(key.base_name),
        song_(FoldSong(key)),
        keys_(LookupKeys(song_)) {}

  /// Searches a folder of the list.
  void Run(const std::string& folder_gbk) {
    entries_ = folders_ = 0;
    Visit(folder_gbk, 0);
  }
  bool Ended() const { return best_.score >= kCertainScore; }
  const LyricMatch& Best() const { return best_; }
  /// Where the best file lies.
  const std::string& BestFolder() const { return best_folder_; }

 private:
  void Visit(const std::string& path_gbk, int depth) {
    if (entries_ >= kMostEntries || folders_ >= kMostFolders) return;
    const auto folder = index_.Open(path_gbk);
    if (!folder) return;
    // A link to a folder above leads round in circles. Folders that the system cannot tell apart (some
    // network drives) end by their depth.
    if (folder->Identity().IsKnown() &&
        std::find(above_.begin(), above_.end(), folder->Identity()) != above_.end())
      return;
    entries_ += folder->Entries();
    ++folders_;
    VisitFiles(*folder, depth == 0);
    if (Ended() || depth == kMostDepth) return;
    above_.push_back(folder->Identity());
    for (const std::string& name : folder->Subfolders()) {
      Visit(JoinPath(path_gbk, name), depth + 1);
      if (Ended()) break;
    }
    above_.pop_back();
  }

  void VisitFiles(const ListedFolder& folder, bool ask_disk) {
    TryName(folder, full_name_, kCertainScore, ask_disk);
    if (Ended()) return;
    if (best_.score < kBaseNameScore) TryName(folder, base_name_, kBaseNameScore, ask_disk);
    for (const uint32_t file : folder.Candidates(keys_)) {
      const std::string& name = folder.Lyrics()[file];
      Take(folder, name, Similarity(song_, FoldName(std::string_view(name).substr(0, name.size() - 4))));
      if (Ended()) return;
    }
  }

  void TryName(const ListedFolder& folder, const std::string& name, int score, bool ask_disk) {
    if (!CanBeFileName(name)) return;
    for (const std::string_view extension : kExtensions) {
      const std::string file = name + std::string(extension);
      if (!folder.Has(file) && !(ask_disk && FileExists(JoinPath(folder.PathGbk(), file)))) continue;
      Take(folder, file, score);
      return;
    }
  }

  void Take(const ListedFolder& folder, const std::string& name, int score) {
    if (score <= best_.score) return;
    best_ = {score, JoinPath(folder.PathGbk(), name)};
    best_folder_ = folder.PathGbk();
  }

  FolderIndex& index_;
  const std::string full_name_;
  const std::string base_name_;
  const FoldedName song_;
  const std::vector<uint32_t> keys_;
  LyricMatch best_;
  std::string best_folder_;
  std::vector<FolderIdentity> above_;
  size_t entries_ = 0;
  size_t folders_ = 0;
};

/// The folder that an entry of the list stands for; empty for none.
std::string FolderOf(const std::string& entry, const std::string& song_path, const LyricSearch& search) {
  if (entry == kDownloadFolderEntryGbk) return search.download_folder_gbk;
  if (entry != kSongFolderEntryGbk) return entry;
  const std::string folder(PathDirectory(song_path));
  return folder.empty() ? "." : folder;
}

}  // namespace

struct LyricFinder::Index {
  FolderIndex folders;
};

LyricFinder::LyricFinder(const LyricAssociations& associations)
    : associations_(associations), index_(std::make_unique<Index>()) {}

LyricFinder::~LyricFinder() = default;

LyricMatch LyricFinder::Find(const PlayListItem& item, const LyricSearch& search) {
  const std::string& song_path = item.PathGbk();
  if (song_path.empty()) return {};
  const std::string associated = associations_.Find(song_path, item.Subtrack());
  if (!associated.empty() && FileExists(associated)) return {kCertainScore, associated};

  const SongKey key = SongKeyOf(item);
  // Twice at most: a file may be gone from a folder without a stamp.
  for (int attempt = 0;; ++attempt) {
    Search run(index_->folders, key);
    std::unordered_set<std::string> done;
    for (const std::string& entry : search.folders_gbk) {
      const std::string folder = FolderOf(entry, song_path, search);
      // A second time nothing could be better.
      if (folder.empty() || !done.insert(folder).second) continue;
      run.Run(folder);
      if (run.Ended()) break;
    }
    if (run.Best().score == 0 || FileExists(run.Best().path_gbk)) return run.Best();
    index_->folders.Forget(run.BestFolder());
    if (attempt == 1) return {};
  }
}

void LyricFinder::Forget() {
  index_->folders.Clear();
}

}  // namespace melorin
