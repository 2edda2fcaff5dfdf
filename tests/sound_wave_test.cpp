// SPDX-License-Identifier: MIT
//
// Wave files: which are refused, how sizes are clamped, seeks, and what the writer leaves behind.
#include <gtest/gtest.h>

#include <cstring>

#ifndef _WIN32
#include <sys/resource.h>

#include <csignal>
#endif

#include "sound/byte_stream.h"
#include "sound/wave_file.h"
#include "tests/sound_test_files.h"

namespace melorin {
namespace {

using test::Bytes;

void Put(Bytes& to, const char* tag) {
  to.insert(to.end(), tag, tag + 4);
}
void Put32(Bytes& to, uint32_t value) {
  for (int i = 0; i < 4; ++i)
    to.push_back(static_cast<uint8_t>(value >> (8 * i)));
}

struct Chunk {
  const char* tag;
  Bytes body;
  uint32_t size = 0xFFFFFFFE;  ///< What the header says; the body's size unless given.
};

Bytes Wave(const std::vector<Chunk>& chunks, const char* riff = "RIFF", const char* wave = "WAVE") {
  Bytes bytes;
  Put(bytes, riff);
  Put32(bytes, 0);
  Put(bytes, wave);
  for (const Chunk& chunk : chunks) {
    Put(bytes, chunk.tag);
    Put32(bytes, chunk.size == 0xFFFFFFFE ? static_cast<uint32_t>(chunk.body.size()) : chunk.size);
    bytes.insert(bytes.end(), chunk.body.begin(), chunk.body.end());
  }
  return bytes;
}

WAVEFORMATEX Pcm(uint32_t rate = 44100, uint16_t channels = 2, uint16_t bits = 16) {
  WAVEFORMATEX format{};
  format.wFormatTag = WAVE_FORMAT_PCM;
  format.nChannels = channels;
  format.nSamplesPerSec = rate;
  format.wBitsPerSample = bits;
  format.nBlockAlign = static_cast<WORD>(channels * bits / 8);
  format.nAvgBytesPerSec = rate * format.nBlockAlign;
  return format;
}

Bytes Body(const WAVEFORMATEX& format, size_t size) {
  Bytes body(size);
  std::memcpy(body.data(), &format, std::min(size, sizeof format));
  return body;
}

const Chunk kFormat{"fmt ", Body(Pcm(), 16)};

TEST(WaveOpen, RefusesWhatIsNotAWaveFileAndOpensWhatIs) {
  WAVEFORMATEX lying = Pcm();
  lying.cbSize = 500;
  struct Case {
    const char* name;
    Bytes bytes;
    HRESULT want;
    uint32_t data_bytes;
    uint16_t extra;
  };
  const Case cases[] = {
      {"plain", Wave({kFormat, {"data", Bytes(8)}}), S_OK, 8, 0},
      {"RIFX", Wave({kFormat, {"data", Bytes(8)}}, "RIFX"), E_FAIL, 0, 0},
      {"not WAVE", Wave({kFormat, {"data", Bytes(8)}}, "RIFF", "AVI "), E_FAIL, 0, 0},
      {"LIST first", Wave({{"LIST", Bytes(4)}, kFormat, {"data", Bytes(8)}}), E_FAIL, 0, 0},
      {"format of 14 bytes", Wave({{"fmt ", Body(Pcm(), 14)}, {"data", Bytes(8)}}), E_FAIL, 0, 0},
      {"format of 17 bytes", Wave({{"fmt ", Body(lying, 17)}, {"data", Bytes(8)}}), S_OK, 8, 0},
      {"extension longer than the body", Wave({{"fmt ", Body(lying, 20)}, {"data", Bytes(8)}}), S_OK, 8, 2},
      {"huge format", Wave({{"fmt ", Body(Pcm(), 16), 0xFFFFFFF0}, {"data", Bytes(8)}}), E_FAIL, 0, 0},
      {"no data chunk", Wave({kFormat, {"LIST", Bytes(4)}}), E_FAIL, 0, 0},
      {"chunk beyond the end", Wave({kFormat, {"LIST", Bytes(4), 400}, {"data", Bytes(8)}}), E_FAIL, 0, 0},
      {"odd chunk without pad byte", Wave({kFormat, {"LIST", Bytes(3)}, {"data", Bytes(8)}}), S_OK, 8, 0},
      {"odd chunk with pad byte", Wave({kFormat, {"LIST", Bytes(4), 3}, {"data", Bytes(8)}}), E_FAIL, 0, 0},
      {"streamed size", Wave({kFormat, {"data", Bytes(12), 0xFFFFFFFF}}), S_OK, 12, 0},
      {"size 0 with samples behind", Wave({kFormat, {"data", Bytes(12), 0}}), S_OK, 12, 0},
      {"empty data", Wave({kFormat, {"data", {}}}), S_OK, 0, 0},
      {"samples cut off", Wave({kFormat, {"data", Bytes(12), 100}}), S_OK, 12, 0},
      {"chunks behind the samples", Wave({kFormat, {"data", Bytes(8)}, {"LIST", Bytes(20)}}), S_OK, 8, 0},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    WaveReader reader;
    EXPECT_EQ(reader.Open(test::StreamOf(c.bytes).get()), c.want);
    if (c.want != S_OK || !reader.IsOpen()) continue;
    EXPECT_EQ(reader.DataBytes(), c.data_bytes);
    EXPECT_EQ(reader.Format().cbSize, c.extra);
  }
}

TEST(WaveOpen, EveryPrefixOfAFileEndsInAnAnswer) {
  const Bytes whole = Wave({{"fmt ", Body(Pcm(), 40)}, {"LIST", Bytes(9)}, {"data", Bytes(8)}});
  for (size_t length = 0; length < whole.size(); ++length) {
    HRESULT result = S_OK;
    const auto source = test::OpenWith(
        CreateWaveReader(), Bytes(whole.begin(), whole.begin() + static_cast<ptrdiff_t>(length)), 0, &result);
    if (source) {
      EXPECT_LE(test::ReadAll(*source).size(), 8u);
    } else {
      EXPECT_EQ(result, E_FAIL) << length;
    }
  }
}

TEST(WaveSource, DeliversTheSamplesAndSeeksToWholeBlocks) {
  Bytes samples(176400 / 10 + 3);  // a tenth of a second and part of a block
  for (size_t i = 0; i < samples.size(); ++i)
    samples[i] = static_cast<uint8_t>(i * 7);
  const auto source =
      test::OpenWith(CreateWaveReader(), Wave({kFormat, {"data", samples}, {"LIST", Bytes(50)}}));
  ASSERT_TRUE(source);
  EXPECT_EQ(test::DurationOf(*source), 100u);
  uint32_t read_size = 0;
  uint32_t bitrate = 0;
  source->GetReadSize(&read_size);
  source->GetBitrate(&bitrate);
  EXPECT_EQ(read_size, 8820u);
  EXPECT_EQ(bitrate, 1411200u);
  WideChar* name = nullptr;
  ASSERT_EQ(source->GetCodecName(&name), S_OK);
  EXPECT_EQ(std::u16string(AsChar16(name)), u"PCM|PCM Audio");
  CoTaskMemFree(name);

  EXPECT_EQ(test::ReadAll(*source, 1000), samples);
  const auto packet = test::BufferOf(100);
  EXPECT_EQ(source->Read(packet.get()), S_FALSE);
  // 33 ms are 5821.2 bytes: rounded to 5821, then down to the block.
  EXPECT_EQ(source->Seek(33), S_OK);
  EXPECT_EQ(test::ReadAll(*source), Bytes(samples.begin() + 5820, samples.end()));
  EXPECT_EQ(source->Seek(50), S_OK);
  EXPECT_EQ(source->Seek(101), E_INVALIDARG);
  EXPECT_EQ(source->Seek(0xFFFFFFFF), E_INVALIDARG);
  EXPECT_EQ(test::ReadAll(*source), Bytes(samples.begin() + 8820, samples.end()))
      << "a refused seek moves nothing";
}

TEST(WaveSource, SeekToTheDurationIsRefusedAndTheLastBlockIsReached) {
  const auto source =
      test::OpenWith(CreateWaveReader(), Wave({{"fmt ", Body(Pcm(1000), 16)}, {"data", Bytes(4000)}}));
  ASSERT_TRUE(source);
  EXPECT_EQ(source->Seek(999), S_OK);
  EXPECT_EQ(test::ReadAll(*source).size(), 4u);
  EXPECT_EQ(source->Seek(1000), E_INVALIDARG);
}

TEST(WaveSource, FormatsWithoutByteRateOpenButDoNotSeek) {
  WAVEFORMATEX format = Pcm();
  format.nAvgBytesPerSec = 0;
  const auto source =
      test::OpenWith(CreateWaveReader(), Wave({{"fmt ", Body(format, 16)}, {"data", Bytes(40)}}));
  ASSERT_TRUE(source);
  EXPECT_EQ(test::DurationOf(*source), 0xFFFFFFFFu);
  EXPECT_EQ(source->Seek(0), E_FAIL);
  uint32_t read_size = 0;
  source->GetReadSize(&read_size);
  EXPECT_EQ(read_size, 4u);
}

TEST(WaveSource, ExtensibleFormatsAreNamedByTheirSubFormat) {
  WAVEFORMATEXTENSIBLE format{};
  format.Format = Pcm();
  format.Format.wFormatTag = WAVE_FORMAT_EXTENSIBLE;
  format.Format.cbSize = 22;
  format.SubFormat = WaveSubtype(3);
  Bytes body(sizeof format);
  std::memcpy(body.data(), &format, sizeof format);
  const auto source = test::OpenWith(CreateWaveReader(), Wave({{"fmt ", body}, {"data", Bytes(40)}}));
  ASSERT_TRUE(source);
  WideChar* name = nullptr;
  ASSERT_EQ(source->GetCodecName(&name), S_OK);
  EXPECT_EQ(std::u16string(AsChar16(name)), u"IEEE|IEEE Audio");
  CoTaskMemFree(name);
}

TEST(WaveWriter, WhatItWritesTheReaderReads) {
  WAVEFORMATEX extended = Pcm(48000, 1, 24);
  struct Case {
    const char* name;
    uint16_t tag;
    uint32_t header_bytes;
    size_t data_bytes;
  };
  for (const Case& c : {Case{"PCM", 1, 44, 300}, Case{"float", 3, 46, 300}, Case{"odd", 1, 44, 303},
                        Case{"empty", 1, 44, 0}}) {
    SCOPED_TRACE(c.name);
    extended.wFormatTag = c.tag;
    auto stream = test::StreamOf({});
    Bytes samples(c.data_bytes, 0x5A);
    WaveWriter writer;
    ASSERT_EQ(writer.Open(stream.get(), extended), S_OK);
    ASSERT_EQ(writer.Write(samples.data(), static_cast<uint32_t>(samples.size() / 2)), S_OK);
    ASSERT_EQ(writer.Write(samples.data(), static_cast<uint32_t>(samples.size() - samples.size() / 2)), S_OK);
    ASSERT_EQ(writer.Close(), S_OK);
    EXPECT_EQ(writer.Close(), S_FALSE);
    const Bytes& file = stream->Content();
    EXPECT_EQ(file.size(), c.header_bytes + c.data_bytes + c.data_bytes % 2);
    uint32_t riff = 0;
    std::memcpy(&riff, file.data() + 4, 4);
    EXPECT_EQ(riff, file.size() - 8);
    WaveReader reader;
    ASSERT_EQ(reader.Open(stream.get()), S_OK);
    EXPECT_EQ(reader.DataBytes(), c.data_bytes);
    EXPECT_EQ(reader.DataStart(), c.header_bytes);
    EXPECT_EQ(reader.Format().wFormatTag, c.tag);
  }
}

TEST(WaveWriter, AFullDiskIsToldAndLeavesWholeBlocks) {
  auto full_at_once = ComPtr<test::MemoryStream>::Adopt(new test::MemoryStream({}, 30));
  WaveWriter refused;
  EXPECT_EQ(refused.Open(full_at_once.get(), Pcm()), E_FAIL);

  auto stream = ComPtr<test::MemoryStream>::Adopt(new test::MemoryStream({}, 44 + 10));
  WaveWriter writer;
  ASSERT_EQ(writer.Open(stream.get(), Pcm()), S_OK);
  const Bytes samples(16, 1);
  EXPECT_EQ(writer.Write(samples.data(), 16), E_FAIL);
  EXPECT_EQ(writer.Write(samples.data(), 16), E_FAIL);
  EXPECT_EQ(writer.Close(), S_OK);
  WaveReader reader;
  ASSERT_EQ(reader.Open(stream.get()), S_OK);
  EXPECT_EQ(reader.DataBytes(), 8u);
  EXPECT_EQ(stream->Content().size(), 52u);
}

#ifndef _WIN32
/// A disk that is full at so many bytes of a file, for as long as it lives.
class FileLimit {
 public:
  explicit FileLimit(rlim_t bytes) : old_handler_(std::signal(SIGXFSZ, SIG_IGN)) {
    getrlimit(RLIMIT_FSIZE, &old_limit_);
    const rlimit limit = {bytes, old_limit_.rlim_max};
    setrlimit(RLIMIT_FSIZE, &limit);
  }
  ~FileLimit() {
    setrlimit(RLIMIT_FSIZE, &old_limit_);
    std::signal(SIGXFSZ, old_handler_);
  }

