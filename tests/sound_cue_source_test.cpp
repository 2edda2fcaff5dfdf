// SPDX-License-Identifier: MIT
//
// Tracks of a sheet as sources: the very samples of the whole file, from seeks too; the file that is found
// for a sheet; lengths and tags.
#include <gtest/gtest.h>

#include "sound/cue_files.h"
#include "sound/mpeg_header.h"
#include "sound/pcm_stream.h"
#include "tests/cue_test_files.h"
#include "tests/mpeg_builder.h"

namespace melorin {
namespace {

using test::Bytes;

class CueSourceTest : public testing::Test {
 protected:
  void SetUp() override { ASSERT_EQ(library_.Start(""), S_OK); }

  ComPtr<SoundSource> Track(uint32_t number, const char* sheet = "s.cue") {
    return test::OpenFrom(library_, folder_.Path(sheet), SubtrackFlags(number));
  }
  /// What playing the whole file gives: the packets of a Wave file, the decoder's output for others.
  Bytes Whole(const std::string& name) {
    const auto source = test::OpenFrom(library_, folder_.Path(name));
    if (!source) return {};
    if (test::FormatOf(*source).wFormatTag != WAVE_FORMAT_MPEGLAYER3) return test::ReadAll(*source);
    WAVEFORMATEX out;
    const auto decoder = test::DecoderFor(*source, &out);
    uint32_t in_bytes = 0;
    uint32_t out_bytes = 0;
    decoder->GetBufferSizes(&in_bytes, &out_bytes);
    const auto samples = test::DecodeRest(*source, *decoder, in_bytes, out_bytes);
    const auto* bytes = reinterpret_cast<const uint8_t*>(samples.data());
    return Bytes(bytes, bytes + samples.size() * sizeof(float));
  }
  /// The first place where the track's bytes differ from those of the whole from `at` on; npos when they do
  /// not.
  static size_t FirstDifference(const Bytes& whole, size_t at, const Bytes& part) {
    if (at + part.size() > whole.size()) return whole.size();
    const auto place = std::mismatch(part.begin(), part.end(), whole.begin() + static_cast<ptrdiff_t>(at));
    return place.first == part.end() ? std::string::npos : static_cast<size_t>(place.first - part.begin());
  }

  /// All tracks in a row, then seeks in each, compared with the whole file.
  void ExpectExact(const std::string& file, const std::vector<uint32_t>& starts) {
    SCOPED_TRACE(file);
    folder_.Write("s.cue", test::SheetOf(file, starts));
    const Bytes whole = Whole(file);
    ASSERT_FALSE(whole.empty());
    size_t at = 0;
    for (uint32_t number = 1; number <= starts.size(); ++number) {
      SCOPED_TRACE(number);
      const auto track = Track(number);
      ASSERT_TRUE(track);
      const WAVEFORMATEX format = test::FormatOf(*track);
      if (number == 1) at = starts[0] * uint64_t{format.nSamplesPerSec} / 75 * format.nBlockAlign;
      const Bytes samples = test::ReadAll(*track, number * 1000 + 7);
      EXPECT_EQ(FirstDifference(whole, at, samples), std::string::npos);
      const uint32_t length_ms = test::DurationOf(*track);
      for (const uint32_t percent : {70u, 0u, 97u}) {
        const uint32_t ms = length_ms * percent / 100;
        ASSERT_EQ(track->Seek(ms), S_OK) << ms;
        const size_t skipped = size_t{uint64_t{ms} * format.nSamplesPerSec / 1000} * format.nBlockAlign;
        const Bytes rest = test::ReadAll(*track);
        // A length that counts the encoder's padding reaches a little behind the end.
        const size_t want = samples.size() - std::min(samples.size(), skipped);
        EXPECT_EQ(rest.size(), want) << percent;
        if (want > 0) EXPECT_EQ(FirstDifference(whole, at + skipped, rest), std::string::npos) << percent;
      }
      EXPECT_EQ(track->Seek(length_ms), E_INVALIDARG);
      EXPECT_TRUE(test::ReadAll(*track).empty());
      at += samples.size();
    }
    EXPECT_EQ(at, whole.size());
  }

