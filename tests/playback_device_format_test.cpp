// SPDX-License-Identifier: MIT
//
// What the devices decide without a sound card: identifiers, formats, buffers, volume words, ring
// bookkeeping.
#include "playback/device_format.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "playback/heard_position.h"
#include "playback/ring_account.h"
#include "sound/interfaces.h"

namespace melorin {
namespace {

TEST(DeviceId, PackedOrDirectSoundsOwn) {
  struct Case {
    const char* name;
    GUID id;
    int32_t kind;
    int32_t index;
  };
  const Case cases[] = {
      {"all zero is the wave mapper", {0, 0, 0, {}}, 0, 0},
      {"second waveOut entry", {0x00000002, 0, 0, {}}, 0, 2},
      {"default DirectSound", {0x00010000, 0, 0, {}}, 1, 0},
      {"ASIO 3", {0x00030003, 0, 0, {}}, 3, 3},
      {"no such kind", {0xFFFF0000, 0, 0, {}}, 0xFFFF, 0},
      {"byte 15 set", {0x00000001, 0, 0, {0, 0, 0, 0, 0, 0, 0, 1}}, 1, -1},
      {"byte 4 set", {0x00030001, 1, 0, {}}, 1, -1},
      {"byte 7 set", {0x00030001, 0, 0x100, {}}, 1, -1},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    const DeviceChoice choice = ParseDeviceId(c.id);
    EXPECT_EQ(choice.kind, c.kind);
    EXPECT_EQ(choice.index, c.index);
    EXPECT_TRUE(c.index != -1 || SameGuid(choice.guid, c.id));
  }
  EXPECT_EQ(ParseDeviceId(PackDeviceId(2, 7)).kind, 2);
  EXPECT_EQ(ParseDeviceId(PackDeviceId(2, 7)).index, 7);
  EXPECT_EQ(WaveOutNumber(0), -1);
}

TEST(OutputFormat, BitsFallBackTo16) {
  const uint32_t cases[][3] = {{0, 16, 16}, {0, 24, 24}, {0, 12, 16},  {0, 64, 16},   {0, 0, 16},
                               {8, 24, 8},  {32, 8, 32}, {20, 24, 16}, {65552, 8, 16}};
  for (const auto& c : cases)
    EXPECT_EQ(ChooseOutputBits(c[0], static_cast<uint16_t>(c[1])), c[2]) << c[0] << " over " << c[1];
}

TEST(OutputFormat, ExtensibleKeepsThePlainFormat) {
  WAVEFORMATEX plain = MakePcmFormat(6, 48000, 24);
  EXPECT_EQ(plain.nBlockAlign, 18);
  EXPECT_EQ(plain.nAvgBytesPerSec, 864000u);
  const WAVEFORMATEXTENSIBLE extensible = MakeExtensible(plain);
  EXPECT_EQ(extensible.Format.wFormatTag, 0xFFFE);
  EXPECT_EQ(extensible.Format.cbSize, 22);
  EXPECT_EQ(extensible.Format.nAvgBytesPerSec, plain.nAvgBytesPerSec);
  EXPECT_EQ(extensible.Samples.wValidBitsPerSample, 24);
  EXPECT_EQ(extensible.dwChannelMask, 0x3Fu);
  EXPECT_TRUE(SameGuid(extensible.SubFormat, WaveSubtype(1)));
  plain.wFormatTag = WAVE_FORMAT_IEEE_FLOAT;
  EXPECT_TRUE(SameGuid(MakeExtensible(plain).SubFormat, WaveSubtype(3)));
  // A mask has as many speakers as channels.
  for (uint16_t channels = 0; channels <= 8; ++channels) {
    int speakers = 0;
    for (uint32_t mask = ChannelMask(channels); mask; mask &= mask - 1)
      ++speakers;
    EXPECT_EQ(speakers, channels);
  }
  EXPECT_EQ(ChannelMask(9), 0u);
}

TEST(BufferPlan, HoldsWholeBlocks) {
  struct Case {
    const char* name;
    uint16_t channels, bits;
    uint32_t rate, duration_ms, float_block_bytes;
    uint32_t block_bytes, blocks;
  };
  const Case cases[] = {
      // 176400 wanted, 4384 a block: 40 blocks and 1040 bytes over, which is worth one more.
      {"a second of CD sound", 2, 16, 44100, 1000, 8768, 4384, 41},
      {"a remainder of 1023 is dropped", 1, 8, 10111, 1000, 8 * 1136, 2272, 4},
      {"a remainder of 1024 counts", 1, 8, 10112, 1000, 8 * 1136, 2272, 5},
      {"short durations count as 100 ms", 2, 16, 44100, 1, 1764, 882, 20},
      {"at least four blocks", 2, 16, 44100, 100, 65536, 32768, 4},
      {"absurd durations are cut", 2, 16, 44100, 0xFFFFFFFF, 8192, 4096, 65536},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    const BufferPlan plan =
        PlanBuffer(MakePcmFormat(c.channels, c.rate, c.bits), c.duration_ms, c.float_block_bytes);
    EXPECT_EQ(plan.block_bytes, c.block_bytes);
    EXPECT_EQ(plan.blocks, c.blocks);
    EXPECT_EQ(plan.Bytes(), c.block_bytes * c.blocks);
  }
}

TEST(Volume, WaveOutWords) {
  struct Case {
    int32_t volume, balance;
    uint32_t word;
  };
  const Case cases[] = {{100, 0, 0xFFFFFFFF},
                        {-1, 0, 0},
                        {0, 50, 0},
                        {100, 100, 0xFFFF0000},
                        {100, -100, 0x0000FFFF},
                        {100, 50, 0xFFFF7FFF},
                        {50, 0, 0x7FFF7FFF},
                        {50, -50, 0x3FFF7FFF},
                        {1, 0, 0x028F028F},
                        {200, 300, 0xFFFF0000}};
  for (const Case& c : cases)
    EXPECT_EQ(WaveOutVolumeWord(c.volume, c.balance), c.word) << c.volume << ' ' << c.balance;
}

TEST(Volume, DirectSoundDecibels) {
  const int32_t volumes[][2] = {{100, 0},    {50, -602},   {10, -2000}, {1, -4000},
                                {0, -10000}, {-1, -10000}, {150, 0}};
  for (const auto& c : volumes)
    EXPECT_EQ(DirectSoundVolume(c[0]), c[1]) << c[0];
  const int32_t pans[][2] = {{0, 0}, {50, 602}, {-50, -602}, {100, 10000}, {-100, -10000}, {500, 10000}};
  for (const auto& c : pans)
    EXPECT_EQ(DirectSoundPan(c[0]), c[1]) << c[0];
}

/// A looping buffer and a card that plays it: what it "hears" is compared with what was written.
class FakeRing {
 public:
  static constexpr uint32_t kBytes = 1000;
  static constexpr uint32_t kPerSecond = 1000;  // One round a second, one byte a millisecond.

