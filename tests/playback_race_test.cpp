// SPDX-License-Identifier: MIT
//
// The stream in real time with its real threads, under a hail of operations from the UI's side; made for the
// thread sanitizer. And what the decode thread allocates while it plays.
#include <cstdlib>
#include <new>

#include "playback_sim.h"

// The thread sanitizer brings its own operators and lets nobody replace them.
#if defined(__has_feature)
#if __has_feature(thread_sanitizer)
#define MELORIN_NO_COUNTING
#endif
#endif

namespace {

thread_local uint64_t t_allocations = 0;

[[maybe_unused]] void* Allocate(size_t size) {
  ++t_allocations;
  return std::malloc(size ? size : 1);
}

}  // namespace

#if !defined(MELORIN_NO_COUNTING)
#if !defined(__clang__)
// Seen when only one of the two is inlined.
#pragma GCC diagnostic ignored "-Wmismatched-new-delete"
#endif
void* operator new(size_t size) {
  void* block = Allocate(size);
  if (!block) throw std::bad_alloc();
  return block;
}
void* operator new[](size_t size) {
  return operator new(size);
}
void* operator new(size_t size, const std::nothrow_t&) noexcept {
  return Allocate(size);
}
void* operator new[](size_t size, const std::nothrow_t&) noexcept {
  return Allocate(size);
}
void operator delete(void* block) noexcept {
  std::free(block);
}
void operator delete[](void* block) noexcept {
  std::free(block);
}
void operator delete(void* block, size_t) noexcept {
  std::free(block);
}
void operator delete[](void* block, size_t) noexcept {
  std::free(block);
}
void operator delete(void* block, const std::nothrow_t&) noexcept {
  std::free(block);
}
void operator delete[](void* block, const std::nothrow_t&) noexcept {
  std::free(block);
}
#endif

namespace melorin::sim {
namespace {

// Notes how much the decode thread had allocated at each block.
class AllocationCount final : public VisualAnalyser {
 public:
  void OnBlock(std::span<const uint8_t>, const WAVEFORMATEX&) override {
    if (blocks_ < counts_.size()) counts_[blocks_] = t_allocations;
    ++blocks_;
  }
  size_t Blocks() const { return blocks_; }
  uint64_t At(size_t block) const { return counts_[block]; }

 private:
  std::atomic<size_t> blocks_{0};
  std::array<std::atomic<uint64_t>, 200> counts_{};
};

TEST_F(StreamTest, PlayingAllocatesNothing) {
#if defined(MELORIN_NO_COUNTING)
  GTEST_SKIP() << "allocations cannot be counted here";
#endif
  for (const int32_t dither : {0, 4}) {
    AllocationCount count;
    device_setup_.capture = false;
    chain_setup_.total_frames = 1 << 30;
    ASSERT_EQ(Open(16, dither), S_OK);
    clock_.ReserveWaits(100000);
    stream_->SetAnalyser(&count);
    journal_.SetQuiet(true);
    stream_->Play();
    clock_.Advance(10000);
    ASSERT_GT(count.Blocks(), 90u);
    EXPECT_GT(t_allocations, 0u) << "the counter counts";
    EXPECT_EQ(count.At(count.Blocks() - 1), count.At(6)) << "from the sixth block on, the fade-in included";
    journal_.SetQuiet(false);
    stream_.Reset();
    device_.Reset();
    journal_.Take();
  }
}

TEST(StreamRace, AnyOrderOfOperationsInRealTime) {
  Clock& clock = SystemClock();
  Journal journal(clock);
  journal.SetQuiet(true);
  SimWindow window(journal);
  for (uint32_t seed = 1; seed <= 6; ++seed) {
    DeviceSetup device_setup;
    ChainSetup chain_setup;
    device_setup.capture = false;
    device_setup.buffer_bytes = 6400;  // 200 ms
    chain_setup.block_frames = 160;    // 20 ms
    chain_setup.total_frames = seed % 2 ? 4000 : 1 << 30;
    HRESULT status = E_FAIL;
    auto stream =
        PlaybackStream::Create(std::make_unique<SimChain>(journal, chain_setup),
                               ComPtr<OutputDevice>::Adopt(new SimDevice(clock, journal, device_setup, 'A')),
                               MakeFormat(), 3, clock, &status);
    ASSERT_EQ(status, S_OK);
    stream->SetNotify(&window, kStreamMessage);
    const FadeDurations durations{20, 30, 80, 30};
    stream->SetFade(kFadeAll, &durations);
    uint32_t state = seed;
    for (int i = 0; i < 150; ++i) {
      state = state * 1664525u + 1013904223u;
      VisualData data;
      switch (state >> 16 & 7) {
        case 0:
        case 1:
          EXPECT_EQ(stream->Play(), S_OK);
          break;
        case 2:
          EXPECT_EQ(stream->Pause(), S_OK);
          break;
        case 3:
          EXPECT_EQ(stream->Stop(), S_OK);
          break;
        case 4:
          EXPECT_EQ(stream->Seek((state >> 20) % 400), S_OK);
          break;
        case 5:
          stream->SetVolume(static_cast<int32_t>((state >> 20) % 101));
          stream->SetFade(static_cast<int32_t>(state >> 24 & 15), &durations);
          break;
        case 6:
          EXPECT_GE(stream->GetVisualData(&data, kVisualStereo, kVisualStereo), S_OK);
          break;
        default:
          EXPECT_LT(stream->GetPositionMs(), 100000u);
          break;
      }
      if (state >> 28 < 4) clock.Sleep(state >> 22 & 31);
    }
    EXPECT_EQ(stream.Detach()->Release(), 0u);
    EXPECT_EQ(device_setup.alive, 0);
    EXPECT_EQ(chain_setup.alive, 0);
  }
}

}  // namespace
}  // namespace melorin::sim
