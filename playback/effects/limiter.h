// SPDX-License-Identifier: MIT
//
// Keeps what gain, equalizer and surround made louder from clipping: a limiter that looks ahead, so that its
// gain is already down when the peak comes, without a corner in it.
//
// For each frame: the gain that brings its loudest channel to full scale (1 for what is below); the lowest of
// these over the 10 ms ahead and the 20 ms before; from there a release towards 1, exponential with 150 ms,
// that never rises above the next such minimum; two running means in a row over that, which together are as
// long as the look-ahead. A mean of values each of which is low enough for a frame is low enough for it, so
// the result never is above what the frame needs, and it moves along a parabola, not in steps. All channels
// get the same gain, so the image does not wander.
//
// The 20 ms are half a period of 25 Hz: a steady tone from there up gets a steady gain. Without them the gain
// would rise between two peaks of a bass tone and be taken down at each of them, which is distortion: 3 % of
// 50 Hz brought 12 dB above full scale, 5 % of 30 Hz. The 10 ms keep a sudden gain quiet: what it leaves
// above 700 Hz of a tone of 100 Hz, the limiter's onset with it, is 88 dB below full scale (66 with 5 ms).
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace melorin {

/// Thread: as SoundStage's. Nothing allocates but the constructor.
class Limiter {
 public:
  /// Throws std::bad_alloc.
  Limiter(uint32_t sample_rate, uint16_t channels);

  static constexpr uint32_t kLookAheadMs = 10;
  static constexpr uint32_t kHoldMs = 20;
  static constexpr uint32_t kReleaseMs = 150;

  /// Frames that a frame must wait for those after it. 10 ms, and at least 8.
  size_t LookAhead() const { return look_ahead_; }

  /// Takes new frames and finishes as many: those that lie LookAhead() frames before them in memory (none
  /// before the first frame after the start or a Flush). `watch` false: the new frames pass whatever their
  /// peak. While no frame needs it, and an earlier reduction is over, samples stay bit for bit as they are at
  /// the cost of a search for the peak, or of nothing with `watch` false.
  void Process(float* samples, size_t frames, bool watch);
  void Flush();

 private:
  /// The mean of the last values.
  class RunningMean {
   public:
    void SetLength(size_t length);
    void Fill(float value);
    float Next(float value);

   private:
    std::vector<float> values_;
    size_t position_ = 0;
    double sum_ = 0;
    double share_ = 1;
  };
  /// The lowest of the last values. Source: the monotonic queue, e.g. D. Lemire, Streaming maximum-minimum
  /// filter, 2006.
  class RunningMinimum {
   public:
    void SetLength(size_t length);
    void Clear();
    float Next(float value);

   private:
    struct Entry {
      float value = 1;
      uint64_t index = 0;
    };
    std::vector<Entry> queue_;  ///< A ring, values rising from the oldest on.
    size_t first_ = 0;
    size_t count_ = 0;
    uint64_t index_ = 0;
  };

  float NextGain(float peak);
  void Rest();

  const uint16_t channels_;
  const size_t look_ahead_;
  const double release_;  ///< The share of the way to 1 that is left after a frame.
  RunningMinimum minimum_;
  RunningMean first_mean_;
  RunningMean second_mean_;
  double envelope_ = 1;
  bool resting_ = true;
  size_t quiet_frames_ = 0;  ///< Since a frame last needed less than 1, or the envelope was below it.
  size_t waiting_ = 0;       ///< Frames taken and not finished.
};

}  // namespace melorin
