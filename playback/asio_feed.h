// SPDX-License-Identifier: MIT
//
// The way of the samples from the decode thread to an ASIO driver, which asks for them from a thread of its
// own: a ring of device PCM with one writer and one reader.
#pragma once

#include <atomic>
#include <cstdint>
#include <span>
#include <vector>

#include "platform/com.h"
#include "playback/asio_samples.h"

namespace melorin {

/// The reader's side, Fill, waits for nobody and takes no lock. The other operations are the writer's side:
/// any thread, one at a time.
class AsioFeed {
 public:
  /// The memory of one output channel for one call of Fill.
  struct Output {
    uint8_t* memory = nullptr;
    AsioSampleLayout layout;
    uint16_t channel = 0;  ///< Of the device PCM.
  };

  /// format: PCM of 8, 16, 24 or 32 bits. capacity_bytes: a whole number of frames, not 0. Throws
  /// std::bad_alloc. Begins paused and empty.
  AsioFeed(const WAVEFORMATEX& format, uint32_t capacity_bytes);

  uint32_t Capacity() const { return static_cast<uint32_t>(ring_.size()); }
  uint32_t FreeBytes() const;
  /// False when there is less room than that; then nothing is queued.
  bool Write(const uint8_t* data, uint32_t bytes);
  /// Bytes taken since the last reset.
  uint64_t Taken() const { return taken_; }

  void Run() { running_ = true; }
  /// Asks for silence without waiting for a Fill under way. Thread: any.
  void Halt() { running_ = false; }
  /// When it returns, nothing is taken any more until Run. Waits for a Fill under way, at most half a second;
  /// false when that has not come back.
  bool Pause();
  /// Pauses and forgets what is queued. As Pause; nothing is changed on failure.
  bool Reset();

  /// Fills every output with the next frames; with silence what is missing, and everything while paused.
  /// A call while another is under way does nothing. Thread: the driver's.
  void Fill(std::span<const Output> outputs, uint32_t frames);

 private:
  void Take(std::span<const Output> outputs, uint32_t frames);

  const uint32_t frame_bytes_;
  const uint16_t sample_bytes_;
  const uint16_t bits_;
  std::vector<uint8_t> ring_;
  // Totals since the last reset; their difference is what is queued.
  std::atomic<uint64_t> written_{0};
  std::atomic<uint64_t> taken_{0};
  // Fill says that it is inside before it looks whether it may take; Pause forbids before it looks whether
  // Fill is inside. Sequentially consistent, so that one of the two sees the other.
  std::atomic<bool> running_{false};
  std::atomic<bool> inside_{false};
};

static_assert(std::atomic<uint64_t>::is_always_lock_free);

}  // namespace melorin
