// SPDX-License-Identifier: MIT
//
// The platform's decoders and sources. Real ones where the test system has them, a media object of our own
// for the rest. No test initialises the component runtime: callers of the library need not.
#include <gtest/gtest.h>
#include <windows.h>

#include <mmreg.h>

#include <cmath>
#include <cstdlib>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

#include "platform/file.h"
#include "platform/text.h"
#include "sound/builtin_entries.h"
#include "sound/exports.h"
#include "sound/platform_codecs.h"
#include "sound/sound_buffer.h"
#include "sound/sound_library.h"
#include "sound/text_out.h"
#include "sound/win32/dmo_decoder.h"

namespace melorin {
namespace {

ComPtr<SoundBuffer> BufferOf(const std::vector<uint8_t>& bytes) {
  const auto size = static_cast<uint32_t>(bytes.size());
  auto buffer = MemorySoundBuffer::Create(size, size);
  uint8_t* to = nullptr;
  buffer->GetData(&to, nullptr);
  std::memcpy(to, bytes.data(), size);
  return buffer;
}

/// Decodes everything that the decoder has, in pieces of that capacity.
std::vector<int16_t> Drain(SoundDecoder& decoder, uint32_t capacity) {
  std::vector<int16_t> samples;
  const auto pcm = MemorySoundBuffer::Create(capacity);
  for (int calls = 0; decoder.HasOutput() == S_OK && calls < 100000; ++calls) {
    EXPECT_EQ(decoder.ProcessOutput(pcm.get()), S_OK);
    uint8_t* data = nullptr;
    uint32_t length = 0;
    pcm->GetData(&data, &length);
    const auto* from = reinterpret_cast<const int16_t*>(data);
    samples.insert(samples.end(), from, from + length / 2);
  }
  return samples;
}

/// A caller's buffer that says anything.
class FakeBuffer final : public ComObject<SoundBuffer> {
 public:
  FakeBuffer(uintptr_t data, uint32_t capacity, uint32_t length)
      : data_(data), capacity_(capacity), length_(length) {}
  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID, void**) override { return E_NOINTERFACE; }
  HRESULT STDMETHODCALLTYPE SetLength(uint32_t length) override {
    length_ = length;
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE GetCapacity(uint32_t* capacity) override {
    *capacity = capacity_;
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE GetData(uint8_t** data, uint32_t* length) override {
    if (data) *data = reinterpret_cast<uint8_t*>(data_);
    if (length) *length = length_;
    return S_OK;
  }

 private:
  uintptr_t data_;
  uint32_t capacity_;
  uint32_t length_;
};

constexpr WAVEFORMATEX kMuLaw = {WAVE_FORMAT_MULAW, 1, 8000, 8000, 1, 8, 0};

TEST(PlatformDecoder, AFaultInsideACodecEndsTheCallOnly) {
  WAVEFORMATEX out{};
  out.wFormatTag = WAVE_FORMAT_PCM;
  ComPtr<SoundDecoder> decoder;
  ASSERT_EQ(CreateAcmDecoder(decoder.Receive()), S_OK);
  ASSERT_EQ(decoder->SetFormat(&kMuLaw, &out), S_OK);
  const auto nowhere = ComPtr<FakeBuffer>::Adopt(new FakeBuffer(16, 4096, 0));
  for (int round = 0; round < 3; ++round) {
    ASSERT_EQ(decoder->ProcessInput(BufferOf(std::vector<uint8_t>(10)).get()), S_OK);
    EXPECT_EQ(decoder->ProcessOutput(nowhere.get()), E_FAIL);
    EXPECT_EQ(Drain(*decoder, 4096).size(), 9u) << "all but the block that was lost";
  }
}

TEST(PlatformDecoder, APacketThatNoMemoryHoldsEmptiesTheStore) {
  const WAVEFORMATEX mpeg = {WAVE_FORMAT_MPEGLAYER3, 2, 44100, 16000, 1, 16, 0};
  ComPtr<SoundDecoder> acm;
  ComPtr<SoundDecoder> mpg123;
  ASSERT_EQ(CreateAcmDecoder(acm.Receive()), S_OK);
  ASSERT_EQ(CreateMpegDecoderEntry()->CreateDecoder(mpg123.Receive()), S_OK);
  const auto endless = ComPtr<FakeBuffer>::Adopt(new FakeBuffer(0x10000, 0xFFFFFFF0, 0xFFFFFFF0));
  for (SoundDecoder* decoder : {acm.get(), mpg123.get()}) {
    WAVEFORMATEX out{};
    out.wFormatTag = WAVE_FORMAT_PCM;
    ASSERT_EQ(decoder->SetFormat(decoder == acm.get() ? &kMuLaw : &mpeg, &out), S_OK);
    ASSERT_EQ(decoder->ProcessInput(BufferOf(std::vector<uint8_t>(100)).get()), S_OK);
    EXPECT_EQ(decoder->ProcessInput(endless.get()), E_OUTOFMEMORY);
    EXPECT_EQ(decoder->AcceptsInput(), S_OK);
    EXPECT_EQ(decoder->HasOutput(), S_FALSE);
    ASSERT_EQ(decoder->ProcessInput(BufferOf(std::vector<uint8_t>(10)).get()), S_OK);
    // Ten bytes are no frame, so the MPEG decoder makes nothing of them.
    const size_t want = decoder == acm.get() ? 10 : 0;
    EXPECT_EQ(Drain(*decoder, 65536).size(), want) << "the first packet is gone";
  }
}

/// ITU-T G.711 µ-law expansion.
int16_t ExpandMuLaw(uint8_t code) {
  code = static_cast<uint8_t>(~code);
  const int magnitude = ((((code & 0x0F) << 3) + 0x84) << ((code & 0x70) >> 4)) - 0x84;
  return static_cast<int16_t>((code & 0x80) ? -magnitude : magnitude);
}

TEST(PlatformDecoder, AcmExpandsMuLaw) {
  WAVEFORMATEX out{};
  out.wFormatTag = WAVE_FORMAT_PCM;
  ComPtr<SoundDecoder> decoder;
  ASSERT_EQ(CreateAcmDecoder(decoder.Receive()), S_OK);
  ASSERT_EQ(decoder->SetFormat(&kMuLaw, &out), S_OK);
  EXPECT_EQ(out.wBitsPerSample, 16);
  EXPECT_EQ(out.nAvgBytesPerSec, 16000u);
  EXPECT_EQ(decoder->AcceptsInput(), S_OK);
  uint32_t in_bytes = 0;
  uint32_t out_bytes = 0;
  ASSERT_EQ(decoder->GetBufferSizes(&in_bytes, &out_bytes), S_OK);
  EXPECT_GE(out_bytes, in_bytes * 2);

  std::vector<uint8_t> codes(1000);
  std::vector<int16_t> want(codes.size());
  for (size_t i = 0; i < codes.size(); ++i) {
    codes[i] = static_cast<uint8_t>(i * 7);
    want[i] = ExpandMuLaw(codes[i]);
  }
  for (const uint32_t capacity : {out_bytes, 64u, 2u}) {
    ASSERT_EQ(decoder->ProcessInput(BufferOf(codes).get()), S_OK);
    EXPECT_EQ(decoder->AcceptsInput(), S_FALSE);
    EXPECT_EQ(Drain(*decoder, capacity), want) << capacity;
    EXPECT_EQ(decoder->AcceptsInput(), S_OK);
  }
  ASSERT_EQ(decoder->ProcessInput(BufferOf(codes).get()), S_OK);
  EXPECT_EQ(decoder->Flush(), S_OK);
  EXPECT_EQ(decoder->HasOutput(), S_FALSE);
}

TEST(PlatformDecoder, AcmWaitsForWholeBlocks) {
  struct {
    WAVEFORMATEX format = {WAVE_FORMAT_IMA_ADPCM, 1, 8000, 4055, 256, 4, 2};
    WORD samples_per_block = 505;
  } in;
  WAVEFORMATEX out{};
  out.wFormatTag = WAVE_FORMAT_PCM;
  ComPtr<SoundDecoder> decoder;
  ASSERT_EQ(CreateAcmDecoder(decoder.Receive()), S_OK);
  ASSERT_EQ(decoder->SetFormat(&in.format, &out), S_OK);
  // Two blocks of silence in three uneven packets.
  ASSERT_EQ(decoder->ProcessInput(BufferOf(std::vector<uint8_t>(100)).get()), S_OK);
  EXPECT_TRUE(Drain(*decoder, 8192).empty());
  ASSERT_EQ(decoder->ProcessInput(BufferOf(std::vector<uint8_t>(300)).get()), S_OK);
  EXPECT_EQ(Drain(*decoder, 8192).size(), 505u);
  ASSERT_EQ(decoder->ProcessInput(BufferOf(std::vector<uint8_t>(112)).get()), S_OK);
  EXPECT_EQ(Drain(*decoder, 8192).size(), 505u);
}

TEST(PlatformDecoder, RefusesFormatsOfNobody) {
  const WAVEFORMATEX in = {0x7FFF, 2, 44100, 16000, 1, 16, 0};
  for (auto* create : {static_cast<HRESULT (*)(SoundDecoder**)>(CreateAcmDecoder),
                       static_cast<HRESULT (*)(SoundDecoder**)>(CreateDmoDecoder)}) {
    WAVEFORMATEX out{};
    out.wFormatTag = WAVE_FORMAT_PCM;
    ComPtr<SoundDecoder> decoder;
    ASSERT_EQ(create(decoder.Receive()), S_OK);
    EXPECT_EQ(decoder->SetFormat(&in, &out), E_INVALIDARG);
    EXPECT_EQ(decoder->SetFormat(nullptr, &out), E_POINTER);
    EXPECT_EQ(decoder->ProcessInput(BufferOf({1, 2}).get()), E_FAIL) << "no format was set";
  }
}

/// Doubles bytes: one input byte becomes two, at most as many as the output buffer holds. Refuses a packet
/// that begins with 0xEE and faults over one that begins with 0xFA.
class DoublingObject final : public ComObject<IMediaObject> {
 public:
  explicit DoublingObject(bool implemented) : implemented_(implemented) { ++live; }
  ~DoublingObject() override { --live; }
  static inline int live = 0;

  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID, void**) override { return E_NOINTERFACE; }
  HRESULT STDMETHODCALLTYPE GetStreamCount(DWORD*, DWORD*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE GetInputStreamInfo(DWORD, DWORD*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE GetOutputStreamInfo(DWORD, DWORD*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE GetInputType(DWORD, DWORD, DMO_MEDIA_TYPE*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE GetOutputType(DWORD, DWORD, DMO_MEDIA_TYPE*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE SetInputType(DWORD, const DMO_MEDIA_TYPE* type, DWORD) override {
    if (!implemented_) return E_NOTIMPL;
    return SameGuid(type->subtype, WaveSubtype(0x4444)) ? S_OK : E_FAIL;
  }
  HRESULT STDMETHODCALLTYPE SetOutputType(DWORD, const DMO_MEDIA_TYPE* type, DWORD) override {
    return SameGuid(type->subtype, WaveSubtype(WAVE_FORMAT_PCM)) ? S_OK : E_FAIL;
  }
  HRESULT STDMETHODCALLTYPE GetInputCurrentType(DWORD, DMO_MEDIA_TYPE*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE GetOutputCurrentType(DWORD, DMO_MEDIA_TYPE*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE GetInputSizeInfo(DWORD, DWORD*, DWORD*, DWORD*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE GetOutputSizeInfo(DWORD, DWORD*, DWORD*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE GetInputMaxLatency(DWORD, REFERENCE_TIME*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE SetInputMaxLatency(DWORD, REFERENCE_TIME) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE Flush() override {
    input_.Reset();
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE Discontinuity(DWORD) override { return S_OK; }
  HRESULT STDMETHODCALLTYPE AllocateStreamingResources() override { return S_OK; }
  HRESULT STDMETHODCALLTYPE FreeStreamingResources() override { return S_OK; }
  HRESULT STDMETHODCALLTYPE GetInputStatus(DWORD, DWORD*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE ProcessInput(DWORD, IMediaBuffer* buffer, DWORD, REFERENCE_TIME,
                                         REFERENCE_TIME) override {
    input_ = ComPtr<IMediaBuffer>::Share(buffer);
    used_ = 0;
    BYTE* data = nullptr;
    DWORD length = 0;
    buffer->GetBufferAndLength(&data, &length);
    return data[0] == 0xEE ? E_FAIL : S_OK;
  }
  HRESULT STDMETHODCALLTYPE ProcessOutput(DWORD, DWORD, DMO_OUTPUT_DATA_BUFFER* output, DWORD*) override {
    BYTE* from = nullptr;
    BYTE* to = nullptr;
    DWORD length = 0;
    DWORD room = 0;
    input_->GetBufferAndLength(&from, &length);
    output->pBuffer->GetBufferAndLength(&to, nullptr);
    output->pBuffer->GetMaxLength(&room);
    if (from[0] == 0xFA) to = reinterpret_cast<BYTE*>(uintptr_t{16});
    DWORD made = 0;
    for (; used_ < length && made + 2 <= room; ++used_, made += 2)
      to[made] = to[made + 1] = from[used_];
    output->pBuffer->SetLength(made);
    output->dwStatus = used_ < length ? static_cast<DWORD>(DMO_OUTPUT_DATA_BUFFERF_INCOMPLETE) : 0;
    if (used_ == length) input_.Reset();
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE Lock(LONG) override { return S_OK; }

 private:
  bool implemented_;
  ComPtr<IMediaBuffer> input_;
  DWORD used_ = 0;
};

TEST(PlatformDecoder, DmoTakesTheFirstObjectThatAcceptsTheFormat) {
  const VisitMediaObjects visit = [](const GUID&,
                                     const std::function<bool(ComPtr<IMediaObject>)>& try_object) {
    for (const bool implemented : {false, true, true})
      if (try_object(ComPtr<IMediaObject>::Adopt(new DoublingObject(implemented)))) return;
  };
  const WAVEFORMATEX in = {0x4444, 1, 8000, 8000, 1, 8, 0};
  WAVEFORMATEX out{};
  out.wFormatTag = WAVE_FORMAT_PCM;
  ComPtr<SoundDecoder> decoder;
  ASSERT_EQ(CreateDmoDecoder(visit, decoder.Receive()), S_OK);
  ASSERT_EQ(decoder->SetFormat(&in, &out), S_OK);
  EXPECT_EQ(DoublingObject::live, 1);
  EXPECT_EQ(out.nBlockAlign, 2);
  for (const uint32_t capacity : {100u, 4u}) {
    ASSERT_EQ(decoder->ProcessInput(BufferOf({1, 2, 3, 4, 5}).get()), S_OK);
    EXPECT_EQ(Drain(*decoder, capacity), (std::vector<int16_t>{0x101, 0x202, 0x303, 0x404, 0x505}))
        << capacity;
    EXPECT_EQ(decoder->AcceptsInput(), S_OK);
  }
  EXPECT_EQ(decoder->ProcessInput(BufferOf({0xEE}).get()), E_FAIL);
  EXPECT_EQ(decoder->AcceptsInput(), S_OK) << "goes on after a refused packet";
  EXPECT_EQ(decoder->HasOutput(), S_FALSE);
  decoder.Reset();
  EXPECT_EQ(DoublingObject::live, 0);

  ASSERT_EQ(CreateDmoDecoder(visit, decoder.Receive()), S_OK);
  ASSERT_EQ(decoder->SetFormat(&in, &out), S_OK);
  ASSERT_EQ(decoder->ProcessInput(BufferOf({0xFA, 1}).get()), S_OK);
  const auto pcm = MemorySoundBuffer::Create(100);
  EXPECT_EQ(decoder->ProcessOutput(pcm.get()), E_FAIL);
  EXPECT_EQ(decoder->AcceptsInput(), S_OK);
  EXPECT_EQ(decoder->ProcessInput(BufferOf({1}).get()), E_FAIL) << "the object is given up";
  EXPECT_EQ(decoder->Flush(), S_OK);
}

/// An AU file: 16-bit big-endian mono at 8000 Hz, a sine of 500 Hz.
std::string AuFile(uint32_t samples) {
  std::string file(".snd\0\0\0\x18\0\0\0\0\0\0\0\3\0\0\x1F\x40\0\0\0\1", 24);
  const uint32_t bytes = samples * 2;
  for (int i = 0; i < 4; ++i)
    file[static_cast<size_t>(8 + i)] = static_cast<char>(bytes >> (24 - 8 * i));
  for (uint32_t i = 0; i < samples; ++i) {
    const auto value = static_cast<int16_t>(std::lround(10000 * std::sin(i * 3.14159265358979 / 8)));
    file += static_cast<char>(value >> 8);
    file += static_cast<char>(value & 0xFF);
  }
  return file;
}

size_t ReadAll(SoundSource& source, std::vector<uint8_t>& all) {
  const auto packet = MemorySoundBuffer::Create(1600);
  HRESULT result = S_OK;
  while ((result = source.Read(packet.get())) == S_OK) {
    uint8_t* data = nullptr;
    uint32_t length = 0;
    packet->GetData(&data, &length);
    all.insert(all.end(), data, data + length);
  }
  EXPECT_EQ(result, S_FALSE);
  return all.size();
}

TEST(PlatformSources, AndDecodersKeepTheComponentRuntimeForEveryThread) {
  ComPtr<SoundSource> source;
  ComPtr<SoundDecoder> decoder;
  ASSERT_EQ(CreateGraphSource(source.Receive()), S_OK);
  ASSERT_EQ(CreateDmoDecoder(decoder.Receive()), S_OK);
  const GUID no_such_class = WaveSubtype(0x1234);
  std::thread([&] {
    void* out = nullptr;
    EXPECT_EQ(CoCreateInstance(no_such_class, nullptr, CLSCTX_INPROC_SERVER, IID_IUnknown, &out),
              REGDB_E_CLASSNOTREG);
    EXPECT_EQ(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED), S_OK) << "may still have one of its own";
    CoUninitialize();
  }).join();
}

TEST(PlatformSources, TheMediaGraphPlaysAuFiles) {
  constexpr uint32_t kSamples = 400000;  // More than the queue between the graph and the reader holds.
  const std::string file = AuFile(kSamples);
  const std::string path = TempDirectory() + "melorin_graph.au";
  ASSERT_TRUE(WriteFileSafely(path, {reinterpret_cast<const uint8_t*>(file.data()), file.size()}));
  SoundLibrary library;
  ASSERT_EQ(library.Start(""), S_OK);
  ComPtr<SoundSource> source;
  size_t reader = 0;
  // Opened on one thread and used on another, neither of which has an apartment.
  HRESULT opened = E_FAIL;
  std::thread([&] {
    opened = library.OpenSource(AsWide(Utf16FromGbk(path).c_str()), 0, source.Receive(), &reader);
  }).join();
  if (FAILED(opened)) GTEST_SKIP() << "the system's media graph has no AU splitter";
  EXPECT_EQ(reader, 6u);
  WAVEFORMATEX* format = nullptr;
  ASSERT_EQ(source->GetFormat(&format), S_OK);
  EXPECT_EQ(format->nSamplesPerSec, 8000u);
  const uint32_t align = format->nBlockAlign;
  CoTaskMemFree(format);
  uint32_t duration = 0;
  EXPECT_EQ(source->GetDuration(&duration), S_OK);
  EXPECT_NEAR(duration, kSamples / 8.0, 20);

  // Stopped while the graph waits for room, sought, and read to the end.
  const auto packet = MemorySoundBuffer::Create(800);
  ASSERT_EQ(source->Start(), S_OK);
  ASSERT_EQ(source->Read(packet.get()), S_OK);
  Sleep(100);
  EXPECT_EQ(source->Stop(), S_OK);
  ASSERT_EQ(source->Seek(40000), S_OK);
  ASSERT_EQ(source->Start(), S_OK);
  std::vector<uint8_t> rest;
  EXPECT_NEAR(static_cast<double>(ReadAll(*source, rest)) / align, 80000.0, 2000.0);
  int peak = 0;
  for (size_t i = 0; i + 1 < rest.size(); i += 2)
    peak = std::max(peak, std::abs(static_cast<int16_t>(rest[i] | rest[i + 1] << 8)));
  EXPECT_NEAR(peak, 10000, 50);
  EXPECT_EQ(source->Seek(duration), E_INVALIDARG);
}

TEST(OpenSource, TakesAFileThatOthersLetBeReadOnly) {
  const std::string path = TempDirectory() + "melorin_held.wav";
  const std::string file(
      "RIFF\x2C\0\0\0WAVEfmt \x10\0\0\0\1\0\1\0\x40\x1F\0\0\x80\x3E\0\0\2\0\x10\0"
      "data\4\0\0\0\1\2\3\4",
      48);
  ASSERT_TRUE(WriteFileSafely(path, {reinterpret_cast<const uint8_t*>(file.data()), file.size()}));
  const std::u16string path16 = Utf16FromGbk(path);
  ComPtr<IStream> holder;
  ASSERT_EQ(CreateStreamOnFile(AsWide(path16.c_str()), STGM_READ, holder.Receive()), S_OK);
  ComPtr<IStream> writer;
  EXPECT_EQ(
      CreateStreamOnFile(AsWide(path16.c_str()), STGM_READWRITE | STGM_SHARE_DENY_NONE, writer.Receive()),
      E_FAIL);
  SoundLibrary library;
  ASSERT_EQ(library.Start(""), S_OK);
  ComPtr<SoundSource> source;
  EXPECT_EQ(library.OpenSource(AsWide(path16.c_str()), 0, source.Receive()), S_OK);
}

TEST(PlatformSources, RefuseWhatIsNotTheirs) {
  SoundLibrary library;
  ASSERT_EQ(library.Start(""), S_OK);
  const std::string text = "nothing that anybody plays, but long enough to be looked at";
  for (const char* name : {"melorin_bad.wma", "melorin_bad.au", "melorin_bad.aif", "melorin_bad.cda"}) {
    const std::string path = TempDirectory() + name;
    ASSERT_TRUE(WriteFileSafely(path, {reinterpret_cast<const uint8_t*>(text.data()), text.size()}));
    ComPtr<SoundSource> source;
    EXPECT_EQ(library.OpenSource(AsWide(Utf16FromGbk(path).c_str()), 0, source.Receive()), E_NOTIMPL) << name;
    DeleteFileAt(path);
  }
}

}  // namespace
}  // namespace melorin
