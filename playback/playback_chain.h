// SPDX-License-Identifier: MIT
//
// Where a playback stream gets its samples: a source, its decoder and the effects behind them, delivering
// blocks of 32-bit floats with full scale ±1.0.
#pragma once

#include <algorithm>
#include <cstdint>

#include "sound/interfaces.h"

namespace melorin {

class TrackEffects;

/// A block's length in ms: an eighth of the device buffer within these bounds. The decode thread wakes two or
/// three times a block, so longer ones save waking; four of the shortest fill the shortest buffer.
inline constexpr uint32_t kShortestBlockMs = 25;
inline constexpr uint32_t kLongestBlockMs = 50;
constexpr uint32_t BlockMsFor(uint32_t buffer_ms) {
  return std::clamp(buffer_ms / 8, kShortestBlockMs, kLongestBlockMs);
}

/// Frames of a block: rounded down to a multiple of 8, at least 64.
constexpr uint32_t BlockFrames(uint32_t sample_rate, uint32_t block_ms = kShortestBlockMs) {
  const uint64_t frames = uint64_t{sample_rate} * block_ms / 1000 / 8 * 8;
  return std::max(static_cast<uint32_t>(frames), 64u);
}

/// Thread: NextBlock on the decode thread; Seek and the notifications on whichever thread the stream calls
/// them from, never at the same time as NextBlock.
class PlaybackChain {
 public:
  virtual ~PlaybackChain() = default;

  /// Size in bytes of one float block at the source's own rate, and at the rate resampled to.
  virtual uint32_t NativeBlockBytes() const = 0;
  virtual uint32_t ResampledBlockBytes() const = 0;
  virtual bool IsResampling() const = 0;
  uint32_t BlockBytes() const { return IsResampling() ? ResampledBlockBytes() : NativeBlockBytes(); }

  virtual uint32_t SampleRate() const = 0;  ///< Of what is delivered, Hz.
  virtual uint16_t Channels() const = 0;
  virtual uint16_t SourceBits() const = 0;  ///< The source's own sample width.
  virtual uint32_t DurationMs() const = 0;

  /// Fills the block and sets its length. S_OK: delivered; S_FALSE: the source has ended; a failure: it broke
  /// off there. Never allocates once the first block was delivered.
  virtual HRESULT NextBlock(SoundBuffer& block) = 0;
  virtual HRESULT Seek(uint32_t position_ms) = 0;

  virtual HRESULT NotifyStart() = 0;
  virtual HRESULT NotifyPause() = 0;
  virtual HRESULT NotifyStop() = 0;

  virtual SoundSource* Source() const = 0;             ///< Borrowed.
  virtual TrackEffects* Effects() { return nullptr; }  ///< Borrowed; null for a chain without effects.
};

}  // namespace melorin
