// SPDX-License-Identifier: MIT
//
// The one implementation of SoundBuffer: a block of its own, or a view of a block that somebody else owns.
#pragma once

#include <cstdint>
#include <memory>

#include "platform/com_ptr.h"
#include "sound/interfaces.h"

namespace melorin {

class MemorySoundBuffer final : public ComObject<SoundBuffer> {
 public:
  /// An owning buffer. Its block is max(capacity, length) rounded down to a multiple of 16, plus 16 bytes,
  /// aligned to 16 and not cleared. Null when there is no memory for it.
  static ComPtr<SoundBuffer> Create(uint32_t capacity, uint32_t length = 0);
  /// A view of the caller's block, which must outlive the buffer; nothing is freed. Length above the capacity
  /// is cut to it.
  static ComPtr<SoundBuffer> Wrap(uint8_t* data, uint32_t capacity, uint32_t length);

  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** out) override;
  HRESULT STDMETHODCALLTYPE SetLength(uint32_t length) override;
  HRESULT STDMETHODCALLTYPE GetCapacity(uint32_t* capacity) override;
  HRESULT STDMETHODCALLTYPE GetData(uint8_t** data, uint32_t* length) override;

 private:
  MemorySoundBuffer(uint8_t* data, uint32_t capacity, uint32_t length, bool owns)
      : data_(data), capacity_(capacity), length_(length), owns_(owns) {}
  ~MemorySoundBuffer() override;

  uint8_t* data_;
  uint32_t capacity_;
  uint32_t length_;
  bool owns_;
};

}  // namespace melorin
