// SPDX-License-Identifier: MIT
#include <algorithm>

#include "playback/effects/equalizer_filters.h"

namespace melorin {

void RunEqualizerPlain(EqualizerFilters& filters, float* samples, size_t frames, const float* weights) {
  const uint32_t channels = std::min(filters.channels, EqualizerFilters::kChannels);
  for (uint32_t c = 0; c < channels; ++c) {
    float rises[EqualizerBands::kBands];
    for (uint32_t k = 0; k < filters.bands; ++k)
      rises[k] = filters.w1[k][c] - filters.w2[k][c];
    for (size_t n = 0; n < frames; ++n) {
      float& sample = samples[n * filters.channels + c];
      float s = sample;
      for (uint32_t k = 0; k < filters.bands; ++k) {
        float& w1 = filters.w1[k][c];
        float& w2 = filters.w2[k][c];
        float gain = filters.gain[k][c];
        if (weights) gain += filters.gain_move[k][c] * weights[n];
        float& rise = rises[k];
        const float past = EqualizerFilters::kNumeratorRest * w2 + rise;
        rise = (filters.alpha[k][c] * s + filters.beta[k][c] * rise) - filters.pull[k][c] * w1;
        const float w = w1 + rise;
        s = s + gain * (rise + past);
        w2 = w1;
        w1 = w;
      }
      sample = s;
    }
  }
}

}  // namespace melorin
