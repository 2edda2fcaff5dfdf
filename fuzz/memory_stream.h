// SPDX-License-Identifier: MIT
//
// A read-only stream over the fuzzer's bytes, and a run through everything that a source offers.
#pragma once

#include <algorithm>
#include <cstring>
#include <span>

#include "platform/com_ptr.h"
#include "sound/builtin_entries.h"
#include "sound/exports.h"

namespace melorin {

class FuzzStream final : public ComObject<IStream> {
 public:
  explicit FuzzStream(std::span<const uint8_t> bytes) : bytes_(bytes) {}
  HRESULT QueryInterface(REFIID, void**) override { return E_NOINTERFACE; }
  HRESULT Read(void* data, ULONG count, ULONG* read) override {
    const uint64_t left = position_ < bytes_.size() ? bytes_.size() - position_ : 0;
    *read = static_cast<ULONG>(std::min<uint64_t>(left, count));
    if (*read > 0) std::memcpy(data, bytes_.data() + position_, *read);
    position_ += *read;
    return S_OK;
  }
  HRESULT Seek(LARGE_INTEGER move, DWORD origin, ULARGE_INTEGER* position) override {
    const uint64_t base = origin == STREAM_SEEK_CUR   ? position_
                          : origin == STREAM_SEEK_END ? bytes_.size()
                                                      : 0;
    const auto target = static_cast<int64_t>(base) + move.QuadPart;
    if (target < 0) return E_INVALIDARG;
    position_ = static_cast<uint64_t>(target);
    if (position) position->QuadPart = position_;
    return S_OK;
  }
  HRESULT Stat(STATSTG* stat, DWORD) override {
    *stat = {};
    stat->cbSize.QuadPart = bytes_.size();
    return S_OK;
  }
  HRESULT Write(const void*, ULONG, ULONG*) override { return E_FAIL; }
  HRESULT SetSize(ULARGE_INTEGER) override { return E_FAIL; }
  HRESULT CopyTo(IStream*, ULARGE_INTEGER, ULARGE_INTEGER*, ULARGE_INTEGER*) override { return E_NOTIMPL; }
  HRESULT Commit(DWORD) override { return E_NOTIMPL; }
  HRESULT Revert() override { return E_NOTIMPL; }
  HRESULT LockRegion(ULARGE_INTEGER, ULARGE_INTEGER, DWORD) override { return E_NOTIMPL; }
  HRESULT UnlockRegion(ULARGE_INTEGER, ULARGE_INTEGER, DWORD) override { return E_NOTIMPL; }
  HRESULT Clone(IStream**) override { return E_NOTIMPL; }

 private:
  std::span<const uint8_t> bytes_;
  uint64_t position_ = 0;
};

/// Opens the bytes, asks for everything, seeks and reads; the opened source, null when it was refused.
inline ComPtr<SoundSource> FuzzSource(const ComPtr<SoundReader>& reader, std::span<const uint8_t> bytes,
                                      uint32_t flags) {
  const auto stream = ComPtr<FuzzStream>::Adopt(new FuzzStream(bytes));
  ComPtr<SoundSource> source;
  if (FAILED(reader->CreateSource(source.Receive())) || FAILED(source->Open(stream.get(), flags)))
    return nullptr;
  uint32_t duration = 0;
  uint32_t size = 0;
  WideChar* name = nullptr;
  source->GetDuration(&duration);
  source->GetReadSize(&size);
  source->GetCodecName(&name);
  CoTaskMemFree(name);
  ComPtr<SoundBuffer> packet;
  CreateSoundBuffer(packet.Receive(), std::clamp<uint32_t>(size, 1, 65536));
  for (const uint32_t ms : {duration, duration - 1, duration / 2, 0u}) {
    source->Seek(ms);
    source->Read(packet.get());
  }
  source->Seek(0);
  return source;
}

}  // namespace melorin
