// SPDX-License-Identifier: MIT
#include "app/options/file_types.h"

#include <algorithm>
#include <string_view>

#include "platform/text.h"

namespace melorin {
namespace {

constexpr size_t kLongestExtension = 16;

bool IsPlain(std::u16string_view extension) {
  return !extension.empty() && extension.size() <= kLongestExtension &&
         std::all_of(extension.begin(), extension.end(), [](char16_t c) {
           return (c >= u'a' && c <= u'z') || (c >= u'0' && c <= u'9') || c == u'_' || c == u'-';
         });
}

void Add(std::vector<FileType>& types, std::u16string extension, const std::u16string& description) {
  const bool known = std::any_of(types.begin(), types.end(),
                                 [&](const FileType& type) { return type.extension == extension; });
  if (IsPlain(extension) && !known) types.push_back({std::move(extension), description});
}

}  // namespace

std::vector<FileType> FileTypesOf(const std::vector<FileFilter>& filters) {
  std::vector<FileType> types;
  for (const FileFilter& filter : filters) {
    const std::u16string label = Utf16FromGbk(filter.label_gbk);
    const std::u16string patterns = Utf16FromGbk(LowerGbk(filter.patterns_gbk)) + u';';
    for (size_t at = 0, end; (end = patterns.find(u';', at)) != std::u16string::npos; at = end + 1) {
      const std::u16string_view pattern = std::u16string_view(patterns).substr(at, end - at);
      if (pattern.starts_with(u"*.")) Add(types, std::u16string(pattern.substr(2)), label);
    }
  }
  for (const char16_t* list : {u"mzpl", u"mzbl", u"m3u", u"m3u8"})
    Add(types, list, u"播放列表");
  return types;
}

std::vector<FileType> PlayableFileTypes(const SoundLibrary& library) {
  return FileTypesOf(library.FileFilters());
}

}  // namespace melorin
