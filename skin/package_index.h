// SPDX-License-Identifier: MIT
//
// PackageIndex: finds the files of a package by the names that skin descriptions use.
#pragma once

#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace melorin {

/// Thread: one at a time.
class PackageIndex {
 public:
  /// `file`: the package's own number for it. A name that leads out of the package is left out, as is one
  /// that is there already.
  void Add(std::string_view name_gbk, size_t file);
  /// Once all are added: names are seen from the folder where "Skin.xml" lies, which is the root or the only
  /// folder there.
  void Settle();

  std::optional<size_t> Find(std::string_view name_gbk) const;
  /// In the order of their lowered forms.
  std::vector<std::string> NamesGbk() const;

 private:
  struct File {
    std::string name_gbk;
    size_t number = 0;
  };
  std::map<std::string, File, std::less<>> files_;  // By the lowered name, "/" between folders.
  std::string root_;                                // Lowered, with "/" at the end unless it is empty.
};

}  // namespace melorin
