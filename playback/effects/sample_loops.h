// SPDX-License-Identifier: MIT
//
// The plain loops over samples that several stages need. Any alignment. Thread: any.
#pragma once

#include <cstddef>
#include <cstdint>

namespace melorin {

/// Multiplies by one factor.
void ScaleSamples(float* samples, size_t count, float factor);
/// Multiplies each channel by its factor; `factors` has one for each of 1 to 8 channels.
void ScaleFrames(float* samples, size_t frames, const float* factors, uint16_t channels);
/// The highest magnitude; 0 of none. Not a number counts as nothing.
float PeakOf(const float* samples, size_t count);
/// Cuts to ±limit; what is not a number becomes limit.
void CutSamples(float* samples, size_t count, float limit);

}  // namespace melorin
