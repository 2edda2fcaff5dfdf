// SPDX-License-Identifier: MIT
//
// Opening a device and a track over devices that refuse: what is tried, in which order, and what comes back.
#include "playback/open_track.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "platform/text.h"

namespace melorin {
namespace {

/// Accepts everything; volume and balance as told.
class FakeDevice final : public ComObject<OutputDevice> {
 public:
  FakeDevice(int32_t kind, uint32_t buffer_bytes, HRESULT volume_result)
      : kind_(kind), buffer_bytes_(buffer_bytes), volume_result_(volume_result) {}
  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID, void** out) override {
    return *out = nullptr, E_NOINTERFACE;
  }
  HRESULT STDMETHODCALLTYPE GetType(int32_t* kind) override { return *kind = kind_, S_OK; }
  HRESULT STDMETHODCALLTYPE Clone(OutputDevice** out) override { return *out = nullptr, E_FAIL; }
  HRESULT STDMETHODCALLTYPE Play() override { return S_OK; }
  HRESULT STDMETHODCALLTYPE Pause() override { return S_OK; }
  HRESULT STDMETHODCALLTYPE Reset() override { return S_OK; }
  HRESULT STDMETHODCALLTYPE SetVolume(int32_t) override { return volume_result_; }
  HRESULT STDMETHODCALLTYPE SetBalance(int32_t) override { return volume_result_; }
  HRESULT STDMETHODCALLTYPE GetBufferSize(uint32_t* bytes) override { return *bytes = buffer_bytes_, S_OK; }
  HRESULT STDMETHODCALLTYPE GetPosition(uint32_t* bytes) override { return *bytes = 0, S_OK; }
  HRESULT STDMETHODCALLTYPE GetFreeSpace(uint32_t* bytes) override { return *bytes = buffer_bytes_, S_OK; }
  HRESULT STDMETHODCALLTYPE Write(const uint8_t*, uint32_t) override { return S_OK; }

 private:
  const int32_t kind_;
  const uint32_t buffer_bytes_;
  const HRESULT volume_result_;
};

std::string Layout(const WAVEFORMATEX& format) {
  return format.wFormatTag == WAVE_FORMAT_EXTENSIBLE ? "extensible" : "plain";
}

/// Notes every attempt and lets the one of number `succeed_at` through.
class FakeFactory final : public DeviceFactory {
 public:
  HRESULT OpenWaveOut(const WAVEFORMATEX& format, uint32_t bytes, int32_t number,
                      OutputDevice** out) override {
    return Attempt("wave " + Layout(format) + " " + std::to_string(number), format, 0, bytes, out);
  }
  HRESULT OpenDirectSound(const DirectSoundRequest& request, OutputDevice** out) override {
    const std::string where = request.index == -1 ? "guid" : std::to_string(request.index);
    return Attempt(std::string("ds ") + (request.software ? "software " : "hardware ") +
                       Layout(*request.format) + " " + where + (request.create_primary ? " primary" : ""),
                   *request.format, 1, request.buffer_bytes, out);
  }
  HRESULT OpenKernelStreaming(const WAVEFORMATEX& format, uint32_t block_bytes, uint32_t blocks,
                              int32_t index, OutputDevice** out) override {
    return Attempt("ks " + Layout(format) + " " + std::to_string(index), format, 2, block_bytes * blocks,
                   out);
  }
  HRESULT OpenAsio(const WAVEFORMATEX& format, uint32_t bytes, int32_t index, OutputDevice** out) override {
    return Attempt("asio " + Layout(format) + " " + std::to_string(index), format, 3, bytes, out);
  }

  std::vector<std::string> attempts;
  size_t succeed_at = 1000;
  HRESULT failure = E_FAIL;
  HRESULT volume_result = S_OK;
  WAVEFORMATEX opened_format = {};
  uint32_t opened_bytes = 0;

 private:
  HRESULT Attempt(std::string what, const WAVEFORMATEX& asked, int32_t kind, uint32_t bytes,
                  OutputDevice** out) {
    attempts.push_back(std::move(what));
    opened_format = asked;
    opened_bytes = bytes;
    *out = nullptr;
    if (attempts.size() <= succeed_at) return failure;
    *out = new FakeDevice(kind, bytes, volume_result);
    return S_OK;
  }
};

/// A second of silence; tells when it is destroyed.
class FakeChain final : public PlaybackChain {
 public:
  explicit FakeChain(bool* alive, uint16_t bits = 16) : alive_(alive), bits_(bits) { *alive_ = true; }
  ~FakeChain() override { *alive_ = false; }
  uint32_t NativeBlockBytes() const override { return 1096 * 8; }
  uint32_t ResampledBlockBytes() const override { return 1096 * 8; }
  bool IsResampling() const override { return false; }
  uint32_t SampleRate() const override { return 44100; }
  uint16_t Channels() const override { return 2; }
  uint16_t SourceBits() const override { return bits_; }
  uint32_t DurationMs() const override { return 1000; }
  HRESULT NextBlock(SoundBuffer&) override { return S_FALSE; }
  HRESULT Seek(uint32_t) override { return S_OK; }
  HRESULT NotifyStart() override { return S_OK; }
  HRESULT NotifyPause() override { return S_OK; }
  HRESULT NotifyStop() override { return S_OK; }
  SoundSource* Source() const override { return nullptr; }

