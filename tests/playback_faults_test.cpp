// SPDX-License-Identifier: MIT
//
// What goes wrong with a sound device, for each of the four kinds: the track runs to its end or is not begun,
// and no command hangs.
#include "playback/open_track.h"
#include "playback/watched_device.h"
#include "playback_sim.h"

namespace melorin::sim {
namespace {

constexpr DeviceKind kKinds[] = {DeviceKind::kWaveOut, DeviceKind::kDirectSound, DeviceKind::kKernelStreaming,
                                 DeviceKind::kAsio};

/// Opens nothing: every attempt fails in the same way, and is counted.
class BrokenFactory final : public DeviceFactory {
 public:
  HRESULT OpenWaveOut(const WAVEFORMATEX&, uint32_t, int32_t, OutputDevice**) override { return Fail(0); }
  HRESULT OpenDirectSound(const DirectSoundRequest&, OutputDevice**) override { return Fail(1); }
  HRESULT OpenKernelStreaming(const WAVEFORMATEX&, uint32_t, uint32_t, int32_t, OutputDevice**) override {
    return Fail(2);
  }
  HRESULT OpenAsio(const WAVEFORMATEX&, uint32_t, int32_t, OutputDevice**) override { return Fail(3); }

  HRESULT result = E_FAIL;
  int attempts[4] = {};

 private:
  HRESULT Fail(int kind) {
    ++attempts[kind];
    return result;
  }
};

class DeviceFaults : public StreamTest, public ::testing::WithParamInterface<DeviceKind> {
 protected:
  void OpenWatched() {
    device_setup_.kind = GetParam();
    chain_setup_.total_frames = 8000 * 8;
    chain_setup_.duration_ms = 8000;
    device_ = ComPtr<SimDevice>::Adopt(new SimDevice(clock_, journal_, device_setup_, 'A'));
    HRESULT status = E_FAIL;
    auto watched = WatchDevice(ComPtr<OutputDevice>::Share(device_.get()), MakeFormat(), clock_);
    stream_ = PlaybackStream::Create(std::make_unique<SimChain>(journal_, chain_setup_), std::move(watched),
                                     MakeFormat(), 0, clock_, &status, clock_.Starter());
    ASSERT_EQ(status, S_OK);
    stream_->SetNotify(&window_, kStreamMessage);
    clock_.Settle();
  }
  /// Whether the track has reported its end after that time, and not before half of it.
  void ExpectEndAfter(uint32_t duration_ms) {
    clock_.Advance(duration_ms / 2);
    EXPECT_EQ(Happened({"post 0"}), "");
    clock_.Advance(duration_ms - duration_ms / 2);
    EXPECT_EQ(Happened({"post 0"}), "post 0");
    EXPECT_EQ(stream_->State(), DeviceState::kStopped);
  }
  void ExpectCommandsWork() {
    EXPECT_EQ(stream_->Play(), S_OK);
    clock_.Advance(500);
    EXPECT_EQ(stream_->Pause(), S_OK);
    clock_.Advance(2000);
    EXPECT_EQ(stream_->State(), DeviceState::kPaused);
    EXPECT_EQ(stream_->Seek(3000), S_OK);
    EXPECT_EQ(stream_->Play(), S_OK);
    clock_.Advance(500);
    EXPECT_EQ(stream_->Stop(), S_OK);
    clock_.Advance(2000);
    EXPECT_EQ(stream_->State(), DeviceState::kStopped);
  }
};

TEST_P(DeviceFaults, OneThatCannotBeOpenedIsTriedInEveryWayAndLeavesNothingBehind) {
  BrokenFactory factory;
  PlaybackSettings settings;
  settings.device_type = PackDeviceId(static_cast<uint16_t>(GetParam()), 0);
  settings.hardware_buffer = true;
  const int attempts[] = {2, 4, 2, 1};
  for (const HRESULT failure : {E_FAIL, E_OUTOFMEMORY}) {
    factory = {};
    factory.result = failure;
    ComPtr<PlaybackStream> stream;
    EXPECT_EQ(OpenForChain(std::make_unique<SimChain>(journal_, chain_setup_), settings, nullptr, clock_,
                           std::addressof(stream), &factory),
              GetParam() == DeviceKind::kWaveOut ? E_FAIL : failure);
    EXPECT_FALSE(stream);
    for (int kind = 0; kind < 4; ++kind) {
      const bool its_own = kind == static_cast<int>(GetParam());
      EXPECT_EQ(factory.attempts[kind], its_own ? attempts[kind] : 0) << kind;
    }
  }
}

TEST_P(DeviceFaults, OneThatDisappearsIsReplacedBySilenceThatKeepsTime) {
  OpenWatched();
  ASSERT_EQ(stream_->Play(), S_OK);
  clock_.Advance(2000);
  journal_.Take();
  device_setup_.write = device_setup_.reset = device_setup_.pause = device_setup_.clone = E_FAIL;
  device_setup_.volume = E_FAIL;
  // Two seconds of patience, in which the device's clock may stand still.
  ExpectEndAfter(6000 + 2500);
  ExpectCommandsWork();
}

TEST_P(DeviceFaults, OneThatIsGoneBeforeItPlaysIsSilenceFromTheStart) {
  OpenWatched();
  device_setup_.play = device_setup_.write = device_setup_.reset = device_setup_.pause = E_FAIL;
  ASSERT_EQ(stream_->Play(), S_OK);
  ExpectEndAfter(8000 + 500);
  ExpectCommandsWork();
}

TEST_P(DeviceFaults, OneThatRefusesVolumePlaysWithoutFades) {
  device_setup_.volume = E_NOTIMPL;
  OpenWatched();
  EXPECT_EQ(stream_->FadeFlags(), 0);
  EXPECT_EQ(stream_->SetVolume(40), E_NOTIMPL);
  const FadeDurations durations;
  EXPECT_EQ(stream_->SetFade(kFadeAll, &durations), E_NOTIMPL);
  ASSERT_EQ(stream_->Play(), S_OK);
  clock_.Advance(1000);
  EXPECT_EQ(Happened({"post"}), "");
  // Without a fade a pause acts at once.
  EXPECT_EQ(stream_->Pause(), S_OK);
  EXPECT_EQ(Happened({"A.Pause"}), "A.Pause");
  ASSERT_EQ(stream_->Play(), S_OK);
  ExpectEndAfter(7500);
  ExpectCommandsWork();
}

TEST_P(DeviceFaults, OneThatStallsHoldsUpNoCommandAndNotTheEnd) {
  OpenWatched();
  ASSERT_EQ(stream_->Play(), S_OK);
  clock_.Advance(1000);
  journal_.Take();
  // It takes nothing any more, and its position stands.
  device_setup_.bytes_per_second = 0;
  device_setup_.free_override = 0;
  ExpectEndAfter(7000 + 3500);
  ExpectCommandsWork();
}

TEST_P(DeviceFaults, AStalledOneCanBeLeftAtOnce) {
  OpenWatched();
  ASSERT_EQ(stream_->Play(), S_OK);
  clock_.Advance(1000);
  device_setup_.bytes_per_second = 0;
  device_setup_.free_override = 0;
  clock_.Advance(500);
  EXPECT_EQ(stream_->Seek(4000), S_OK);
  EXPECT_EQ(stream_->Stop(), S_OK);
  clock_.Advance(1000);
  EXPECT_EQ(stream_->State(), DeviceState::kStopped);
}

INSTANTIATE_TEST_SUITE_P(Kinds, DeviceFaults, ::testing::ValuesIn(kKinds));

}  // namespace
}  // namespace melorin::sim
