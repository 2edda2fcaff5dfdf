// SPDX-License-Identifier: MIT
#include "lyrics/lyric_edit.h"

#include <algorithm>
#include <limits>
#include <vector>

#include "lyrics/lrc_time.h"
#include "lyrics/word_times.h"

namespace melorin {
namespace {

constexpr std::u16string_view kBreaks = u"\r\n";

size_t LineStart(std::u16string_view text, size_t at) {
  const size_t before = at == 0 ? std::u16string_view::npos : text.find_last_of(kBreaks, at - 1);
  return before == std::u16string_view::npos ? 0 : before + 1;
}

size_t LineEnd(std::u16string_view text, size_t at) {
  return std::min(text.find_first_of(kBreaks, at), text.size());
}

struct Tag {
  TextRange range;  ///< With its brackets.
  int32_t time_ms = 0;
};

/// The time tags of some lines, anywhere in them, as the parser takes them.
std::vector<Tag> TagsIn(std::u16string_view text, TextRange lines) {
  std::vector<Tag> tags;
  for (size_t at = lines.begin; at < lines.end;) {
    const size_t open = text.find(u'[', at);
    if (open >= lines.end) break;
    const size_t close = text.find_first_of(u"]\r\n", open);
    if (close >= lines.end) break;
    at = close + 1;
    if (text[close] != u']') continue;
    if (const auto time = ScanTime(text.substr(open + 1, close - open - 1)))
      tags.push_back({{open, close + 1}, *time});
  }
  return tags;
}

/// The times of words in a part of a line.
void AddWordTimes(std::u16string_view text, TextRange part, std::vector<Tag>& tags) {
  for (size_t at = part.begin; at < part.end; ++at)
    if (const size_t size = WordTimeSize(text.substr(at, part.end - at))) tags.push_back({{at, at + size}});
}

TextRange Inside(std::u16string_view text, TextRange range) {
  range.begin = std::min(range.begin, text.size());
  range.end = std::clamp(range.end, range.begin, text.size());
  return range;
}

/// The tags become other texts; what lies between them stays. There must be tags.
template <class Text>
TextChange ReplaceTags(std::u16string_view text, const std::vector<Tag>& tags, size_t caret, Text text_of) {
  TextChange change;
  change.range = {tags.front().range.begin, tags.back().range.end};
  size_t copied = change.range.begin;
  for (const Tag& tag : tags) {
    change.text += text.substr(copied, tag.range.begin - copied);
    text_of(tag, change.text);
    copied = tag.range.end;
  }
  change.caret = caret;
  return change;
}

}  // namespace

TextRange LinesOfRange(std::u16string_view text, TextRange range) {
  range = Inside(text, range);
  size_t end = range.end;
  if (!range.IsEmpty() && end == LineStart(text, end)) {
    --end;
    if (end > range.begin && text[end] == u'\n' && text[end - 1] == u'\r') --end;
  }
  const size_t begin = LineStart(text, range.begin);
  return {begin, std::max(LineEnd(text, end), begin)};
}

TextChange StampLine(std::u16string_view text, size_t caret, int32_t time_ms, StampMode mode, bool to_next) {
  caret = std::min(caret, text.size());
  const TextRange line = LinesOfRange(text, {caret, caret});
  TextChange change;
  change.range = {line.begin, line.begin};
  AppendTime(std::max(time_ms, 0), change.text);
  const size_t added = change.text.size();
  size_t in_line = caret - line.begin;
  if (mode == StampMode::kReplace) {
    const std::vector<Tag> tags = TagsIn(text, line);
    if (!tags.empty()) {
      change.range.end = tags.back().range.end;
      size_t copied = line.begin;
      for (const Tag& tag : tags) {
        change.text += text.substr(copied, tag.range.begin - copied);
        if (caret >= tag.range.end)
          in_line -= tag.range.end - tag.range.begin;
        else if (caret > tag.range.begin)
          in_line -= caret - tag.range.begin;
        copied = tag.range.end;
      }
    }
  }
  // Seen in the text as it will be.
  change.caret = line.begin + added + in_line;
  if (!to_next) return change;
  const size_t grown = change.text.size() - (change.range.end - change.range.begin);
  for (size_t at = line.end; at < text.size();) {
    at += text.substr(at).starts_with(kBreaks) ? 2 : 1;
    const size_t end = LineEnd(text, at);
    if (end > at) {
      change.caret = at + grown;
      break;
    }
    at = end;
  }
  return change;
}

std::optional<TextChange> RemoveStamps(std::u16string_view text, TextRange range) {
  const TextRange lines = LinesOfRange(text, range);
  const std::vector<Tag> tags = TagsIn(text, lines);
  if (tags.empty()) return std::nullopt;
  return ReplaceTags(text, tags, lines.begin, [](const Tag&, std::u16string&) {});
}

std::optional<TextChange> ShiftStamps(std::u16string_view text, TextRange range, int32_t delta_ms) {
  const TextRange lines = LinesOfRange(text, range);
  const std::vector<Tag> stamps = TagsIn(text, lines);
  if (stamps.empty()) return std::nullopt;
  std::vector<Tag> tags;
  size_t at = lines.begin;
  for (const Tag& stamp : stamps) {
    AddWordTimes(text, {at, stamp.range.begin}, tags);
    tags.push_back(stamp);
    at = stamp.range.end;
  }
  AddWordTimes(text, {at, lines.end}, tags);
  return ReplaceTags(text, tags, lines.begin, [text, delta_ms](const Tag& tag, std::u16string& out) {
    if (text[tag.range.begin] == u'<') {
      out += MovedWordTime(text.substr(tag.range.begin, tag.range.end - tag.range.begin), delta_ms);
      return;
    }
    const int64_t time = int64_t{tag.time_ms} + delta_ms;
    AppendTime(static_cast<int32_t>(std::clamp<int64_t>(time, 0, std::numeric_limits<int32_t>::max())), out);
  });
}

size_t LineToBeginWith(std::u16string_view text, int32_t time_ms) {
  size_t first = text.size();
  size_t sung = text.size();
  std::optional<int32_t> latest;
  for (size_t at = 0; at < text.size();) {
    const TextRange line = {at, LineEnd(text, at)};
    const std::vector<Tag> tags = TagsIn(text, line);
    if (first == text.size() && !line.IsEmpty() && (text[at] != u'[' || !tags.empty())) first = at;
    for (const Tag& tag : tags) {
      if (tag.time_ms > time_ms || (latest && tag.time_ms < *latest)) continue;
      latest = tag.time_ms;
      sung = at;
    }
    at = line.end + (text.substr(line.end).starts_with(kBreaks) ? 2 : 1);
  }
  return latest ? sung : first;
}

std::optional<int32_t> TimeOfLine(std::u16string_view text, size_t caret) {
  caret = std::min(caret, text.size());
  const std::vector<Tag> tags = TagsIn(text, LinesOfRange(text, {caret, caret}));
  if (tags.empty()) return std::nullopt;
  return tags.front().time_ms;
}

std::u16string WithCrLf(std::u16string_view text) {
  text = text.substr(0, text.find(u'\0'));
  std::u16string result;
  result.reserve(text.size() + text.size() / 16);
  while (!text.empty()) {
    const size_t end = std::min(text.find_first_of(kBreaks), text.size());
    result += text.substr(0, end);
    if (end == text.size()) break;
    result += kBreaks;
    text.remove_prefix(end + (text.substr(end).starts_with(kBreaks) ? 2 : 1));
  }
  return result;
}

}  // namespace melorin
