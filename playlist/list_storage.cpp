// SPDX-License-Identifier: MIT
//
// How a save goes: every list that is loaded is written beside the stored ones; then the journal says what
// becomes what (list_journal.h); then files are moved. A list whose bytes are those of its file is not
// written, and one that is not loaded is only moved.
#include "playlist/list_storage.h"

#include <algorithm>
#include <new>
#include <optional>
#include <utility>
#include <vector>

#include "platform/file.h"
#include "platform/text.h"
#include "playlist/list_journal.h"
#include "playlist/list_reading.h"
#include "playlist/mzbl.h"
#include "playlist/stored_save.h"

namespace melorin {
namespace {

constexpr size_t kMostLists = 1000;

std::string StoredPath(const std::string& folder, size_t number) {
  return JoinPath(folder, NumberedName(number, ".mzbl"));
}

bool SameBytes(std::span<const uint8_t> a, std::span<const uint8_t> b) {
  return a.size() == b.size() && std::equal(a.begin(), a.end(), b.begin());
}

class Save {
 public:
  Save(StorageDisk& disk, PlaylistSet& set, const std::string& folder, const ListFileOptions& options)
      : disk_(disk), set_(set), folder_(folder), options_(options), plan_(set.Size()) {}

  bool Run() {
    // Lists that are not loaded come first: they need their files, the others could do without.
    for (const bool loaded : {false, true}) {
      for (size_t i = 0; i < set_.Size(); ++i) {
        if (set_.At(i)->IsLoaded() == loaded && !(loaded ? PlanLoaded(i) : PlanUnloaded(i))) {
          TakeBackWritten();
          return false;
        }
      }
    }
    bool at_rest = true;
    for (size_t i = 0; i < plan_.size(); ++i)
      at_rest = at_rest && plan_[i] == i;
    if (at_rest) {
      CleanStorage(disk_, folder_, plan_.size());
      return true;
    }
    ListJournal journal;
    journal.from = plan_;
    if (!CommitJournal(disk_, folder_, std::move(journal))) {
      TakeBackWritten();
      return false;
    }
    // Decided: whatever happens now, this is where the lists are going to be. One that is loaded and came
    // from elsewhere still came from there.
    for (size_t i = 0; i < plan_.size(); ++i) {
      Playlist& list = *set_.At(i);
      if (!list.IsLoaded() || NumberInFolder(list)) list.SetSourcePath(StoredPath(folder_, i));
    }
    if (!FinishSave(disk_, folder_)) return false;
    for (const std::string& path : copied_)
      disk_.Delete(path);
    return true;
  }

 private:
  /// The number of the stored file that the list came from.
  std::optional<size_t> NumberInFolder(const Playlist& list) const {
    const auto number = NumberOfName(PathFileName(list.SourcePathGbk()), ".mzbl");
    const bool here = number && EqualNoCaseGbk(list.SourcePathGbk(), StoredPath(folder_, *number));
    return here ? number : std::nullopt;
  }
  bool IsTaken(size_t number) const { return std::find(plan_.begin(), plan_.end(), number) != plan_.end(); }

  bool Write(size_t i, std::span<const uint8_t> bytes) {
    written_.push_back(JoinPath(folder_, NumberedName(i, ".new")));
    return disk_.Write(written_.back(), bytes);
  }

  bool PlanLoaded(size_t i) {
    const Playlist& list = *set_.At(i);
    const std::vector<uint8_t> bytes = WriteMzbl(list, options_.save_tags);
    const size_t number = NumberInFolder(list).value_or(i);
    MappedFile file;
    if (!IsTaken(number) && file.Open(StoredPath(folder_, number)) && SameBytes(file.Bytes(), bytes)) {
      plan_[i] = number;
      return true;
    }
    return Write(i, bytes);
  }

  bool PlanUnloaded(size_t i) {
    const Playlist& list = *set_.At(i);
    const auto number = NumberInFolder(list);
    if (number && !IsTaken(*number) && FileExists(list.SourcePathGbk())) {
      plan_[i] = number;
      return true;
    }
    MappedFile file;
    // A list whose file somebody took away keeps its name, and its place among the others.
    if (!file.Open(list.SourcePathGbk())) {
      if (FileExists(list.SourcePathGbk())) return false;
      return Write(i, WriteMzbl(*Playlist::Create(list.NameGbk()), false));
    }
    if (!Write(i, file.Bytes())) return false;
    // It lies in another folder, where the lists were stored before. When what was just written is seen
    // there, it is this folder under another name, and the old path is soon that of a list that was saved.
    const std::string seen_there = JoinPath(PathDirectory(list.SourcePathGbk()), NumberedName(i, ".new"));
    if (!number && !FileExists(seen_there)) copied_.push_back(list.SourcePathGbk());
    return true;
  }

