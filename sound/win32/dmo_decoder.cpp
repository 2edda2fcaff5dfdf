// SPDX-License-Identifier: MIT
//
// See dmo_decoder.h. An object may keep an input buffer until it has used it up, so packets are copied;
// output goes straight into the caller's buffer. An object that faults is given up: it is not called again,
// and neither it nor the buffers that it may still hold are released.
#include "sound/win32/dmo_decoder.h"

#include <windows.h>

#include <dmo.h>
#include <uuids.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <new>
#include <utility>
#include <vector>

#include "sound/fault_guard.h"
#include "sound/packet_store.h"
#include "sound/platform_codecs.h"
#include "sound/sound_buffer.h"
#include "sound/win32/component_runtime.h"

namespace melorin {
namespace {

/// A SoundBuffer as media objects see it.
class MediaBuffer final : public ComObject<IMediaBuffer> {
 public:
  explicit MediaBuffer(ComPtr<SoundBuffer> buffer) : buffer_(std::move(buffer)) {}

  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** out) override {
    if (!out) return E_POINTER;
    *out = nullptr;
    if (!SameGuid(iid, IID_IUnknown) && !SameGuid(iid, __uuidof(IMediaBuffer))) return E_NOINTERFACE;
    AddRef();
    *out = static_cast<IMediaBuffer*>(this);
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE SetLength(DWORD length) override { return buffer_->SetLength(length); }
  HRESULT STDMETHODCALLTYPE GetMaxLength(DWORD* length) override {
    uint32_t capacity = 0;
    if (!length) return E_POINTER;
    const HRESULT result = buffer_->GetCapacity(&capacity);
    *length = capacity;
    return result;
  }
  HRESULT STDMETHODCALLTYPE GetBufferAndLength(BYTE** data, DWORD* length) override {
    uint32_t valid = 0;
    if (!data && !length) return E_POINTER;
    const HRESULT result = buffer_->GetData(data, &valid);
    if (length) *length = valid;
    return result;
  }

 private:
  ComPtr<SoundBuffer> buffer_;
};

/// A media type that describes `format`, which must outlive it.
DMO_MEDIA_TYPE TypeOf(const WAVEFORMATEX& format) {
  DMO_MEDIA_TYPE type{};
  type.majortype = MEDIATYPE_Audio;
  type.subtype = WaveSubtype(format.wFormatTag);
  if (format.wFormatTag == WAVE_FORMAT_EXTENSIBLE && FormatSize(format) >= sizeof(WAVEFORMATEXTENSIBLE))
    type.subtype = reinterpret_cast<const WAVEFORMATEXTENSIBLE&>(format).SubFormat;
  type.bFixedSizeSamples = TRUE;
  type.lSampleSize = format.nBlockAlign;
  type.formattype = FORMAT_WaveFormatEx;
  type.cbFormat = static_cast<ULONG>(FormatSize(format));
  type.pbFormat = reinterpret_cast<BYTE*>(const_cast<WAVEFORMATEX*>(&format));
  return type;
}

class DmoDecoder final : public ComObject<SoundDecoder> {
 public:
  explicit DmoDecoder(VisitMediaObjects visit) : visit_(std::move(visit)) {}

  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** out) override;
  HRESULT STDMETHODCALLTYPE SetFormat(const WAVEFORMATEX* in, WAVEFORMATEX* out) override;
  HRESULT STDMETHODCALLTYPE GetBufferSizes(uint32_t* in_bytes, uint32_t* out_bytes) override;
  HRESULT STDMETHODCALLTYPE AcceptsInput() override { return wants_input_ ? S_OK : S_FALSE; }
  HRESULT STDMETHODCALLTYPE HasOutput() override { return has_output_ ? S_OK : S_FALSE; }
  HRESULT STDMETHODCALLTYPE ProcessInput(SoundBuffer* packet) override;
  HRESULT STDMETHODCALLTYPE ProcessOutput(SoundBuffer* pcm) override;
  HRESULT STDMETHODCALLTYPE Flush() override;

 private:
  void WantInput(bool wants) {
    wants_input_ = wants;
    has_output_ = !wants;
  }

  /// Calls the object; E_FAIL and no object any more when that faults.
  template <class Body>
  HRESULT CallObject(Body body) {
    struct Call {
      Body* body;
      IMediaObject* object;
      HRESULT result;
    } call{&body, object_.get(), S_OK};
    const auto run = [](void* context) {
      auto* c = static_cast<Call*>(context);
      c->result = (*c->body)(*c->object);
    };
    if (CallGuarded(run, &call)) return call.result;
    static_cast<void>(object_.Detach());
    return E_FAIL;
  }

  VisitMediaObjects visit_;
  ComPtr<IMediaObject> object_;
  uint32_t in_bytes_ = 0;
  uint32_t out_bytes_ = 0;
  bool wants_input_ = true;
  bool has_output_ = false;
};

HRESULT DmoDecoder::QueryInterface(REFIID iid, void** out) {
  if (!out) return E_POINTER;
  *out = nullptr;
  if (!SameGuid(iid, IID_IUnknown) && !SameGuid(iid, kIidSoundDecoder)) return E_NOINTERFACE;
  AddRef();
  *out = static_cast<SoundDecoder*>(this);
  return S_OK;
}

HRESULT DmoDecoder::SetFormat(const WAVEFORMATEX* in, WAVEFORMATEX* out) {
  if (!in || !out) return E_POINTER;
  if (out->wFormatTag != WAVE_FORMAT_PCM || in->nChannels == 0 || in->nSamplesPerSec == 0)
    return E_INVALIDARG;
  const WAVEFORMATEX target = PcmFormatLike(*in, 16);
  const DMO_MEDIA_TYPE in_type = TypeOf(*in);
  const DMO_MEDIA_TYPE out_type = TypeOf(target);
  object_.Reset();
  try {
    visit_(in_type.subtype, [&](ComPtr<IMediaObject> object) {
      if (FAILED(object->SetInputType(0, &in_type, 0)) || FAILED(object->SetOutputType(0, &out_type, 0)))
        return false;
      object_ = std::move(object);
      return true;
    });
  } catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
  }
  if (!object_) return E_INVALIDARG;

