// SPDX-License-Identifier: MIT
//
// The real waveOut and DirectSound devices; skipped where the machine has none. What is played is a fixed
// noise, so that a recording of the sink can be compared sample by sample.
#include <gtest/gtest.h>
#include <windows.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <vector>

#include "platform/clock.h"
#include "platform/com_ptr.h"
#include "playback/open_device.h"
#include "playback/watched_device.h"

namespace melorin {
namespace {

constexpr uint32_t kRate = 44100;

/// 16-bit stereo: the upper half of a linear congruential generator, a quarter of full scale.
std::vector<uint8_t> Noise(uint32_t frames) {
  std::vector<uint8_t> bytes(frames * 4);
  uint32_t state = 1;
  for (size_t i = 0; i < bytes.size(); i += 2) {
    state = state * 1664525 + 1013904223;
    const auto sample = static_cast<int16_t>(static_cast<int32_t>(state) >> 18);
    std::memcpy(&bytes[i], &sample, 2);
  }
  return bytes;
}

class Devices : public testing::TestWithParam<DeviceKind> {
 protected:
  void SetUp() override {
    settings_.device_type = PackDeviceId(static_cast<uint16_t>(GetParam()), 0);
    factory_ = CreatePlatformDeviceFactory(nullptr);
    const HRESULT result = OpenDevice(*factory_, settings_, format_, plan_, device_.Receive());
    if (FAILED(result)) {
      EXPECT_EQ(device_.get(), nullptr);
      GTEST_SKIP() << "no device here";
    }
    device_ = WatchDevice(std::move(device_), format_, SystemClock());
  }

  uint32_t Position(OutputDevice& device) {
    uint32_t bytes = 0;
    EXPECT_GE(device.GetPosition(&bytes), 0);
    EXPECT_EQ(bytes % format_.nBlockAlign, 0u);
    return bytes;
  }

  /// Feeds as the stream does: blocks while there is room, silence after the data, until the device says that
  /// the data is over. Returns how long that took, ms.
  uint32_t Feed(OutputDevice& device, const std::vector<uint8_t>& data, uint32_t until_bytes) {
    const std::vector<uint8_t> silence(plan_.block_bytes, 0);
    size_t written = 0;
    bool playing = false;
    uint32_t last = 0;
    const uint32_t begin = SystemClock().TickMs();
    while (SystemClock().TickMs() - begin < 10000) {
      uint32_t room = 0;
      EXPECT_GE(device.GetFreeSpace(&room), 0);
      EXPECT_LE(room, plan_.Bytes());
      const bool full = room < plan_.block_bytes;
      if (!full) {
        const size_t bytes =
            std::min<size_t>(plan_.block_bytes, data.size() - std::min(written, data.size()));
        const HRESULT result = bytes > 0 ? device.Write(data.data() + written, static_cast<uint32_t>(bytes))
                                         : device.Write(silence.data(), plan_.block_bytes);
        EXPECT_GE(result, 0);
        written += bytes;
      }
      if (!playing && (full || written >= plan_.Bytes() / 2 || written >= data.size())) {
        EXPECT_GE(device.Play(), 0);
        playing = true;
      }
      const uint32_t position = Position(device);
      EXPECT_GE(position, last);
      last = position;
      if (position >= until_bytes) return SystemClock().TickMs() - begin;
      if (full) SystemClock().Sleep(5);
    }
    ADD_FAILURE() << "stuck at " << last;
    return 0;
  }

