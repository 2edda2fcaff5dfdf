// SPDX-License-Identifier: MIT
//
// The MPEG decoder against libmpg123 itself, after seeks, and on streams that are not what they say.
#include <gtest/gtest.h>
#include <mpg123.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <span>

#include "tests/sound_test_files.h"

namespace melorin {
namespace {

using test::Bytes;

/// The audio bytes fed to bare libmpg123 at once, with the same settings.
std::vector<float> ReferenceSamples(const Bytes& audio, const WAVEFORMATEX& format) {
  mpg123_init();
  mpg123_handle* handle = mpg123_new(nullptr, nullptr);
  mpg123_param2(handle, MPG123_ADD_FLAGS, MPG123_QUIET | MPG123_SKIP_ID3V2 | MPG123_GAPLESS, 0);
  mpg123_param2(handle, MPG123_RESYNC_LIMIT, -1, 0);
  mpg123_format_none(handle);
  mpg123_format(handle, static_cast<long>(format.nSamplesPerSec), format.nChannels, MPG123_ENC_FLOAT_32);
  mpg123_open_feed(handle);
  mpg123_feed(handle, audio.data(), audio.size());
  std::vector<float> all;
  std::vector<float> block(1 << 16);
  for (int errors = 0; errors < 100;) {
    size_t got = 0;
    const int status = mpg123_read(handle, block.data(), block.size() * sizeof(float), &got);
    all.insert(all.end(), block.begin(), block.begin() + static_cast<ptrdiff_t>(got / sizeof(float)));
    if (status == MPG123_NEED_MORE || status == MPG123_DONE) break;
    if (status == MPG123_ERR) ++errors;
  }
  mpg123_delete(handle);
  return all;
}

TEST(MpegDecode, CorpusFilesGiveTheSamplesOfBareLibmpg123) {
  const auto corpus = test::CorpusFolder();
  if (corpus.empty()) GTEST_SKIP() << "no corpus";
  int decoded = 0;
  for (const auto& file : std::filesystem::directory_iterator(corpus / "mp3")) {
    SCOPED_TRACE(file.path().filename().string());
    const auto source = test::OpenWith(CreateMpegReader(false), test::FileBytes(file.path()));
    if (!source) continue;
    WAVEFORMATEX out;
    const auto decoder = test::DecoderFor(*source, &out);
    ASSERT_TRUE(decoder);
    uint32_t in_bytes = 0;
    uint32_t out_bytes = 0;
    decoder->GetBufferSizes(&in_bytes, &out_bytes);
    const auto samples = test::DecodeRest(*source, *decoder, in_bytes, out_bytes);
    const auto again = test::OpenWith(CreateMpegReader(false), test::FileBytes(file.path()));
    const auto reference = ReferenceSamples(test::ReadAll(*again), out);
    EXPECT_EQ(samples.size(), reference.size());
    EXPECT_TRUE(samples == reference);
    ++decoded;
  }
  EXPECT_GT(decoded, 50);
}

/// A source and a decoder for it, with the decoder's sizes.
struct Player {
  explicit Player(const Bytes& file) : source(test::OpenWith(CreateMpegReader(false), file)) {
    if (source) decoder = test::DecoderFor(*source, &format);
    if (decoder) decoder->GetBufferSizes(&in_bytes, &out_bytes);
  }
  std::vector<float> Rest() { return test::DecodeRest(*source, *decoder, in_bytes, out_bytes); }
  void SeekTo(uint32_t ms) {
    ASSERT_EQ(source->Seek(ms), S_OK);
    ASSERT_EQ(decoder->Flush(), S_OK);
  }

