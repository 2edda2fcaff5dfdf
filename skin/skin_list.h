// SPDX-License-Identifier: MIT
//
// The skins that the user can choose from.
#pragma once

#include <string>
#include <vector>

#include "skin/bitmap.h"

namespace melorin {

struct SkinListEntry {
  std::string package_name_gbk;  ///< As the setting "PackageName" has it; empty: the built-in skin.
  std::string path_gbk;          ///< For OpenSkinPackage.
  std::string name_gbk;          ///< The package's own when the description has none.
  std::string author_gbk;
};

/// The built-in skin first, then those of the folder that can be loaded, by name. Reads every package's
/// description: not for the UI thread.
std::vector<SkinListEntry> ListSkins(const std::string& skin_folder_gbk);

/// The package's "thumbnail.png" or "thumbnail.bmp" when it has one, else its player window composed, fitted
/// into the size. Empty when the skin cannot be loaded.
Bitmap SkinThumbnail(const SkinListEntry& entry, int32_t width, int32_t height);

}  // namespace melorin
