// SPDX-License-Identifier: MIT
#include "lyrics/word_times.h"

#include <algorithm>
#include <utility>

namespace melorin {
namespace {

/// Enough for any song, and far from overflowing.
constexpr size_t kMostDigits = 9;
constexpr size_t kMostFraction = 6;

template <class Char>
using View = std::basic_string_view<Char>;

template <class Char>
size_t SkipDigits(View<Char> text, size_t at) {
  while (at < text.size() && text[at] >= '0' && text[at] <= '9')
    ++at;
  return at;
}

template <class Char>
size_t SizeOf(View<Char> text) {
  if (text.empty() || text[0] != '<') return 0;
  const size_t colon = SkipDigits(text, 1);
  if (colon == 1 || colon >= text.size() || text[colon] != ':') return 0;
  size_t end = SkipDigits(text, colon + 1);
  if (end == colon + 1) return 0;
  if (end < text.size() && (text[end] == '.' || text[end] == ':')) end = SkipDigits(text, end + 1);
  return end < text.size() && text[end] == '>' ? end + 1 : 0;
}

template <class Char>
int64_t NumberOf(View<Char> digits) {
  int64_t number = 0;
  for (const Char digit : digits)
    number = number * 10 + (digit - '0');
  return number;
}

template <class Char>
void AppendNumber(int64_t number, size_t digits, std::basic_string<Char>& out) {
  const std::string text = std::to_string(number);
  out.append(digits - std::min(digits, text.size()), Char{'0'});
  out.append(text.begin(), text.end());
}

/// `time`: as SizeOf takes it.
template <class Char>
void AppendMoved(View<Char> time, int32_t delta_ms, std::basic_string<Char>& out) {
  const size_t colon = time.find(Char{':'});
  const size_t seconds_end = SkipDigits(time, colon + 1);
  const bool has_fraction = seconds_end + 1 < time.size();
  const View<Char> minutes = time.substr(1, colon - 1);
  const View<Char> seconds = time.substr(colon + 1, seconds_end - colon - 1);
  const View<Char> fraction =
      has_fraction ? time.substr(seconds_end + 1, time.size() - seconds_end - 2) : View<Char>();
  if (minutes.size() > kMostDigits || seconds.size() > kMostDigits || fraction.size() > kMostFraction) {
    out += time;
    return;
  }
  // In millionths; as many digits as there were are left.
  int64_t unit = 1000000;
  for (size_t i = 0; i < fraction.size(); ++i)
    unit /= 10;
  const int64_t old = (NumberOf(minutes) * 60 + NumberOf(seconds)) * 1000000 + NumberOf(fraction) * unit;
  const int64_t moved = std::max<int64_t>(old + int64_t{delta_ms} * 1000 + unit / 2, 0) / unit * unit;
  out += Char{'<'};
  AppendNumber(moved / 60000000, minutes.size(), out);
  out += Char{':'};
  AppendNumber(moved / 1000000 % 60, seconds.size(), out);
  if (has_fraction) out += time[seconds_end];
  if (!fraction.empty()) AppendNumber(moved % 1000000 / unit, fraction.size(), out);
  out += Char{'>'};
}

}  // namespace

size_t WordTimeSize(std::string_view text_gbk) {
  return SizeOf(text_gbk);
}

size_t WordTimeSize(std::u16string_view text) {
  return SizeOf(text);
}

std::u16string MovedWordTime(std::u16string_view time, int32_t delta_ms) {
  std::u16string moved;
  AppendMoved(time, delta_ms, moved);
  return moved;
}

void MoveWordTimes(std::string& text_gbk, int32_t delta_ms) {
  // No byte of a two-byte or four-byte character is a "<".
  if (text_gbk.find('<') == std::string::npos) return;
  const std::string_view text = text_gbk;
  std::string moved;
  for (size_t at = 0; at < text.size();) {
    const size_t size = SizeOf(text.substr(at));
    if (size == 0) {
      moved += text[at++];
      continue;
    }
    AppendMoved(text.substr(at, size), delta_ms, moved);
    at += size;
  }
  text_gbk = std::move(moved);
}

}  // namespace melorin
