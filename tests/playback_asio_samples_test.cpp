// SPDX-License-Identifier: MIT
//
// What ASIO drivers are fed with: their sample types, their buffer sizes, and the ring between two threads.
#include "playback/asio_samples.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>
#include <thread>
#include <vector>

#include "playback/asio_feed.h"
#include "playback/device_format.h"

namespace melorin {
namespace {

/// Reads a sample back by the description of its type, as a number of full scale 1.
double ValueOf(const uint8_t* sample, int32_t type) {
  const bool big_endian = type < 16;
  const int32_t kind = type % 16;
  const size_t bytes = kind == 0 ? 2 : kind == 1 ? 3 : kind == 4 ? 8 : 4;
  uint64_t raw = 0;
  for (size_t i = 0; i < bytes; ++i)
    raw |= uint64_t{sample[big_endian ? bytes - 1 - i : i]} << (8 * i);
  if (kind == 3) return std::bit_cast<float>(static_cast<uint32_t>(raw));
  if (kind == 4) return std::bit_cast<double>(raw);
  const int bits[] = {16, 24, 32, 0, 0, 0, 0, 0, 16, 18, 20, 24};
  const auto value = static_cast<int64_t>(raw << (64 - 8 * bytes)) >> (64 - 8 * bytes);
  return std::ldexp(static_cast<double>(value), 1 - bits[kind]);
}

int WidthOf(int32_t type) {
  const int widths[] = {16, 24, 32, 24, 32, 0, 0, 0, 16, 18, 20, 24};  // Of a float: its exact integers.
  return widths[type % 16];
}

/// Bits of PCM: value, of full scale 1, to bytes.
std::vector<uint8_t> Pcm(double value, uint16_t bits) {
  const auto number = static_cast<int64_t>(std::floor(std::ldexp(value, bits - 1)));
  std::vector<uint8_t> bytes;
  for (int i = 0; i < bits / 8; ++i)
    bytes.push_back(static_cast<uint8_t>(number >> (8 * i)));
  if (bits == 8) bytes[0] ^= 0x80;
  return bytes;
}

TEST(AsioSamples, EveryWidthInEveryType) {
  const double values[] = {0, 0.5, -0.5, -1, 1 - std::ldexp(1, -31), 0.3, -0.7, std::ldexp(1, -15)};
  for (int32_t type = -2; type < 48; ++type) {
    SCOPED_TRACE(type);
    AsioSampleLayout layout;
    const int32_t kind = type % 16;
    const bool known = type >= 0 && type < 32 && (kind <= 4 || (kind >= 8 && kind <= 11));
    ASSERT_EQ(LayoutOfAsioType(type, &layout), known);
    if (!known) continue;
    for (const uint16_t bits : {uint16_t{8}, uint16_t{16}, uint16_t{24}, uint16_t{32}}) {
      SCOPED_TRACE(bits);
      // Two channels, more frames than are converted at a time; the second channel is looked at.
      std::vector<uint8_t> pcm;
      const size_t frames = 600;
      for (size_t i = 0; i < frames; ++i) {
        pcm.insert(pcm.end(), bits / 8u, 0x77);
        const std::vector<uint8_t> sample = Pcm(values[i % std::size(values)], bits);
        pcm.insert(pcm.end(), sample.begin(), sample.end());
      }
      std::vector<uint8_t> out(frames * layout.bytes + 1, 0xEE);
      StoreAsioChannel(pcm.data() + bits / 8, bits, bits / 4u, frames, layout, out.data());
      EXPECT_EQ(out.back(), 0xEE);
      const double step = std::ldexp(1, 1 - WidthOf(type));
      for (size_t i = 0; i < frames; ++i) {
        const double given =
            std::ldexp(std::floor(std::ldexp(values[i % std::size(values)], bits - 1)), 1 - bits);
        const double stored = ValueOf(out.data() + i * layout.bytes, type);
        // Exact where it fits, else the nearest; full scale is not passed.
        const double tolerance = WidthOf(type) >= bits ? 0 : given > 1 - step ? step : step / 2;
        ASSERT_NEAR(stored, given, tolerance) << i;
        if (layout.is_float) continue;
        ASSERT_LT(stored, 1);
      }
    }
  }
}

TEST(AsioSamples, BufferSizes) {
  struct Case {
    const char* name;
    AsioBufferSizes sizes;
    uint32_t frames;
  };
  const Case cases[] = {
      {"as preferred", {64, 4096, 512, -1}, 512},
      {"only one", {480, 480, 480, 0}, 480},
      {"others unset", {0, 0, 441, 0}, 441},
      {"above the largest", {64, 256, 512, 0}, 256},
      {"below the smallest", {256, 1024, 100, 0}, 256},
      {"no power of two", {64, 4096, 700, -1}, 512},
      {"no power of two from the smallest on", {600, 4096, 700, -1}, 600},
      {"between two steps", {100, 1000, 250, 40}, 220},
      {"on a step", {100, 1000, 260, 40}, 260},
      {"smallest above largest", {1000, 100, 300, 0}, 300},
      {"largest beyond reason", {64, 0x7FFFFFFF, 512, 0}, 512},
      {"nothing", {64, 4096, 0, 0}, 0},
      {"negative", {64, 4096, -512, 0}, 0},
      {"beyond reason", {64, 0x7FFFFFFF, 0x7FFFFFFF, 0}, 0},
  };
  for (const Case& c : cases)
    EXPECT_EQ(ChooseAsioFrames(c.sizes), c.frames) << c.name;
}

TEST(AsioFeed, TwoThreadsLoseNothing) {
  // 16-bit mono; the ring holds 30 frames, so it wraps inside writes and inside reads.
  AsioFeed feed(MakePcmFormat(1, 8000, 16), 60);
  AsioSampleLayout layout;
  ASSERT_TRUE(LayoutOfAsioType(16, &layout));
  constexpr uint16_t kFrames = 20000;
  std::vector<uint16_t> heard;
  heard.reserve(kFrames + 16);
  std::atomic<bool> done{false};
  feed.Run();
  std::thread driver([&] {
    uint16_t half[7];
    const AsioFeed::Output outputs[] = {{reinterpret_cast<uint8_t*>(half), layout, 0}};
    while (!done) {
      feed.Fill(outputs, 7);
      for (const uint16_t sample : half)
        if (sample != 0) heard.push_back(sample);
      std::this_thread::yield();
    }
  });
  uint16_t next = 1;
  uint64_t before = 0;
  while (next <= kFrames) {
    uint16_t block[11];
    const uint16_t count = std::min<uint16_t>(11, static_cast<uint16_t>(kFrames - next + 1));
    for (uint16_t i = 0; i < count; ++i)
      block[i] = static_cast<uint16_t>(next + i);
    if (feed.Write(reinterpret_cast<const uint8_t*>(block), count * 2u)) {
      next = static_cast<uint16_t>(next + count);
    } else {
      std::this_thread::yield();
    }
    EXPECT_GE(feed.Taken(), before);
    before = feed.Taken();
    if (next % 1000 < 11) {
      ASSERT_TRUE(feed.Pause());
      const uint64_t frozen = feed.Taken();
      std::this_thread::yield();
      EXPECT_EQ(feed.Taken(), frozen);
      feed.Run();
    }
  }
  while (feed.FreeBytes() < feed.Capacity())
    std::this_thread::yield();
  ASSERT_TRUE(feed.Reset());
  EXPECT_EQ(feed.Taken(), 0u);
  done = true;
  driver.join();
  ASSERT_EQ(heard.size(), kFrames);
  for (uint16_t i = 0; i < kFrames; ++i)
    ASSERT_EQ(heard[i], i + 1);
}

}  // namespace
}  // namespace melorin