  FakeRing() : memory_(kBytes, 0) {}
  void Run(uint32_t ms) {
    for (uint32_t i = 0; i < ms; ++i)
      heard_.push_back(memory_[static_cast<size_t>(played_++ % kBytes)]);
    tick_ += ms;
  }
  void Poll(uint32_t lead = 0) {
    const auto cursor = static_cast<uint32_t>(played_ % kBytes);
    account_.Update(cursor, (cursor + lead) % kBytes, tick_, true);
    Fill(account_.Stale(), 0);
    account_.Silenced();
  }
  void Write(uint32_t bytes) {
    const RingAccount::Span span = account_.NextWrite(bytes);
    ASSERT_EQ(span.bytes, bytes);
    for (uint32_t i = 0; i < bytes; ++i)
      memory_[(span.offset + i) % kBytes] = NextValue();
    account_.Written(bytes);
  }
  void Stall(uint32_t ms) { tick_ += ms; }

  RingAccount account_{kBytes, kPerSecond, 2};
  std::vector<uint8_t> heard_;
  uint32_t tick_ = 0xFFFFFF00;  // The tick count wraps soon.

 private:
  void Fill(RingAccount::Span span, uint8_t value) {
    for (uint32_t i = 0; i < span.bytes; ++i)
      memory_[(span.offset + i) % kBytes] = value;
  }
  uint8_t NextValue() { return static_cast<uint8_t>(1 + next_++ % 250); }

