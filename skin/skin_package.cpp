// SPDX-License-Identifier: MIT
#include "skin/skin_package.h"

#include <new>
#include <utility>

#include "platform/file.h"
#include "skin/folder_package.h"
#include "skin/package_index.h"
#include "skin/zip_archive.h"

namespace melorin {
namespace {

class ArchivePackage final : public SkinPackage {
 public:
  /// `file` holds the bytes; nothing when the caller does.
  static SkinPackageResult Open(MappedFile file, std::span<const uint8_t> bytes,
                                std::unique_ptr<SkinPackage>* out) {
    auto package = std::make_unique<ArchivePackage>();
    package->file_ = std::move(file);
    switch (package->archive_.Open(bytes)) {
      case ZipResult::kOpened:
        break;
      case ZipResult::kNoArchive:
        return SkinPackageResult::kNoPackage;
      case ZipResult::kNotSupported:
        return SkinPackageResult::kNotSupported;
    }
    const auto& entries = package->archive_.Entries();
    for (size_t i = 0; i < entries.size(); ++i)
      package->index_.Add(entries[i].name_gbk, i);
    package->index_.Settle();
    *out = std::move(package);
    return SkinPackageResult::kOpened;
  }

  bool Read(std::string_view name_gbk, std::vector<uint8_t>& out) override try {
    out.clear();
    const auto number = index_.Find(name_gbk);
    return number && ZipArchive::Read(archive_.Entries()[*number], kLargestFile, out);
  } catch (const std::bad_alloc&) {
    out.clear();
    return false;
  }
  std::vector<std::string> NamesGbk() const override { return index_.NamesGbk(); }

 private:
  MappedFile file_;
  ZipArchive archive_;
  PackageIndex index_;
};

}  // namespace

SkinPackageResult OpenSkinPackage(const std::string& path_gbk, std::unique_ptr<SkinPackage>* out) {
  out->reset();
  if (path_gbk == kDefaultSkinName) {
    const auto bytes = DefaultSkinBytes();
    return bytes.empty() ? SkinPackageResult::kMissing : OpenSkinArchive(bytes, out);
  }
  if (path_gbk.empty()) return SkinPackageResult::kMissing;
  if (DirectoryExists(path_gbk)) return FolderPackage::Open(path_gbk, out);
  if (!FileExists(path_gbk)) return SkinPackageResult::kMissing;
  MappedFile file;
  if (!file.Open(path_gbk)) return SkinPackageResult::kNoPackage;
  const auto bytes = file.Bytes();
  return ArchivePackage::Open(std::move(file), bytes, out);
}

SkinPackageResult OpenSkinArchive(std::span<const uint8_t> bytes, std::unique_ptr<SkinPackage>* out) {
  out->reset();
  return ArchivePackage::Open({}, bytes, out);
}

}  // namespace melorin
