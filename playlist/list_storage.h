// SPDX-License-Identifier: MIT
//
// The player's own lists on disk: "%03d.mzbl" in the storage folder, one a list, in the order of the tabs.
// Lists other than the active one are read by name only and loaded when they are first opened.
//
// Saving may be cut off at any instant: what a load finds afterwards is every list whole, as it was before
// the save or as it should be after it. Thread: the UI thread.
#pragma once

#include <string>

#include "playlist/list_file.h"

namespace melorin {

/// How many lists the folder holds: the highest number of a stored list plus one, 0 without any. A save that
/// was cut off is completed or taken back first. Settings that were lost or are old must not lose lists, so
/// the caller loads the larger of this and "PlayLists".
size_t RecoverStoredLists(const std::string& folder_gbk);

/// Loads `count` lists (at most 1000), list `active` completely. Numbers without a file are skipped. Always
/// leaves at least one list in the set. Returns the number of lists that were read.
size_t LoadAllLists(PlaylistSet& set, const std::string& folder_gbk, size_t count, size_t active,
                    const std::string& default_name_gbk, const ListFileOptions& options);

/// Reads the items of a list of which only the name was read; true when it is loaded afterwards. A list whose
/// file cannot be read stays unloaded and keeps its file.
bool EnsureLoaded(Playlist& list, const ListFileOptions& options);

/// Writes all lists. Afterwards the folder holds exactly 000.mzbl to the last list's and no temporary file.
/// False when a list could not be written: then the stored lists are as they were. (When files could be
/// written but then not moved, because another program holds them, it is false too; the next save or load
/// completes it.)
///
/// A list that is not loaded is moved, never written, so a new name for it is lost: load it first. A list
/// whose bytes are those of its file is not written either, which makes saving many lists quick.
bool SaveAllLists(PlaylistSet& set, const std::string& folder_gbk, const ListFileOptions& options);

}  // namespace melorin
