// SPDX-License-Identifier: MIT
//
// What the decode thread takes from the heap while it plays a real MP3 through everything that stands between
// file and device: operator new, and malloc and its kin, those of the decoder library included.
#include <array>
#include <cmath>
#include <cstdlib>
#include <fstream>
#include <numbers>

#include "platform/text.h"
#include "playback/device_format.h"
#include "playback/effects/effects_chain.h"
#include "playback/source_chain.h"
#include "playback/watched_device.h"
#include "playback_sim.h"
#include "sound/sheet_tracks.h"

#if defined(__has_feature)
#if __has_feature(address_sanitizer)
#define MELORIN_COUNT_BY_HOOK
#elif __has_feature(thread_sanitizer)
#define MELORIN_CANNOT_COUNT
#endif
#endif
#if defined(_WIN32) || defined(__SANITIZE_THREAD__)
#define MELORIN_CANNOT_COUNT
#endif
#if defined(__SANITIZE_ADDRESS__)
#define MELORIN_COUNT_BY_HOOK
#endif

namespace {

/// The watched thread, while it is to allocate nothing.
thread_local bool t_watched = false;
std::atomic<bool> g_counting{false};
std::atomic<uint32_t> g_allocations{0};
std::atomic<size_t> g_first_size{0};

[[maybe_unused]] void Note(size_t size) {
  if (t_watched && g_counting && g_allocations++ == 0) g_first_size = size;
}

}  // namespace

#if defined(MELORIN_COUNT_BY_HOOK)

extern "C" int __sanitizer_install_malloc_and_free_hooks(void (*malloc_hook)(const volatile void*, size_t),
                                                         void (*free_hook)(const volatile void*));
namespace {
[[maybe_unused]] const int g_installed = __sanitizer_install_malloc_and_free_hooks(
    [](const volatile void*, size_t size) { Note(size); }, [](const volatile void*) {});
}  // namespace

#elif !defined(MELORIN_CANNOT_COUNT)

// In front of the C library's own, for every shared library as well.
extern "C" {
void* __libc_malloc(size_t size);
void* __libc_calloc(size_t count, size_t size);
void* __libc_realloc(void* block, size_t size);
void* __libc_memalign(size_t alignment, size_t size);

void* malloc(size_t size) noexcept {
  Note(size);
  return __libc_malloc(size);
}
void* calloc(size_t count, size_t size) noexcept {
  Note(count * size);
  return __libc_calloc(count, size);
}
void* realloc(void* block, size_t size) noexcept {
  Note(size);
  return __libc_realloc(block, size);
}
void* aligned_alloc(size_t alignment, size_t size) noexcept {
  Note(size);
  return __libc_memalign(alignment, size);
}
int posix_memalign(void** out, size_t alignment, size_t size) noexcept {
  Note(size);
  *out = __libc_memalign(alignment, size);
  return *out ? 0 : ENOMEM;
}
}

#endif

