// SPDX-License-Identifier: MIT
//
// The journal of a save of all lists: which file becomes which list. While it stands in the folder, the save
// is decided and is carried to its end by whoever comes next; as long as it does not, nothing has happened.
//
// A save writes new contents to "%03d.new" first; a list that stays as it is, but at another number, is only
// moved. With the journal, two phases follow, each of which may be begun again any number of times:
//   1. a file that becomes another number's goes to that number's "%03d.mzbl.tmp": no number is overwritten;
//   2. "%03d.new" and "%03d.mzbl.tmp" go to "%03d.mzbl"; whatever else is in the folder is deleted.
// Between the two the journal is replaced by one that says so: from the files alone it could not be told
// whether a number's file is the old or the new one. Thread: one.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "playlist/storage_disk.h"

namespace melorin {

struct ListJournal {
  int phase = 1;
  /// For each list the number of the file that becomes it; none: its "%03d.new".
  std::vector<std::optional<size_t>> from;
};

std::string FormatJournal(const ListJournal& journal);
/// Nothing for a text that is not whole: a checksum stands at its end.
std::optional<ListJournal> ParseJournal(std::string_view text);

/// "%03d" and the ending: ".mzbl", ".mzbl.tmp", ".new", ".mzpl".
std::string NumberedName(size_t number, std::string_view ending);
/// The number of a file that has exactly such a name.
std::optional<size_t> NumberOfName(std::string_view name_gbk, std::string_view ending);

/// Writes the journal: from here on the save is decided.
bool CommitJournal(StorageDisk& disk, const std::string& folder_gbk, ListJournal journal);
/// True when a journal stands in the folder.
bool HasJournal(const std::string& folder_gbk);
/// Carries a decided save to its end, or clears away what an undecided one left. True when the folder is at
/// rest afterwards: only then its numbers mean anything.
bool FinishSave(StorageDisk& disk, const std::string& folder_gbk);
/// Deletes every ".mzbl" that is not one of the first `count` lists, and all temporary files.
void CleanStorage(StorageDisk& disk, const std::string& folder_gbk, size_t count);

}  // namespace melorin
