// SPDX-License-Identifier: MIT
//
// LoadedSkin: a skin as windows wear it: its package, its description and its images at one scale.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "skin/skin_description.h"
#include "skin/skin_images.h"
#include "skin/skin_package.h"

namespace melorin {

/// Thread: one at a time.
class LoadedSkin {
 public:
  /// `path_gbk`: as OpenSkinPackage takes it. `scale`: 1 or 2. Null when there is no skin that can be read.
  static std::unique_ptr<LoadedSkin> Load(const std::string& path_gbk, int32_t scale);

  const SkinDescription& Description() const { return description_; }
  SkinPackage& Package() { return *package_; }
  SkinImages& Images() { return images_; }
  int32_t Scale() const { return images_.Scale(); }

 private:
  LoadedSkin(std::unique_ptr<SkinPackage> package, SkinDescription description, int32_t scale);

  std::unique_ptr<SkinPackage> package_;
  SkinDescription description_;
  SkinImages images_;
};

/// The skins that the windows wear: one that the user chose, and the built-in one for windows that it does
/// not have. Never without the latter. Thread: the UI thread.
class SkinWardrobe {
 public:
  /// False when that skin cannot be read; what is worn stays. An empty path is the built-in skin's.
  bool Wear(const std::string& path_gbk, int32_t scale);

  /// The element of a window and the skin that it is from. `member`: &SkinDescription::player_window, …
  template <class Element>
  std::pair<const Element*, LoadedSkin*> Find(std::optional<Element> SkinDescription::*member) {
    for (LoadedSkin* skin : {chosen_.get(), BuiltIn()})
      if (skin && skin->Description().*member) return {&*(skin->Description().*member), skin};
    return {nullptr, nullptr};
  }
  /// What is worn; null before the first Wear.
  const LoadedSkin* Chosen() const { return chosen_.get(); }
  int32_t Scale() const { return scale_; }

 private:
  LoadedSkin* BuiltIn();

  std::unique_ptr<LoadedSkin> chosen_;
  std::unique_ptr<LoadedSkin> built_in_;  ///< Loaded when a window needs it.
  int32_t scale_ = 1;
};

}  // namespace melorin
