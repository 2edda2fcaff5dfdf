// SPDX-License-Identifier: MIT
//
// One step of the effects chain, between the resampler and the device.
#pragma once

#include <cstddef>

namespace melorin {

/// A chain runs its stages in order over every block; one that is idle is not called, so it costs one test a
/// block and leaves the samples bit for bit as they are. Rate and channel count are fixed when a stage is
/// made. What a stage is set to may change from another thread while it works, see the stages; it takes a
/// change over in IsIdle, between two blocks, and moves to it without a click (see ChangeRamp).
/// Thread: the decode thread, or whoever drives the chain. Nothing allocates, locks for long or throws.
class SoundStage {
 public:
  virtual ~SoundStage() = default;
  /// Called before every block: takes over what was set since the last one, and says whether the stage would
  /// leave the block as it is.
  virtual bool IsIdle() = 0;
  /// Works in place on interleaved floats. Only after an IsIdle that was false.
  virtual void Process(float* samples, size_t frames) = 0;
  /// Before the first block and after a seek: forgets what is left of earlier blocks. A change under way, and
  /// what was set since the last block, count at once, without a ramp.
  virtual void Flush() = 0;
};

}  // namespace melorin
