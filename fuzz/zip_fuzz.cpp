// SPDX-License-Identifier: MIT
//
// Any bytes as the archive of a skin: what opens can be listed and read, and no name leads out of it.
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "platform/text.h"
#include "skin/skin_package.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using namespace melorin;
  std::unique_ptr<SkinPackage> package;
  const SkinPackageResult result = OpenSkinArchive({data, size}, &package);
  if ((result == SkinPackageResult::kOpened) != (package != nullptr)) std::abort();
  if (!package) return 0;
  std::set<std::string> seen;
  std::vector<uint8_t> bytes;
  for (const std::string& name : package->NamesGbk()) {
    if (!seen.insert(LowerGbk(name)).second) std::abort();
    if (name.empty() || name.starts_with("../") || name.find("/../") != std::string::npos || name[0] == '/')
      std::abort();
    const bool read = package->Read(name, bytes);
    if (bytes.size() > SkinPackage::kLargestFile || (!read && !bytes.empty())) std::abort();
  }
  return 0;
}
