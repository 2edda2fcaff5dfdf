// SPDX-License-Identifier: MIT
#include "playback/win32/ks_packets.h"

#include <winioctl.h>

#include <cstring>
#include <new>

#include "playback/win32/ks_control.h"

namespace melorin {

struct KsPacket {
  OVERLAPPED overlapped = {};
  KSSTREAM_HEADER header = {};
  KsEvent event;
  std::unique_ptr<uint8_t[]> data;
  uint32_t bytes = 0;
  bool sent = false;
};

KsPackets::KsPackets(const KsApi& api, HANDLE pin, uint32_t block_bytes, uint32_t blocks)
    : api_(api), pin_(pin), block_bytes_(block_bytes) {
  ring_.reserve(blocks);
  for (uint32_t i = 0; i < blocks; ++i) {
    auto packet = std::make_unique<KsPacket>();
    if (!packet->event.get()) throw std::bad_alloc();
    packet->data.reset(new uint8_t[block_bytes]);
    ring_.push_back(std::move(packet));
  }
}

KsPackets::~KsPackets() {
  for (std::unique_ptr<KsPacket>& packet : ring_)
    if (packet->sent && !HasOverlappedIoCompleted(&packet->overlapped)) static_cast<void>(packet.release());
}

KsPacket& KsPackets::Reserve(uint32_t bytes) {
  KsPacket& packet = *ring_[(oldest_ + busy_) % ring_.size()];
  packet.bytes = bytes;
  packet.sent = false;
  ++busy_;
  written_ += bytes;
  return packet;
}

DWORD KsPackets::Send(KsPacket& packet, const uint8_t* data) {
  std::memcpy(packet.data.get(), data, packet.bytes);
  packet.header = {};
  packet.header.Size = sizeof packet.header;
  packet.header.PresentationTime.Numerator = 1;
  packet.header.PresentationTime.Denominator = 1;
  packet.header.FrameExtent = block_bytes_;
  packet.header.DataUsed = packet.bytes;
  packet.header.Data = packet.data.get();
  packet.overlapped = {};
  packet.overlapped.hEvent = packet.event.get();
  ::ResetEvent(packet.event.get());
  DWORD returned = 0;
  if (api_.IoControl(pin_, IOCTL_KS_WRITE_STREAM, nullptr, 0, &packet.header, packet.header.Size, &returned,
                     &packet.overlapped))
    return ERROR_SUCCESS;
  const DWORD error = ::GetLastError();
  if (error == ERROR_IO_PENDING) return ERROR_SUCCESS;
  return error == ERROR_SUCCESS ? ERROR_GEN_FAILURE : error;
}

void KsPackets::Settle(KsPacket& packet, DWORD error) {
  if (error == ERROR_SUCCESS) {
    packet.sent = true;
    return;
  }
  // The newest of the ring, since there is one sender.
  --busy_;
  written_ -= packet.bytes;
}

DWORD KsPackets::Collect() {
  DWORD failure = ERROR_SUCCESS;
  while (busy_ > 0) {
    KsPacket& packet = *ring_[oldest_];
    if (!packet.sent || !HasOverlappedIoCompleted(&packet.overlapped)) break;
    DWORD transferred = 0;
    if (!api_.OverlappedResult(pin_, &packet.overlapped, &transferred, FALSE)) {
      const DWORD error = ::GetLastError();
      if (error == ERROR_IO_INCOMPLETE) break;
      if (error != ERROR_OPERATION_ABORTED) failure = error;
    }
    packet.sent = false;
    finished_ += packet.bytes;
    oldest_ = (oldest_ + 1) % static_cast<uint32_t>(ring_.size());
    --busy_;
  }
  return failure;
}

void KsPackets::Restart() {
  written_ = finished_ = 0;
}

HANDLE KsPackets::OldestEvent() const {
  if (busy_ == 0 || !ring_[oldest_]->sent) return nullptr;
  return ring_[oldest_]->event.get();
}

}  // namespace melorin
