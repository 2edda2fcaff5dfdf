// SPDX-License-Identifier: MIT
//
// The input store of a decoder: packets go in at the end, decoded bytes are taken from the start. It grows as
// needed and keeps its memory. Thread: one at a time.
#pragma once

#include <cstdint>
#include <new>
#include <span>
#include <vector>

#include "sound/interfaces.h"

namespace melorin {

class PacketStore {
 public:
  /// Appends the packet's valid bytes. E_OUTOFMEMORY leaves the store empty.
  HRESULT Append(SoundBuffer& packet) {
    uint8_t* data = nullptr;
    uint32_t length = 0;
    const HRESULT result = packet.GetData(&data, &length);
    if (FAILED(result)) return result;
    if (length > bytes_.max_size() - bytes_.size()) {
      Clear();
      return E_OUTOFMEMORY;
    }
    try {
      bytes_.erase(bytes_.begin(), bytes_.begin() + static_cast<ptrdiff_t>(taken_));
      taken_ = 0;
      bytes_.insert(bytes_.end(), data, data + length);
      return S_OK;
    } catch (const std::bad_alloc&) {
      Clear();
      return E_OUTOFMEMORY;
    }
  }
  std::span<uint8_t> Pending() { return std::span(bytes_).subspan(taken_); }
  void Take(size_t count) { taken_ += count; }
  void Clear() {
    bytes_.clear();
    taken_ = 0;
  }

 private:
  std::vector<uint8_t> bytes_;
  size_t taken_ = 0;
};

/// The PCM format of `bits` that has the channels and the rate of `in`.
inline WAVEFORMATEX PcmFormatLike(const WAVEFORMATEX& in, uint16_t bits) {
  WAVEFORMATEX out{};
  out.wFormatTag = WAVE_FORMAT_PCM;
  out.nChannels = in.nChannels;
  out.nSamplesPerSec = in.nSamplesPerSec;
  out.wBitsPerSample = bits;
  out.nBlockAlign = static_cast<WORD>(in.nChannels * bits / 8);
  out.nAvgBytesPerSec = out.nBlockAlign * out.nSamplesPerSec;
  return out;
}

/// A good packet size for a compressed format: about a sixteenth of a second, in whole blocks.
inline uint32_t PacketBytes(const WAVEFORMATEX& in) {
  const uint32_t align = in.nBlockAlign > 1 ? in.nBlockAlign : 1u;
  const uint32_t wanted = in.nAvgBytesPerSec / 16 > 4096 ? in.nAvgBytesPerSec / 16 : 4096u;
  return (wanted + align - 1) / align * align;
}

}  // namespace melorin
