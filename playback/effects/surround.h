// SPDX-License-Identifier: MIT
//
// Surround: makes a pair of speakers sound wider than they stand, in 100 levels.
//
// Each left/right pair is taken apart into its middle M = (L + R) / 2 and its side S = (L - R) / 2. Only the
// side is changed, then L = M + S', R = M - S':
//
//   S' = width · S + depth · (E(M) + E'(S))
//
// Width is 1 + 0.6 · level. Depth, 0.35 · level, brings in two echoes, one of the middle, so that sound from
// there (a mono recording too) is spread, and one of the side, which gives the room behind it. E and E' have
// one structure, a delay line with feedback:
//
//   high-pass 180 Hz → + → delay → out
//                      ↑             │
//                      └─ 0.4 · low-pass 4.5 kHz
//
// The delays, 13.7 ms and 19.3 ms, lie between the 5 ms or so below which a comb filter is heard as a colour
// and the 30 ms above which an echo is heard as one; no small whole ratio joins them, so their repeats do not
// fall together. Bass stays in the middle, where it belongs, and each repeat is duller than the one before,
// as walls make it. A feedback of 0.4 has faded by 60 dB after eight rounds, 110 to 155 ms.
//
// Mono: L + R stays as it was, whatever the level, but for rounding. Level: |E| is at most 1 / (1 - 0.4) for
// a tone, so none comes out more than 7 dB louder than its louder side went in; nothing at all by more than 9
// dB (the high-pass can double a step).
#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include "playback/effects/change_ramp.h"
#include "playback/effects/parameter.h"
#include "playback/effects/sound_stage.h"
#include "playback/effects/speaker_pairs.h"

namespace melorin {

/// Works on every left/right pair of speakers, see SpeakerPairs; speakers in the middle, and mono, pass
/// unchanged.
class Surround final : public SoundStage {
 public:
  /// level: 0 off, to 100, cut to that; what the first block is played with. Throws std::bad_alloc.
  Surround(uint32_t sample_rate, uint16_t channels, int32_t level);

  /// Thread: any. Counts from the next block on.
  void SetLevel(int32_t level) { set_.Set(level); }

  bool IsIdle() override;
  void Process(float* samples, size_t frames) override;
  void Flush() override;

 private:
  struct Filters {
    float high_pass = 0;  ///< How far the low part follows its input in one frame.
    float low_pass = 0;
  };
  /// E of the above.
  struct Echo {
    void SetDelay(size_t frames) { line.assign(frames, 0.0f); }
    void Clear();

    std::vector<float> line;
    size_t position = 0;
    float low_part = 0;
    float feedback = 0;
  };
  class EchoPass;
  struct PairEchoes {
    Echo middle;
    Echo side;
  };

  bool TakeOver();
  void ProcessRamp(float* samples, size_t frames);
  void ProcessPair(float* left, float* right, EchoPass& middle_echo, EchoPass& side_echo, float level,
                   float input) const;
  void ClearEchoes();

  const uint16_t channels_;
  const SpeakerPairs pairs_;
  Filters filters_;
  std::vector<PairEchoes> echoes_;
  Parameter<int32_t> set_;
  ChangeRamp ramp_;
  float from_;  ///< Levels, 0 to 1.
  float to_;
};

}  // namespace melorin
