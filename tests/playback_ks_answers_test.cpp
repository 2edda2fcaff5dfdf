// SPDX-License-Identifier: MIT
//
// What Kernel Streaming drivers answer, honest and bent, and the position that is made of their offsets.
#include <gtest/gtest.h>

#include <cstring>
#include <limits>

#include "playback/device_format.h"
#include "playback/ks_data_range.h"
#include "playback/ks_position.h"
#include "sound/interfaces.h"

namespace melorin {
namespace {

constexpr GUID kAudio = {0x73647561, 0x0000, 0x0010, {0x80, 0x00, 0x00, 0xAA, 0x00, 0x38, 0x9B, 0x71}};
constexpr GUID kWave = {0x05589F81, 0xC356, 0x11CE, {0xBF, 0x01, 0x00, 0xAA, 0x00, 0x55, 0x59, 0x5A}};
constexpr GUID kOther = {1, 2, 3, {4}};
constexpr uint32_t kMany = 0xFFFFFFFF;

/// Little-endian bytes.
class Answer {
 public:
  Answer(uint32_t size, uint32_t count) { Add(size).Add(count); }
  Answer& Add(uint32_t value) { return Append(&value, sizeof value); }
  Answer& Add(const GUID& guid) { return Append(&guid, sizeof guid); }
  /// 84 bytes and 4 of padding.
  Answer& AddRange(uint32_t size, uint32_t flags, const GUID& major, const GUID& subformat,
                   const GUID& specifier, std::initializer_list<uint32_t> bounds) {
    Add(size).Add(flags).Add(0).Add(0).Add(major).Add(subformat).Add(specifier);
    for (const uint32_t bound : bounds)
      Add(bound);
    return Add(0);
  }
  Answer& AddPcm(uint32_t max_rate, uint32_t size = 84, uint32_t flags = 0) {
    return AddRange(size, flags, kAudio, WaveSubtype(1), kWave, {2, 8, 24, 8000, max_rate});
  }
  /// A copy of its own size, so that a read behind it is found out.
  std::vector<uint8_t> Cut(size_t size) const {
    return {bytes_.begin(), bytes_.begin() + static_cast<long>(size)};
  }
  operator std::span<const uint8_t>() const { return bytes_; }
  size_t Size() const { return bytes_.size(); }

