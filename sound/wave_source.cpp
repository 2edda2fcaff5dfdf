// SPDX-License-Identifier: MIT
//
// "Wave Audio Reader": hands out the samples of a RIFF/WAVE file as packets, in the format that the file
// states.
#include <algorithm>
#include <cstring>

#include "sound/builtin_entries.h"
#include "sound/exports.h"
#include "sound/format_tag.h"
#include "sound/named_entries.h"
#include "sound/source_parts.h"
#include "sound/wave_file.h"
#include "tags/tag_scan.h"

namespace melorin {

namespace {

/// What an extensible format's extension must hold to name a sub-format.
constexpr uint16_t kExtensibleExtra = 22;

class WaveSource final : public FileSource {
 public:
  HRESULT STDMETHODCALLTYPE Open(IStream* stream, uint32_t) override {
    if (!stream) return E_POINTER;
    tags_.Reset();
    ComPtr<TagSet> tags;
    HRESULT result = CreateTagContent(*stream, kTagApeV2, tags.Receive(), nullptr);
    if (result == E_OUTOFMEMORY) return result;
    result = file_.Open(stream);
    if (SUCCEEDED(result)) tags_ = std::move(tags);
    return result;
  }

  HRESULT STDMETHODCALLTYPE GetDuration(uint32_t* milliseconds) override {
    if (!milliseconds) return E_POINTER;
    if (!file_.IsOpen()) return E_FAIL;
    *milliseconds = file_.DurationMs();
    return S_OK;
  }

  HRESULT STDMETHODCALLTYPE GetFormat(WAVEFORMATEX** format) override {
    if (!format) return E_POINTER;
    *format = nullptr;
    if (!file_.IsOpen()) return E_FAIL;
    *format = CopyFormat(file_.Format());
    return *format ? S_OK : E_OUTOFMEMORY;
  }

  /// A twentieth of a second in whole blocks. A format whose blocks last longer than that gives one block.
  HRESULT STDMETHODCALLTYPE GetReadSize(uint32_t* bytes) override {
    if (!bytes) return E_POINTER;
    if (!file_.IsOpen()) return E_FAIL;
    const uint32_t block = std::max<uint32_t>(file_.Format().nBlockAlign, 1);
    const uint32_t size = file_.Format().nAvgBytesPerSec / 20;
    *bytes = std::max(size - size % block, block);
    return S_OK;
  }

  HRESULT STDMETHODCALLTYPE GetCodecName(WideChar** name) override {
    if (!name) return E_POINTER;
    *name = nullptr;
    if (!file_.IsOpen()) return E_FAIL;
    const WAVEFORMATEX& format = file_.Format();
    GUID subtype = WaveSubtype(format.wFormatTag);
    if (format.wFormatTag == WAVE_FORMAT_EXTENSIBLE && format.cbSize >= kExtensibleExtra)
      std::memcpy(&subtype,
                  reinterpret_cast<const uint8_t*>(&format) + offsetof(WAVEFORMATEXTENSIBLE, SubFormat),
                  sizeof subtype);
    return GetSoundCodecName(&subtype, name);
  }

  HRESULT STDMETHODCALLTYPE GetBitrate(uint32_t* bits_per_second) override {
    if (!bits_per_second) return E_POINTER;
    if (!file_.IsOpen()) return E_FAIL;
    *bits_per_second = file_.Format().nAvgBytesPerSec * 8;
    return S_OK;
  }

  HRESULT STDMETHODCALLTYPE GetBitsPerSample(uint16_t* bits) override {
    if (!bits) return E_POINTER;
    if (!file_.IsOpen()) return E_FAIL;
    *bits = file_.Format().wBitsPerSample;
    return S_OK;
  }

  HRESULT STDMETHODCALLTYPE Read(SoundBuffer* packet) override {
    if (!packet) return E_POINTER;
    return file_.Read(*packet);
  }
  HRESULT STDMETHODCALLTYPE Seek(uint32_t milliseconds) override { return file_.Seek(milliseconds); }
  /// Uncompressed formats only: elsewhere a block is more than a sample.
  HRESULT STDMETHODCALLTYPE SeekToSample(uint64_t sample, uint64_t* landed) override {
    if (!landed) return E_POINTER;
    if (!file_.IsOpen()) return E_FAIL;
    const uint32_t tag = PlainFormatTag(file_.Format());
    if (tag != WAVE_FORMAT_PCM && tag != WAVE_FORMAT_IEEE_FLOAT) return E_NOTIMPL;
    *landed = sample;
    return file_.SeekToBlock(sample);
  }

 private:
  WaveReader file_;
};

}  // namespace

ComPtr<SoundReader> CreateWaveReader() {
  return CreateNamedReader(u"Wave Audio Reader", u"Wave 音频文件(*.wav)", &CreateFileSource<WaveSource>);
}

}  // namespace melorin
