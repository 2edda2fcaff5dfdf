// SPDX-License-Identifier: MIT
#include "playback/ring_account.h"

#include <algorithm>

namespace melorin {

RingAccount::RingAccount(uint32_t ring_bytes, uint32_t bytes_per_second, uint32_t frame_bytes)
    : ring_bytes_(ring_bytes), bytes_per_second_(bytes_per_second), frame_bytes_(frame_bytes) {
  Reset(0);
}

void RingAccount::Reset(uint32_t tick_ms) {
  played_ = written_ = gaps_ = reported_ = 0;
  silent_to_ = ring_bytes_;
  lead_ = 0;
  cursor_ = 0;
  tick_ms_ = tick_ms;
}

void RingAccount::Update(uint32_t play_cursor, uint32_t write_cursor, uint32_t tick_ms, bool running) {
  const int64_t ring = ring_bytes_;
  play_cursor = play_cursor % ring_bytes_ / frame_bytes_ * frame_bytes_;
  const uint32_t lead = (write_cursor % ring_bytes_ + ring_bytes_ - play_cursor) % ring_bytes_;
  // A write cursor behind the play cursor would look like a lead of nearly the whole ring.
  lead_ = running && lead <= ring_bytes_ / 2 ? (lead + frame_bytes_ - 1) / frame_bytes_ * frame_bytes_ : 0;

  const int64_t delta = (play_cursor + ring - cursor_) % ring;
  const uint32_t elapsed_ms = running ? tick_ms - tick_ms_ : 0;
  const int64_t expected = static_cast<int64_t>(uint64_t{elapsed_ms} * bytes_per_second_ / 1000);
  // The nearest whole number of rounds; -1 when the cursor stepped back a little, as some drivers' do.
  const int64_t rounds = (expected - delta + ring / 2 + ring) / ring - 1;
  const int64_t moved = delta + rounds * ring;
  tick_ms_ = tick_ms;
  if (moved < 0) return;
  played_ += static_cast<uint64_t>(moved);
  cursor_ = play_cursor;
}

void RingAccount::Restart(uint32_t play_cursor, uint32_t tick_ms) {
  const uint64_t heard = Played();
  cursor_ = play_cursor % ring_bytes_ / frame_bytes_ * frame_bytes_;
  // A round further, so that the totals stay growing whatever the cursor is now.
  played_ = (std::max(played_, written_) / ring_bytes_ + 1) * ring_bytes_ + cursor_;
  gaps_ += played_ - written_;
  written_ = played_;
  silent_to_ = played_ + ring_bytes_;
  reported_ = std::max(reported_, heard);
  lead_ = 0;
  tick_ms_ = tick_ms;
}

uint32_t RingAccount::FreeBytes() const {
  if (Underrun()) return ring_bytes_ - lead_;
  const uint64_t used = written_ - played_;
  return used >= ring_bytes_ ? 0 : ring_bytes_ - static_cast<uint32_t>(used);
}

RingAccount::Span RingAccount::NextWrite(uint32_t bytes) {
  if (Underrun()) {
    gaps_ += played_ + lead_ - written_;
    written_ = played_ + lead_;
  }
  return {static_cast<uint32_t>(written_ % ring_bytes_), std::min(bytes, FreeBytes())};
}

void RingAccount::Written(uint32_t bytes) {
  written_ += bytes;
  silent_to_ = std::max(silent_to_, written_);
}

RingAccount::Span RingAccount::Stale() const {
  // From the writer on to one round behind the reader; what lies between the cursors is out of reach.
  const uint64_t from = std::max({silent_to_, written_, played_ + lead_});
  const uint64_t to = played_ + ring_bytes_;
  if (to <= from) return {};
  return {static_cast<uint32_t>(from % ring_bytes_), static_cast<uint32_t>(to - from)};
}

void RingAccount::Silenced() {
  silent_to_ = std::max(silent_to_, played_ + ring_bytes_);
}

uint64_t RingAccount::Played() {
  const uint64_t passed = played_ > gaps_ ? played_ - gaps_ : 0;
  reported_ = std::max(reported_, std::min(passed, WrittenTotal()));
  return reported_;
}

}  // namespace melorin