 private:
  void (*old_handler_)(int);
  rlimit old_limit_;
};

// The samples that a real stream still holds when the disk is full must not count as written.
TEST(WaveWriter, AFullDiskUnderABufferLeavesWhatIsThere) {
  const auto path = std::filesystem::temp_directory_path() / "melorin_full_disk.wav";
  const Bytes samples(1000, 1);
  for (const size_t writes : {size_t{40}, size_t{80}}) {  // The last ones fail in Close, or in a Write.
    SCOPED_TRACE(writes);
    ComPtr<IStream> stream;
    ASSERT_EQ(ByteStream::Open(path.u16string(), STGM_READWRITE | STGM_CREATE, stream.Receive()), S_OK);
    HRESULT result = S_OK;
    HRESULT closed = S_OK;
    {
      const FileLimit limit(34002);
      WaveWriter writer;
      ASSERT_EQ(writer.Open(stream.get(), Pcm()), S_OK);
      for (size_t i = 0; i < writes && result == S_OK; ++i)
        result = writer.Write(samples.data(), 1000);
      closed = writer.Close();
      stream.Reset();
    }
    EXPECT_EQ(result, writes == 80 ? E_FAIL : S_OK);
    EXPECT_EQ(closed, writes == 80 ? S_OK : E_FAIL);
    const Bytes file = test::FileBytes(path);
    ASSERT_GT(file.size(), 32000u);
    uint32_t riff = 0;
    uint32_t data = 0;
    std::memcpy(&riff, file.data() + 4, 4);
    std::memcpy(&data, file.data() + 40, 4);
    EXPECT_EQ(riff, file.size() - 8);
    EXPECT_EQ(data, file.size() - 44);
    EXPECT_EQ(data % 4, 0u);
  }
  std::filesystem::remove(path);
}
#endif

}  // namespace
}  // namespace melorin
