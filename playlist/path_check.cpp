// SPDX-License-Identifier: MIT
#include "playlist/path_check.h"

#include "platform/text.h"

namespace melorin {
namespace {

struct CaseRange {
  unsigned char row;  ///< The lead byte of both cases.
  unsigned char first_upper;
  unsigned char last_upper;
  unsigned char to_lower;  ///< What is added to the trail byte.
};
/// GB 2312 rows 3, 6 and 7 (GB/T 2312-1980).
constexpr CaseRange kCaseRanges[] = {
    {0xA3, 0xC1, 0xDA, 0x20}, {0xA6, 0xA1, 0xB8, 0x20}, {0xA7, 0xA1, 0xC1, 0x30}};

}  // namespace

std::string FoldName(std::string_view name, bool& exact) {
  std::string out(name);
  for (size_t i = 0; i < out.size(); ++i) {
    const auto lead = static_cast<unsigned char>(out[i]);
    if (lead < 0x80) {
      if (lead >= 'A' && lead <= 'Z') out[i] = static_cast<char>(lead + ('a' - 'A'));
      if (lead == '~') exact = false;  // It may be the short name of a file that is listed by its long one.
      continue;
    }
    if (++i == out.size()) break;
    const auto trail = static_cast<unsigned char>(out[i]);
    for (const CaseRange& range : kCaseRanges)
      if (lead == range.row && trail >= range.first_upper && trail <= range.last_upper)
        out[i] = static_cast<char>(trail + range.to_lower);
    // Roman numerals, Latin letters with accents, and all that needs four bytes.
    if (lead == 0xA2 || lead == 0xA8 || trail < 0x40) exact = false;
  }
  return out;
}

bool PathCheck::IsFile(const std::string& full_path) {
  const std::string_view name = PathFileName(full_path);
  if (name.empty()) return false;
  const std::string_view folder_path = std::string_view(full_path).substr(0, full_path.size() - name.size());
  if (last_folder_ == nullptr || folder_path != last_folder_path_) {
    last_folder_path_ = folder_path;
    const auto [place, is_new] =
        folders_.try_emplace(system_.ignores_case ? LowerGbk(folder_path) : last_folder_path_);
    last_folder_ = &place->second;  // Stays where it is while others are added.
    // Of many folders only one file is asked for; those need no listing, which may be long.
    if (is_new) return system_.file_exists(full_path);
  }
  return IsListedFile(*last_folder_, last_folder_path_, name, full_path);
}

bool PathCheck::IsListedFile(Folder& folder, const std::string& folder_path, std::string_view name,
                             const std::string& full_path) {
  bool exact = true;
  if (!folder.listed) {
    folder.listed = true;
    for (DirectoryEntry& entry : system_.list_directory(folder_path)) {
      if (entry.is_directory) continue;
      folder.files.insert(system_.ignores_case ? FoldName(entry.name_gbk, exact) : std::move(entry.name_gbk));
    }
  }
  exact = true;
  if (!system_.ignores_case) return folder.files.count(std::string(name)) != 0;
  if (folder.files.count(FoldName(name, exact)) != 0) return true;
  return !exact && system_.file_exists(full_path);
}

}  // namespace melorin
