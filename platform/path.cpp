// SPDX-License-Identifier: MIT
//
// The parts of file.h that are about names only, and the safe write that is built from the rest.
#include <algorithm>

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

}  // namespace

std::string_view PathFileName(std::string_view path_gbk) {
  return path_gbk.substr(FileNameStart(path_gbk));
}

std::string_view PathDirectory(std::string_view path_gbk) {
  const size_t start = FileNameStart(path_gbk);
  if (start == 0) return {};
  // "/" and "c:" stand for themselves.
  const bool keep = start == 1 || path_gbk[start - 1] == ':';
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