  PlaybackSettings settings_;
  const WAVEFORMATEX format_ = MakePcmFormat(2, kRate, 16);
  const BufferPlan plan_ = PlanBuffer(format_, 500, 1096 * 8);
  std::unique_ptr<DeviceFactory> factory_;
  ComPtr<OutputDevice> device_;
};

TEST_P(Devices, PlayToTheEndInRealTime) {
  int32_t kind = -1;
  ASSERT_EQ(device_->GetType(&kind), S_OK);
  EXPECT_EQ(kind, static_cast<int32_t>(GetParam()));
  uint32_t size = 0;
  ASSERT_EQ(device_->GetBufferSize(&size), S_OK);
  EXPECT_EQ(size, plan_.Bytes());
  EXPECT_EQ(Position(*device_), 0u);
  const std::vector<uint8_t> noise = Noise(kRate * 3 / 2);
  const uint32_t took_ms = Feed(*device_, noise, static_cast<uint32_t>(noise.size()));
  EXPECT_GE(took_ms, 1450u);
  EXPECT_LE(took_ms, 2500u);
  EXPECT_GE(device_->Pause(), 0);
  EXPECT_GE(device_->Reset(), 0);
  EXPECT_EQ(Position(*device_), 0u);
  uint32_t room = 0;
  device_->GetFreeSpace(&room);
  EXPECT_EQ(room, plan_.Bytes());
}

TEST_P(Devices, PauseFreezesResetForgetsAndItPlaysAgain) {
  const std::vector<uint8_t> noise = Noise(kRate);
  Feed(*device_, noise, 4 * kRate / 4);
  EXPECT_GE(device_->Pause(), 0);
  SystemClock().Sleep(100);
  const uint32_t frozen = Position(*device_);
  SystemClock().Sleep(200);
  EXPECT_EQ(Position(*device_), frozen);
  EXPECT_GE(device_->Play(), 0);
  SystemClock().Sleep(200);
  EXPECT_GT(Position(*device_), frozen);
  EXPECT_GE(device_->Pause(), 0);
  EXPECT_GE(device_->Reset(), 0);
  // What is written while paused waits for Play.
  EXPECT_EQ(device_->Write(noise.data(), plan_.block_bytes), S_OK);
  SystemClock().Sleep(150);
  EXPECT_EQ(Position(*device_), 0u);
  EXPECT_GE(device_->Reset(), 0);
  Feed(*device_, std::vector<uint8_t>(4 * kRate / 5, 0), 4 * kRate / 5);
}

TEST_P(Devices, CloneIsADeviceOfItsOwn) {
  const std::vector<uint8_t> noise = Noise(kRate);
  Feed(*device_, noise, 4 * kRate / 10);
  ComPtr<OutputDevice> clone;
  ASSERT_GE(device_->Clone(clone.Receive()), 0);
  EXPECT_EQ(Position(*clone), 0u);
  uint32_t room = 0;
  clone->GetFreeSpace(&room);
  EXPECT_EQ(room, plan_.Bytes());
  Feed(*clone, noise, 4 * kRate / 10);
  EXPECT_GE(device_->Pause(), 0);
  device_.Reset();
  EXPECT_GT(Position(*clone), 0u);
  clone.Reset();
}

TEST_P(Devices, VolumeAndBalance) {
  for (const int32_t volume : {-1, 0, 50, 100})
    EXPECT_GE(device_->SetVolume(volume), 0);
  for (const int32_t balance : {-100, 30, 100, 0})
    EXPECT_GE(device_->SetBalance(balance), 0);
  EXPECT_EQ(device_->SetVolume(100), GetParam() == DeviceKind::kWaveOut ? S_FALSE : S_OK);
}

TEST_P(Devices, OtherWidthsAndChannels) {
  for (const uint16_t bits : {uint16_t{8}, uint16_t{24}, uint16_t{32}}) {
    for (const uint16_t channels : {uint16_t{1}, uint16_t{6}}) {
      SCOPED_TRACE(testing::Message() << bits << " bits, " << channels << " channels");
      const WAVEFORMATEX format = MakePcmFormat(channels, 48000, bits);
      const BufferPlan plan = PlanBuffer(format, 200, 1200u * 4 * channels);
      ComPtr<OutputDevice> device;
      if (FAILED(OpenDevice(*factory_, settings_, format, plan, device.Receive()))) continue;
      const std::vector<uint8_t> silence(plan.block_bytes, bits == 8 ? 128 : 0);
      EXPECT_GE(device->Write(silence.data(), plan.block_bytes), 0);
      EXPECT_GE(device->Play(), 0);
    }
  }
}

INSTANTIATE_TEST_SUITE_P(All, Devices, testing::Values(DeviceKind::kWaveOut, DeviceKind::kDirectSound),
                         [](const auto& kind) {
                           return kind.param == DeviceKind::kWaveOut ? "WaveOut" : "DirectSound";
                         });

TEST(DeviceList, FirstEntryIsTheDefault) {
  for (const DeviceKind kind : {DeviceKind::kWaveOut, DeviceKind::kDirectSound}) {
    const std::vector<DeviceInfo> list = ListDevices(kind);
    if (list.empty()) continue;
    EXPECT_EQ(ParseDeviceId(list[0].id).kind, static_cast<int32_t>(kind));
    EXPECT_EQ(ParseDeviceId(list[0].id).index, 0);
    EXPECT_FALSE(list[0].name_gbk.empty());
  }
}

TEST(AbsentDevices, NoneIsAClearFailure) {
  const WAVEFORMATEX format = MakePcmFormat(2, kRate, 16);
  const BufferPlan plan = PlanBuffer(format, 500, 8768);
  PlaybackSettings settings;
  // Devices that no machine has: number 500 of a kind, an identifier nobody uses.
  const GUID absent[] = {PackDeviceId(0, 501),
                         PackDeviceId(1, 500),
                         PackDeviceId(2, 0),
                         PackDeviceId(3, 500),
                         {0x12345678, 1, 2, {3, 4, 5, 6, 7, 8, 9, 10}}};
  for (const GUID& id : absent) {
    settings.device_type = id;
    ComPtr<OutputDevice> device;
    EXPECT_LT(OpenDevice(*CreatePlatformDeviceFactory(nullptr), settings, format, plan, device.Receive()), 0);
    EXPECT_EQ(device.get(), nullptr);
  }
}

}  // namespace
}  // namespace melorin
