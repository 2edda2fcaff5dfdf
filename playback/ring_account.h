// SPDX-License-Identifier: MIT
//
// The bookkeeping of a circular device buffer that loops for ever: where to write, how much is free, how much
// has been played since the last reset, and what must be silenced so that old data is never heard again.
//
// How it works: all positions are 64-bit totals that only grow ("ring totals"; modulo the ring size they are
// offsets). The play cursor is an offset, so the number of whole rounds since the last look is taken from the
// clock: that many that the movement fits best to the time passed. Polling may therefore be as slow as one
// likes, as long as the clock and the card agree to within half a round.
// When the reader overtakes the writer (underrun), the next data is placed at the write cursor and the
// skipped stretch does not count as played.
//
// Thread: one at a time; the device locks around it.
#pragma once

#include <cstdint>

namespace melorin {

class RingAccount {
 public:
  struct Span {
    uint32_t offset = 0;
    uint32_t bytes = 0;  ///< May go around the ring's end.
  };

  /// ring_bytes and bytes_per_second are not 0; ring_bytes is a whole number of frames.
  RingAccount(uint32_t ring_bytes, uint32_t bytes_per_second, uint32_t frame_bytes);

  /// Everything from 0, stopped; the whole ring is taken for silent.
  void Reset(uint32_t tick_ms);
  /// The device reports its cursors. `running`: it has been playing since the last call.
  void Update(uint32_t play_cursor, uint32_t write_cursor, uint32_t tick_ms, bool running);
  /// The ring's content was lost; the device starts again at this cursor and the ring is silent.
  void Restart(uint32_t play_cursor, uint32_t tick_ms);

  /// What may be written now.
  uint32_t FreeBytes() const;
  /// Where the next `bytes` go (at most FreeBytes) after an underrun has been jumped over.
  Span NextWrite(uint32_t bytes);
  void Written(uint32_t bytes);
  /// Old data that is to be overwritten with silence; call Silenced when done.
  Span Stale() const;
  void Silenced();

  /// Data bytes that the cursor has passed since the last reset; never above what was written, never smaller
  /// than an earlier answer.
  uint64_t Played();
  uint64_t WrittenTotal() const { return written_ - gaps_; }

 private:
  bool Underrun() const { return written_ < played_ + lead_; }

  const uint32_t ring_bytes_;
  const uint32_t bytes_per_second_;
  const uint32_t frame_bytes_;
  uint64_t played_ = 0;     ///< Ring total of the play cursor.
  uint64_t written_ = 0;    ///< Ring total of the next write.
  uint64_t silent_to_ = 0;  ///< Ring total up to which there is data or silence, never stale data.
  uint64_t gaps_ = 0;       ///< Ring bytes jumped over in underruns.
  uint64_t reported_ = 0;
  uint32_t lead_ = 0;  ///< From the play to the write cursor; data there cannot be changed any more.
  uint32_t cursor_ = 0;
  uint32_t tick_ms_ = 0;
};

}  // namespace melorin
