// SPDX-License-Identifier: MIT
#include "skin/skin_list.h"

#include <algorithm>
#include <memory>
#include <optional>
#include <string_view>
#include <utility>

#include "platform/file.h"
#include "platform/text.h"
#include "skin/image_file.h"
#include "skin/loaded_skin.h"
#include "skin/shrink.h"
#include "skin/skin_preview.h"

namespace melorin {

namespace {

/// A folder may hold anything, and each of these is opened.
constexpr size_t kMostPackages = 1000;

/// "Blue.skn" is called "Blue"; folders keep their dots.
std::string_view PackageTitle(const DirectoryEntry& entry) {
  const std::string_view name = entry.name_gbk;
  const size_t extension = PathExtension(name).size();
  return entry.is_directory || extension == 0 ? name : name.substr(0, name.size() - extension - 1);
}

bool MayBePackage(const DirectoryEntry& entry) {
  const std::string_view extension = PathExtension(entry.name_gbk);
  return entry.is_directory || EqualNoCaseGbk(extension, "zip") || EqualNoCaseGbk(extension, "skn");
}

std::optional<SkinListEntry> ListedSkin(std::string package_name_gbk, std::string path_gbk,
                                        std::string_view title_gbk) {
  const std::unique_ptr<LoadedSkin> skin = LoadedSkin::Load(path_gbk, 1);
  if (!skin) return std::nullopt;
  SkinListEntry entry{std::move(package_name_gbk), std::move(path_gbk), skin->Description().name_gbk,
                      skin->Description().author_gbk};
  if (entry.name_gbk.empty()) entry.name_gbk = title_gbk;
  return entry;
}

}  // namespace

std::vector<SkinListEntry> ListSkins(const std::string& skin_folder_gbk) {
  std::vector<SkinListEntry> skins;
  if (auto built_in = ListedSkin({}, kDefaultSkinName, kDefaultSkinName))
    skins.push_back(std::move(*built_in));
  const auto built_in_end = static_cast<ptrdiff_t>(skins.size());
  std::vector<DirectoryEntry> packages = ListDirectory(skin_folder_gbk);
  std::erase_if(packages, [](const DirectoryEntry& entry) { return !MayBePackage(entry); });
  // Which of too many are left out is not the file system's choice.
  std::sort(packages.begin(), packages.end(),
            [](const DirectoryEntry& a, const DirectoryEntry& b) { return a.name_gbk < b.name_gbk; });
  if (packages.size() > kMostPackages) packages.resize(kMostPackages);
  for (const DirectoryEntry& entry : packages)
    if (auto skin =
            ListedSkin(entry.name_gbk, JoinPath(skin_folder_gbk, entry.name_gbk), PackageTitle(entry)))
      skins.push_back(std::move(*skin));
  // Skins of one name keep an order that does not depend on the file system.
  std::sort(skins.begin() + built_in_end, skins.end(), [](const SkinListEntry& a, const SkinListEntry& b) {
    return std::pair(LowerGbk(a.name_gbk), a.package_name_gbk) <
           std::pair(LowerGbk(b.name_gbk), b.package_name_gbk);
  });
  return skins;
}

Bitmap SkinThumbnail(const SkinListEntry& entry, int32_t width, int32_t height) {
  const std::unique_ptr<LoadedSkin> skin = LoadedSkin::Load(entry.path_gbk, 1);
  if (!skin) return {};
  std::vector<uint8_t> bytes;
  Bitmap picture;
  for (const char* name : {"thumbnail.png", "thumbnail.bmp"})
    if (skin->Package().Read(name, bytes) &&
        DecodeImage(bytes, skin->Description().transparent_colour, picture))
      return ShrunkToFit(picture, width, height);
  return ShrunkToFit(PreviewWindow(skin->Description(), SkinWindow::kPlayer, skin->Images(), nullptr), width,
                     height);
}

}  // namespace melorin
