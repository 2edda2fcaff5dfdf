// SPDX-License-Identifier: MIT
//
// What melorin-cli decode is told to do.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "cli/arguments.h"
#include "playback/effects/effects_chain.h"

namespace melorin {

struct DecodeOptions {
  uint32_t open_flags = 0;
  uint32_t bits = 0;  ///< 0: the source's own.
  uint32_t dither = 0;
  uint32_t start_ms = 0;
  std::optional<uint32_t> length_ms;
  /// The gain of the tags, else what is measured in a first pass.
  bool auto_gain = false;
  ChainOptions chain;
  /// Whether what a block becomes depends on those before it, or frames are not the source's.
  bool ChangesSound() const;
};

inline constexpr OptionSpec kDecodeOptions[] = {
    {"--bits", true}, {"--dither", true}, {"--start", true}, {"--length", true}, {"--track", true},
    {"--rate", true}, {"--hq"},           {"--eq", true},    {"--gain", true},   {"--surround", false, true}};
/// False, with the reason in `error`, when an option's value is none of those allowed.
bool ReadDecodeOptions(const Arguments& arguments, DecodeOptions* out, std::string* error);

}  // namespace melorin