  test::ScratchFolder folder_{"cue_source"};
  SoundLibrary library_;
};

TEST_F(CueSourceTest, TracksOfAWaveFileAreItsSamples) {
  folder_.Write("a.wav", test::NoiseWave(44100, 2, 44100 * 3 + 17));
  ExpectExact("a.wav", {0, 31, 32, 150});
  // 75 does not divide these rates, and the samples are odd in number.
  folder_.Write("b.wav", test::NoiseWave(11025, 1, 30011));
  ExpectExact("b.wav", {0, 1, 100, 101});
  ExpectExact("b.wav", {40, 90});
}

/// A stream long enough to be entered in the midst: the frames of a short one over and over, behind its one
/// header frame, which counts them all.
Bytes Lengthened(const Bytes& seed, uint32_t times) {
  size_t start = std::equal(seed.begin(), seed.begin() + 3, "ID3") ? size_t{10} + seed[9] : 0;
  const MpegHeader first = *DecodeMpegHeader(seed.data() + start);
  Bytes file;
  size_t body = start;
  for (const char* tag : {"Xing", "Info"}) {
    const auto at = std::search(seed.begin(), seed.end(), tag, tag + 4);
    if (at == seed.end()) continue;
    body += first.frame_bytes;
    file.assign(seed.begin() + static_cast<ptrdiff_t>(start), seed.begin() + static_cast<ptrdiff_t>(body));
    const auto count = static_cast<size_t>(at - seed.begin()) - start + 8;
    test::PutBe(file, count, file[count + 3] * times, 4);
  }
  size_t end = body;
  while (end + 4 <= seed.size()) {
    const auto header = DecodeMpegHeader(seed.data() + end);
    if (!header || end + header->frame_bytes > seed.size()) break;
    end += header->frame_bytes;
  }
  for (uint32_t i = 0; i < times; ++i)
    file.insert(file.end(), seed.begin() + static_cast<ptrdiff_t>(body),
                seed.begin() + static_cast<ptrdiff_t>(end));
  return file;
}

TEST_F(CueSourceTest, TracksOfMpegFilesAreTheSamplesOfTheUnbrokenDecode) {
  const auto seeds = std::filesystem::path(MELORIN_SOURCE_DIR) / "fuzz" / "seeds" / "mpeg";
  for (const char* name : {"layer2.mp2", "mono_vbr.mp3", "vbr.mp3"}) {
    folder_.Write(name, Lengthened(test::FileBytes(seeds / name), 60));
    ExpectExact(name, {0, 75, 200, 301, 420});
  }
  const auto corpus = test::CorpusFolder();
  if (corpus.empty()) GTEST_SKIP() << "no corpus";
  // Not exact: a stream whose sampling rate changes, one with frames that cannot be decoded (what comes later
  // is off by one in the last place), and a file that ends before its header says.
  const std::string_view left_out[] = {"minimp3__l3-nonstandard-he_44_48khz.mp3", "minimp3__l3-test46.mp3",
                                       "mutagen__apev2-lyricsv2.mp3"};
  int files = 0;
  for (const auto& entry : std::filesystem::directory_iterator(corpus / "mp3")) {
    const std::string name = entry.path().filename().string();
    if (std::find(std::begin(left_out), std::end(left_out), name) != std::end(left_out)) continue;
    folder_.Write(name, test::FileBytes(entry.path()));
    const auto source = test::OpenFrom(library_, folder_.Path(name));
    if (!source || test::FormatOf(*source).wFormatTag != WAVE_FORMAT_MPEGLAYER3) continue;
    const uint32_t length = test::DurationOf(*source) * 75 / 1000;
    if (length < 40 || Whole(name).empty()) continue;
    ExpectExact(name, {0, length / 5, length / 3, length / 3 + 3, length * 3 / 4});
    ++files;
    folder_.Remove(name);
  }
  EXPECT_GT(files, 10);
}

}  // namespace
}  // namespace melorin
