// SPDX-License-Identifier: MIT
//
// See sound_buffer.h.
#include "sound/sound_buffer.h"

#include <algorithm>
#include <new>

namespace melorin {
namespace {

constexpr std::align_val_t kBlockAlignment{16};

}  // namespace

ComPtr<SoundBuffer> MemorySoundBuffer::Create(uint32_t capacity, uint32_t length) {
  const uint64_t wanted = std::max(capacity, length);
  const uint64_t block_size = (wanted & ~uint64_t{15}) + 16;
  if (block_size > SIZE_MAX / 2) return nullptr;
  void* block = ::operator new(static_cast<size_t>(block_size), kBlockAlignment, std::nothrow);
  if (!block) return nullptr;
  auto* buffer = new (std::nothrow)
      MemorySoundBuffer(static_cast<uint8_t*>(block), static_cast<uint32_t>(wanted), length, true);
  if (!buffer) ::operator delete(block, kBlockAlignment);
  return ComPtr<SoundBuffer>::Adopt(buffer);
}

ComPtr<SoundBuffer> MemorySoundBuffer::Wrap(uint8_t* data, uint32_t capacity, uint32_t length) {
  return ComPtr<SoundBuffer>::Adopt(new (std::nothrow)
                                        MemorySoundBuffer(data, capacity, std::min(length, capacity), false));
}

MemorySoundBuffer::~MemorySoundBuffer() {
  if (owns_) ::operator delete(data_, kBlockAlignment);
}

HRESULT MemorySoundBuffer::QueryInterface(REFIID iid, void** out) {
  if (!out) return E_POINTER;
  *out = nullptr;
  if (!SameGuid(iid, IID_IUnknown) && !SameGuid(iid, kIidSoundBuffer)) return E_NOINTERFACE;
  AddRef();
  *out = static_cast<SoundBuffer*>(this);
  return S_OK;
}

HRESULT MemorySoundBuffer::SetLength(uint32_t length) {
  if (length > capacity_) return E_FAIL;
  length_ = length;
  return S_OK;
}

HRESULT MemorySoundBuffer::GetCapacity(uint32_t* capacity) {
  if (!capacity) return E_POINTER;
  *capacity = capacity_;
  return S_OK;
}

HRESULT MemorySoundBuffer::GetData(uint8_t** data, uint32_t* length) {
  if (!data && !length) return E_POINTER;
  if (data) *data = data_;
  if (length) *length = length_;
  return S_OK;
}

}  // namespace melorin