  DWORD size = 0;
  DWORD look_ahead = 0;
  DWORD alignment = 0;
  in_bytes_ = PacketBytes(*in);
  if (SUCCEEDED(object_->GetInputSizeInfo(0, &size, &look_ahead, &alignment)) && size > in_bytes_) {
    const uint32_t align = std::max<uint32_t>(in->nBlockAlign, 1);
    in_bytes_ = (size + align - 1) / align * align;
  }
  out_bytes_ = target.nAvgBytesPerSec / 4;
  if (SUCCEEDED(object_->GetOutputSizeInfo(0, &size, &alignment)))
    out_bytes_ = std::max<uint32_t>(out_bytes_, size);
  *out = target;
  wants_input_ = true;
  has_output_ = false;
  return S_OK;
}

HRESULT DmoDecoder::GetBufferSizes(uint32_t* in_bytes, uint32_t* out_bytes) {
  if (!object_) return E_FAIL;
  if (in_bytes) *in_bytes = in_bytes_;
  if (out_bytes) *out_bytes = out_bytes_;
  return S_OK;
}

HRESULT DmoDecoder::ProcessInput(SoundBuffer* packet) {
  if (!packet) return E_POINTER;
  if (!object_) return E_FAIL;
  uint8_t* data = nullptr;
  uint32_t length = 0;
  packet->GetData(&data, &length);
  if (length == 0) return S_OK;
  const ComPtr<SoundBuffer> copy = MemorySoundBuffer::Create(length, length);
  if (!copy) return E_OUTOFMEMORY;
  uint8_t* to = nullptr;
  copy->GetData(&to, nullptr);
  std::memcpy(to, data, length);
  const auto buffer = ComPtr<MediaBuffer>::Adopt(new (std::nothrow) MediaBuffer(copy));
  if (!buffer) return E_OUTOFMEMORY;
  const HRESULT result = CallObject([&](IMediaObject& object) {
    return object.ProcessInput(0, buffer.get(), DMO_INPUT_DATA_BUFFERF_SYNCPOINT, 0, 0);
  });
  // S_FALSE: taken, but it makes no output yet.
  WantInput(result != S_OK);
  return FAILED(result) ? E_FAIL : S_OK;
}

HRESULT DmoDecoder::ProcessOutput(SoundBuffer* pcm) {
  if (!pcm) return E_POINTER;
  pcm->SetLength(0);
  if (!object_) return E_FAIL;
  if (!has_output_) return S_OK;
  const auto buffer =
      ComPtr<MediaBuffer>::Adopt(new (std::nothrow) MediaBuffer(ComPtr<SoundBuffer>::Share(pcm)));
  if (!buffer) return E_OUTOFMEMORY;
  DMO_OUTPUT_DATA_BUFFER output{};
  output.pBuffer = buffer.get();
  DWORD status = 0;
  const HRESULT result =
      CallObject([&](IMediaObject& object) { return object.ProcessOutput(0, 1, &output, &status); });
  if (FAILED(result)) {
    pcm->SetLength(0);
    WantInput(true);
    return E_FAIL;
  }
  WantInput((output.dwStatus & DMO_OUTPUT_DATA_BUFFERF_INCOMPLETE) == 0);
  return S_OK;
}

HRESULT DmoDecoder::Flush() {
  WantInput(true);
  if (!object_) return S_OK;
  object_->Flush();
  return S_OK;
}

}  // namespace

void VisitPlatformMediaObjects(const GUID& subtype,
                               const std::function<bool(ComPtr<IMediaObject>)>& try_object) {
  DMO_PARTIAL_MEDIATYPE wanted{};
  wanted.type = MEDIATYPE_Audio;
  wanted.subtype = subtype;
  ComPtr<IEnumDMO> objects;
  if (FAILED(DMOEnum(DMOCATEGORY_AUDIO_DECODER, 0, 1, &wanted, 0, nullptr, objects.Receive()))) return;
  for (;;) {
    CLSID class_id{};
    WCHAR* name = nullptr;
    DWORD fetched = 0;
    if (objects->Next(1, &class_id, &name, &fetched) != S_OK || fetched == 0) return;
    CoTaskMemFree(name);
    ComPtr<IMediaObject> object;
    if (FAILED(CoCreateInstance(class_id, nullptr, CLSCTX_INPROC_SERVER, __uuidof(IMediaObject),
                                object.ReceiveVoid())))
      continue;
    if (try_object(std::move(object))) return;
  }
}

HRESULT CreateDmoDecoder(VisitMediaObjects visit, SoundDecoder** out) {
  *out = new (std::nothrow) DmoDecoder(std::move(visit));
  return *out ? S_OK : E_OUTOFMEMORY;
}

HRESULT CreateDmoDecoder(SoundDecoder** out) {
  if (!KeepComponentRuntime()) return E_OUTOFMEMORY;
  return CreateDmoDecoder(VisitPlatformMediaObjects, out);
}

}  // namespace melorin
