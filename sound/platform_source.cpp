// SPDX-License-Identifier: MIT
//
// See platform_source.h.
#include "sound/platform_source.h"

#include <new>
#include <type_traits>
#include <utility>

#include "platform/com_ptr.h"
#include "sound/exports.h"
#include "sound/text_out.h"

namespace melorin {
namespace {

class PlatformSource final : public ComObject<SoundFileSource> {
 public:
  explicit PlatformSource(std::vector<MakeProducer> producers) : makers_(std::move(producers)) {}

  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** out) override;
  HRESULT STDMETHODCALLTYPE Open(IStream* stream, uint32_t) override {
    return stream ? E_NOTIMPL : E_POINTER;
  }
  HRESULT STDMETHODCALLTYPE OpenFile(const WideChar* path, uint32_t flags) override;
  HRESULT STDMETHODCALLTYPE IsSeekable(uint32_t* yes) override {
    return Answer(yes, info_.seekable ? 1u : 0u);
  }
  HRESULT STDMETHODCALLTYPE GetDuration(uint32_t* milliseconds) override {
    return Answer(milliseconds, info_.duration_ms);
  }
  HRESULT STDMETHODCALLTYPE GetFormat(WAVEFORMATEX** format) override;
  HRESULT STDMETHODCALLTYPE GetReadSize(uint32_t* bytes) override;
  HRESULT STDMETHODCALLTYPE GetCodecName(WideChar** name) override;
  HRESULT STDMETHODCALLTYPE GetBitrate(uint32_t* bits_per_second) override {
    return Answer(bits_per_second, info_.bitrate ? info_.bitrate : info_.format.nAvgBytesPerSec * 8);
  }
  HRESULT STDMETHODCALLTYPE GetBitsPerSample(uint16_t* bits) override {
    return Answer(bits, info_.format.wBitsPerSample);
  }
  HRESULT STDMETHODCALLTYPE Start() override { return producer_ ? producer_->Start() : E_FAIL; }
  HRESULT STDMETHODCALLTYPE Pause() override { return producer_ ? producer_->Pause() : E_FAIL; }
  HRESULT STDMETHODCALLTYPE Stop() override { return producer_ ? producer_->Stop() : E_FAIL; }
  HRESULT STDMETHODCALLTYPE Read(SoundBuffer* packet) override;
  HRESULT STDMETHODCALLTYPE Seek(uint32_t milliseconds) override;

 private:
  template <class T>
  HRESULT Answer(T* out, std::type_identity_t<T> value) const {
    if (!out) return E_POINTER;
    *out = value;
    return producer_ ? S_OK : E_FAIL;
  }
  HRESULT ReadTags(const WideChar* path);

  std::vector<MakeProducer> makers_;
  std::unique_ptr<PcmProducer> producer_;
  PcmInfo info_;
  ComPtr<TagSet> tags_;
  bool at_end_ = false;
};

HRESULT PlatformSource::QueryInterface(REFIID iid, void** out) {
  if (!out) return E_POINTER;
  *out = nullptr;
  if (SameGuid(iid, kIidTagSet)) return tags_ ? tags_->QueryInterface(iid, out) : E_NOINTERFACE;
  if (!SameGuid(iid, IID_IUnknown) && !SameGuid(iid, kIidSoundSource) && !SameGuid(iid, kIidSoundFileSource))
    return E_NOINTERFACE;
  AddRef();
  *out = static_cast<SoundFileSource*>(this);
  return S_OK;
}

HRESULT PlatformSource::OpenFile(const WideChar* path, uint32_t) {
  if (!path) return E_POINTER;
  if (producer_) return E_UNEXPECTED;
  try {
    HRESULT result = E_NOTIMPL;
    for (const MakeProducer make : makers_) {
      std::unique_ptr<PcmProducer> producer = make();
      if (!producer) continue;
      PcmInfo info;
      result = producer->Open(AsChar16(path), info);
      if (FAILED(result)) continue;
      info_ = std::move(info);
      producer_ = std::move(producer);
      return ReadTags(path);
    }
    return result;
  } catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
  }
}

HRESULT PlatformSource::ReadTags(const WideChar* path) {
  ComPtr<IStream> stream;
  if (SUCCEEDED(CreateStreamOnFile(path, STGM_READ | STGM_SHARE_DENY_NONE, stream.Receive()))) {
    ComPtr<TagSet> found;
    uint32_t flags = 0;
    if (SUCCEEDED(CreateStdContent(stream.get(), 0, found.Receive(), nullptr)) &&
        SUCCEEDED(found->GetFlags(&flags)) && flags != 0)
      tags_ = std::move(found);
  }
  return tags_ ? S_OK : CreateTagSet(std::move(info_.tags), 0, tags_.Receive());
}

HRESULT PlatformSource::GetFormat(WAVEFORMATEX** format) {
  if (!format) return E_POINTER;
  *format = nullptr;
  if (!producer_) return E_FAIL;
  *format = CopyFormat(info_.format);
  return *format ? S_OK : E_OUTOFMEMORY;
}

HRESULT PlatformSource::GetReadSize(uint32_t* bytes) {
  const uint32_t align = info_.format.nBlockAlign > 1 ? info_.format.nBlockAlign : 1u;
  return Answer(bytes, info_.format.nAvgBytesPerSec / 20 / align * align);
}

HRESULT PlatformSource::GetCodecName(WideChar** name) {
  if (!name) return E_POINTER;
  *name = nullptr;
  if (!producer_) return E_FAIL;
  if (!info_.codec_name.empty()) return HandOutText(info_.codec_name.c_str(), name);
  const GUID pcm = WaveSubtype(WAVE_FORMAT_PCM);
  return GetSoundCodecName(&pcm, name);
}

HRESULT PlatformSource::Read(SoundBuffer* packet) {
  if (!packet) return E_POINTER;
  uint8_t* data = nullptr;
  uint32_t capacity = 0;
  packet->GetData(&data, nullptr);
  packet->GetCapacity(&capacity);
  packet->SetLength(0);
  if (!producer_) return E_FAIL;
  if (at_end_ || capacity == 0) return S_FALSE;
  uint32_t got = 0;
  const HRESULT result = producer_->Read(data, capacity, &got);
  if (FAILED(result)) return result;
  packet->SetLength(got);
  return got > 0 ? S_OK : S_FALSE;
}

HRESULT PlatformSource::Seek(uint32_t milliseconds) {
  if (!producer_) return E_FAIL;
  at_end_ = milliseconds >= info_.duration_ms;
  if (at_end_) return E_INVALIDARG;
  return info_.seekable ? producer_->Seek(milliseconds) : E_NOTIMPL;
}

}  // namespace

HRESULT CreatePlatformSource(std::vector<MakeProducer> producers, SoundSource** out) {
  *out = new (std::nothrow) PlatformSource(std::move(producers));
  return *out ? S_OK : E_OUTOFMEMORY;
}

}  // namespace melorin
