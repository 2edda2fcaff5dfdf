// SPDX-License-Identifier: MIT
//
// SkinImages: the bitmaps of one skin at one scale.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "skin/bitmap.h"
#include "skin/skin_description.h"
#include "skin/skin_package.h"

namespace melorin {

/// Reads each image once, when it is first asked for; asking again costs a look-up. At scale 2 "name@2x.ext"
/// is taken when the package has it, else "name.ext" with each pixel doubled: pixel art stays crisp, and the
/// cells of a strip do not run into each other. Images beyond kMostSkinPixels altogether cannot be read.
/// Thread: one at a time.
class SkinImages {
 public:
  /// `package` must outlive this. `scale`: 1 or 2.
  SkinImages(SkinPackage& package, SkinColour transparent, int32_t scale);

  static constexpr int64_t kMostSkinPixels = 32 << 20;

  /// Null for an empty name and for an image that cannot be read. Valid as long as this.
  const Bitmap* Get(std::string_view name_gbk);
  int32_t Scale() const { return scale_; }
  /// Names that were asked for and could not be read, once each.
  const std::vector<std::string>& Missing() const { return missing_; }

 private:
  Bitmap Load(std::string_view name_gbk);
  bool Decode(std::string_view name_gbk, Bitmap& out);

  SkinPackage& package_;
  const SkinColour transparent_;
  const int32_t scale_;
  std::map<std::string, std::unique_ptr<Bitmap>, std::less<>> images_;
  std::vector<std::string> missing_;
  std::vector<uint8_t> bytes_;  ///< Of the file at hand.
  int64_t pixels_left_ = kMostSkinPixels;
};

}  // namespace melorin
