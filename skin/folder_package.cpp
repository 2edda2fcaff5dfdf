// SPDX-License-Identifier: MIT
#include "skin/folder_package.h"

#include <algorithm>

#include "platform/file.h"

namespace melorin {

SkinPackageResult FolderPackage::Open(const std::string& folder_gbk, std::unique_ptr<SkinPackage>* out) {
  auto package = std::make_unique<FolderPackage>();
  if (!package->Scan(folder_gbk, {}, 1)) return SkinPackageResult::kNotSupported;
  package->index_.Settle();
  *out = std::move(package);
  return SkinPackageResult::kOpened;
}

bool FolderPackage::Scan(const std::string& folder_gbk, const std::string& prefix, int depth) {
  std::vector<DirectoryEntry> entries = ListDirectory(folder_gbk);
  seen_ += entries.size();
  if (seen_ > kMostFiles) return false;
  // Where the file system tells cases apart, which of two files counts must not depend on its order.
  std::sort(entries.begin(), entries.end(),
            [](const auto& a, const auto& b) { return a.name_gbk < b.name_gbk; });
  for (const DirectoryEntry& entry : entries) {
    std::string path = JoinPath(folder_gbk, entry.name_gbk);
    if (!entry.is_directory) {
      index_.Add(prefix + entry.name_gbk, paths_.size());
      paths_.push_back(std::move(path));
    } else if (depth < kDeepest && !Scan(path, prefix + entry.name_gbk + '/', depth + 1)) {
      return false;
    }
  }
  return true;
}

bool FolderPackage::Read(std::string_view name_gbk, std::vector<uint8_t>& out) try {
  out.clear();
  const auto number = index_.Find(name_gbk);
  if (!number) return false;
  File file;
  if (!file.Open(paths_[*number], File::Access::kRead, File::Share::kReadWrite, File::Create::kMustExist))
    return false;
  const int64_t size = file.Size();
  if (size < 0 || size > static_cast<int64_t>(kLargestFile)) return false;
  out.resize(static_cast<size_t>(size));
  size_t done = 0;
  while (done < out.size()) {
    const int64_t count = file.Read(std::span(out).subspan(done));
    if (count <= 0) break;
    done += static_cast<size_t>(count);
  }
  if (done == out.size()) return true;
  out.clear();
  return false;
} catch (const std::bad_alloc&) {
  out.clear();
  return false;
}

}  // namespace melorin
