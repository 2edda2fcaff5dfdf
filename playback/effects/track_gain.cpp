// SPDX-License-Identifier: MIT
#include "playback/effects/track_gain.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>

namespace melorin {
namespace {

constexpr double kMaxGainDb = 60;
constexpr double kMaxPeak = 100;

bool IsSpace(char16_t c) {
  return c == u' ' || (c >= u'\t' && c <= u'\r') || c == u'\u00A0' || c == u'\u3000';
}

/// What sign, digits and one decimal point or comma the text begins with; the rest does not count. None when
/// there is no digit, or more characters than a number in a tag ever has.
std::optional<double> LeadingNumber(std::u16string_view text) {
  std::array<char, 32> digits;
  size_t length = 0;
  bool digit_seen = false;
  bool point_seen = false;
  size_t at = 0;
  while (at < text.size() && IsSpace(text[at]))
    ++at;
  for (; at < text.size(); ++at) {
    const char16_t c = text[at];
    char put = 0;
    if (c >= u'0' && c <= u'9') {
      put = static_cast<char>(c);
      digit_seen = true;
    } else if ((c == u'.' || c == u',') && !point_seen) {
      put = '.';
      point_seen = true;
    } else if ((c == u'-' || c == u'\u2212' || c == u'+') && length == 0) {
      put = c == u'+' ? '0' : '-';  // A leading zero stands for the plus, which from_chars does not take.
    } else {
      break;
    }
    if (length == digits.size()) return std::nullopt;
    digits[length++] = put;
  }
  double value = 0;
  if (!digit_seen || std::from_chars(digits.data(), digits.data() + length, value).ec != std::errc())
    return std::nullopt;
  return value;
}

std::u16string FormatFixed(double value, int decimals) {
  std::array<char, 48> text;
  const auto end =
      std::to_chars(text.data(), text.data() + text.size(), value, std::chars_format::fixed, decimals);
  if (end.ec != std::errc()) return {};
  return std::u16string(text.data(), end.ptr);
}

}  // namespace

std::optional<double> ParseGainDb(std::u16string_view text) {
  const std::optional<double> gain = LeadingNumber(text);
  if (!gain || std::fabs(*gain) > kMaxGainDb) return std::nullopt;
  return gain;
}

std::optional<double> ParsePeak(std::u16string_view text) {
  const std::optional<double> peak = LeadingNumber(text);
  if (!peak || *peak <= 0 || *peak > kMaxPeak) return std::nullopt;
  return peak;
}

std::u16string FormatGainDb(double gain_db) {
  // So that what rounds to zero has no sign.
  const double rounded = std::round(gain_db * 100) / 100 + 0.0;
  return FormatFixed(rounded, 2) + u" dB";
}

std::u16string FormatPeak(double peak) {
  return FormatFixed(peak, 6);
}

double GainFactor(const TrackGain& gain) {
  const double factor = std::pow(10.0, gain.gain_db / 20);
  if (!gain.peak || *gain.peak <= 0) return factor;
  return std::min(factor, 1 / *gain.peak);
}

}  // namespace melorin
