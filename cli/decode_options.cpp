// SPDX-License-Identifier: MIT
#include "cli/decode_options.h"

#include <algorithm>
#include <string_view>

#include "doc/settings_values.h"
#include "platform/text.h"
#include "playback/effects/track_gain.h"

namespace melorin {
namespace {

constexpr int32_t kUsualSurround = 50;
constexpr uint32_t kMostRate = 768000;
constexpr char kMilliseconds[] = "a number of milliseconds";

/// Reads numeric options, up to the first that is wrong.
class NumberReader {
 public:
  NumberReader(const Arguments& arguments, std::string* error) : arguments_(arguments), error_(error) {}

  std::optional<uint32_t> Read(const char* name, uint32_t least, uint32_t most, const char* allowed) {
    const std::string* value = arguments_.Value(name);
    if (!value || failed_) return std::nullopt;
    const auto number = ParseNumber(*value);
    if (number && *number >= least && *number <= most) return number;
    failed_ = true;
    *error_ = std::string(name) + " is " + allowed + ", not: " + PrintableLine(*value);
    return std::nullopt;
  }
  bool Failed() const { return failed_; }

 private:
  const Arguments& arguments_;
  std::string* error_;
  bool failed_ = false;
};

/// "-6.5", "+3,5 dB". Tags are read more kindly: here what follows the number is a slip, as in "1e3".
std::optional<double> ParseDecibels(std::string text) {
  if (text.size() >= 2 && EqualNoCaseUtf8(std::string_view(text).substr(text.size() - 2), "dB"))
    text.resize(text.size() - 2);
  while (text.ends_with(' '))
    text.pop_back();
  const size_t number = text.starts_with('+') || text.starts_with('-') ? 1 : 0;
  if (text.find_first_not_of("0123456789.,", number) != std::string::npos ||
      std::count_if(text.begin(), text.end(), [](char c) { return c == '.' || c == ','; }) > 1)
    return std::nullopt;
  return ParseGainDb(Utf16FromUtf8(text));
}

/// As the setting's text, which may go on with anything: here that is a slip.
bool ParseEqualizer(const std::string& text, EqualizerBands* out) {
  return text.find_first_not_of("0123456789+-:, ") == std::string::npos &&
         std::count(text.begin(), text.end(), ',') == static_cast<ptrdiff_t>(EqualizerBands::kBands - 1) &&
         ParseSetting(text, out);
}

bool ReadGain(const Arguments& arguments, DecodeOptions* out, std::string* error) {
  const std::string* text = arguments.Value("--gain");
  if (!text) return true;
  out->auto_gain = *text == "auto";
  if (out->auto_gain) return true;
  const auto gain_db = ParseDecibels(*text);
  if (!gain_db) *error = "--gain is \"auto\" or decibels from -60 to 60, not: " + PrintableLine(*text);
  out->chain.effects.extra_gain_db = gain_db.value_or(0);
  return gain_db.has_value();
}

}  // namespace

bool DecodeOptions::ChangesSound() const {
  const EffectSettings& effects = chain.effects;
  return auto_gain || chain.resample_rate != 0 || effects.equalizer != EqualizerBands{} ||
         effects.surround != 0 || effects.extra_gain_db != 0;
}

bool ReadDecodeOptions(const Arguments& arguments, DecodeOptions* out, std::string* error) {
  const auto track_flags = TrackFlags(arguments, error);
  if (!track_flags) return false;
  out->open_flags = *track_flags;
  NumberReader numbers(arguments, error);
  out->bits = numbers.Read("--bits", 8, 32, "8, 16, 24 or 32").value_or(0);
  out->dither = numbers.Read("--dither", 0, 4, "0 to 4").value_or(0);
  out->start_ms = numbers.Read("--start", 0, UINT32_MAX, kMilliseconds).value_or(0);
  out->length_ms = numbers.Read("--length", 0, UINT32_MAX, kMilliseconds);
  out->chain.resample_rate = numbers.Read("--rate", 1, kMostRate, "1 to 768000 Hz").value_or(0);
  if (numbers.Failed()) return false;
  if (arguments.Has("--bits") && out->bits != 8 && out->bits != 16 && out->bits != 24 && out->bits != 32) {
    *error = "--bits is 8, 16, 24 or 32, not: " + PrintableLine(*arguments.Value("--bits"));
    return false;
  }
  out->chain.quality = arguments.Has("--hq") ? ResampleQuality::kHigh : ResampleQuality::kFast;
  if (const std::string* text = arguments.Value("--eq")) {
    if (!ParseEqualizer(*text, &out->chain.effects.equalizer)) {
      *error = "--eq is eleven whole numbers, \"preamp:band,...,band\" in dB, not: " + PrintableLine(*text);
      return false;
    }
  }
  if (const std::string* text = arguments.Value("--surround")) {
    out->chain.effects.surround = kUsualSurround;
    if (!text->empty()) {
      const auto level = ParseNumber(*text);
      if (!level || *level > 100) {
        *error = "--surround=LEVEL is 0 to 100, not: " + PrintableLine(*text);
        return false;
      }
      out->chain.effects.surround = static_cast<int32_t>(*level);
    }
  }
  return ReadGain(arguments, out, error);
}

}  // namespace melorin
