// SPDX-License-Identifier: MIT
#include "skin/loaded_skin.h"

#include <vector>

#include "skin/skin_reader.h"

namespace melorin {

LoadedSkin::LoadedSkin(std::unique_ptr<SkinPackage> package, SkinDescription description, int32_t scale)
    : package_(std::move(package)),
      description_(std::move(description)),
      images_(*package_, description_.transparent_colour, scale) {}

std::unique_ptr<LoadedSkin> LoadedSkin::Load(const std::string& path_gbk, int32_t scale) {
  std::unique_ptr<SkinPackage> package;
  SkinDescription description;
  std::vector<uint8_t> bytes;
  if (OpenSkinPackage(path_gbk, &package) != SkinPackageResult::kOpened ||
      !package->Read(kSkinFileName, bytes) ||
      ReadSkinDescription(bytes, description) != SkinReadResult::kRead)
    return nullptr;
  return std::unique_ptr<LoadedSkin>(new LoadedSkin(std::move(package), std::move(description), scale));
}

bool SkinWardrobe::Wear(const std::string& path_gbk, int32_t scale) {
  auto skin = LoadedSkin::Load(path_gbk.empty() ? kDefaultSkinName : path_gbk, scale);
  if (!skin) return false;
  chosen_ = std::move(skin);
  if (scale != scale_) built_in_.reset();
  scale_ = scale;
  return true;
}

LoadedSkin* SkinWardrobe::BuiltIn() {
  if (!built_in_) built_in_ = LoadedSkin::Load(kDefaultSkinName, scale_);
  return built_in_.get();
}

}  // namespace melorin
