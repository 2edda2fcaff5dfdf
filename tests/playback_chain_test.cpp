// SPDX-License-Identifier: MIT
//
// The chain over sources and decoders that behave well, badly and not at all.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <vector>

#include "platform/com_ptr.h"
#include "playback/pcm_to_float.h"
#include "playback/source_chain.h"
#include "sound/exports.h"
#include "sound/format_tag.h"
#include "sound/interfaces.h"

namespace melorin {
namespace {

template <class Interface>
class Fake : public ComObject<Interface> {
 public:
  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID, void** out) override {
    *out = nullptr;
    return E_NOINTERFACE;
  }
};

/// Hands out bytes, at most `packet` at a time.
class FakeSource final : public Fake<SoundSource> {
 public:
  FakeSource(const WAVEFORMATEX& format, std::vector<uint8_t> bytes)
      : format_(format), bytes_(std::move(bytes)) {}

  HRESULT STDMETHODCALLTYPE Open(IStream*, uint32_t) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE IsSeekable(uint32_t* yes) override { return *yes = 1, S_OK; }
  HRESULT STDMETHODCALLTYPE GetDuration(uint32_t* ms) override { return *ms = 1234, S_OK; }
  HRESULT STDMETHODCALLTYPE GetFormat(WAVEFORMATEX** format) override {
    *format = CopyFormat(format_);
    return *format ? S_OK : E_OUTOFMEMORY;
  }
  HRESULT STDMETHODCALLTYPE GetReadSize(uint32_t* bytes) override { return *bytes = 4096, S_OK; }
  HRESULT STDMETHODCALLTYPE GetCodecName(WideChar**) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE GetBitrate(uint32_t*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE GetBitsPerSample(uint16_t* bits) override {
    return *bits = format_.wBitsPerSample, S_OK;
  }
  HRESULT STDMETHODCALLTYPE Start() override { return ++starts_, start_result_; }
  HRESULT STDMETHODCALLTYPE Pause() override { return S_OK; }
  HRESULT STDMETHODCALLTYPE Stop() override { return S_OK; }
  HRESULT STDMETHODCALLTYPE Read(SoundBuffer* packet) override {
    ++reads_;
    if (position_ >= fail_at_) return E_UNEXPECTED;
    uint8_t* data = nullptr;
    uint32_t capacity = 0;
    packet->GetData(&data, nullptr);
    packet->GetCapacity(&capacity);
    const size_t count = std::min({size_t{capacity}, packet_, bytes_.size() - position_});
    if (count > 0) std::memcpy(data, bytes_.data() + position_, count);
    position_ += count;
    packet->SetLength(static_cast<uint32_t>(count));
    return count > 0 ? S_OK : S_FALSE;
  }
  HRESULT STDMETHODCALLTYPE Seek(uint32_t ms) override {
    if (!seekable_) return E_NOTIMPL;
    const uint64_t offset =
        uint64_t{ms} * format_.nAvgBytesPerSec / 1000 / format_.nBlockAlign * format_.nBlockAlign;
    if (offset >= bytes_.size()) return E_INVALIDARG;
    position_ = static_cast<size_t>(offset);
    return S_OK;
  }

  const WAVEFORMATEX format_;
  const std::vector<uint8_t> bytes_;
  size_t position_ = 0;
  size_t packet_ = 1000;
  size_t fail_at_ = std::numeric_limits<size_t>::max();
  bool seekable_ = true;
  int reads_ = 0;
  int starts_ = 0;
  HRESULT start_result_ = S_OK;
};

/// A "codec" of one byte a sample, mono float. Each packet comes out in pieces.
class FakeDecoder final : public Fake<SoundDecoder> {
 public:
  enum class Fault { kNone, kStuck, kNeverOutput, kFailsInput, kFailsEverySecondOutput, kFailsOutput };
  explicit FakeDecoder(Fault fault) : fault_(fault) {}
  HRESULT STDMETHODCALLTYPE SetFormat(const WAVEFORMATEX*, WAVEFORMATEX*) override { return S_OK; }
  HRESULT STDMETHODCALLTYPE GetBufferSizes(uint32_t* in, uint32_t* out) override {
    if (in) *in = 4096;
    if (out) *out = 128;
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE AcceptsInput() override {
    return store_.empty() && fault_ != Fault::kStuck ? S_OK : S_FALSE;
  }
  HRESULT STDMETHODCALLTYPE HasOutput() override { return store_.empty() ? S_FALSE : S_OK; }
  HRESULT STDMETHODCALLTYPE ProcessInput(SoundBuffer* packet) override {
    if (fault_ == Fault::kFailsInput) return E_FAIL;
    uint8_t* data = nullptr;
    uint32_t length = 0;
    packet->GetData(&data, &length);
    if (fault_ != Fault::kNeverOutput) store_.assign(data, data + length);
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE ProcessOutput(SoundBuffer* pcm) override {
    ++outputs_;
    if (fault_ == Fault::kFailsOutput || (fault_ == Fault::kFailsEverySecondOutput && outputs_ % 2 == 0))
      return E_FAIL;
    uint8_t* data = nullptr;
    pcm->GetData(&data, nullptr);
    const size_t count = std::min<size_t>(store_.size(), 32);
    for (size_t i = 0; i < count; ++i) {
      const float sample = static_cast<float>(store_[i]) / 256.0f;
      std::memcpy(data + 4 * i, &sample, 4);
    }
    store_.erase(store_.begin(), store_.begin() + static_cast<std::ptrdiff_t>(count));
    return pcm->SetLength(static_cast<uint32_t>(4 * count));
  }
  HRESULT STDMETHODCALLTYPE Flush() override { return ++flushes_, store_.clear(), S_OK; }

  const Fault fault_;
  std::vector<uint8_t> store_;
  int outputs_ = 0;
  int flushes_ = 0;
};

WAVEFORMATEX Format(uint16_t tag, uint16_t channels, uint32_t rate, uint16_t bits) {
  WAVEFORMATEX format = {};
  format.wFormatTag = tag;
  format.nChannels = channels;
  format.nSamplesPerSec = rate;
  format.wBitsPerSample = bits;
  format.nBlockAlign = static_cast<uint16_t>(channels * ((bits + 7) / 8));
  format.nAvgBytesPerSec = format.nBlockAlign * rate;
  return format;
}

std::vector<uint8_t> Pattern(size_t bytes) {
  std::vector<uint8_t> data(bytes);
  uint32_t state = 12345;
  for (auto& byte : data) {
    state = state * 1664525 + 1013904223;
    byte = static_cast<uint8_t>(state >> 24);
  }
  return data;
}

struct Opened {
  ComPtr<FakeSource> source;
  ComPtr<FakeDecoder> decoder;
  std::unique_ptr<SourceChain> chain;
  ComPtr<SoundBuffer> block;
  HRESULT result = E_FAIL;
};

Opened OpenChain(const WAVEFORMATEX& format, std::vector<uint8_t> bytes,
                 FakeDecoder::Fault fault = FakeDecoder::Fault::kNone) {
  Opened opened;
  opened.source = ComPtr<FakeSource>::Adopt(new FakeSource(format, std::move(bytes)));
  opened.decoder = ComPtr<FakeDecoder>::Adopt(new FakeDecoder(fault));
  opened.result = SourceChain::Create(
      ComPtr<SoundSource>::Share(opened.source.get()),
      [&](const WAVEFORMATEX& in, WAVEFORMATEX* out, SoundDecoder** decoder) {
        if (in.wFormatTag != WAVE_FORMAT_MPEGLAYER3 || out->wFormatTag != WAVE_FORMAT_IEEE_FLOAT)
          return E_NOTIMPL;
        *out = Format(WAVE_FORMAT_IEEE_FLOAT, 1, in.nSamplesPerSec, 32);
        opened.decoder->AddRef();
        *decoder = opened.decoder.get();
        return S_OK;
      },
      &opened.chain);
  if (opened.chain) CreateSoundBuffer(opened.block.Receive(), opened.chain->BlockBytes());
  return opened;
}

/// Pulls until the end; checks that every block but the last is full.
std::vector<float> Drain(Opened& opened, int max_blocks = 100000) {
  std::vector<float> samples;
  bool ended = false;
  for (int i = 0; i < max_blocks; ++i) {
    if (opened.chain->NextBlock(*opened.block) != S_OK) return samples;
    uint8_t* data = nullptr;
    uint32_t length = 0;
    opened.block->GetData(&data, &length);
    EXPECT_GT(length, 0u);
    EXPECT_FALSE(ended) << "only the last block may be short";
    ended = length < opened.chain->BlockBytes();
    EXPECT_EQ(length % (4u * opened.chain->Channels()), 0u);
    const size_t before = samples.size();
    samples.resize(before + length / 4);
    std::memcpy(samples.data() + before, data, length);
  }
  ADD_FAILURE() << "the chain does not end";
  return samples;
}

TEST(PcmToFloat, ExactForUpTo24Bits) {
  for (int32_t value : {-32768, -32767, -1, 0, 1, 255, 256, 32767}) {
    const auto sample = static_cast<int16_t>(value);
    uint8_t bytes[2];
    std::memcpy(bytes, &sample, 2);
    float out = 9;
    ConvertToFloat(SampleKind::kSigned16, bytes, 1, &out);
    EXPECT_EQ(out * 32768.0f, static_cast<float>(value));
  }
  for (int32_t value : {-8388608, -8388607, -65536, -1, 0, 1, 65535, 8388607}) {
    const uint8_t bytes[3] = {static_cast<uint8_t>(value), static_cast<uint8_t>(value >> 8),
                              static_cast<uint8_t>(value >> 16)};
    float out = 9;
    ConvertToFloat(SampleKind::kSigned24, bytes, 1, &out);
    EXPECT_EQ(out * 8388608.0f, static_cast<float>(value));
  }
  const uint8_t eight[3] = {0, 128, 255};
  float out[3];
  ConvertToFloat(SampleKind::kUnsigned8, eight, 3, out);
  EXPECT_EQ(out[0], -1.0f);
  EXPECT_EQ(out[1], 0.0f);
  EXPECT_EQ(out[2], 127.0f / 128.0f);
  const int32_t wide[2] = {std::numeric_limits<int32_t>::min(), 1 << 30};
  ConvertToFloat(SampleKind::kSigned32, reinterpret_cast<const uint8_t*>(wide), 2, out);
  EXPECT_EQ(out[0], -1.0f);
  EXPECT_EQ(out[1], 0.5f);
  const double doubles[3] = {1e300, std::numeric_limits<double>::quiet_NaN(), -0.25};
  ConvertToFloat(SampleKind::kFloat64, reinterpret_cast<const uint8_t*>(doubles), 3, out);
  EXPECT_EQ(out[0], 0.0f);
  EXPECT_EQ(out[1], 0.0f);
  EXPECT_EQ(out[2], -0.25f);
  const float floats[3] = {2.5f, -std::numeric_limits<float>::infinity(), 1.0f};
  ConvertToFloat(SampleKind::kFloat32, reinterpret_cast<const uint8_t*>(floats), 3, out);
  EXPECT_EQ(out[0], 2.5f);
  EXPECT_EQ(out[1], 0.0f);
}

TEST(SampleLayout, TakesWhatIsUncompressedAndRefusesTheRest) {
  struct Case {
    const char* name;
    uint16_t tag, channels;
    uint32_t rate;
    uint16_t bits, align;
    bool taken;
    SampleKind kind;
  };
  const Case cases[] = {
      {"8 bit", 1, 1, 8000, 8, 1, true, SampleKind::kUnsigned8},
      {"16 bit", 1, 2, 44100, 16, 4, true, SampleKind::kSigned16},
      {"12 bits in 16", 1, 2, 44100, 12, 4, true, SampleKind::kSigned16},
      {"24 bit, 8 channels", 1, 8, 96000, 24, 24, true, SampleKind::kSigned24},
      {"24 bits in 32", 1, 2, 96000, 24, 8, true, SampleKind::kSigned32},
      {"float", 3, 2, 48000, 32, 8, true, SampleKind::kFloat32},
      {"double", 3, 1, 48000, 64, 8, true, SampleKind::kFloat64},
      {"float of 16 bits", 3, 1, 48000, 16, 2, false, {}},
      {"9 channels", 1, 9, 44100, 16, 18, false, {}},
      {"no channels", 1, 0, 44100, 16, 4, false, {}},
      {"no rate", 1, 2, 0, 16, 4, false, {}},
      {"absurd rate", 1, 2, 0xFFFFFFFF, 16, 4, false, {}},
      {"no align", 1, 2, 44100, 16, 0, false, {}},
      {"align that is no multiple", 1, 2, 44100, 16, 5, false, {}},
      {"wider than its container", 1, 2, 44100, 24, 4, false, {}},
      {"64-bit integers", 1, 1, 44100, 64, 8, false, {}},
      {"ADPCM", 2, 2, 44100, 4, 1024, false, {}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    for (const bool extensible : {false, true}) {
      if (extensible && c.tag == 2) continue;
      WAVEFORMATEXTENSIBLE format = {};
      format.Format = Format(c.tag, c.channels, c.rate, c.bits);
      format.Format.nBlockAlign = c.align;
      if (extensible) {
        format.SubFormat = WaveSubtype(c.tag);
        format.Format.wFormatTag = WAVE_FORMAT_EXTENSIBLE;
        format.Format.cbSize = 22;
      }
      SampleLayout layout;
      ASSERT_EQ(ParseSampleLayout(format.Format, &layout), c.taken);
      if (!c.taken) continue;
      EXPECT_EQ(layout.kind, c.kind);
    }
  }
  WAVEFORMATEXTENSIBLE cut = {};
  cut.Format = Format(WAVE_FORMAT_EXTENSIBLE, 2, 44100, 16);
  cut.Format.cbSize = 4;
  EXPECT_FALSE(IsUncompressed(cut.Format));
}

TEST(SourceChain, SamplesPassUnchangedWhateverThePacketSize) {
  const std::vector<uint8_t> bytes = Pattern(3 * 2 * 10007 + 4);  // Ends in the middle of a frame.
  for (const size_t packet : {1u, 5u, 6u, 7u, 1000u, 4096u}) {
    SCOPED_TRACE(packet);
    Opened opened = OpenChain(Format(1, 2, 44100, 24), bytes);
    ASSERT_EQ(opened.result, S_OK);
    EXPECT_EQ(opened.chain->BlockBytes(), 1096u * 8);
    EXPECT_EQ(opened.chain->DurationMs(), 1234u);
    EXPECT_EQ(opened.chain->SourceBits(), 24);
    opened.source->packet_ = packet;
    const std::vector<float> samples = Drain(opened);
    ASSERT_EQ(samples.size(), 2u * 10007);
    std::vector<float> expected(samples.size());
    ConvertToFloat(SampleKind::kSigned24, bytes.data(), expected.size(), expected.data());
    EXPECT_EQ(samples, expected);
    EXPECT_EQ(opened.chain->NextBlock(*opened.block), S_FALSE);
  }
}

TEST(SourceChain, SeekIsExactToTheFrame) {
  const std::vector<uint8_t> bytes = Pattern(4 * 44100);
  Opened opened = OpenChain(Format(1, 2, 44100, 16), bytes);
  opened.source->packet_ = 1001;
  for (const uint32_t ms : {0u, 500u, 7u, 999u}) {
    SCOPED_TRACE(ms);
    opened.chain->NextBlock(*opened.block);
    ASSERT_EQ(opened.chain->Seek(ms), S_OK);
    ASSERT_EQ(opened.chain->NextBlock(*opened.block), S_OK);
    uint8_t* data = nullptr;
    opened.block->GetData(&data, nullptr);
    float expected[2];
    ConvertToFloat(SampleKind::kSigned16, bytes.data() + size_t{ms} * 44100 / 1000 * 4, 2, expected);
    EXPECT_EQ(std::memcmp(data, expected, 8), 0);
  }
  EXPECT_EQ(opened.chain->Seek(1000), E_INVALIDARG);
  EXPECT_EQ(opened.chain->NextBlock(*opened.block), S_FALSE);
  EXPECT_EQ(opened.chain->Seek(0), S_OK);
  EXPECT_EQ(Drain(opened).size(), 2u * 44100);
  EXPECT_EQ(opened.chain->Seek(0), S_OK);
  opened.chain->NextBlock(*opened.block);
  opened.source->seekable_ = false;
  EXPECT_EQ(opened.chain->Seek(0), E_NOTIMPL);
  EXPECT_EQ(Drain(opened).size(), 2u * (44100 - 1096));
}

TEST(SourceChain, DecodesInPiecesAndForgetsThemOnSeek) {
  const std::vector<uint8_t> bytes = Pattern(5000);
  Opened opened = OpenChain(Format(WAVE_FORMAT_MPEGLAYER3, 2, 8000, 8), bytes);
  ASSERT_EQ(opened.result, S_OK);
  EXPECT_EQ(opened.chain->Channels(), 1);
  std::vector<float> samples = Drain(opened);
  ASSERT_EQ(samples.size(), bytes.size());
  for (size_t i = 0; i < bytes.size(); ++i)
    ASSERT_EQ(samples[i] * 256.0f, bytes[i]);
  opened.chain->Seek(0);
  opened.chain->NextBlock(*opened.block);
  opened.chain->Seek(0);
  EXPECT_EQ(opened.decoder->flushes_, 2);
  EXPECT_EQ(Drain(opened), samples);
}

TEST(SourceChain, EndsCleanlyWhateverFailsAndTellsIt) {
  using Fault = FakeDecoder::Fault;
  struct Case {
    const char* name;
    Fault fault;
    size_t fail_at;
    size_t samples;
    HRESULT end;
  };
  const size_t never = std::numeric_limits<size_t>::max();
  const Case cases[] = {
      {"source fails in the middle", Fault::kNone, 2000, 2000, E_UNEXPECTED},
      {"source fails at once", Fault::kNone, 0, 0, E_UNEXPECTED},
      {"decoder takes nothing and gives nothing", Fault::kStuck, never, 0, E_FAIL},
      {"decoder never gives anything", Fault::kNeverOutput, never, 0, S_FALSE},
      {"decoder refuses every packet", Fault::kFailsInput, never, 0, E_FAIL},
      {"decoder fails at every packet", Fault::kFailsOutput, never, 0, E_FAIL},
      // Each packet gives one piece of 32, then the rest of it is skipped.
      {"decoder fails now and then", Fault::kFailsEverySecondOutput, never, 32 * 100, S_FALSE},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    Opened opened = OpenChain(Format(WAVE_FORMAT_MPEGLAYER3, 2, 8000, 8), Pattern(100000), c.fault);
    opened.source->fail_at_ = c.fail_at;
    EXPECT_EQ(Drain(opened).size(), c.samples);
    EXPECT_LE(opened.source->reads_, 102);
    const int reads = opened.source->reads_;
    EXPECT_EQ(opened.chain->NextBlock(*opened.block), c.end);
    EXPECT_EQ(opened.source->reads_, reads) << "what has ended is not asked again";
    EXPECT_EQ(opened.chain->Seek(1000000), E_INVALIDARG);
    EXPECT_EQ(opened.chain->NextBlock(*opened.block), S_FALSE) << "a seek to the end is none of its failures";
  }
  Opened refused = OpenChain(Format(2, 2, 8000, 4), Pattern(10));
  EXPECT_EQ(refused.result, E_NOTIMPL);
  EXPECT_EQ(refused.chain, nullptr);
  EXPECT_EQ(OpenChain(Format(1, 9, 44100, 16), Pattern(100)).result, E_NOTIMPL);
  Opened empty = OpenChain(Format(1, 2, 44100, 16), {});
  EXPECT_EQ(empty.chain->NextBlock(*empty.block), S_FALSE);
}

}  // namespace
}  // namespace melorin
