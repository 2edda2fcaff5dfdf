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
  static size_t ByteCount(uint64_t frames, const WAVEFORMATEX& format) {
    return static_cast<size_t>(frames) * format.nBlockAlign;
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
      if (number == 1) at = ByteCount(uint64_t{starts[0]} * format.nSamplesPerSec / 75, format);
      const Bytes samples = test::ReadAll(*track, number * 1000 + 7);
      EXPECT_EQ(FirstDifference(whole, at, samples), std::string::npos);
      const uint32_t length_ms = test::DurationOf(*track);
      for (const uint32_t percent : {70u, 0u, 97u}) {
        const uint32_t ms = length_ms * percent / 100;
        ASSERT_EQ(track->Seek(ms), S_OK) << ms;
        const size_t skipped = ByteCount(uint64_t{ms} * format.nSamplesPerSec / 1000, format);
        const Bytes rest = test::ReadAll(*track);
        // A length that counts the encoder's padding reaches a little behind the end.
        const size_t want = samples.size() - std::min(samples.size(), skipped);
        EXPECT_EQ(rest.size(), want) << percent;
        if (want == 0) continue;
        EXPECT_EQ(FirstDifference(whole, at + skipped, rest), std::string::npos) << percent;
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
    auto source = test::OpenFrom(library_, folder_.Path(name));
    if (!source || test::FormatOf(*source).wFormatTag != WAVE_FORMAT_MPEGLAYER3) continue;
    const uint32_t length = test::DurationOf(*source) * 75 / 1000;
    source.Reset();
    if (length < 40 || Whole(name).empty()) continue;
    ExpectExact(name, {0, length / 5, length / 3, length / 3 + 3, length * 3 / 4});
    ++files;
    folder_.Remove(name);
  }
  EXPECT_GT(files, 10);
}

TEST_F(CueSourceTest, FindsTheFileOfAMovedOrReencodedRip) {
  struct Case {
    const char* name;
    const char* sheet;
    const char* stated;
    std::vector<const char*> there;
    const char* want;
  };
  const Case cases[] = {
      {"as stated", "s.cue", "a.wav", {"a.wav", "a.mp3"}, "a.wav"},
      {"the folder is gone", "s.cue", "D:\\rips\\a.wav", {"a.wav"}, "a.wav"},
      {"encoded anew", "s.cue", "a.wav", {"b.wav", "a.mp3", "a.txt"}, "a.mp3"},
      {"encoded anew, letters", "s.cue", "Album.APE", {"album.MP3"}, "album.MP3"},
      {"the first by name", "s.cue", "a.ape", {"a.wav", "a.mp3"}, "a.mp3"},
      {"like the sheet", "s.cue", "CDImage.wav", {"s.mp3", "t.mp3"}, "s.mp3"},
      {"the sheet's name without its extension", "s.wav.cue", "CDImage.ape", {"s.wav"}, "s.wav"},
      {"never a sheet", "s.cue", "s.cue", {"t.mp3"}, nullptr},
      {"another sheet", "s.cue", "t.cue", {"t.cue"}, nullptr},
      {"nothing alike", "s.cue", "a.wav", {"b.wav"}, nullptr},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    folder_.Write(c.sheet, test::SheetOf(c.stated, {0}));
    for (const char* name : c.there)
      folder_.Write(name, "x");
    const std::string path = folder_.Path(c.sheet);
    const std::string found = FindCueAudio(library_, path, ReadCueFile(path), 0);
    EXPECT_EQ(std::filesystem::path(found).filename().string(), c.want ? c.want : "");
    for (const char* name : c.there)
      folder_.Remove(name);
    folder_.Remove(c.sheet);
  }
  // With several files the sheet's own name stands for none of them.
  folder_.Write("s.wav", "x");
  folder_.Write("s.cue", test::SheetOf("a.wav", {0}) + test::SheetOf("b.wav", {0}));
  EXPECT_EQ(FindCueAudio(library_, folder_.Path("s.cue"), ReadCueFile(folder_.Path("s.cue")), 0), "");
}

TEST_F(CueSourceTest, ListsTracksAndOpensThemByNumber) {
  folder_.Write("a.wav", test::NoiseWave(44100, 2, 44100 * 4));
  folder_.Write("s.cue", GbkFromUtf8("PERFORMER 王菲\nTITLE 专辑\n"
                                     "FILE a.wav WAVE\nTRACK 03 AUDIO\nTITLE 第一\nINDEX 01 00:00:00\n"
                                     "TRACK 04 MODE1/2352\nINDEX 01 00:01:00\n"
                                     "TRACK 05 AUDIO\nINDEX 01 00:01:30\n"
                                     "FILE missing.wav WAVE\nTRACK 06 AUDIO\nINDEX 01 00:00:00\n"
                                     "FILE a.wav WAVE\nTRACK 07 AUDIO\nINDEX 01 00:09:00\n"));
  const auto tracks = ReadSheetTracks(library_, folder_.Path("s.cue"));
  ASSERT_EQ(tracks.size(), 4u);
  EXPECT_EQ(tracks[0].title_gbk, GbkFromUtf8("第一"));
  struct Want {
    uint32_t number;
    int32_t ms;
    bool opens;
  };
  const Want wants[] = {{3, 1000, true}, {5, 7600, true}, {6, -2, false}, {7, 0, false}};
  for (size_t i = 0; i < 4; ++i) {
    SCOPED_TRACE(i);
    EXPECT_EQ(tracks[i].number, wants[i].number);
    EXPECT_EQ(tracks[i].duration_ms, wants[i].ms);
    const auto source = Track(tracks[i].number);
    ASSERT_EQ(source.get() != nullptr, wants[i].opens);
    if (!source) continue;
    EXPECT_EQ(test::DurationOf(*source), static_cast<uint32_t>(wants[i].ms));
    WideChar* text = nullptr;
    ASSERT_EQ(source->GetCodecName(&text), S_OK);
    EXPECT_EQ(std::u16string(AsChar16(text)), u"PCM|PCM Audio");
    CoTaskMemFree(text);
    ComPtr<TagSet> tags;
    ASSERT_EQ(source->QueryInterface(kIidTagSet, tags.ReceiveVoid()), S_OK);
    for (const auto& [name, value] : {std::pair{u"Artist", u"王菲"}, {u"Album", u"专辑"}}) {
      ASSERT_EQ(tags->GetValue(AsWide(name), &text), S_OK);
      EXPECT_EQ(std::u16string(AsChar16(text)), value);
      CoTaskMemFree(text);
    }
  }
  EXPECT_EQ(test::DurationOf(*Track(0)), 1000u) << "the first one";
  EXPECT_FALSE(Track(4)) << "data";
  EXPECT_FALSE(Track(1)) << "no such track";
  EXPECT_TRUE(ReadSheetTracks(library_, folder_.Path("none.cue")).empty());
}

}  // namespace
}  // namespace melorin
