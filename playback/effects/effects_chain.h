// SPDX-License-Identifier: MIT
//
// The whole chain of a track: source and decoder (SourceChain), loudness meter, resampler, gain, equalizer,
// surround, balance, limiter.
//
// Why this order: the meter hears the track as it is in the file. The resampler comes first of what changes
// samples, so that the equalizer's bands are those of the rate that is heard, and nothing that was made
// louder reaches its filters. Gain stands before the equalizer, so that tracks reach it equally loud.
// Surround works on the sound as it was shaped, balance on what surround makes of the two sides. The limiter
// is last: it sees everything that can go beyond full scale.
#pragma once

#include <memory>

#include "playback/effects/resampler.h"
#include "playback/playback_chain.h"
#include "playback/track_effects.h"

namespace melorin {

struct ChainOptions {
  uint32_t resample_rate = 0;  ///< Hz; 0, the source's own rate, or one out of range: no resampling.
  ResampleQuality quality = ResampleQuality::kHigh;
  uint32_t block_ms = kShortestBlockMs;  ///< How long the delivered blocks are.
  bool scan_gain = false;                ///< Measures the track.
  EffectSettings effects = {};           ///< What the first block is played with.
};

/// Blocks have BlockFrames at the rate that is delivered, whatever those of the source are.
///
/// With every effect off the samples are those of the source chain, bit for bit, those beyond full scale
/// included. The limiter works while a gain, the equalizer or surround does. See PlaybackChain for threads.
class EffectsChain final : public PlaybackChain, public TrackEffects {
 public:
  /// Takes over a chain at the source's own rate. E_INVALIDARG without one, E_OUTOFMEMORY.
  static HRESULT Create(std::unique_ptr<PlaybackChain> source, const ChainOptions& options,
                        std::unique_ptr<EffectsChain>* out);
  ~EffectsChain() override;

  uint32_t NativeBlockBytes() const override;
  uint32_t ResampledBlockBytes() const override;
  bool IsResampling() const override;
  uint32_t SampleRate() const override;
  uint16_t Channels() const override;
  uint16_t SourceBits() const override;
  uint32_t DurationMs() const override;
  HRESULT NextBlock(SoundBuffer& block) override;
  HRESULT Seek(uint32_t position_ms) override;
  HRESULT NotifyStart() override;
  HRESULT NotifyPause() override;
  HRESULT NotifyStop() override;
  SoundSource* Source() const override;
  TrackEffects* Effects() override { return this; }

  void Set(const EffectSettings& settings) override;
  std::optional<TrackGain> ScannedGain() const override;

 private:
  struct Parts;
  explicit EffectsChain(std::unique_ptr<Parts> parts);
  std::unique_ptr<Parts> parts_;
};

}  // namespace melorin
