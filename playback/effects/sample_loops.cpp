// SPDX-License-Identifier: MIT
#include "playback/effects/sample_loops.h"

#include <emmintrin.h>

#include <algorithm>
#include <cmath>

namespace melorin {

namespace {

constexpr size_t kLanes = 4;

/// Four samples a step, the rest one by one.
template <class Vector, class Single>
void ForEach(float* samples, size_t count, Vector&& vector, Single&& single) {
  size_t i = 0;
  for (; i + kLanes <= count; i += kLanes)
    _mm_storeu_ps(samples + i, vector(_mm_loadu_ps(samples + i)));
  for (; i < count; ++i)
    samples[i] = single(samples[i]);
}

}  // namespace

void ScaleSamples(float* samples, size_t count, float factor) {
  const __m128 factors = _mm_set1_ps(factor);
  ForEach(
      samples, count, [=](__m128 x) { return _mm_mul_ps(x, factors); }, [=](float x) { return x * factor; });
}

void ScaleFrames(float* samples, size_t frames, const float* factors, uint16_t channels) {
  const size_t count = frames * channels;
  size_t i = 0;
  if (kLanes * 2 % channels == 0) {  // Eight samples are whole frames: always the same factors.
    float repeated[kLanes * 2];
    for (size_t k = 0; k < kLanes * 2; ++k)
      repeated[k] = factors[k % channels];
    const __m128 low = _mm_loadu_ps(repeated);
    const __m128 high = _mm_loadu_ps(repeated + kLanes);
    for (; i + kLanes * 2 <= count; i += kLanes * 2) {
      _mm_storeu_ps(samples + i, _mm_mul_ps(_mm_loadu_ps(samples + i), low));
      _mm_storeu_ps(samples + i + kLanes, _mm_mul_ps(_mm_loadu_ps(samples + i + kLanes), high));
    }
  }
  for (; i < count; i += channels)
    for (uint16_t channel = 0; channel < channels; ++channel)
      samples[i + channel] *= factors[channel];
}

float PeakOf(const float* samples, size_t count) {
  const __m128 magnitude = _mm_castsi128_ps(_mm_set1_epi32(0x7FFFFFFF));
  __m128 highest = _mm_setzero_ps();
  size_t i = 0;
  // The maximum is its second operand where the first is not a number.
  for (; i + kLanes <= count; i += kLanes)
    highest = _mm_max_ps(_mm_and_ps(_mm_loadu_ps(samples + i), magnitude), highest);
  float lanes[kLanes];
  _mm_storeu_ps(lanes, highest);
  float peak = std::max({lanes[0], lanes[1], lanes[2], lanes[3]});
  for (; i < count; ++i)
    peak = std::max(peak, std::fabs(samples[i]));
  return peak;
}

void CutSamples(float* samples, size_t count, float limit) {
  const __m128 top = _mm_set1_ps(limit);
  const __m128 bottom = _mm_set1_ps(-limit);
  ForEach(
      samples, count, [=](__m128 x) { return _mm_max_ps(_mm_min_ps(x, top), bottom); },
      [=](float x) {
        const float cut = x < limit ? x : limit;
        return cut > -limit ? cut : -limit;
      });
}

}  // namespace melorin
