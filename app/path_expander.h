// SPDX-License-Identifier: MIT
//
// Turns the paths that the user names into list entries: a folder becomes the playable files in it and below
// it, in name order; playlists, sheets and shortcuts become what they stand for. Reads disks, so it runs on
// the worker.
#pragma once

#include <atomic>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/com_ptr.h"
#include "playlist/list_file.h"
#include "playlist/playlist.h"

namespace melorin {

class SoundLibrary;

/// What the paths stand for, and what there is to tell the user of those that stand for nothing.
struct ExpandedPaths {
  ComPtr<Playlist> entries;
  std::vector<std::u16string> problems;
};

/// Files stay, whatever their extension (the user asked for them, and learns why when one cannot be played);
/// folders are replaced by the files inside that the library can play, folders after files, deepest 32
/// levels, at most 100,000 files. Names are ordered as a user expects: digits by value ("2.mp3" before
/// "10.mp3"), no case. A sheet in a folder that names one audio file stands for that file, others are left
/// out there, so that nothing is listed twice. Without `sub_folders` a folder is the files in it only.
/// `stop`: gives up early with what there is. Thread: one that has the component runtime.
ExpandedPaths ExpandPaths(const std::vector<std::u16string>& paths, const SoundLibrary& library,
                          const ListFileOptions& options, const std::atomic<bool>& stop,
                          bool sub_folders = true);

}  // namespace melorin
