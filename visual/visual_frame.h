// SPDX-License-Identifier: MIT
//
// What a visual effect draws of one moment, and where it gets it.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace melorin {

struct VisualFrame {
  static constexpr size_t kSamples = 512;
  static constexpr size_t kBins = 256;

  uint32_t sample_rate = 0;  ///< Hz; 0: nothing plays.
  /// Left and right; equal for a mono track.
  std::array<std::array<int16_t, kSamples>, 2> wave;
  /// Magnitudes, 1 for a full-scale sine; both channels together. Bin k lies at k / 512 of the sample rate.
  std::array<float, kBins> spectrum;
};

class VisualSource {
 public:
  /// What is heard now. Fills what was asked for only. False while nothing plays. Thread: the UI thread.
  virtual bool Read(VisualFrame* frame, bool wave, bool spectrum) = 0;

 protected:
  ~VisualSource() = default;
};

}  // namespace melorin
