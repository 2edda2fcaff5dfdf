// SPDX-License-Identifier: MIT
//
// "Wave 文件输出": PCM into a Wave file, over the chunk code that the Wave reader also stands on.
#include <new>

#include "sound/builtin_entries.h"
#include "sound/exports.h"
#include "sound/text_out.h"
#include "sound/wave_file.h"

namespace melorin {
namespace {

class WaveFileOutput final : public ComObject<SoundOutput> {
 public:
  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** out) override {
    if (!out) return E_POINTER;
    *out = nullptr;
    if (!SameGuid(iid, IID_IUnknown)) return E_NOINTERFACE;
    AddRef();
    *out = static_cast<SoundOutput*>(this);
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE Open(const WideChar* path, const WAVEFORMATEX* format) override {
    if (!path || !format) return E_POINTER;
    writer_.Close();
    ComPtr<IStream> stream;
    const HRESULT result = CreateStreamOnFile(path, STGM_READWRITE | STGM_CREATE, stream.Receive());
    return FAILED(result) ? result : writer_.Open(stream.get(), *format);
  }
  HRESULT STDMETHODCALLTYPE Write(const uint8_t* data, uint32_t bytes) override {
    if (!data) return E_POINTER;
    return writer_.Write(data, bytes);
  }
  HRESULT STDMETHODCALLTYPE Close() override { return writer_.Close(); }

 private:
  WaveWriter writer_;
};

class WaveOutputEntry final : public ComObject<SoundOutputEntry> {
 public:
  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** out) override {
    if (!out) return E_POINTER;
    *out = nullptr;
    if (!SameGuid(iid, IID_IUnknown) && !SameGuid(iid, kIidSoundOutputEntry)) return E_NOINTERFACE;
    AddRef();
    *out = static_cast<SoundOutputEntry*>(this);
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE CreateOutput(SoundOutput** out) override {
    if (!out) return E_POINTER;
    *out = new (std::nothrow) WaveFileOutput();
    return *out ? S_OK : E_OUTOFMEMORY;
  }
  HRESULT STDMETHODCALLTYPE GetName(WideChar** name) override { return HandOutText(kWaveOutputName, name); }
};

}  // namespace

ComPtr<SoundOutputEntry> CreateWaveOutputEntry() {
  return ComPtr<SoundOutputEntry>::Adopt(new (std::nothrow) WaveOutputEntry());
}

}  // namespace melorin
