// SPDX-License-Identifier: MIT
//
// The lines of a lyric. Reading and writing LRC text are in lrc_parser.cpp and lrc_writer.cpp.
#include "lyrics/lyric_doc.h"

#include <algorithm>
#include <limits>

#include "lyrics/lrc_text.h"
#include "lyrics/word_times.h"

namespace melorin {

namespace {

/// How long the last line is shown.
constexpr int64_t kLastLineMs = 60000;

int32_t Clamped(int64_t number) {
  return static_cast<int32_t>(
      std::clamp<int64_t>(number, std::numeric_limits<int32_t>::min(), std::numeric_limits<int32_t>::max()));
}

/// Two lines of one time become one.
void KeepLonger(LyricLine& line, std::string_view text_gbk) {
  if (CountCharacters(text_gbk) > CountCharacters(line.text_gbk)) line.text_gbk = text_gbk;
}

/// Sorted lines without those that share a time with a longer or earlier one. Counts each text once at most,
/// so that many lines of one time cost no more than others.
void KeepLongest(std::vector<LyricLine>& lines) {
  const auto same_time = [](const LyricLine& a, const LyricLine& b) { return a.time_ms == b.time_ms; };
  const auto first = std::adjacent_find(lines.begin(), lines.end(), same_time);
  if (first == lines.end()) return;
  auto kept = first;
  size_t longest = CountCharacters(kept->text_gbk);
  for (auto line = std::next(first); line != lines.end(); ++line) {
    const size_t length = CountCharacters(line->text_gbk);
    const bool other_time = !same_time(*kept, *line);
    if (!other_time && length <= longest) continue;
    if (other_time) ++kept;
    if (kept != line) *kept = std::move(*line);
    longest = length;
  }
  lines.erase(std::next(kept), lines.end());
}

}  // namespace

void LyricDoc::Clear() {
  *this = LyricDoc();
}

void LyricDoc::InsertLine(std::string_view text_gbk, int32_t time_ms) {
  auto after = lines_.end();
  while (after != lines_.begin() && std::prev(after)->time_ms > time_ms)
    --after;
  if (after != lines_.begin() && std::prev(after)->time_ms == time_ms)
    KeepLonger(*std::prev(after), text_gbk);
  else
    lines_.insert(after, {std::string(text_gbk), time_ms});
}

void LyricDoc::TakeLines(std::vector<LyricLine> lines) {
  const auto earlier = [](const LyricLine& a, const LyricLine& b) { return a.time_ms < b.time_ms; };
  // Lines of one time stay in the order of insertion, which decides between texts of equal length.
  if (!std::is_sorted(lines.begin(), lines.end(), earlier))
    std::stable_sort(lines.begin(), lines.end(), earlier);
  KeepLongest(lines);
  lines_ = std::move(lines);
}

bool LyricDoc::ShiftLine(size_t index, int32_t delta_ms) {
  if (index >= lines_.size()) return false;
  lines_[index].time_ms = Clamped(int64_t{lines_[index].time_ms} + delta_ms);
  return true;
}

bool LyricDoc::ShiftAll(int32_t delta_ms) {
  for (LyricLine& line : lines_)
    line.time_ms = Clamped(int64_t{line.time_ms} + delta_ms);
  return !lines_.empty();
}

void LyricDoc::ShiftWords(int32_t delta_ms) {
  for (LyricLine& line : lines_)
    MoveWordTimes(line.text_gbk, delta_ms);
}

void LyricDoc::TrimAll() {
  for (LyricLine& line : lines_) {
    const std::string_view trimmed = TrimSpaces(line.text_gbk);
    if (trimmed.size() != line.text_gbk.size()) line.text_gbk = std::string(trimmed);
  }
}

std::optional<LyricPosition> LyricDoc::LineAtTime(int32_t time_ms, int32_t extent,
                                                  size_t previous_index) const {
  if (lines_.empty()) return std::nullopt;
  // Line by line, because a shifted line may have left the order.
  size_t passed = 0;
  while (passed < lines_.size() && lines_[passed].time_ms <= time_ms)
    ++passed;
  LyricPosition position;
  position.index = passed != 0 ? passed - 1 : std::min(previous_index, lines_.size());
  const size_t last = lines_.size() - 1;
  const int64_t start = lines_[std::min(position.index, last)].time_ms;
  int64_t end = start;
  if (position.index < last) {
    end = lines_[position.index + 1].time_ms;
  } else if (position.index == last && time_ms < start + kLastLineMs) {
    end = start + kLastLineMs;
  } else {
    position.index = lines_.size();
  }
  position.start_ms = Clamped(start);
  position.end_ms = Clamped(end);
  if (end > start) position.progress = Clamped((time_ms - start) * std::max(extent, 1) / (end - start));
  return position;
}

}  // namespace melorin
