// SPDX-License-Identifier: MIT
#include "skin/package_index.h"

#include "platform/text.h"
#include "skin/skin_package.h"

namespace melorin {
namespace {

// What systems add to archives of their own accord.
constexpr std::string_view kIgnoredFolder = "__macosx";

/// "a\.\b" → "a/b"; empty when the name is absolute, leads upwards, ends in a folder or cannot be a name.
std::string TidyName(std::string_view name_gbk) {
  // Halves of characters hide separators from one reader of a name and not from the next.
  bool lossy = false;
  if (!IsAscii(name_gbk)) Utf8FromGbk(name_gbk, &lossy);
  if (lossy) return {};

  std::string tidy;
  std::string part;
  const auto end_part = [&] {
    if (part != ".") {
      if (!tidy.empty()) tidy += '/';
      tidy += part;
    }
    part.clear();
  };
  for (size_t i = 0; i < name_gbk.size(); ++i) {
    const char c = name_gbk[i];
    if (IsGbkLead(static_cast<unsigned char>(c)) && i + 1 < name_gbk.size()) {
      part += c;
      part += name_gbk[++i];
    } else if (c == '/' || c == '\\') {
      if (part.empty() || part == "..") return {};
      end_part();
    } else if (c == ':' || c == '\0') {  // A drive, another stream of a file.
      return {};
    } else {
      part += c;
    }
  }
  if (part.empty() || part == "." || part == "..") return {};
  end_part();
  return tidy;
}

}  // namespace

void PackageIndex::Add(std::string_view name_gbk, size_t file) {
  std::string name = TidyName(name_gbk);
  if (name.empty()) return;
  std::string lowered = LowerGbk(name);
  files_.try_emplace(std::move(lowered), File{std::move(name), file});
}

void PackageIndex::Settle() {
  root_.clear();
  const std::string skin_file = LowerGbk(kSkinFileName);
  if (files_.contains(skin_file)) return;
  std::string only;
  for (const auto& [name, file] : files_) {
    const size_t slash = name.find('/');  // No second byte of a character is a slash.
    if (slash == std::string::npos || std::string_view(name).substr(0, slash) == kIgnoredFolder) continue;
    const std::string_view folder = std::string_view(name).substr(0, slash + 1);
    if (only.empty()) only = folder;
    if (only != folder) return;
  }
  if (files_.contains(only + skin_file)) root_ = only;
}

std::optional<size_t> PackageIndex::Find(std::string_view name_gbk) const {
  const std::string name = TidyName(name_gbk);
  if (name.empty()) return std::nullopt;
  const auto found = files_.find(root_ + LowerGbk(name));
  if (found == files_.end()) return std::nullopt;
  return found->second.number;
}

std::vector<std::string> PackageIndex::NamesGbk() const {
  std::vector<std::string> names;
  for (const auto& [lowered, file] : files_)
    if (lowered.starts_with(root_)) names.push_back(file.name_gbk.substr(root_.size()));
  return names;
}

}  // namespace melorin
