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
        float& w = filters.w1[k][c];
        float& rise = rises[k];
        float gain = filters.gain[k][c];
        if (weights) gain += filters.gain_move[k][c] * weights[n];
        const float past = EqualizerFilters::kNumeratorRest * (w - rise) + rise;
        rise = (filters.alpha[k][c] * s + filters.beta[k][c] * rise) - filters.pull[k][c] * w;
        w = w + rise;
        s = s + gain * (rise + past);
      }
      sample = s;
    }
    for (uint32_t k = 0; k < filters.bands; ++k)
      filters.w2[k][c] = filters.w1[k][c] - rises[k];
  }
}

}  // namespace melorin