  std::vector<uint8_t> memory_;
  uint64_t played_ = 0;
  uint32_t next_ = 0;
};

TEST(RingAccount, PlaysEveryByteOnceAndInOrder) {
  FakeRing ring;
  ring.account_.Reset(ring.tick_);
  uint64_t written = 0;
  for (int step = 0; step < 400; ++step) {
    if (step > 0) ring.Poll(10);
    while (ring.account_.FreeBytes() >= 100 && written < 20000) {
      ring.Write(100);
      written += 100;
    }
    EXPECT_EQ(ring.account_.Played(), std::min<uint64_t>(written, static_cast<uint64_t>(step) * 70));
    ring.Run(70);
  }
  EXPECT_EQ(ring.account_.Played(), 20000u);
  for (size_t i = 0; i < ring.heard_.size(); ++i)
    ASSERT_EQ(ring.heard_[i], i < 20000 ? 1 + i % 250 : 0) << "at " << i;
}

TEST(RingAccount, SlowPollingCountsWholeRounds) {
  for (const uint32_t gap_ms : {998u, 1000u, 1002u, 2400u, 7350u}) {
    SCOPED_TRACE(gap_ms);
    FakeRing ring;
    ring.account_.Reset(ring.tick_);
    ring.Write(1000);
    ring.Run(500);
    ring.Poll();
    EXPECT_EQ(ring.account_.Played(), 500u);
    ring.Run(gap_ms);
    ring.Poll();
    // Everything written is over, and the next data goes before the cursor, not behind it.
    EXPECT_EQ(ring.account_.Played(), 1000u);
    const size_t from = ring.heard_.size();
    ring.Write(100);
    ring.Run(300);
    ring.Poll();
    EXPECT_EQ(ring.account_.Played(), 1100u);
    for (size_t i = 0; i < 300; ++i)
      ASSERT_EQ(ring.heard_[from + i], i < 100 ? 1 + i : 0) << "at " << i;
  }
}

TEST(RingAccount, LateWriterIsHeardAsSilenceNotAsALoop) {
  FakeRing ring;
  ring.account_.Reset(ring.tick_);
  ring.Write(300);
  for (int i = 0; i < 30; ++i) {
    ring.Run(100);
    ring.Poll(20);
  }
  for (size_t i = 300; i < ring.heard_.size(); ++i)
    ASSERT_EQ(ring.heard_[i], 0) << "at " << i;
  // After the underrun the data begins at the write cursor, and the position goes on where it was.
  EXPECT_EQ(ring.account_.Played(), 300u);
  EXPECT_EQ(ring.account_.FreeBytes(), 980u);
  ring.Write(100);
  ring.Run(70);
  ring.Poll(20);
  EXPECT_EQ(ring.account_.Played(), 350u);
  EXPECT_EQ(ring.account_.WrittenTotal(), 400u);
}

TEST(RingAccount, CursorThatStepsBackIsNoRound) {
  RingAccount account(1000, 1000, 2);
  account.NextWrite(800);
  account.Written(800);
  account.Update(400, 410, 400, true);
  account.Update(396, 406, 401, true);
  EXPECT_EQ(account.Played(), 400u);
  account.Update(410, 420, 410, true);
  EXPECT_EQ(account.Played(), 410u);
  EXPECT_EQ(account.FreeBytes(), 610u);
}

TEST(RingAccount, LostBufferCountsItsContentAsPlayed) {
  RingAccount account(1000, 1000, 2);
  account.NextWrite(800);
  account.Written(800);
  account.Update(400, 410, 400, true);
  account.Restart(0, 500);
  EXPECT_EQ(account.Played(), 800u);
  EXPECT_EQ(account.FreeBytes(), 1000u);
  EXPECT_EQ(account.NextWrite(100).offset, 0u);
  account.Written(100);
  account.Update(50, 60, 550, true);
  EXPECT_EQ(account.Played(), 850u);
}

TEST(HeardPosition, FollowsTheClockNotTheSteps) {
  HeardPosition heard(1000, 1, 40);  // A byte a millisecond.
  heard.Reset(0, false);
  EXPECT_EQ(heard.Estimate(0, 500), 0u);
  heard.SetRunning(true, 1000);
  // The platform reports a block of 100 as soon as it begins.
  EXPECT_EQ(heard.Estimate(100, 1000), 0u);
  EXPECT_EQ(heard.Estimate(100, 1060), 20u);
  EXPECT_EQ(heard.Estimate(200, 1100), 60u);
  // Starved: it stays where the platform is, less the latency, and does not step back.
  EXPECT_EQ(heard.Estimate(200, 2000), 160u);
  EXPECT_EQ(heard.Estimate(200, 3000), 160u);
  heard.SetRunning(false, 3000);
  EXPECT_EQ(heard.Estimate(300, 9000), 160u);
  // A fast card: never further behind than 200 ms and the latency.
  heard.SetRunning(true, 9000);
  EXPECT_EQ(heard.Estimate(5000, 9010), 4760u);
}

}  // namespace
}  // namespace melorin
