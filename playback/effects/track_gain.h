// SPDX-License-Identifier: MIT
//
// The gain that brings a track to the common loudness, as tags carry it.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace melorin {

inline constexpr char16_t kTrackGainField[] = u"replaygain_track_gain";
inline constexpr char16_t kTrackPeakField[] = u"replaygain_track_peak";

struct TrackGain {
  double gain_db = 0;
  /// The highest sample, 1.0 full scale; may be above. None when it is not known.
  std::optional<double> peak;
  bool operator==(const TrackGain&) const = default;
};

/// "-6.54 dB", "+1.2dB", "3,5 DB" (a decimal comma is common), the unit may be missing. None for what begins
/// with no number or lies beyond ±60 dB, which no track needs.
std::optional<double> ParseGainDb(std::u16string_view text);
/// A positive number of the same form without a unit, at most 100.
std::optional<double> ParsePeak(std::u16string_view text);
std::u16string FormatGainDb(double gain_db);  ///< "-6.54 dB"
std::u16string FormatPeak(double peak);       ///< "0.988553"

/// The linear factor for the track: its gain, and where the peak is known no more than brings the peak to
/// full scale, so that nothing clips.
double GainFactor(const TrackGain& gain);

}  // namespace melorin
