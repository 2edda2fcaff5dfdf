// SPDX-License-Identifier: MIT
//
// Channel extraction and the magnitude spectrum of the visual data.
#include "playback/visual_data.h"

#include <kiss_fftr.h>

#include <cmath>
#include <cstdlib>
#include <numbers>

namespace melorin {
namespace {

static_assert(sizeof(kiss_fft_cpx) == 2 * sizeof(float), "the work area holds interleaved floats");

std::array<float, kVisualFrames> MakeHannWindow() {
  std::array<float, kVisualFrames> window{};
  for (uint32_t i = 0; i < kVisualFrames; ++i)
    window[i] = static_cast<float>(0.5 - 0.5 * std::cos(2 * std::numbers::pi * i / kVisualFrames));
  return window;
}

/// Samples of 16 bits are far from what a float cannot square; std::hypot would cost more than the transform.
float Square(float value) {
  return value * value;
}

}  // namespace

void ExtractChannel(std::span<const uint8_t> pcm, uint16_t bits, uint16_t channels, uint16_t channel,
                    std::span<int16_t> out) {
  const size_t sample_bytes = bits / 8u;
  const size_t frame_bytes = sample_bytes * channels;
  size_t frames = frame_bytes ? pcm.size() / frame_bytes : 0;
  if (frames > out.size()) frames = out.size();
  for (size_t i = 0; i < frames; ++i) {
    const uint8_t* sample = pcm.data() + i * frame_bytes + channel * sample_bytes;
    int value;
    if (bits == 8)
      value = (sample[0] - 128) * 256;
    else
      value = sample[sample_bytes - 2] | sample[sample_bytes - 1] << 8;
    out[i] = static_cast<int16_t>(value);
  }
  for (size_t i = frames; i < out.size(); ++i)
    out[i] = 0;
}

void SpectrumState::FreeConfig::operator()(kiss_fftr_state* config) const {
  kiss_fftr_free(config);
}

SpectrumState::SpectrumState() noexcept = default;
SpectrumState::~SpectrumState() = default;

bool SpectrumState::Init() {
  config_.reset(kiss_fftr_alloc(static_cast<int>(kVisualFrames), 0, nullptr, nullptr));
  return config_ != nullptr;
}

void SpectrumState::Compute(std::span<const int16_t, kVisualFrames> wave,
                            std::span<float, kVisualBins> magnitudes) {
  static const std::array<float, kVisualFrames> window = MakeHannWindow();
  for (uint32_t i = 0; i < kVisualFrames; ++i)
    input_[i] = window[i] * static_cast<float>(wave[i]);
  kiss_fftr(config_.get(), input_.data(), reinterpret_cast<kiss_fft_cpx*>(output_.data()));
  // A sine of amplitude A in one bin gives A * 512 / 2 there, and the window halves it.
  constexpr float kScale = 4.0f / (kVisualFrames * 32768.0f);
  for (uint32_t k = 0; k < kVisualBins; ++k)
    magnitudes[k] = kScale * std::sqrt(Square(output_[2 * k]) + Square(output_[2 * k + 1]));
}

}  // namespace melorin
