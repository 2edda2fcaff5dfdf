// SPDX-License-Identifier: MIT
//
// What the lyric file page does to the list of folders. Knows no window. Thread: any.
#pragma once

#include <string>
#include <vector>

namespace melorin {

/// Appends the folder unless it is there (in any case); returns its place.
size_t AddFolder(std::vector<std::string>& folders_gbk, const std::string& folder_gbk);

/// Both entries that stand for a folder depending on the song are there.
bool HasReservedFolders(const std::vector<std::string>& folders_gbk);
/// Adds those that are not there: the song's folder in front, the download folder behind it.
void AddReservedFolders(std::vector<std::string>& folders_gbk);

}  // namespace melorin