 private:
  bool* alive_;
  uint16_t bits_;
};

PlaybackSettings SettingsFor(uint16_t kind, uint16_t index) {
  PlaybackSettings settings;
  settings.device_type = PackDeviceId(kind, index);
  return settings;
}

TEST(OpenDevice, TriesEveryWayInItsOrder) {
  struct Case {
    const char* name;
    PlaybackSettings settings;
    size_t succeed_at;
    std::vector<std::string> attempts;
    HRESULT result;
  };
  PlaybackSettings hardware = SettingsFor(1, 0);
  hardware.hardware_buffer = true;
  PlaybackSettings own = SettingsFor(1, 0);
  own.device_type = {0x12345678, 1, 2, {3}};
  own.create_primary = true;
  const Case cases[] = {
      {"waveOut at once", SettingsFor(0, 0), 0, {"wave extensible -1"}, S_OK},
      {"waveOut plain", SettingsFor(0, 3), 1, {"wave extensible 2", "wave plain 2"}, S_OK},
      {"waveOut never", SettingsFor(0, 1), 9, {"wave extensible 0", "wave plain 0"}, E_FAIL},
      {"DirectSound at once", SettingsFor(1, 0), 0, {"ds software plain 0"}, S_OK},
      {"DirectSound extensible",
       SettingsFor(1, 2),
       1,
       {"ds software plain 2", "ds software extensible 2"},
       S_OK},
      {"DirectSound's own identifier", own, 0, {"ds software plain guid primary"}, S_OK},
      {"DirectSound in hardware", hardware, 0, {"ds hardware plain 0"}, S_OK},
      {"DirectSound falls back to software",
       hardware,
       2,
       {"ds hardware plain 0", "ds hardware extensible 0", "ds software plain 0"},
       S_OK},
      {"DirectSound never",
       hardware,
       9,
       {"ds hardware plain 0", "ds hardware extensible 0", "ds software plain 0", "ds software extensible 0"},
       static_cast<HRESULT>(0x88780078)},
      {"Kernel Streaming", SettingsFor(2, 1), 1, {"ks plain 1", "ks extensible 1"}, S_OK},
      {"ASIO", SettingsFor(3, 4), 9, {"asio plain 4"}, static_cast<HRESULT>(0x88780078)},
      {"no such kind", SettingsFor(4, 0), 0, {}, E_NOTIMPL},
  };
  const WAVEFORMATEX format = MakePcmFormat(2, 44100, 16);
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    FakeFactory factory;
    factory.succeed_at = c.succeed_at;
    factory.failure = static_cast<HRESULT>(0x88780078);
    ComPtr<OutputDevice> device;
    EXPECT_EQ(OpenDevice(factory, c.settings, format, PlanBuffer(format, 1000, 8768), device.Receive()),
              c.result);
    EXPECT_EQ(factory.attempts, c.attempts);
    EXPECT_EQ(device.get() != nullptr, c.result == S_OK);
  }
  // A sound card whose own memory is full says this about a hardware buffer.
  FakeFactory factory;
  factory.failure = E_OUTOFMEMORY;
  factory.succeed_at = 2;
  ComPtr<OutputDevice> device;
  EXPECT_EQ(OpenDevice(factory, hardware, format, PlanBuffer(format, 1000, 8768), device.Receive()), S_OK);
  EXPECT_EQ(factory.attempts.size(), 3u);
}

