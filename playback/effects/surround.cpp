// SPDX-License-Identifier: MIT
#include "playback/effects/surround.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace melorin {

namespace {

constexpr float kWidth = 0.6f;
constexpr float kDepth = 0.35f;
constexpr float kFeedback = 0.4f;
constexpr double kHighPassHz = 180;
constexpr double kLowPassHz = 4500;
constexpr double kMiddleDelayMs = 13.7;
constexpr double kSideDelayMs = 19.3;
/// -300 dB: what is below it is nothing, before it becomes a denormal and slow.
constexpr float kSilence = 1e-15f;

float Level(int32_t setting) {
  return static_cast<float>(std::clamp(setting, 0, 100)) / 100.0f;
}

/// Of a one-pole filter: the share of the difference to its input that it takes over in one frame.
float Follow(double cutoff_hz, uint32_t sample_rate) {
  return static_cast<float>(1.0 - std::exp(-2.0 * std::numbers::pi * cutoff_hz / sample_rate));
}

size_t DelayFrames(double ms, uint32_t sample_rate) {
  return std::max<size_t>(static_cast<size_t>(ms * sample_rate / 1000.0 + 0.5), 1);
}

float Audible(float value) {
  return std::fabs(value) < kSilence ? 0.0f : value;
}

}  // namespace

Surround::Surround(uint32_t sample_rate, uint16_t channels, int32_t level)
    : channels_(channels),
      pairs_(SpeakerPairs::Of(channels)),
      filters_{Follow(kHighPassHz, sample_rate), Follow(kLowPassHz, sample_rate)},
      echoes_(pairs_.count),
      set_(level),
      ramp_(sample_rate),
      from_(Level(level)),
      to_(from_) {
  for (PairEchoes& echoes : echoes_) {
    echoes.middle.SetDelay(DelayFrames(kMiddleDelayMs, sample_rate));
    echoes.side.SetDelay(DelayFrames(kSideDelayMs, sample_rate));
  }
}

bool Surround::TakeOver() {
  int32_t level = 0;
  if (!set_.Take(&level)) return false;
  to_ = Level(level);
  return true;
}

bool Surround::IsIdle() {
  if (pairs_.count == 0) return true;
  if (ramp_.IsRunning()) return false;
  // Arrived at 0: the next sound must not begin with the echoes of this one.
  if (to_ == 0.0f && from_ != 0.0f) ClearEchoes();
  from_ = to_;
  if (TakeOver() && to_ != from_) ramp_.Start();
  return to_ == 0.0f && !ramp_.IsRunning();
}

void Surround::Echo::Clear() {
  std::fill(line.begin(), line.end(), 0.0f);
  low_part = feedback = 0;
}

/// An echo at work. What it changes is kept apart from the object, to which it comes back at the end: there
/// each sample that is stored might change it, so that it would be read again for the next one.
class Surround::EchoPass {
 public:
  EchoPass(Echo& echo, const Filters& filters)
      : echo_(echo),
        filters_(filters),
        line_(echo.line.data()),
        length_(echo.line.size()),
        position_(echo.position),
        low_part_(echo.low_part),
        feedback_(echo.feedback) {}
  ~EchoPass() {
    echo_.position = position_;
    echo_.low_part = low_part_;
    echo_.feedback = feedback_;
  }
  EchoPass(const EchoPass&) = delete;
  EchoPass& operator=(const EchoPass&) = delete;

  float Next(float in) {
    low_part_ = Audible(low_part_ + (in - low_part_) * filters_.high_pass);
    const float out = line_[position_];
    feedback_ = Audible(feedback_ + (out - feedback_) * filters_.low_pass);
    line_[position_] = Audible(in - low_part_ + kFeedback * feedback_);
    if (++position_ == length_) position_ = 0;
    return out;
  }

 private:
  Echo& echo_;
  const Filters filters_;
  float* const line_;
  const size_t length_;
  size_t position_;
  float low_part_;
  float feedback_;
};

inline void Surround::ProcessPair(float* left, float* right, EchoPass& middle_echo, EchoPass& side_echo,
                                  float level, float input) const {
  const float middle = 0.5f * (*left + *right);
  const float side = 0.5f * (*left - *right);
  const float echo = middle_echo.Next(middle * input) + side_echo.Next(side * input);
  const float wide = side + level * (kWidth * side + kDepth * echo);
  *left = middle + wide;
  *right = middle - wide;
}

void Surround::ProcessRamp(float* samples, size_t frames) {
  for (; frames > 0; --frames, samples += channels_) {
    const float weight = ramp_.Next();
    const float level = from_ + (to_ - from_) * weight;
    // Switched on, the echoes' input rises as well: a hard start of it would be heard a delay later.
    const float input = from_ == 0.0f ? weight : 1.0f;
    for (size_t pair = 0; pair < pairs_.count; ++pair) {
      EchoPass middle(echoes_[pair].middle, filters_);
      EchoPass side(echoes_[pair].side, filters_);
      ProcessPair(samples + pairs_.pairs[pair].left, samples + pairs_.pairs[pair].right, middle, side, level,
                  input);
    }
  }
}

void Surround::Process(float* samples, size_t frames) {
  const size_t ramped = ramp_.IsRunning() ? std::min(frames, ramp_.FramesLeft()) : 0;
  ProcessRamp(samples, ramped);
  samples += ramped * channels_;
  frames -= ramped;
  if (to_ == 0.0f) return;
  const float level = to_;
  for (size_t pair = 0; pair < pairs_.count; ++pair) {
    EchoPass middle(echoes_[pair].middle, filters_);
    EchoPass side(echoes_[pair].side, filters_);
    float* left = samples + pairs_.pairs[pair].left;
    float* right = samples + pairs_.pairs[pair].right;
    for (size_t i = 0; i < frames; ++i, left += channels_, right += channels_)
      ProcessPair(left, right, middle, side, level, 1.0f);
  }
}

void Surround::Flush() {
  ramp_.Finish();
  TakeOver();
  from_ = to_;
  ClearEchoes();
}

void Surround::ClearEchoes() {
  for (PairEchoes& echoes : echoes_) {
    echoes.middle.Clear();
    echoes.side.Clear();
  }
}

}  // namespace melorin
