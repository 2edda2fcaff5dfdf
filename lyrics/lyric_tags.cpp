// SPDX-License-Identifier: MIT
#include "lyrics/lyric_tags.h"

#include <algorithm>
#include <string>

#include "lyrics/lyric_file.h"
#include "platform/text.h"

namespace melorin {

namespace {

/// The text with CR LF after every line, which tags end with any of the three breaks.
std::string PlainLines(std::string_view gbk) {
  std::string lines;
  while (!gbk.empty()) {
    const size_t length = std::min(gbk.find_first_of("\r\n"), gbk.size());
    lines.append(gbk.substr(0, length)).append("\r\n");
    const bool two = gbk.substr(length).starts_with("\r\n");
    gbk.remove_prefix(std::min(length + (two ? 2 : 1), gbk.size()));
  }
  return lines;
}

}  // namespace

bool LyricFromTagText(LyricDoc& doc, std::string_view lyrics_utf8) {
  lyrics_utf8 = lyrics_utf8.substr(0, lyrics_utf8.find('\0'));
  if (lyrics_utf8.size() > kLargestLyricBytes) lyrics_utf8 = {};
  if (doc.Parse(Utf16FromUtf8(lyrics_utf8))) return true;
  doc.plain_text_gbk = PlainLines(GbkFromUtf8(lyrics_utf8));
  return false;
}

bool LyricFromTags(LyricDoc& doc, const TagFields& tags) {
  LyricDoc untimed;
  for (const std::string_view name : {"Lyrics", "Syncedlyrics"}) {
    for (size_t i = 0; i < tags.size(); ++i) {
      if (!EqualNoCaseUtf8(tags.name(i), name)) continue;
      if (LyricFromTagText(doc, tags.value(i))) return true;
      if (untimed.plain_text_gbk.empty()) untimed = std::move(doc);
    }
  }
  doc = std::move(untimed);
  return false;
}

}  // namespace melorin