  ComPtr<SoundSource> source;
  ComPtr<SoundDecoder> decoder;
  WAVEFORMATEX format{};
  uint32_t in_bytes = 0;
  uint32_t out_bytes = 0;
};

float Peak(std::span<const float> samples) {
  float peak = 0;
  for (const float sample : samples)
    peak = std::max(peak, std::abs(sample));
  return peak;
}

TEST(MpegDecode, ASeekGivesTheContinuousSamplesAfterOnePacketAndNothingLouder) {
  const auto corpus = test::CorpusFolder();
  if (corpus.empty()) GTEST_SKIP() << "no corpus";
  struct Case {
    const char* file;
    bool whole_at_start;  ///< The first frame takes no data from before the file.
  };
  const Case cases[] = {
      {"deadbeef__cbr_rhytm_30sec.mp3", true},  // MPEG-1 layer 3 mono
      {"minimp3__l3-sin1k0db.mp3", false},      // stereo, a full-scale sine
      {"tag__sample.id3v11.mp3", true},         // joint stereo
      {"minimp3__M2L3_compl24.mp3", true},      // MPEG-2
      {"minimp3__l2-fl10.mp2", true},           // layer 2
      {"minimp3__l1-fl7.mp1", true},            // layer 1
      {"mpg123__sweep.mp3", true},              // Xing header with delay and padding
  };
  for (const Case& c : cases) {
    const Bytes file = test::FileBytes(corpus / "mp3" / c.file);
    Player whole(file);
    ASSERT_TRUE(whole.decoder) << c.file;
    const auto all = whole.Rest();
    const WAVEFORMATEX in = test::FormatOf(*whole.source);
    const uint32_t channels = whole.format.nChannels;
    const auto per_ms = static_cast<double>(whole.format.nSamplesPerSec) * channels / 1000;
    for (const uint32_t percent : {0u, 1u, 13u, 37u, 50u, 71u, 88u}) {
      SCOPED_TRACE(testing::Message() << c.file << " at " << percent << " %");
      const uint32_t target_ms = test::DurationOf(*whole.source) * percent / 100;
      whole.SeekTo(0);
      if (c.whole_at_start) {
        EXPECT_TRUE(whole.Rest() == all);
      }
      whole.SeekTo(target_ms);
      const auto part = whole.Rest();
      ASSERT_LE(part.size(), all.size());
      const size_t from = all.size() - part.size();
      EXPECT_NEAR(static_cast<double>(from) / per_ms, target_ms, 100);
      const auto packet = static_cast<size_t>(per_ms * 1000 * whole.in_bytes / in.nAvgBytesPerSec);
      if (part.size() > packet) {
        const size_t equal_from = packet - packet % channels;
        size_t different = 0;
        for (size_t i = equal_from; i < part.size(); ++i)
          different += std::abs(part[i] - all[from + i]) > 1e-6f ? 1 : 0;
        EXPECT_EQ(different, 0u);
      }
      EXPECT_LE(Peak(part), Peak(all) * 1.0001f);
    }
  }
}

TEST(MpegDecode, IntegerOutputIsTheFloatOutputScaled) {
  const auto corpus = test::CorpusFolder();
  if (corpus.empty()) GTEST_SKIP() << "no corpus";
  Player floats(test::FileBytes(corpus / "mp3" / "tag__sample.id3v11.mp3"));
  ASSERT_TRUE(floats.decoder);
  const auto wanted = floats.Rest();
  Player integers(test::FileBytes(corpus / "mp3" / "tag__sample.id3v11.mp3"));
  const WAVEFORMATEX in = test::FormatOf(*integers.source);
  WAVEFORMATEX out{};
  out.wFormatTag = WAVE_FORMAT_PCM;
  ASSERT_EQ(integers.decoder->SetFormat(&in, &out), S_OK);
  EXPECT_EQ(out.wBitsPerSample, 32);
  EXPECT_EQ(out.nBlockAlign, out.nChannels * 4);
  EXPECT_EQ(out.nAvgBytesPerSec, out.nSamplesPerSec * out.nBlockAlign);
  const auto raw = integers.Rest();  // int32_t in the memory of floats
  ASSERT_EQ(raw.size(), wanted.size());
  for (size_t i = 0; i < raw.size(); ++i) {
    int32_t sample;
    std::memcpy(&sample, &raw[i], sizeof sample);
    ASSERT_NEAR(sample / 2147483648.0, wanted[i], 1e-4) << i;
  }
}

TEST(MpegDecode, TakesOnlyMpegFormatsAndTwoOutputTags) {
  ComPtr<SoundDecoder> decoder;
  ASSERT_EQ(CreateMpegDecoderEntry()->CreateDecoder(decoder.Receive()), S_OK);
  struct Case {
    uint16_t in_tag, channels;
    uint32_t rate;
    uint16_t out_tag;
    HRESULT want;
  };
  const Case cases[] = {
      {0x55, 2, 44100, 3, S_OK},
      {0x50, 1, 8000, 1, S_OK},
      {0x55, 2, 44100, 0xFFFE, E_INVALIDARG},
      {1, 2, 44100, 1, E_INVALIDARG},
      {0x55, 3, 44100, 1, E_INVALIDARG},
      {0x55, 0, 44100, 1, E_INVALIDARG},
      {0x55, 2, 44056, 1, E_INVALIDARG},
      {0x55, 2, 0, 1, E_INVALIDARG},
  };
  for (const Case& c : cases) {
    WAVEFORMATEX in{};
    in.wFormatTag = c.in_tag;
    in.nChannels = c.channels;
    in.nSamplesPerSec = c.rate;
    in.nAvgBytesPerSec = 80000;
    WAVEFORMATEX out{};
    out.wFormatTag = c.out_tag;
    EXPECT_EQ(decoder->SetFormat(&in, &out), c.want) << c.in_tag << ' ' << c.channels << ' ' << c.rate;
    if (c.want != S_OK) continue;
    uint32_t in_bytes = 0;
    uint32_t out_bytes = 0;
    EXPECT_EQ(decoder->GetBufferSizes(&in_bytes, nullptr), S_OK);
    EXPECT_EQ(decoder->GetBufferSizes(nullptr, &out_bytes), S_OK);
    EXPECT_EQ(in_bytes, 5000u);
    EXPECT_EQ(out_bytes, c.channels * 4u * 2304u);
  }
  const auto entry = CreateMpegDecoderEntry();
  const GUID mpeg2 = DvdSubtype(0xE06D802B);
  const GUID mp3 = WaveSubtype(0x55);
  const GUID mpa = WaveSubtype(0x50);
  const GUID pcm = WaveSubtype(1);
  EXPECT_EQ(entry->CanDecode(&mpeg2), S_OK);
  EXPECT_EQ(entry->CanDecode(&mp3), S_OK);
  EXPECT_EQ(entry->CanDecode(&mpa), S_OK);
  EXPECT_EQ(entry->CanDecode(&pcm), E_INVALIDARG);
}

TEST(MpegDecode, BrokenStreamsEndAndLeaveTheFormatAsItWas) {
  const auto corpus = test::CorpusFolder();
  if (corpus.empty()) GTEST_SKIP() << "no corpus";
  const Bytes file = test::FileBytes(corpus / "mp3" / "tag__sample.id3v11.mp3");
  const Bytes other = test::FileBytes(corpus / "mp3" / "deadbeef__cbr_rhytm_30sec.mp3");
  uint32_t random = 1;
  for (int round = 0; round < 8; ++round) {
    Bytes broken(file.begin(), file.begin() + 20000);
    // Bit flips, then another stream's format in the midst.
    for (int i = 0; i < 200; ++i) {
      random = random * 1664525 + 1013904223;
      broken[8000 + random % 8000] ^= static_cast<uint8_t>(random >> 24);
    }
    broken.insert(broken.end(), other.begin(), other.begin() + 5000 + round * 97);
    broken.insert(broken.end(), file.begin() + 20000, file.end());
    Player player(broken);
    ASSERT_TRUE(player.decoder);
    const auto samples = player.Rest();
    const double seconds =
        static_cast<double>(samples.size()) / player.format.nChannels / player.format.nSamplesPerSec;
    EXPECT_GT(seconds, 2.5) << round;
    EXPECT_LT(seconds, 5.5) << round;
  }
}

}  // namespace
}  // namespace melorin
