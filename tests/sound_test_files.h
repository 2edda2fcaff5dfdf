// SPDX-License-Identifier: MIT
//
// What the tests of readers and decoders share: the corpus, streams over memory, and a decoding run.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "platform/com_ptr.h"
#include "sound/builtin_entries.h"
#include "sound/exports.h"
#include "sound/interfaces.h"

namespace melorin::test {

using Bytes = std::vector<uint8_t>;

/// A stream over memory; grows when written. `limit` is where a "disk" is full.
class MemoryStream final : public ComObject<IStream> {
 public:
  explicit MemoryStream(Bytes bytes = {}, uint64_t limit = UINT64_MAX)
      : bytes_(std::move(bytes)), limit_(limit) {}
  const Bytes& Content() const { return bytes_; }

  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID, void** out) override {
    *out = nullptr;
    return E_NOINTERFACE;
  }
  HRESULT STDMETHODCALLTYPE Read(void* data, ULONG count, ULONG* read) override {
    const uint64_t left = position_ < bytes_.size() ? bytes_.size() - position_ : 0;
    const auto taken = static_cast<ULONG>(std::min<uint64_t>(left, count));
    std::copy_n(bytes_.begin() + static_cast<ptrdiff_t>(position_), taken, static_cast<uint8_t*>(data));
    position_ += taken;
    if (read) *read = taken;
    return taken > 0 ? S_OK : S_FALSE;
  }
  HRESULT STDMETHODCALLTYPE Write(const void* data, ULONG count, ULONG* written) override {
    const uint64_t room = limit_ - std::min(limit_, position_);
    const auto taken = static_cast<ULONG>(std::min<uint64_t>(room, count));
    if (bytes_.size() < position_ + taken) bytes_.resize(static_cast<size_t>(position_ + taken));
    std::copy_n(static_cast<const uint8_t*>(data), taken, bytes_.begin() + static_cast<ptrdiff_t>(position_));
    position_ += taken;
    if (written) *written = taken;
    return taken == count ? S_OK : E_FAIL;
  }
  HRESULT STDMETHODCALLTYPE Seek(LARGE_INTEGER move, DWORD origin, ULARGE_INTEGER* position) override {
    const int64_t base = origin == STREAM_SEEK_CUR   ? static_cast<int64_t>(position_)
                         : origin == STREAM_SEEK_END ? static_cast<int64_t>(bytes_.size())
                                                     : 0;
    if (base + move.QuadPart < 0) return E_INVALIDARG;
    position_ = static_cast<uint64_t>(base + move.QuadPart);
    if (position) position->QuadPart = position_;
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE SetSize(ULARGE_INTEGER size) override {
    bytes_.resize(static_cast<size_t>(size.QuadPart));
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE Stat(STATSTG* stat, DWORD) override {
    *stat = {};
    stat->cbSize.QuadPart = bytes_.size();
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE CopyTo(IStream*, ULARGE_INTEGER, ULARGE_INTEGER*, ULARGE_INTEGER*) override {
    return E_NOTIMPL;
  }
  HRESULT STDMETHODCALLTYPE Commit(DWORD) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE Revert() override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE LockRegion(ULARGE_INTEGER, ULARGE_INTEGER, DWORD) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE UnlockRegion(ULARGE_INTEGER, ULARGE_INTEGER, DWORD) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE Clone(IStream**) override { return E_NOTIMPL; }

 private:
  Bytes bytes_;
  uint64_t limit_;
  uint64_t position_ = 0;
};

inline ComPtr<MemoryStream> StreamOf(Bytes bytes) {
  return ComPtr<MemoryStream>::Adopt(new MemoryStream(std::move(bytes)));
}

/// The corpus folder, empty when it is not there.
inline std::filesystem::path CorpusFolder() {
  if (const char* named = std::getenv("MELORIN_CORPUS")) return named;
  const auto beside = std::filesystem::path(MELORIN_SOURCE_DIR) / ".." / "shared" / "corpus";
  if (std::filesystem::exists(beside)) return beside;
  return {};
}

inline Bytes FileBytes(const std::filesystem::path& path) {
  std::ifstream in(path, std::ios::binary);
  return Bytes(std::istreambuf_iterator<char>(in), {});
}

inline ComPtr<SoundBuffer> BufferOf(uint32_t capacity) {
  ComPtr<SoundBuffer> buffer;
  CreateSoundBuffer(buffer.Receive(), capacity);
  return buffer;
}

/// Opens bytes with a reader; null when it refuses them.
inline ComPtr<SoundSource> OpenWith(const ComPtr<SoundReader>& reader, Bytes bytes, uint32_t flags = 0,
                                    HRESULT* result = nullptr) {
  ComPtr<SoundSource> source;
  HRESULT opened = reader->CreateSource(source.Receive());
  if (SUCCEEDED(opened)) opened = source->Open(StreamOf(std::move(bytes)).get(), flags);
  if (result) *result = opened;
  return SUCCEEDED(opened) ? source : nullptr;
}

inline WAVEFORMATEX FormatOf(SoundSource& source) {
  WAVEFORMATEX* format = nullptr;
  source.GetFormat(&format);
  const WAVEFORMATEX copy = format ? *format : WAVEFORMATEX{};
  CoTaskMemFree(format);
  return copy;
}

inline uint32_t DurationOf(SoundSource& source) {
  uint32_t ms = 0;
  source.GetDuration(&ms);
  return ms;
}

/// The rest of a source's packets, one after the other.
inline Bytes ReadAll(SoundSource& source, uint32_t packet_bytes = 4096) {
  Bytes all;
  const auto packet = BufferOf(packet_bytes);
  while (source.Read(packet.get()) == S_OK) {
    uint8_t* data = nullptr;
    uint32_t length = 0;
    packet->GetData(&data, &length);
    all.insert(all.end(), data, data + length);
  }
  return all;
}

/// A decoder of the MPEG entry with float output for the source; null when it does not take the format.
inline ComPtr<SoundDecoder> DecoderFor(SoundSource& source, WAVEFORMATEX* out) {
  ComPtr<SoundDecoder> decoder;
  CreateMpegDecoderEntry()->CreateDecoder(decoder.Receive());
  const WAVEFORMATEX in = FormatOf(source);
  *out = {};
  out->wFormatTag = WAVE_FORMAT_IEEE_FLOAT;
  return SUCCEEDED(decoder->SetFormat(&in, out)) ? decoder : nullptr;
}

/// Runs packets through a decoder until the source has none left.
inline std::vector<float> DecodeRest(SoundSource& source, SoundDecoder& decoder, uint32_t packet_bytes,
                                     uint32_t block_bytes) {
  std::vector<float> samples;
  const auto packet = BufferOf(packet_bytes);
  const auto block = BufferOf(block_bytes);
  while (source.Read(packet.get()) == S_OK) {
    decoder.ProcessInput(packet.get());
    while (decoder.HasOutput() == S_OK) {
      if (FAILED(decoder.ProcessOutput(block.get()))) return samples;
      uint8_t* data = nullptr;
      uint32_t length = 0;
      block->GetData(&data, &length);
      const size_t at = samples.size();
      samples.resize(at + length / sizeof(float));
      if (length > 0) std::memcpy(samples.data() + at, data, length);
    }
  }
  return samples;
}

}  // namespace melorin::test
