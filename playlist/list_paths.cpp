// SPDX-License-Identifier: MIT
#include "playlist/list_paths.h"

#include "platform/file.h"
#include "platform/text.h"

namespace melorin {
namespace {

bool IsLetter(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

char Lower(char c) {
  return c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c;
}

bool IsHostAbsolute(std::string_view path) {
  return kPathSeparator == '/' && !path.empty() && path[0] == '/';
}

char SeparatorOf(std::string_view path) {
  return IsHostAbsolute(path) ? '/' : '\\';
}

/// FindLastGbk from the end: only a byte after one that could lead a character needs the walk from the front.
size_t FindLast(std::string_view gbk, char wanted) {
  const size_t at = gbk.rfind(wanted);
  if (at == std::string_view::npos || at == 0 || !IsGbkLead(static_cast<unsigned char>(gbk[at - 1])))
    return at;
  return FindLastGbk(gbk, wanted);
}

bool HasDoubleBackslash(std::string_view gbk) {
  bool after_backslash = false;
  for (size_t i = 0; i < gbk.size(); ++i) {
    if (IsGbkLead(static_cast<unsigned char>(gbk[i])) && i + 1 < gbk.size()) {
      ++i;
      after_backslash = false;
    } else {
      if (gbk[i] == '\\' && after_backslash) return true;
      after_backslash = gbk[i] == '\\';
    }
  }
  return false;
}

/// The text begins with the prefix, letters without case. Trail bytes must be equal: folding one would turn
/// a character into another.
bool BeginsWithGbk(std::string_view text, std::string_view prefix) {
  if (text.size() < prefix.size()) return false;
  for (size_t i = 0; i < prefix.size(); ++i) {
    if (IsGbkLead(static_cast<unsigned char>(prefix[i])) && i + 1 < prefix.size()) {
      if (text[i] != prefix[i] || text[i + 1] != prefix[i + 1]) return false;
      ++i;
    } else if (Lower(text[i]) != Lower(prefix[i])) {
      return false;
    }
  }
  return true;
}

}  // namespace

bool IsAbsoluteEntry(std::string_view path) {
  if (IsHostAbsolute(path)) return true;
  return path.size() >= 3 && ((IsLetter(path[0]) && path[1] == ':') || (path[0] == '\\' && path[1] == '\\'));
}

std::string_view EntryFileName(std::string_view path) {
  const size_t at = FindLast(path, SeparatorOf(path));
  return at == std::string_view::npos ? path : path.substr(at + 1);
}

bool HasExtension(std::string_view path, std::string_view lower) {
  if (path.size() <= lower.size()) return false;
  const size_t dot = path.size() - lower.size() - 1;
  if (path[dot] != '.') return false;
  for (size_t i = 0; i < lower.size(); ++i)
    if (Lower(path[dot + 1 + i]) != lower[i]) return false;
  return true;  // A dot is never a trail byte, and the bytes after it are all of the extension.
}

RelativeBase::RelativeBase(std::string_view list_path) {
  if (HasDoubleBackslash(list_path)) return;
  const size_t at = FindLast(list_path, SeparatorOf(list_path));
  if (at == std::string_view::npos) return;
  base_ = list_path.substr(0, at + 1);
  if (base_.size() == 3 && base_[1] == ':') base_.pop_back();
}

std::string_view RelativeBase::Shorten(std::string_view entry) const {
  if (base_.empty() || entry.size() <= base_.size() || !BeginsWithGbk(entry, base_)) return entry;
  const std::string_view rest = entry.substr(base_.size());
  // What follows a doubled separator would be seen from elsewhere.
  const bool rooted = base_.back() != ':' && (rest[0] == '\\' || rest[0] == kPathSeparator);
  return rooted || IsAbsoluteEntry(rest) ? entry : rest;
}

}  // namespace melorin
