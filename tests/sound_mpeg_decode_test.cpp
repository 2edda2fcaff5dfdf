// SPDX-License-Identifier: MIT
//
// The MPEG decoder against libmpg123 itself, after seeks, and on streams that are not what they say.
#include <gtest/gtest.h>
#include <mpg123.h>

#include <algorithm>
#include <cmath>
#include <cstring>

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

}  // namespace
}  // namespace melorin