TEST(OpenTrack, FormatAndBufferFollowTheSettings) {
  FakeFactory factory;
  factory.succeed_at = 0;
  PlaybackSettings settings = SettingsFor(1, 0);
  settings.output_bits = 24;
  bool alive = false;
  ComPtr<PlaybackStream> stream;
  ASSERT_EQ(OpenForChain(std::make_unique<FakeChain>(&alive), settings, nullptr, SystemClock(),
                         std::addressof(stream), &factory),
            S_OK);
  ASSERT_TRUE(stream);
  EXPECT_EQ(factory.opened_format.wFormatTag, WAVE_FORMAT_PCM);
  EXPECT_EQ(factory.opened_format.wBitsPerSample, 24);
  EXPECT_EQ(factory.opened_format.nAvgBytesPerSec, 264600u);
  EXPECT_EQ(factory.opened_bytes, 41u * 6576);
  EXPECT_EQ(stream->EndTimeMs(), 1000u);
  EXPECT_EQ(stream->Kind(), DeviceKind::kDirectSound);
  EXPECT_TRUE(alive);
  stream.Reset();
  EXPECT_FALSE(alive);
  // The device gets the plain format even where only the extensible layout opened it.
  FakeFactory refusing;
  refusing.succeed_at = 1;
  settings.output_bits = 0;
  ASSERT_EQ(OpenForChain(std::make_unique<FakeChain>(&alive, uint16_t{20}), settings, nullptr, SystemClock(),
                         std::addressof(stream), &refusing),
            S_OK);
  EXPECT_EQ(refusing.opened_format.wFormatTag, WAVE_FORMAT_EXTENSIBLE);
  EXPECT_EQ(stream->Format().wFormatTag, WAVE_FORMAT_PCM);
  EXPECT_EQ(stream->Format().wBitsPerSample, 16);
}

TEST(OpenTrack, ADeviceWithoutVolumeGetsNoFades) {
  FakeFactory factory;
  factory.succeed_at = 0;
  factory.volume_result = E_FAIL;
  bool alive = false;
  ComPtr<PlaybackStream> stream;
  ASSERT_EQ(OpenForChain(std::make_unique<FakeChain>(&alive), SettingsFor(2, 0), nullptr, SystemClock(),
                         std::addressof(stream), &factory),
            S_OK);
  EXPECT_EQ(stream->FadeFlags(), 0);
}

TEST(OpenTrack, FailuresLeaveNothingOpen) {
  bool alive = false;
  ComPtr<PlaybackStream> stream;
  FakeFactory factory;
  factory.failure = static_cast<HRESULT>(0x88780078);
  EXPECT_EQ(OpenForChain(std::make_unique<FakeChain>(&alive), SettingsFor(1, 0), nullptr, SystemClock(),
                         std::addressof(stream), &factory),
            factory.failure);
  EXPECT_FALSE(alive);
  EXPECT_FALSE(stream);
  EXPECT_EQ(OpenForChain(std::make_unique<FakeChain>(&alive), SettingsFor(9, 0), nullptr, SystemClock(),
                         std::addressof(stream), &factory),
            E_NOTIMPL);
  EXPECT_FALSE(alive);
  EXPECT_EQ(
      OpenForChain(nullptr, SettingsFor(1, 0), nullptr, SystemClock(), std::addressof(stream), &factory),
      E_INVALIDARG);
  EXPECT_EQ(OpenForChain(std::make_unique<FakeChain>(&alive), SettingsFor(1, 0), nullptr, SystemClock(),
                         nullptr, &factory),
            E_INVALIDARG);
  EXPECT_FALSE(alive);

  SoundLibrary library;
  ASSERT_EQ(library.Start(""), S_OK);
  const PlaybackSettings settings;
  EXPECT_EQ(
      OpenForTrack(library, nullptr, 0, settings, nullptr, SystemClock(), std::addressof(stream), &factory),
      E_INVALIDARG);
  EXPECT_EQ(OpenForTrack(library, AsWide(u""), 0, settings, nullptr, SystemClock(), std::addressof(stream),
                         &factory),
            E_INVALIDARG);
  const size_t before = factory.attempts.size();
  EXPECT_LT(OpenForTrack(library, AsWide(u"/nowhere/missing.wav"), 0, settings, nullptr, SystemClock(),
                         std::addressof(stream), &factory),
            0);
  EXPECT_LT(OpenForTrack(library, AsWide(u"/tmp"), 0, settings, nullptr, SystemClock(),
                         std::addressof(stream), &factory),
            0);
  EXPECT_EQ(factory.attempts.size(), before) << "no device is opened for a file that cannot be played";
  EXPECT_FALSE(stream);
  library.Shutdown();
}

TEST(DeviceKinds, Names) {
  EXPECT_EQ(Utf8FromGbk(DeviceKindNameGbk(0)), "waveOut(Windows 波型输出)");
  EXPECT_EQ(DeviceKindNameGbk(1), "DirectSound");
  EXPECT_EQ(Utf8FromGbk(DeviceKindNameGbk(2)), "Kernel Streaming(内核音频流)");
  EXPECT_EQ(DeviceKindNameGbk(3), "ASIO(Steinberg Audio Stream I/O API)");
  EXPECT_EQ(DeviceKindNameGbk(4), "");
}

}  // namespace
}  // namespace melorin
