// SPDX-License-Identifier: MIT
//
// What the visual effects draw: the 512 frames now audible as 16-bit samples, and their magnitude spectrum.
// Also the interface of who receives every converted block.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <span>

#include "platform/com.h"

struct kiss_fftr_state;

namespace melorin {

inline constexpr uint32_t kVisualFrames = 512;
inline constexpr uint32_t kVisualBins = kVisualFrames / 2;

/// For the wave and for the spectrum: how many channels are wanted.
enum VisualMode : int32_t { kVisualNone = 0, kVisualMono = 1, kVisualStereo = 2 };

struct VisualData {
  /// Channel 0, and for kVisualStereo channel 1 (a copy of 0 for a mono stream); else zero.
  std::array<std::array<int16_t, kVisualFrames>, 2> wave;
  /// Magnitudes of bins 0 to 255 (bin k lies at k / 512 of the sample rate), 1.0 for a full-scale sine in its
  /// bin.
  std::array<std::array<float, kVisualBins>, 2> spectrum;
};

/// Receives every converted block.
/// Thread: the decode thread; neither blocks nor allocates.
class VisualAnalyser {
 public:
  virtual void OnBlock(std::span<const uint8_t> block, const WAVEFORMATEX& format) = 0;

 protected:
  ~VisualAnalyser() = default;
};

/// One channel of interleaved PCM of `bits` (8, 16, 24, 32) as 16-bit samples: 8 bits moved to signed and up,
/// of 24 and 32 bits the top two bytes. Fills what `pcm` has no frames for with zeros.
void ExtractChannel(std::span<const uint8_t> pcm, uint16_t bits, uint16_t channels, uint16_t channel,
                    std::span<int16_t> out);

/// A 512-point forward transform with its work areas.
/// Thread: one at a time.
class SpectrumState {
 public:
  SpectrumState() noexcept;
  ~SpectrumState();
  SpectrumState(const SpectrumState&) = delete;
  SpectrumState& operator=(const SpectrumState&) = delete;

  /// False when memory runs out.
  bool Init();
  /// The magnitude spectrum of one channel under a Hann window.
  void Compute(std::span<const int16_t, kVisualFrames> wave, std::span<float, kVisualBins> magnitudes);

 private:
  struct FreeConfig {
    void operator()(kiss_fftr_state* config) const;
  };
  std::unique_ptr<kiss_fftr_state, FreeConfig> config_;
  std::array<float, kVisualFrames> input_{};
  std::array<float, kVisualFrames + 2> output_{};  ///< 257 complex bins.
};

}  // namespace melorin