namespace melorin::sim {
namespace {

#if defined(MELORIN_CANNOT_COUNT)
constexpr bool kCanCount = false;
#else
constexpr bool kCanCount = true;
#endif
constexpr uint32_t kRate = 44100;
constexpr uint32_t kTrackMs = 12000;

/// Two detuned tones and some noise as raw samples, so that the encoder's frames differ; then encoded.
bool MakeMp3(const std::string& path) {
  const std::string raw = path + ".raw";
  std::ofstream file(raw, std::ios::binary);
  uint32_t state = 1;
  for (uint32_t i = 0; i < kRate * (kTrackMs / 1000); ++i) {
    std::array<int16_t, 2> frame;
    for (size_t channel = 0; channel < 2; ++channel) {
      state = state * 1664525u + 1013904223u;
      const double tone =
          std::sin(2 * std::numbers::pi * (440.0 + 3.0 * static_cast<double>(channel)) * i / kRate);
      frame[channel] = static_cast<int16_t>(tone * 9000.0 + static_cast<int32_t>(state >> 20) - 2048);
    }
    file.write(reinterpret_cast<const char*>(frame.data()), sizeof frame);
  }
  file.close();
  const std::string encode =
      "lame --quiet -r -s 44.1 --bitwidth 16 -m s -b 320 '" + raw + "' '" + path + "' 2>/dev/null";
  const bool made = std::system(encode.c_str()) == 0;
  std::remove(raw.c_str());
  return made;
}

/// Allocates once a block when told to, to show that it is noticed.
class Wasteful final : public VisualAnalyser {
 public:
  void OnBlock(std::span<const uint8_t>, const WAVEFORMATEX&) override {
    if (!on_) return;
    void* volatile block = std::malloc(10);
    std::free(block);
    char* volatile object = new char[20];
    delete[] object;
    ++blocks_;
  }
  std::atomic<bool> on_{false};
  std::atomic<uint32_t> blocks_{0};
};

class LastEvent final : public EventTarget {
 public:
  void Post(uint32_t, uint32_t event, PlaybackStream*) override { event_ = event; }
  std::atomic<uint32_t> event_{0xFFFFFFFF};
};

class RealTrack : public testing::Test {
 protected:
  void SetUp() override {
    if (!kCanCount) GTEST_SKIP() << "allocations cannot be counted here";
    if (std::system("lame --version >/dev/null 2>&1") != 0) GTEST_SKIP() << "lame is not installed";
    path_ = testing::TempDir() + "melorin_allocation_" + std::to_string(SystemClock().TickMs()) + ".mp3";
    ASSERT_TRUE(MakeMp3(path_));
    ASSERT_EQ(library_.Start({}), S_OK);
    started_ = true;
    journal_.SetQuiet(true);
    clock_.ReserveWaits(1 << 20);
  }
  void TearDown() override {
    stream_.Reset();
    if (started_) library_.Shutdown();
    if (!path_.empty()) std::remove(path_.c_str());
  }

  void Open(int32_t dither) { OpenFile(path_, dither, 0); }
  void OpenFile(const std::string& path, int32_t dither, uint32_t flags, const ChainOptions& options = {}) {
    std::unique_ptr<SourceChain> source;
    ASSERT_EQ(SourceChain::Open(library_, AsWide(Utf16FromGbk(path).c_str()), flags, &source), S_OK);
    ASSERT_EQ(source->SampleRate(), kRate);
    std::unique_ptr<EffectsChain> chain;
    ASSERT_EQ(EffectsChain::Create(std::move(source), options, &chain), S_OK);
    effects_ = chain->Effects();
    const WAVEFORMATEX format = MakePcmFormat(chain->Channels(), chain->SampleRate(), 16);
    setup_.capture = false;
    setup_.buffer_bytes = PlanBuffer(format, 1000, chain->BlockBytes()).Bytes();
    setup_.bytes_per_second = format.nAvgBytesPerSec;
    auto device = WatchDevice(ComPtr<OutputDevice>::Adopt(new SimDevice(clock_, journal_, setup_, 'A')),
                              format, clock_);
    HRESULT status = E_FAIL;
    stream_ = PlaybackStream::Create(std::move(chain), std::move(device), format, dither, clock_, &status,
                                     Starter());
    ASSERT_EQ(status, S_OK);
    stream_->SetNotify(&last_event_, kStreamMessage);
    stream_->SetAnalyser(&wasteful_);
  }
  /// The first thread that a stream starts is the one that decodes.
  ThreadStarter Starter() {
    return [start = clock_.Starter(), first = true](Thread& thread, std::function<void()> body) mutable {
      const bool watch = std::exchange(first, false);
      return start(thread, [watch, run = std::move(body)] {
        t_watched = watch;
        run();
        t_watched = false;
      });
    };
  }
  /// What the decode thread allocates in so many milliseconds of playing.
  uint32_t CountFor(uint32_t duration_ms) {
    clock_.Settle();
    g_allocations = 0;
    g_counting = true;
    clock_.Advance(duration_ms);
    clock_.Settle();
    g_counting = false;
    return g_allocations;
  }

