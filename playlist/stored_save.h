// SPDX-License-Identifier: MIT
//
// SaveAllLists on a disk of the caller's. For list_storage.h and tests. Thread: one.
#pragma once

#include <string>

#include "playlist/list_storage.h"
#include "playlist/storage_disk.h"

namespace melorin {

bool SaveAllListsTo(StorageDisk& disk, PlaylistSet& set, const std::string& folder_gbk,
                    const ListFileOptions& options);

}  // namespace melorin