 private:
  Answer& Append(const void* data, size_t size) {
    const auto* begin = static_cast<const uint8_t*>(data);
    bytes_.insert(bytes_.end(), begin, begin + size);
    return *this;
  }
  std::vector<uint8_t> bytes_;
};

std::vector<uint32_t> MaxRates(std::span<const uint8_t> answer) {
  std::vector<uint32_t> rates;
  for (const KsAudioRange& range : ParseKsDataRanges(answer))
    rates.push_back(range.max_rate);
  return rates;
}

using Rates = std::vector<uint32_t>;

TEST(KsAnswers, RangesAreReadAsFarAsTheyGo) {
  EXPECT_EQ(MaxRates(Answer(8 + 88 * 2, 2).AddPcm(48000).AddPcm(96000)), (Rates{48000, 96000}));
  EXPECT_EQ(MaxRates(Answer(8 + 88 * 2, 1).AddPcm(48000).AddPcm(96000)), Rates{48000}) << "the count holds";
  EXPECT_EQ(MaxRates(Answer(8 + 88, 2).AddPcm(48000).AddPcm(96000)), Rates{48000}) << "the size holds";
  EXPECT_EQ(MaxRates(Answer(kMany, kMany).AddPcm(48000).AddPcm(96000)), (Rates{48000, 96000}));
  EXPECT_EQ(MaxRates(Answer(8 + 88 * 2, 2).AddPcm(48000, kMany).AddPcm(96000)), Rates{48000});
  EXPECT_EQ(MaxRates(Answer(kMany, kMany).AddPcm(48000, 0)), Rates{}) << "too small for its bounds";
  EXPECT_EQ(MaxRates(Answer(7, 1).AddPcm(48000)), Rates{});
  EXPECT_EQ(MaxRates(Answer(96, 0).AddPcm(48000)), Rates{});
  // A list of attributes stands behind the range that it belongs to.
  EXPECT_EQ(
      MaxRates(Answer(kMany, 3).AddPcm(48000, 84, 2).Add(32).Add(1).Add(24).Add(0).Add(kOther).AddPcm(96000)),
      (Rates{48000, 96000}));
  const Answer two = Answer(8 + 88 * 2, 2).AddPcm(48000).AddPcm(96000);
  for (size_t size = 0; size < two.Size(); ++size) {
    const std::vector<uint8_t> cut = two.Cut(size);
    const size_t whole = size < 8 + 84 ? 0 : size < 8 + 88 + 84 ? 1 : 2;
    EXPECT_EQ(ParseKsDataRanges(cut).size(), whole) << size;
  }
}

TEST(KsAnswers, OnlyWaveAudioCounts) {
  const GUID any = {};
  const GUID pcm = WaveSubtype(1);
  const struct {
    const char* name;
    GUID major, subformat, specifier;
    std::initializer_list<uint32_t> bounds;
    bool counts, takes;
  } cases[] = {
      {"as usual", kAudio, pcm, kWave, {2, 16, 16, 44100, 44100}, true, true},
      {"wildcards", any, any, any, {kMany, 0, kMany, 0, kMany}, true, true},
      {"another width", kAudio, pcm, kWave, {2, 8, 8, 44100, 44100}, true, false},
      {"another rate", kAudio, pcm, kWave, {2, 16, 16, 48000, 48000}, true, false},
      {"mono", kAudio, pcm, kWave, {1, 16, 16, 44100, 44100}, true, false},
      {"float", kAudio, WaveSubtype(3), kWave, {2, 16, 32, 8000, 96000}, true, false},
      {"video", kOther, pcm, kWave, {2, 16, 16, 44100, 44100}, false, false},
      {"another record", kAudio, pcm, kOther, {2, 16, 16, 44100, 44100}, false, false},
      {"no channels", kAudio, pcm, kWave, {0, 16, 16, 44100, 44100}, false, false},
      {"rates the wrong way round", kAudio, pcm, kWave, {2, 16, 16, 96000, 8000}, false, false},
      {"widths the wrong way round", kAudio, pcm, kWave, {2, 24, 8, 8000, 96000}, false, false},
  };
  const WAVEFORMATEX format = MakePcmFormat(2, 44100, 16);
  const WAVEFORMATEXTENSIBLE extensible = MakeExtensible(format);
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    const auto ranges =
        ParseKsDataRanges(Answer(96, 1).AddRange(84, 0, c.major, c.subformat, c.specifier, c.bounds));
    ASSERT_EQ(ranges.size(), c.counts ? 1u : 0u);
    if (!c.counts) continue;
    EXPECT_EQ(KsRangeTakes(ranges[0], format), c.takes);
    EXPECT_EQ(KsRangeTakes(ranges[0], extensible.Format), c.takes);
  }
}

TEST(KsAnswers, IdentifiersAreFoundWithinTheAnswer) {
  const Answer list = Answer(8 + 48, 2).Add(kOther).Add(7).Add(0).Add(kAudio).Add(1).Add(0);
  EXPECT_TRUE(KsAnswerHasIdentifier(list, kOther, 7));
  EXPECT_TRUE(KsAnswerHasIdentifier(list, kAudio, 1));
  EXPECT_FALSE(KsAnswerHasIdentifier(list, kAudio, 7));
  EXPECT_FALSE(KsAnswerHasIdentifier(list.Cut(8 + 47), kAudio, 1));
  EXPECT_FALSE(
      KsAnswerHasIdentifier(Answer(56, 1).Add(kOther).Add(7).Add(0).Add(kAudio).Add(1).Add(0), kAudio, 1));
  EXPECT_FALSE(KsAnswerHasIdentifier(Answer(kMany, kMany).Add(kOther).Add(7).Add(0), kAudio, 1));
  EXPECT_FALSE(KsAnswerHasIdentifier({}, kAudio, 1));
}

TEST(KsAnswers, CapabilitiesJoinTheRanges) {
  const KsAudioRange ranges[] = {{WaveSubtype(1), 2, 16, 16, 44100, 48000},
                                 {WaveSubtype(3), 8, 32, 32, 8000, 384000},
                                 {WaveSubtype(1), kMany, 24, kMany, 96000, 96000}};
  const DeviceCapabilities found = KsCapabilities(ranges);
  EXPECT_EQ(found.min_rate, 44100u);
  EXPECT_EQ(found.max_rate, 96000u);
  EXPECT_EQ(found.min_bits, 16);
  EXPECT_EQ(found.max_bits, 32);
  EXPECT_EQ(found.max_channels, 8);
  EXPECT_EQ(found.rates, (Rates{44100, 48000, 96000})) << "not what lies between two ranges";
  EXPECT_EQ(found.bits, (std::vector<uint16_t>{16, 24, 32}));
  EXPECT_TRUE(KsCapabilities({}).rates.empty());
}

TEST(KsPosition, FollowsWhatCanBeTrue) {
  KsPosition position;
  position.Restart(1000);
  EXPECT_EQ(position.Get(), 0u);
  EXPECT_EQ(position.Update(1400, 800), 400u);
  EXPECT_EQ(position.Update(1300, 800), 400u) << "never back";
  EXPECT_EQ(position.Update(1400, 800), 400u) << "and not twice over the same stretch";
  EXPECT_EQ(position.Update(9000, 800), 400u) << "a slip";
  EXPECT_EQ(position.Update(1500, 800), 500u);
  EXPECT_EQ(position.Update(9000, 800), 500u);
  EXPECT_EQ(position.Update(9100, 800), 800u) << "it stays there, but never past what was written";
  for (uint64_t offset = 0; offset < 140; offset += 20)
    EXPECT_EQ(position.Update(offset, 2000), 800u) << "a driver that starts over";
  EXPECT_EQ(position.Update(200, 2000), 1000u) << "is believed at last, with all that it has played";
  EXPECT_EQ(position.Update(220, 2000), 1020u);

  position.Restart(0xFFFFFF00);
  EXPECT_EQ(position.Update(0x100, 4096), 512u) << "around 2^32";
  EXPECT_EQ(position.Update(0x200, 4096), 768u);
  position.Restart(0xFFFFFF00);
  EXPECT_EQ(position.Update(0x100000100, 4096), 512u) << "and beyond it";

  position.Restart(0);
  EXPECT_EQ(position.Update(uint64_t{5} << 32, uint64_t{6} << 32), uint64_t{5} << 32);
  position.Restart(std::numeric_limits<uint64_t>::max());
  for (int i = 0; i < 7; ++i)
    EXPECT_EQ(position.Update(5, 100), 0u);
  EXPECT_EQ(position.Update(25, 100), 20u);
}

}  // namespace
}  // namespace melorin