  void TakeBackWritten() {
    for (const std::string& path : written_)
      disk_.Delete(path);
  }

  StorageDisk& disk_;
  PlaylistSet& set_;
  const std::string& folder_;
  const ListFileOptions& options_;
  std::vector<std::optional<size_t>> plan_;  ///< As in the journal.
  std::vector<std::string> written_;
  std::vector<std::string> copied_;
};

/// The file of a list in the older XML form becomes one of today's. The old one goes only when the new one is
/// there whole, so no instant is without the list.
ComPtr<Playlist> Migrate(const std::string& folder, size_t number, const ListFileOptions& options) {
  const std::string old_path = JoinPath(folder, NumberedName(number, ".mzpl"));
  auto list = Playlist::Create();
  const ListReadResult result = ReadListFile(*list, old_path, options, false);
  list->SetSourcePath(StoredPath(folder, number));
  ListFileOptions everything;
  if (SavePlaylist(*list, list->SourcePathGbk(), everything)) {
    // Of a damaged file there may be more to save than was read.
    if (result.complete)
      DeleteFileAt(old_path);
    else
      ReplaceFileAt(old_path, old_path + ".damaged");
  }
  return list;
}

ComPtr<Playlist> LoadStored(const std::string& path, bool completely, const std::string& default_name,
                            const ListFileOptions& options) {
  auto list = Playlist::Create();
  list->SetSourcePath(path);
  list->SetLoaded(false);
  if (!ReadListFile(*list, path, options, true).recognised) {
    // Not to be read by this version, but it is there: it keeps its place and its file.
    list->SetName(default_name);
  } else if (completely) {
    EnsureLoaded(*list, options);
  }
  return list;
}

size_t ReadStored(PlaylistSet& set, const std::string& folder, size_t count, size_t active,
                  const std::string& default_name, const ListFileOptions& options) {
  StorageDisk disk;
  FinishSave(disk, folder);
  size_t read = 0;
  for (size_t i = 0; i < count; ++i) {
    if (FileExists(StoredPath(folder, i))) {
      set.Append(LoadStored(StoredPath(folder, i), i == active, default_name, options));
    } else if (FileExists(JoinPath(folder, NumberedName(i, ".mzpl")))) {
      set.Append(Migrate(folder, i, options));
    } else {
      continue;
    }
    ++read;
  }
  return read;
}

}  // namespace

size_t RecoverStoredLists(const std::string& folder) try {
  StorageDisk disk;
  FinishSave(disk, folder);
  size_t count = 0;
  for (const DirectoryEntry& entry : ListDirectory(folder)) {
    if (entry.is_directory) continue;
    for (const std::string_view ending : {".mzbl", ".mzpl"}) {
      const auto number = NumberOfName(entry.name_gbk, ending);
      if (number && *number < kMostLists) count = std::max(count, *number + 1);
    }
  }
  return count;
} catch (const std::bad_alloc&) {
  return 0;
}

size_t LoadAllLists(PlaylistSet& set, const std::string& folder, size_t count, size_t active,
                    const std::string& default_name, const ListFileOptions& options) {
  size_t read = 0;
  try {
    read = ReadStored(set, folder, std::min(count, kMostLists), active, default_name, options);
  } catch (const std::bad_alloc&) {
    // What was read is in the set; the rest keeps its files as long as nothing is saved.
  }
  if (set.Size() == 0) set.Append(Playlist::Create(default_name));
  return read;
}
bool EnsureLoaded(Playlist& list, const ListFileOptions& options) try {
  if (list.IsLoaded()) return true;
  const std::string folder(PathDirectory(list.SourcePathGbk()));
  StorageDisk disk;
  if (HasJournal(folder) && !FinishSave(disk, folder)) return false;
  const auto read = Playlist::Create();
  if (!ReadListFile(*read, list.SourcePathGbk(), options, false).recognised) return false;
  list.Replace(read->Items());
  list.SetLoaded(true);
  return true;
} catch (const std::bad_alloc&) {
  return false;
}

bool SaveAllListsTo(StorageDisk& disk, PlaylistSet& set, const std::string& folder,
                    const ListFileOptions& options) try {
  return MakeDirectory(folder) && FinishSave(disk, folder) && Save(disk, set, folder, options).Run();
} catch (const std::bad_alloc&) {
  return false;
}

bool SaveAllLists(PlaylistSet& set, const std::string& folder, const ListFileOptions& options) {
  StorageDisk disk;
  return SaveAllListsTo(disk, set, folder, options);
}

}  // namespace melorin