  SoundLibrary library_;
  bool started_ = false;
  std::string path_;
  SimClock clock_;
  Journal journal_{clock_};
  DeviceSetup setup_;
  Wasteful wasteful_;
  LastEvent last_event_;
  TrackEffects* effects_ = nullptr;  ///< Of the chain that was opened last.
  ComPtr<PlaybackStream> stream_;
};

TEST_F(RealTrack, PlaysWithoutTheHeapOnceThePrefillIsOver) {
  for (const int32_t dither : {0, 3}) {
    SCOPED_TRACE(dither);
    ASSERT_NO_FATAL_FAILURE(Open(dither));
    ASSERT_EQ(stream_->Play(), S_OK);
    clock_.Advance(30);
    EXPECT_EQ(CountFor(5000), 0u) << "after the start, first of " << g_first_size << " bytes";
    ASSERT_NEAR(stream_->GetPositionMs(), 5000.0, 50);
    ASSERT_EQ(stream_->Seek(2000), S_OK);
    clock_.Advance(30);
    EXPECT_EQ(CountFor(3000), 0u) << "after a seek, first of " << g_first_size << " bytes";
    ASSERT_EQ(stream_->Seek(9000), S_OK);
    clock_.Advance(30);
    EXPECT_EQ(CountFor(2900), 0u) << "up to the end, first of " << g_first_size << " bytes";
    EXPECT_NE(last_event_.event_, kEventTrackEnd);
    // The source has run dry, as far from the true end as the seek came down beside its place.
    EXPECT_NEAR(stream_->EndTimeMs(), kTrackMs + 0.0, 60);
    clock_.Advance(500);
    EXPECT_EQ(last_event_.event_, kEventTrackEnd);
    stream_.Reset();
  }
  ASSERT_NO_FATAL_FAILURE(Open(0));
  stream_->Play();
  clock_.Advance(1000);
  wasteful_.on_ = true;
  const uint32_t counted = CountFor(1000);
  EXPECT_EQ(counted, 2 * wasteful_.blocks_) << "what allocates is noticed";
  EXPECT_GT(wasteful_.blocks_, 30u);
}

TEST_F(RealTrack, PlaysATrackOfASheetWithoutTheHeapToo) {
  const std::string sheet = path_ + ".cue";
  std::ofstream(sheet) << "FILE \"" << path_ << "\" MP3\nTRACK 01 AUDIO\nINDEX 01 00:00:00\n"
                       << "TRACK 02 AUDIO\nINDEX 01 00:05:10\n";
  ASSERT_NO_FATAL_FAILURE(OpenFile(sheet, 0, SubtrackFlags(2)));
  std::remove(sheet.c_str());
  ASSERT_EQ(stream_->Play(), S_OK);
  clock_.Advance(30);
  EXPECT_EQ(CountFor(3000), 0u) << "after the start, first of " << g_first_size << " bytes";
  ASSERT_EQ(stream_->Seek(1000), S_OK);
  clock_.Advance(30);
  EXPECT_EQ(CountFor(5000), 0u) << "after a seek, first of " << g_first_size << " bytes";
}

TEST_F(RealTrack, EffectsWorkAndChangeWithoutTheHeapToo) {
  EffectSettings on;
  on.equalizer.values = {6, 5, 4, 3, 2, 1, 2, 3, 4, 5, 6};
  on.surround = 60;
  on.balance = 20;
  on.volume = 90;
  on.gain = TrackGain{9.0, std::nullopt};  // Loud enough for the limiter.
  ASSERT_NO_FATAL_FAILURE(OpenFile(
      path_, 0, 0,
      {.resample_rate = 48000, .quality = ResampleQuality::kHigh, .scan_gain = true, .effects = on}));
  ASSERT_EQ(stream_->Format().nSamplesPerSec, 48000u);
  ASSERT_EQ(stream_->Play(), S_OK);
  clock_.Advance(100);
  const auto change_while_playing = [&](uint32_t duration_ms, const char* when) {
    SCOPED_TRACE(when);
    for (uint32_t passed = 0; passed < duration_ms; passed += 300) {
      effects_->Set(passed / 300 % 2 == 0 ? EffectSettings{} : on);
      ASSERT_EQ(CountFor(300), 0u) << "first of " << g_first_size << " bytes, " << passed << " ms on";
    }
  };
  ASSERT_NO_FATAL_FAILURE(change_while_playing(3000, "after the start"));
  ASSERT_EQ(stream_->Seek(1000), S_OK);
  clock_.Advance(100);
  ASSERT_NO_FATAL_FAILURE(change_while_playing(3000, "after a seek"));
  ASSERT_EQ(stream_->Seek(0), S_OK);
  clock_.Advance(100);
  ASSERT_NO_FATAL_FAILURE(change_while_playing(kTrackMs - 300, "from the start to the end"));
  EXPECT_TRUE(effects_->ScannedGain().has_value());
}

}  // namespace
}  // namespace melorin::sim
