// SPDX-License-Identifier: MIT
//
// FolderPackage: a skin whose files lie in a folder.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "skin/package_index.h"
#include "skin/skin_package.h"

namespace melorin {

/// Knows the files that were there when it was opened, and reads no others.
class FolderPackage final : public SkinPackage {
 public:
  /// A folder with more files or folders than that is none of a skin; deeper ones are not looked into.
  static constexpr size_t kMostFiles = 10000;
  static constexpr int kDeepest = 8;

  static SkinPackageResult Open(const std::string& folder_gbk, std::unique_ptr<SkinPackage>* out);

  bool Read(std::string_view name_gbk, std::vector<uint8_t>& out) override;
  std::vector<std::string> NamesGbk() const override { return index_.NamesGbk(); }

 private:
  bool Scan(const std::string& folder_gbk, const std::string& prefix, int depth);

  std::vector<std::string> paths_;
  size_t seen_ = 0;
  PackageIndex index_;
};

}  // namespace melorin
