// SPDX-License-Identifier: MIT
//
// The MPEG reader: headers, the frame scan, VBR headers, durations and seeks, on files built frame by frame.
#include <gtest/gtest.h>

#include "sound/mpeg_resync.h"
#include "sound/mpeg_scan.h"
#include "tests/mpeg_builder.h"
#include "tests/sound_test_files.h"
#include "tests/tags_build.h"

namespace melorin {
namespace {

using test::Bytes;
using test::FrameSpec;

constexpr FrameSpec kPlain{};  // 417 bytes, 26.12 ms
constexpr FrameSpec kFaster{.bitrate_index = 11};
constexpr FrameSpec kMono{.mode = 3};

Bytes Join(std::initializer_list<Bytes> parts) {
  Bytes all;
  for (const Bytes& part : parts)
    test::Append(all, part);
  return all;
}

TEST(MpegHeader, FrameLengthsOfTheStandards) {
  struct Case {
    FrameSpec spec;
    uint32_t bitrate, rate, bytes, samples;
  };
  const Case cases[] = {
      {{3, 3, 9, 0, 0, 0}, 128000, 44100, 417, 1152},   {{3, 3, 9, 0, 0, 1}, 128000, 44100, 418, 1152},
      {{3, 3, 14, 1, 0, 0}, 320000, 48000, 960, 1152},  {{3, 2, 14, 2, 0, 0}, 384000, 32000, 1728, 1152},
      {{3, 1, 14, 2, 0, 1}, 448000, 32000, 676, 384},   {{2, 3, 8, 0, 3, 0}, 64000, 22050, 208, 576},
      {{2, 2, 14, 2, 0, 0}, 160000, 16000, 1440, 1152}, {{2, 1, 1, 1, 0, 0}, 32000, 24000, 64, 384},
      {{0, 3, 1, 2, 0, 0}, 8000, 8000, 72, 576},        {{0, 2, 14, 2, 0, 1}, 160000, 8000, 2881, 1152},
  };
  for (const Case& c : cases) {
    const auto header = DecodeMpegHeader(test::Header(c.spec).data());
    ASSERT_TRUE(header);
    SCOPED_TRACE(c.bytes);
    EXPECT_EQ(header->bitrate, c.bitrate);
    EXPECT_EQ(header->rate, c.rate);
    EXPECT_EQ(header->frame_bytes, c.bytes);
    EXPECT_EQ(header->SamplesPerFrame(), c.samples);
  }
  for (const FrameSpec& bad : {FrameSpec{.version = 1}, FrameSpec{.layer = 4}, FrameSpec{.bitrate_index = 0},
                               FrameSpec{.bitrate_index = 15}, FrameSpec{.rate_index = 3}})
    EXPECT_FALSE(DecodeMpegHeader(test::Header(bad).data()));
}

std::optional<MpegScan> Scan(const Bytes& file, bool full = false, int count = 16) {
  Bytes storage(MpegWindow::kBytes);
  size_t at = 0;
  MpegWindow window(storage, 0, 0, [&](std::span<uint8_t> to) {
    const size_t taken = std::min(to.size(), file.size() - at);
    std::copy_n(file.begin() + static_cast<ptrdiff_t>(at), taken, to.begin());
    at += taken;
    return taken;
  });
  return ScanMpegFrames(window, count, full);
}

TEST(MpegScan, WhereTheAudioBegins) {
  Bytes stray(700);
  const auto header = test::Header(kPlain);
  std::copy(header.begin(), header.end(), stray.begin() + 100);  // no header follows it
  const Bytes plain = test::Frames(kPlain, 30);
  struct Case {
    const char* name;
    Bytes file;
    int64_t start;  // -1: none
    uint32_t rate;
  };
  const Case cases[] = {
      {"at once", plain, 0, 44100},
      {"behind garbage with a stray header", Join({stray, plain}), 700, 44100},
      {"behind more garbage than the window holds", Join({Bytes(100000), plain}), 100000, 44100},
      {"just inside the first megabyte", Join({Bytes(1048000), plain}), 1048000, 44100},
      {"too far", Join({Bytes(1048576 + 40000), plain}), -1, 0},
      {"behind a frame of another mode", Join({test::Frame(kMono), plain}), 417 + 417, 44100},
      {"behind a frame of another rate", Join({test::Frame({.rate_index = 1}), plain}), 384 + 417, 44100},
      {"another mode at the end only", Join({plain, test::Frame(kMono)}), 0, 44100},
      {"a change in the last accepted frame", Join({test::Frame(kMono), test::Frames(kPlain, 2)}), 417,
       44100},
      {"free format", Bytes(20000, 0xFF), -1, 0},
      {"nothing but zeros", Bytes(5000), -1, 0},
      {"one frame with nothing behind", test::Frame(kPlain), -1, 0},
      {"four bytes", Bytes(header), -1, 0},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    const auto scan = Scan(c.file);
    ASSERT_EQ(scan.has_value(), c.start >= 0);
    if (!scan) continue;
    EXPECT_EQ(static_cast<int64_t>(scan->start), c.start);
    EXPECT_EQ(scan->reference.rate, c.rate);
  }
}

TEST(MpegScan, OnlyTheFirstFramesDecideWhetherTheRateVaries) {
  EXPECT_FALSE(Scan(test::Frames(kPlain, 20))->vbr);
  EXPECT_TRUE(Scan(Join({test::Frames(kPlain, 10), test::Frames(kFaster, 10)}))->vbr);
  EXPECT_FALSE(Scan(Join({test::Frames(kPlain, 16), test::Frames(kFaster, 10)}))->vbr);
}

TEST(MpegScan, AFullScanRecordsTheFramesOfAVaryingStream) {
  const Bytes file = Join({test::Frames(kPlain, 3), test::Frames(kFaster, 6000), test::Frames(kPlain, 2)});
  const auto scan = Scan(file, true);
  ASSERT_TRUE(scan);
  // All but the reference itself and the last one, which nothing follows.
  ASSERT_EQ(scan->frames.byte_counts.size(), 6005u - 2);
  EXPECT_EQ(scan->frames.base_offset, 417u);
  EXPECT_EQ(scan->frames.byte_counts[1], 417u);
  EXPECT_EQ(scan->frames.byte_counts.back(), 2 * 417u + 6000 * 626u);
  EXPECT_TRUE(Scan(file, false)->frames.byte_counts.empty());
  EXPECT_TRUE(Scan(test::Frames(kPlain, 100), true)->frames.byte_counts.empty());
}

TEST(MpegVbr, WhichHeadersAreFound) {
  constexpr FrameSpec kLower{.version = 2, .bitrate_index = 8};
  constexpr FrameSpec kLayer2{.layer = 2};
  constexpr FrameSpec kLowerLayer2{.version = 2, .layer = 2, .bitrate_index = 8};
  struct Case {
    const char* name;
    FrameSpec spec;
    size_t offset;
    uint32_t flags;
    uint32_t frames;
    bool found;
  };
  const Case cases[] = {
      {"MPEG-1 layer 3", kPlain, 36, 15, 100, true},
      {"MPEG-1 layer 3 mono, where encoders put it", kMono, 21, 7, 100, false},
      {"MPEG-1 layer 3 mono at 36", kMono, 36, 7, 100, true},
      {"MPEG-1 layer 2", kLayer2, 21, 7, 100, true},
      {"MPEG-2 layer 3", kLower, 21, 7, 100, true},
      {"MPEG-2 layer 2", kLowerLayer2, 13, 7, 100, true},
      {"without table", kPlain, 36, 3, 100, false},
      {"without frame count", kPlain, 36, 6, 100, false},
      {"no frames", kPlain, 36, 7, 0, false},
      {"table without sizes", kPlain, 36, 5, 100, true},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    const auto frame = test::XingFrame(c.spec, c.offset, c.flags, c.frames, 5000);
    const auto scan = Scan(Join({frame, test::Frames(c.spec, 20)}));
    ASSERT_TRUE(scan);
    EXPECT_EQ(scan->header.xing.has_value(), c.found);
    EXPECT_EQ(scan->vbr, c.found);
  }
  Bytes info = test::XingFrame(kPlain, 36, 7, 100, 5000);
  test::PutText(info, 36, "Info");
  EXPECT_FALSE(Scan(Join({info, test::Frames(kPlain, 20)}))->vbr);
}

TEST(MpegVbr, VbriTablesAreOneEntryLongerThanTheySay) {
  const auto frame = test::VbriFrame(kPlain, 200, 2, 2, 50, {100, 200, 300, 400});
  const auto vbri = ParseVbri(frame);
  ASSERT_TRUE(vbri);
  EXPECT_EQ(vbri->entries, (std::vector<uint32_t>{100, 200, 300, 400}));
  const auto header = *DecodeMpegHeader(frame.data());
  const auto ms_of = [](uint32_t number) { return (number * 1152 * 1000 + 44099) / 44100; };
  EXPECT_EQ(VbriOffset(*vbri, header, 0), 0u);
  EXPECT_EQ(VbriOffset(*vbri, header, ms_of(25)), 100u);
  EXPECT_EQ(VbriOffset(*vbri, header, ms_of(50)), 200u);
  EXPECT_EQ(VbriOffset(*vbri, header, ms_of(75)), 400u);
  EXPECT_EQ(VbriOffset(*vbri, header, ms_of(5000)), 2000u);

  for (const uint32_t entry_bytes : {0u, 5u}) {
    Bytes bad = frame;
    test::PutBe(bad, 58, entry_bytes, 2);
    EXPECT_FALSE(ParseVbri(bad)) << entry_bytes;
  }
  Bytes large = frame;
  test::PutBe(large, 54, 0xFFFF, 2);
  EXPECT_FALSE(ParseVbri(large)) << "the table must be there";
  for (size_t length = 0; length < 70; ++length)
    ParseVbri(std::span(frame).first(length));
  const Bytes xing_frame = test::XingFrame(kPlain, 36, 15, 5, 5);
  for (size_t length = 0; length < 180; ++length)
    ParseXing(header, std::span(xing_frame).first(length));
}

TEST(MpegVbr, XingSeeksGoThroughTheTable) {
  XingHeader xing;
  xing.frames = 1000;
  for (uint32_t i = 0; i < 100; ++i)
    xing.toc[i] = static_cast<uint8_t>(i < 50 ? i : 50 + (i - 50) * 4);
  EXPECT_EQ(XingSeekOffset(xing, 256000, 0, 10000), 0u);
  EXPECT_EQ(XingSeekOffset(xing, 256000, 2500, 10000), 25000u);
  EXPECT_EQ(XingSeekOffset(xing, 256000, 2550, 10000), 25500u) << "between two entries";
  EXPECT_EQ(XingSeekOffset(xing, 256000, 7500, 10000), 150000u);
  EXPECT_EQ(XingSeekOffset(xing, 256000, 9950, 10000), 251000u) << "the last entry reaches to the end";
  xing.bytes = 512000;
  EXPECT_EQ(XingSeekOffset(xing, 256000, 2500, 10000), 50000u) << "the header's size counts";
  EXPECT_EQ(XingSeekOffset({.frames = 1, .bytes = 0xFFFFFFFF, .toc = {255}}, 0, 0, 10), 0xFEFFFFFFu);
}

TEST(MpegSource, DurationBitRateAndFormat) {
  const auto reader = CreateMpegReader(false);
  const auto constant = test::OpenWith(reader, test::Frames(kPlain, 100));
  ASSERT_TRUE(constant);
  EXPECT_EQ(test::DurationOf(*constant), 41700u * 1000 / 16000);
  const WAVEFORMATEX format = test::FormatOf(*constant);
  EXPECT_EQ(format.wFormatTag, 0x55);
  EXPECT_EQ(format.nAvgBytesPerSec, 16000u);
  EXPECT_EQ(format.nBlockAlign, 1);
  EXPECT_EQ(format.wBitsPerSample, 16);
  uint32_t size = 0;
  constant->GetReadSize(&size);
  EXPECT_EQ(size, 1600u);
  WideChar* name = nullptr;
  ASSERT_EQ(constant->GetCodecName(&name), S_OK);
  EXPECT_EQ(std::u16string(AsChar16(name)), u"MP3|MPEG 1 - Layer 3");
  CoTaskMemFree(name);

  // All frames alike, yet the header makes it a varying one: 1000 frames last 26122 ms.
  const auto with_header =
      test::OpenWith(reader, Join({test::XingFrame(kPlain, 36, 7, 1000, 0), test::Frames(kPlain, 99)}));
  EXPECT_EQ(test::DurationOf(*with_header), 26122u);
  EXPECT_EQ(test::FormatOf(*with_header).nAvgBytesPerSec, 41700u * 1000 / 26122);

  // A frame count that no time can hold is not believed.
  const auto absurd =
      test::OpenWith(reader, Join({test::XingFrame(kPlain, 36, 7, 0xFFFFFFFF, 0), test::Frames(kPlain, 99)}));
  EXPECT_EQ(test::DurationOf(*absurd), 41700u * 1000 / 16000);
}

TEST(MpegSource, SeeksAndReadsStayInsideTheAudio) {
  Bytes file = test::Frames(kPlain, 100);
  Bytes tag(128);
  test::PutText(tag, 0, "TAG");
  const auto source = test::OpenWith(CreateMpegReader(false), Join({Bytes(300), file, tag}));
  ASSERT_TRUE(source);
  EXPECT_EQ(test::ReadAll(*source, 777), file);
  const auto packet = test::BufferOf(100);
  EXPECT_EQ(source->Read(packet.get()), S_FALSE);
  const uint32_t duration = test::DurationOf(*source);
  EXPECT_EQ(source->Seek(duration / 2), S_OK);
  EXPECT_EQ(test::ReadAll(*source).size(), 41700 - uint64_t{duration / 2} * 41700 / duration);
  EXPECT_EQ(source->Seek(0), S_OK);
  EXPECT_EQ(source->Seek(duration), E_INVALIDARG);
  EXPECT_EQ(source->Read(packet.get()), S_FALSE) << "a refused seek leaves the position at the end";
}

TEST(MpegSource, AFullScanTimesAndSeeksByFrames) {
  const Bytes file = Join({test::Frames(kPlain, 500), test::Frames(kFaster, 500), test::Frames(kPlain, 3)});
  EXPECT_FALSE(Scan(file)->vbr);
  const Bytes varying =
      Join({test::Frames(kPlain, 5), test::Frames(kFaster, 600), test::Frames(kPlain, 400)});
  const auto source = test::OpenWith(CreateMpegReader(false), varying, 1);
  ASSERT_TRUE(source);
  EXPECT_EQ(test::DurationOf(*source), 26201u);  // 1003 frames
  // Frame 605 is the first of the slow ones behind.
  ASSERT_EQ(source->Seek(605 * 1152 * 10 / 441 + 1), S_OK);
  EXPECT_EQ(test::ReadAll(*source).size(), 400u * 417);
}

TEST(MpegSource, TheUserChoosesWhichTagsCount) {
  using namespace std::string_literals;
  const std::string id3 = tag_build::Id3v2(3, tag_build::Frame(3, "TIT2", "\0Id3"s));
  const std::string ape = tag_build::Ape({tag_build::ApeItem("Title", "Ape")});
  const auto bytes = [](const std::string& text) { return Bytes(text.begin(), text.end()); };
  const Bytes file = Join({bytes(id3), test::Frames(kPlain, 20), bytes(ape)});
  const auto title = [&](TagPriority priority) {
    SetUsersTagPriority(priority);
    const auto source = test::OpenWith(CreateMpegReader(false), file);
    ComPtr<TagSet> tags;
    WideChar* value = nullptr;
    if (!source || source->QueryInterface(kIidTagSet, tags.ReceiveVoid()) != S_OK ||
        tags->GetValue(AsWide(u"Title"), &value) != S_OK)
      return std::u16string();
    const std::u16string text(AsChar16(value));
    CoTaskMemFree(value);
    return text;
  };
  EXPECT_EQ(title(TagPriority::kApeFirst), u"Ape");
  EXPECT_EQ(title(TagPriority::kId3v2First), u"Id3");
}

TEST(MpegSource, UnopenedSourcesAndNullPointersAreTold) {
  ComPtr<SoundSource> source;
  ASSERT_EQ(CreateMpegReader(true)->CreateSource(source.Receive()), S_OK);
  uint32_t value = 0;
  EXPECT_EQ(source->Open(nullptr, 0), E_POINTER);
  EXPECT_EQ(source->GetDuration(nullptr), E_POINTER);
  EXPECT_EQ(source->GetDuration(&value), E_FAIL);
  EXPECT_EQ(source->Read(nullptr), E_POINTER);
  EXPECT_EQ(source->Seek(0), E_FAIL);
  HRESULT result = S_OK;
  EXPECT_FALSE(test::OpenWith(CreateMpegReader(false), {}, 0, &result));
  EXPECT_EQ(result, E_FAIL);
}

TEST(MpegResync, FramesThatLackTheirDataAreCounted) {
  const auto frame = [](uint32_t main_data_begin) {
    Bytes bytes = test::Frame(kPlain);
    bytes[4] = static_cast<uint8_t>(main_data_begin >> 1);
    bytes[5] = static_cast<uint8_t>(main_data_begin << 7);
    return bytes;
  };
  struct Case {
    const char* name;
    Bytes bytes;
    uint32_t want;
  };
  const Case cases[] = {
      {"needs nothing", Join({Bytes(50), frame(0), frame(0), frame(0)}), 1},
      {"one frame lacks data", Join({Bytes(50), frame(100), frame(381), frame(0)}), 2},
      {"two frames lack data", Join({Bytes(50), frame(100), frame(382), frame(511)}), 3},
      {"undecided: as many as can be", Join({Bytes(50), frame(100)}), 3},
      {"no frame", Bytes(500), 0},
  };
  for (const Case& c : cases)
    EXPECT_EQ(FramesToMute(c.bytes), c.want) << c.name;
  EXPECT_TRUE(BeginsCleanly(frame(0)));
  EXPECT_FALSE(BeginsCleanly(frame(1)));
  EXPECT_FALSE(BeginsCleanly(Bytes(50)));
}

}  // namespace
}  // namespace melorin
