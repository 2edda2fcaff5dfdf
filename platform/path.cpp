// SPDX-License-Identifier: MIT
//
// The parts of file.h that are about names only, and the safe write that is built from the rest.
#include <algorithm>
#include <vector>

#include "platform/file.h"
#include "platform/text.h"

namespace melorin {
namespace {

/// Position after the last separator that is a character of its own; 0 without any.
size_t FileNameStart(std::string_view path) {
  size_t start = 0;
  for (const char separator : {'/', '\\', ':'}) {
    if (separator != '/' && kPathSeparator == '/') continue;
    const size_t at = FindLastGbk(path, separator);
    if (at != std::string_view::npos) start = std::max(start, at + 1);
  }
  return start;
}

bool IsSeparator(char c) {
  return c == '/' || c == kPathSeparator;
}

/// The names between the separators; empty ones (two separators in a row) are left out.
std::vector<std::string_view> SplitNames(std::string_view path) {
  std::vector<std::string_view> names;
  size_t start = 0;
  for (size_t i = 0; i <= path.size(); ++i) {
    if (i < path.size() && !IsSeparator(path[i])) {
      if (IsGbkLead(static_cast<unsigned char>(path[i])) && i + 1 < path.size()) ++i;
      continue;
    }
    if (i > start) names.push_back(path.substr(start, i - start));
    start = i + 1;
  }
  return names;
}

/// The length of what stands for the root: "c:" or "\\server\share", on the host nothing.
size_t RootLength(std::string_view path) {
  if (kPathSeparator == '/') return 0;
  const auto is_letter = [](char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); };
  if (path.size() >= 2 && is_letter(path[0]) && path[1] == ':') return 2;
  if (path.size() < 2 || !IsSeparator(path[0]) || !IsSeparator(path[1])) return 0;
  size_t names = 0;
  for (size_t i = 2; i < path.size(); ++i) {
    if (IsGbkLead(static_cast<unsigned char>(path[i])) && i + 1 < path.size()) {
      ++i;
    } else if (IsSeparator(path[i]) && ++names == 2) {
      return i;
    }
  }
  return path.size();
}

/// `root` and the names of `path` behind it, with "." and ".." worked out.
std::string Tidy(std::string_view root, std::string_view path) {
  std::vector<std::string_view> kept;
  for (const std::string_view name : SplitNames(path)) {
    if (name == "..") {
      if (!kept.empty()) kept.pop_back();
    } else if (name != ".") {
      kept.push_back(name);
    }
  }
  std::string tidy;
  tidy.reserve(root.size() + path.size() + 1);
  for (size_t i = 0; i < root.size(); ++i) {
    const bool pair = IsGbkLead(static_cast<unsigned char>(root[i])) && i + 1 < root.size();
    tidy += !pair && IsSeparator(root[i]) ? kPathSeparator : root[i];
    if (pair) tidy += root[++i];
  }
  for (const std::string_view name : kept) {
    tidy += kPathSeparator;
    tidy += name;
  }
  if (kept.empty()) tidy += kPathSeparator;
  return tidy;
}

/// The system takes such a name as it stands.
bool IsVerbatim(std::string_view path) {
  return kPathSeparator == '\\' && (path.starts_with("\\\\?\\") || path.starts_with("\\\\.\\"));
}

}  // namespace

std::string FullPathFrom(const std::string& folder_gbk, const std::string& path_gbk) {
  const std::string_view path = path_gbk;
  if (IsVerbatim(path)) return path_gbk;
  const size_t root = RootLength(path);
  const bool rooted = root < path.size() && IsSeparator(path[root]);
  if (root > 2 || (root == 2 && (rooted || root == path.size())) || (kPathSeparator == '/' && rooted))
    return Tidy(path.substr(0, root), path.substr(root));

  std::string folder = folder_gbk;
  size_t folder_root = RootLength(folder);
  // A drive letter alone means the drive's root here, not the process's current folder on it.
  const bool folder_is_full = folder_root > 2 || (folder_root == 2 && folder.size() == 2) ||
                              (folder_root < folder.size() && IsSeparator(folder[folder_root]) &&
                               (kPathSeparator == '/' || folder_root == 2));
  if (!folder_is_full) {
    folder = FullPath(folder.empty() ? "." : folder);
    folder_root = RootLength(folder);
  }
  const std::string_view its_root = std::string_view(folder).substr(0, folder_root);
  if (root == 2 && !EqualNoCaseGbk(path.substr(0, 2), its_root))
    return Tidy(path.substr(0, 2), path.substr(2));
  if (rooted) return Tidy(its_root, path);
  return Tidy(its_root, folder.substr(folder_root) + kPathSeparator + std::string(path.substr(root)));
}

std::string_view PathFileName(std::string_view path_gbk) {
  return path_gbk.substr(FileNameStart(path_gbk));
}

std::string_view PathDirectory(std::string_view path_gbk) {
  const size_t start = FileNameStart(path_gbk);
  if (start == 0) return {};
  // "/" and "c:" stand for themselves, and without its separator "c:\" would be another folder.
  const bool drive_root = kPathSeparator == '\\' && start == 3 && path_gbk[1] == ':';
  const bool keep = start == 1 || drive_root || (kPathSeparator == '\\' && path_gbk[start - 1] == ':');
  return path_gbk.substr(0, keep ? start : start - 1);
}

std::string_view PathExtension(std::string_view path_gbk) {
  const std::string_view name = PathFileName(path_gbk);
  const size_t dot = FindLastGbk(name, '.');
  return dot == std::string_view::npos ? std::string_view{} : name.substr(dot + 1);
}

std::string JoinPath(std::string_view folder_gbk, std::string_view name_gbk) {
  std::string joined(folder_gbk);
  if (!joined.empty() && FileNameStart(joined) != joined.size()) joined += kPathSeparator;
  joined += name_gbk;
  return joined;
}

bool WriteFileSafely(const std::string& path_gbk, std::span<const uint8_t> bytes) {
  const std::string beside = path_gbk + ".new";
  {
    File file;
    if (!file.Open(beside, File::Access::kReadWrite, File::Share::kRead, File::Create::kAlways)) return false;
    const bool written = file.Write(bytes) == static_cast<int64_t>(bytes.size()) && file.Flush();
    file.Close();
    if (!written) {
      DeleteFileAt(beside);
      return false;
    }
  }
  if (ReplaceFileAt(beside, path_gbk)) return true;
  DeleteFileAt(beside);
  return false;
}

}  // namespace melorin
