// SPDX-License-Identifier: MIT
//
// An add-in module for the tests, built several times from this one file: whole, with an entry point that
// fails, without an entry point, and offering only objects of unknown kinds. Like any add-in it reaches the
// player through the functions that the running executable exports, found by name.
//
// Its format, for ".mzt" and for ".wav" files that the built-in reader refuses: "MZT1", then 16-bit mono
// samples at 8000 Hz.
#include <windows.h>

#include <atomic>
#include <cstring>
#include <new>

#include "platform/com_ptr.h"
#include "sound/interfaces.h"
#include "tags/tag_set.h"

using namespace melorin;

namespace {

std::atomic<int> g_live_objects{0};

struct Counted {
  Counted() { ++g_live_objects; }
  ~Counted() { --g_live_objects; }
};

template <class Function>
Function FromHost(const char* name) {
  const FARPROC address = GetProcAddress(GetModuleHandleW(nullptr), name);
  return reinterpret_cast<Function>(reinterpret_cast<void (*)()>(address));
}

HRESULT HandOut(const wchar_t* text, wchar_t** out) {
  if (!out) return E_POINTER;
  *out = CopyText(AsChar16(text));
  return *out ? S_OK : E_OUTOFMEMORY;
}

template <class T>
HRESULT Answer(T* out, T value) {
  if (!out) return E_POINTER;
  *out = value;
  return S_OK;
}

class TestSource final : public ComObject<SoundFileSource>, Counted {
 public:
  explicit TestSource(bool by_name) : by_name_(by_name) {}

  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** out) override {
    *out = nullptr;
    if (SameGuid(iid, kIidTagSet)) return tags_ ? tags_->QueryInterface(iid, out) : E_NOINTERFACE;
    if (!SameGuid(iid, IID_IUnknown) && !SameGuid(iid, kIidSoundSource) &&
        !(by_name_ && SameGuid(iid, kIidSoundFileSource)))
      return E_NOINTERFACE;
    AddRef();
    *out = static_cast<SoundFileSource*>(this);
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE OpenFile(const WideChar* path, uint32_t flags) override {
    using CreateStream = HRESULT(STDMETHODCALLTYPE*)(const WideChar*, uint32_t, IStream**);
    const auto create = FromHost<CreateStream>("CreateStreamOnFile");
    ComPtr<IStream> stream;
    const HRESULT result = create ? create(path, STGM_READ, stream.Receive()) : E_UNEXPECTED;
    return FAILED(result) ? result : Open(stream.get(), flags);
  }
  HRESULT STDMETHODCALLTYPE Open(IStream* stream, uint32_t) override {
    char magic[4] = {};
    ULONG got = 0;
    if (FAILED(stream->Read(magic, 4, &got)) || got != 4 || std::memcmp(magic, "MZT1", 4) != 0) return E_FAIL;
    using CreateContent = HRESULT(STDMETHODCALLTYPE*)(IStream*, uint32_t, TagSet**, uint32_t*);
    const auto create = FromHost<CreateContent>("CreateStdContent");
    uint32_t extent[2] = {};
    const HRESULT result = create ? create(stream, 0, tags_.Receive(), extent) : E_UNEXPECTED;
    if (FAILED(result)) return result;
    audio_bytes_ = extent[1] - 4;
    LARGE_INTEGER start;
    start.QuadPart = extent[0] + 4;
    stream_ = ComPtr<IStream>::Share(stream);
    return stream->Seek(start, STREAM_SEEK_SET, nullptr);
  }
  HRESULT STDMETHODCALLTYPE IsSeekable(uint32_t* yes) override { return Answer<uint32_t>(yes, 0); }
  HRESULT STDMETHODCALLTYPE GetDuration(uint32_t* ms) override {
    return Answer<uint32_t>(ms, audio_bytes_ / 16);
  }
  HRESULT STDMETHODCALLTYPE GetFormat(WAVEFORMATEX** format) override {
    const WAVEFORMATEX pcm = {WAVE_FORMAT_PCM, 1, 8000, 16000, 2, 16, 0};
    return Answer(format, CopyFormat(pcm));
  }
  HRESULT STDMETHODCALLTYPE GetReadSize(uint32_t* bytes) override { return Answer<uint32_t>(bytes, 800); }
  HRESULT STDMETHODCALLTYPE GetCodecName(WideChar** name) override {
    using GetName = HRESULT(STDMETHODCALLTYPE*)(const GUID*, WideChar**);
    const auto get_name = FromHost<GetName>("GetSoundCodecName");
    const GUID adpcm = WaveSubtype(2);
    return get_name ? get_name(&adpcm, name) : E_UNEXPECTED;
  }
  HRESULT STDMETHODCALLTYPE GetBitrate(uint32_t* bits) override { return Answer<uint32_t>(bits, 128000); }
  HRESULT STDMETHODCALLTYPE GetBitsPerSample(uint16_t* bits) override { return Answer<uint16_t>(bits, 16); }
  HRESULT STDMETHODCALLTYPE Start() override { return S_OK; }
  HRESULT STDMETHODCALLTYPE Pause() override { return S_OK; }
  HRESULT STDMETHODCALLTYPE Stop() override { return S_OK; }
  HRESULT STDMETHODCALLTYPE Read(SoundBuffer* packet) override {
    // By way of a buffer of the player's, to use that function as well.
    using CreateBuffer = HRESULT(STDMETHODCALLTYPE*)(SoundBuffer**, uint32_t);
    const auto create = FromHost<CreateBuffer>("CreateSoundBuffer");
    ComPtr<SoundBuffer> own;
    if (!create || FAILED(create(own.Receive(), 512))) return E_UNEXPECTED;
    uint8_t* from = nullptr;
    uint8_t* to = nullptr;
    own->GetData(&from, nullptr);
    packet->GetData(&to, nullptr);
    uint32_t capacity = 0;
    packet->GetCapacity(&capacity);
    ULONG want = capacity < 512 ? capacity : 512;
    if (want > audio_bytes_) want = audio_bytes_;
    ULONG got = 0;
    if (want > 0 && FAILED(stream_->Read(from, want, &got))) return E_FAIL;
    std::memcpy(to, from, got);
    audio_bytes_ -= got;
    packet->SetLength(got);
    return got > 0 ? S_OK : S_FALSE;
  }
  HRESULT STDMETHODCALLTYPE Seek(uint32_t) override { return E_NOTIMPL; }

 private:
  bool by_name_;
  ComPtr<IStream> stream_;
  ComPtr<TagSet> tags_;
  uint32_t audio_bytes_ = 0;
};

class TestReader final : public ComObject<SoundReader>, Counted {
 public:
  TestReader(const wchar_t* description, bool by_name) : description_(description), by_name_(by_name) {}
  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** out) override {
    *out = nullptr;
    if (!SameGuid(iid, IID_IUnknown) && !SameGuid(iid, kIidSoundReader)) return E_NOINTERFACE;
    AddRef();
    *out = static_cast<SoundReader*>(this);
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE CreateSource(SoundSource** out) override {
    *out = new (std::nothrow) TestSource(by_name_);
    return *out ? S_OK : E_OUTOFMEMORY;
  }
  HRESULT STDMETHODCALLTYPE GetName(WideChar** name) override { return HandOut(L"Test Reader", name); }
  HRESULT STDMETHODCALLTYPE GetDescription(WideChar** text) override { return HandOut(description_, text); }

 private:
  const wchar_t* description_;
  bool by_name_;
};

class TestDecoderEntry final : public ComObject<SoundDecoderEntry>, Counted {
 public:
  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** out) override {
    *out = nullptr;
    if (!SameGuid(iid, IID_IUnknown) && !SameGuid(iid, kIidSoundDecoderEntry)) return E_NOINTERFACE;
    AddRef();
    *out = static_cast<SoundDecoderEntry*>(this);
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE CreateDecoder(SoundDecoder**) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE GetName(WideChar** name) override { return HandOut(L"Test Decoder", name); }
  HRESULT STDMETHODCALLTYPE CanDecode(const GUID*) override { return S_OK; }
};

class TestAddIn final : public ComObject<SoundAddIn>, Counted {
 public:
  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** out) override {
    *out = nullptr;
    if (!SameGuid(iid, IID_IUnknown)) return E_NOINTERFACE;
    AddRef();
    *out = static_cast<SoundAddIn*>(this);
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE GetEntry(uint32_t index, GUID* kind, IUnknown** object) override {
#if defined(MZP_UNKNOWN_KIND)
    if (index > 0) return E_FAIL;
    *kind = WaveSubtype(0x4242);
    *object = new (std::nothrow) TestDecoderEntry();
#else
    if (index > 3) return E_FAIL;
    *kind = index < 2 ? kIidSoundReader : index == 2 ? kIidSoundDecoderEntry : WaveSubtype(0x4242);
    if (index == 0)
      *object = new (std::nothrow) TestReader(L"Test(*.MZT)", true);
    else if (index == 1)
      *object = new (std::nothrow) TestReader(L"Test Wave(*.wav)", false);
    else
      *object = new (std::nothrow) TestDecoderEntry();
#endif
    return *object ? S_OK : E_OUTOFMEMORY;
  }
};

}  // namespace

extern "C" __declspec(dllexport) int mzpTestLiveObjects() {
  return g_live_objects;
}

#if !defined(MZP_NO_ENTRY_POINT)
extern "C" __declspec(dllexport) HRESULT STDMETHODCALLTYPE mzpGetSoundAddIn(SoundAddIn** out) {
#if defined(MZP_FAILS)
  // What it stores is no object: nobody may touch it.
  *out = reinterpret_cast<SoundAddIn*>(1);
  return E_UNEXPECTED;
#else
  *out = new (std::nothrow) TestAddIn();
  return *out ? S_OK : E_OUTOFMEMORY;
#endif
}
#endif
