// SPDX-License-Identifier: MIT
//
// Playlist files: reading one into a list, writing one, and adding a path of any kind to a list. The format
// goes by the extension: ".m3u" (code page 936), ".m3u8" (UTF-8), ".mzbl" (binary), anything else the XML
// form ".mzpl".
//
// Readers take foreign files: what they allocate is bounded by the file's size, and a failure leaves in the
// list what was read before it. Writers write beside the file and swap it in. Relative entry paths are
// resolved against the list file's folder. Thread: the UI thread, or any one thread with lists of its own.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "playlist/playlist.h"
#include "sound/sheet_tracks.h"

namespace melorin {

/// Reads the tracks of the sheet at that path; empty when it has none or cannot be read.
using SheetReader = std::function<std::vector<SheetTrack>(const std::string& path_gbk)>;

struct ListFileOptions {
  bool save_relative_path = false;  ///< "SaveRelativePath"
  bool save_tags = true;            ///< "SaveTags"
  bool ignore_bad_files = false;    ///< "IgnoreBadFiles"
  SheetReader read_sheet;           ///< None: a ".cue" path is one entry.
};

/// True for ".mzpl", ".mzbl", ".m3u" and ".m3u8". A ".lnk" is resolved first and its target takes the place
/// of the path.
bool IsPlaylistFile(std::string& path_gbk);

/// Appends what the path stands for: a playlist file's entries, a sheet's tracks, else the file itself as one
/// entry without title and duration. False when nothing was added.
bool AddPath(Playlist& list, const std::string& path_gbk, const ListFileOptions& options);

/// Appends the file's entries, and records the path as the list's source and the list as loaded. True when at
/// least one entry was read (".mzpl": when it was parsed).
bool LoadPlaylist(Playlist& list, const std::string& path_gbk, const ListFileOptions& options);
/// Reads the name only and marks the list as not loaded. Formats without a name give the file's.
bool LoadPlaylistName(Playlist& list, const std::string& path_gbk);

/// False when the file cannot be written whole; then an old file is as it was.
bool SavePlaylist(const Playlist& list, const std::string& path_gbk, const ListFileOptions& options);

}  // namespace melorin
