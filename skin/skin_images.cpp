// SPDX-License-Identifier: MIT
#include "skin/skin_images.h"

#include <utility>

#include "platform/file.h"
#include "skin/bitmap_draw.h"
#include "skin/image_file.h"

namespace melorin {

namespace {

/// "folder/name.ext" → "folder/name@2x.ext".
std::string DoubledName(std::string_view name_gbk) {
  const std::string_view extension = PathExtension(name_gbk);
  const size_t stem = name_gbk.size() - (extension.empty() ? 0 : extension.size() + 1);
  return std::string(name_gbk.substr(0, stem)).append("@2x").append(name_gbk.substr(stem));
}

int64_t PixelsOf(const Bitmap& bitmap) {
  return int64_t{bitmap.width} * bitmap.height;
}

}  // namespace

SkinImages::SkinImages(SkinPackage& package, SkinColour transparent, int32_t scale)
    : package_(package), transparent_(transparent), scale_(scale) {}

const Bitmap* SkinImages::Get(std::string_view name_gbk) {
  if (name_gbk.empty()) return nullptr;
  if (const auto found = images_.find(name_gbk); found != images_.end()) return found->second.get();
  std::unique_ptr<Bitmap>& image = images_[std::string(name_gbk)];
  Bitmap loaded = Load(name_gbk);
  if (loaded.IsEmpty() || PixelsOf(loaded) > pixels_left_) {
    missing_.emplace_back(name_gbk);
    return nullptr;
  }
  pixels_left_ -= PixelsOf(loaded);
  image = std::make_unique<Bitmap>(std::move(loaded));
  return image.get();
}

Bitmap SkinImages::Load(std::string_view name_gbk) {
  Bitmap image;
  if (scale_ > 1 && Decode(DoubledName(name_gbk), image)) return image;
  if (!Decode(name_gbk, image)) return {};
  if (scale_ == 1) return image;
  if (PixelsOf(image) * scale_ * scale_ > kMostImagePixels) return {};
  return EnlargedBitmap(image, scale_);
}

bool SkinImages::Decode(std::string_view name_gbk, Bitmap& out) {
  return package_.Read(name_gbk, bytes_) && DecodeImage(bytes_, transparent_, out) && !out.IsEmpty();
}

}  // namespace melorin
