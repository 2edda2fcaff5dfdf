// SPDX-License-Identifier: MIT
//
// The packets that carry sound to a render pin: a ring of blocks that are filled, sent and taken back in
// order.
#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <vector>

#include "playback/win32/ks_api.h"

namespace melorin {

struct KsPacket;

/// A packet goes through Reserve, Send and Settle, and Collect takes it back once the driver is done with it.
/// Thread: Send needs no lock, so that the driver is not called under one, but a packet has one sender at a
/// time. Everything else only under the owner's lock. No allocation after construction.
class KsPackets {
 public:
  /// pin: must be closed before this is destroyed. Throws bad_alloc.
  KsPackets(const KsApi& api, HANDLE pin, uint32_t block_bytes, uint32_t blocks);
  /// What the driver still holds then is left to it: better lost than written to after it is freed.
  ~KsPackets();

  uint32_t FreeBlocks() const { return static_cast<uint32_t>(ring_.size()) - busy_; }
  bool Idle() const { return busy_ == 0; }
  uint64_t Written() const { return written_; }    ///< Bytes reserved since the last Restart.
  uint64_t Finished() const { return finished_; }  ///< Of these, bytes that the driver has given back.

  /// There must be a free block. bytes: at most a block.
  KsPacket& Reserve(uint32_t bytes);
  /// Copies the data, as many bytes as were reserved, and queues it with the driver. 0 or the failure.
  DWORD Send(KsPacket& packet, const uint8_t* data);
  /// error: what Send returned. A packet that was not sent is free again.
  void Settle(KsPacket& packet, DWORD error);
  /// Takes back what is finished, oldest first. The failure of one that the driver refused afterwards, else
  /// 0; one that was cancelled counts as finished.
  DWORD Collect();
  /// Counts from 0 again; only when idle.
  void Restart();
  /// The event of the oldest packet that the driver holds; null when it holds none.
  HANDLE OldestEvent() const;

 private:
  const KsApi& api_;
  const HANDLE pin_;
  const uint32_t block_bytes_;
  std::vector<std::unique_ptr<KsPacket>> ring_;
  uint32_t oldest_ = 0;  ///< Where the busy ones begin.
  uint32_t busy_ = 0;
  uint64_t written_ = 0;
  uint64_t finished_ = 0;
};

}  // namespace melorin
