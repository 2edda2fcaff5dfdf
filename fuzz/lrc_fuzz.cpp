// SPDX-License-Identifier: MIT
//
// Lyric files. What is read is in order; what is written and read again is written the same, but for the
// empty line behind the headers, which joins the plain text every time. The first byte chooses how it is
// written.
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "lyrics/lyric_file.h"
#include "lyrics/lyric_tags.h"
#include "platform/text.h"

namespace {

using namespace melorin;

void Require(bool condition) {
  if (!condition) std::abort();
}

void CheckLines(const LyricDoc& doc) {
  const auto& lines = doc.Lines();
  for (size_t i = 1; i < lines.size(); ++i)
    Require(lines[i - 1].time_ms < lines[i].time_ms);
}

void CheckPositions(const LyricDoc& doc) {
  const size_t count = doc.Lines().size();
  Require(doc.LineAtTime(0, 1, 0).has_value() == (count != 0));
  for (size_t i = 0; i < std::min<size_t>(count, 50); ++i) {
    const auto position = doc.LineAtTime(doc.Lines()[i].time_ms, 1000, count + i);
    Require(position && position->index == i && position->progress == 0);
    Require(position->start_ms == doc.Lines()[i].time_ms && position->end_ms >= position->start_ms);
  }
}

/// Longer lines are cut when they are read.
bool HasLongLine(const std::u16string& text) {
  for (size_t at = 0; at < text.size();) {
    const size_t end = std::min(text.find(u'\n', at), text.size());
    if (end - at > kLongestLrcLine) return true;
    at = end + 1;
  }
  return false;
}

void CheckRoundTrip(const LyricDoc& first, bool merge) {
  // The first reading takes what rounding makes equal together.
  const std::u16string once = first.Write(merge);
  if (HasLongLine(once)) return;
  LyricDoc doc;
  doc.Parse(once);
  const std::u16string twice = doc.Write(merge);
  if (HasLongLine(twice)) return;
  LyricDoc again;
  again.Parse(twice);
  Require(again.Lines() == doc.Lines());
  Require(again.plain_text_gbk == "\r\n" + doc.plain_text_gbk);
  again.plain_text_gbk = doc.plain_text_gbk;
  Require(again.Write(merge) == twice);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size == 0) return 0;
  const std::span<const uint8_t> bytes(data + 1, size - 1);
  LyricDoc doc;
  LyricLoadOptions options;
  options.detect_encoding = (data[0] & 1) != 0;
  Require(ParseLyricBytes(doc, bytes, options) == !doc.Lines().empty());
  CheckLines(doc);
  CheckPositions(doc);
  CheckRoundTrip(doc, (data[0] & 2) != 0);

  // The short way for plain GBK leads to the same lines as the long one.
  const std::string text(bytes.begin(), bytes.end());
  if (IsValidGbk(text)) {
    LyricDoc direct, converted;
    direct.ParsePlainGbk(text);
    converted.Parse(Utf16FromGbk(text));
    Require(direct.Lines() == converted.Lines() && direct.Write(true) == converted.Write(true));
  }

  doc.TrimAll();
  doc.ShiftAll(static_cast<int32_t>(data[0]) * -8000000);
  doc.ShiftLine(data[0], INT32_MAX);
  doc.InsertLine("[x]", data[0]);
  doc.LineAtTime(INT32_MAX, INT32_MAX, data[0]);
  doc.LineAtTime(INT32_MIN, INT32_MAX, data[0]);
  LyricFromTagText(doc, text);
  return 0;
}
