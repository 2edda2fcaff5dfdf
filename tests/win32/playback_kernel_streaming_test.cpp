// SPDX-License-Identifier: MIT
//
// The Kernel Streaming device over made-up filters: what is listed, how a pin is connected, what reaches it,
// and that no driver can make a call hang or crash.
#include <gtest/gtest.h>

#include <functional>

#include "../playback_sim.h"
#include "fake_ks.h"
#include "platform/com_ptr.h"
#include "platform/text.h"
#include "playback/open_track.h"
#include "playback/win32/kernel_streaming_device.h"

namespace melorin {
namespace {

using fake::BytesOf;
using fake::FakeKs;
using fake::KsInterfaceSetup;
using fake::KsList;
using fake::PcmRange;

/// Virtual time: a wait that nobody ends costs nothing.
class FastClock final : public Clock {
 public:
  uint32_t TickMs() override { return now_ms; }
  bool Wait(Event& event, uint32_t timeout_ms) override {
    if (timeout_ms == kInfinite) return event.Wait();
    if (event.Wait(0)) return true;
    now_ms += timeout_ms;
    if (at_ms != 0 && now_ms >= at_ms) {
      at_ms = 0;
      action();
    }
    return false;
  }
  void Sleep(uint32_t ms) override { now_ms += ms; }

  std::atomic<uint32_t> now_ms{1000};
  uint32_t at_ms = 0;  ///< When to do the action, on the thread that waits.
  std::function<void()> action;
};

KsInterfaceSetup Interface(std::u16string path, std::u16string name = u"Speakers") {
  KsInterfaceSetup setup;
  setup.path = std::move(path);
  setup.name = std::move(name);
  return setup;
}

KsInterfaceSetup Bent(ULONG property, fake::KsAnswer answer) {
  KsInterfaceSetup setup = Interface(u"bent");
  setup.pins[0].answers[property] = std::move(answer);
  return setup;
}

TEST(KernelStreamingList, HasWhatRendersPcm) {
  FakeKs ks;
  ks.interfaces = {Interface(u"a", u"扬声器"), Interface(u"capture"), Interface(u"b", u""),
                   Interface(u"busy"),         Interface(u"c"),       Interface(u"d")};
  ks.interfaces[1].renders = false;
  ks.interfaces[3].opens = false;
  ks.interfaces[4].name_claims = 4000;
  ks.interfaces[5].name_type = REG_BINARY;
  std::string names;
  int32_t index = 0;
  for (const DeviceInfo& info : ListKernelStreamingDevices(ks.Api())) {
    names += Utf8FromGbk(info.name_gbk).substr(0, 9) + " ";
    EXPECT_EQ(info.kind, DeviceKind::kKernelStreaming);
    EXPECT_EQ(ParseDeviceId(info.id).kind, 2);
    EXPECT_EQ(ParseDeviceId(info.id).index, index++);
  }
  EXPECT_EQ(names, "扬声器 b Speakers d ");
  EXPECT_EQ(ks.OpenHandles(), 0u);

  ks.endless = true;
  EXPECT_LE(ListKernelStreamingDevices(ks.Api()).size(), 256u);
  EXPECT_LE(ks.Enumerated(), 1000u);
  ks.interfaces.clear();
  EXPECT_TRUE(ListKernelStreamingDevices(ks.Api()).empty());
}

TEST(KernelStreamingList, LeavesOutWhatAnswersOtherwise) {
  const KSPIN_INTERFACE other = {};
  fake::Bytes compressed = PcmRange(2, 16, 16, 44100, 48000);
  reinterpret_cast<KSDATARANGE*>(compressed.data())->SubFormat = WaveSubtype(0x92);
  const fake::Bytes good = KsList({PcmRange(2, 8, 24, 8000, 96000)});
  const struct {
    const char* name;
    ULONG property;
    fake::KsAnswer answer;
  } cases[] = {
      {"records", KSPROPERTY_PIN_DATAFLOW, {BytesOf(KSPIN_DATAFLOW_OUT)}},
      {"nonsense for a direction", KSPROPERTY_PIN_DATAFLOW, {BytesOf(0xFFFFFFFFu)}},
      {"half a direction", KSPROPERTY_PIN_DATAFLOW, {{1, 0}}},
      {"hardware bridge", KSPROPERTY_PIN_COMMUNICATION, {BytesOf(KSPIN_COMMUNICATION_BRIDGE)}},
      {"no streaming", KSPROPERTY_PIN_INTERFACES, {KsList({BytesOf(other)})}},
      {"interfaces refused", KSPROPERTY_PIN_INTERFACES, {{}, ERROR_NOT_SUPPORTED}},
      {"compressed only", KSPROPERTY_PIN_DATARANGES, {KsList({compressed})}},
      {"ranges refused", KSPROPERTY_PIN_DATARANGES, {{}, ERROR_GEN_FAILURE}},
      {"no ranges", KSPROPERTY_PIN_DATARANGES, {{}}},
      {"more ranges than fit", KSPROPERTY_PIN_DATARANGES, {fake::Bytes(100000)}},
      {"one byte of ranges", KSPROPERTY_PIN_DATARANGES, {good, 0, DWORD{1}}},
      {"a range that is cut", KSPROPERTY_PIN_DATARANGES, {good, 0, DWORD{80}}},
  };
  FakeKs ks;
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    ks.interfaces = {Bent(c.property, c.answer)};
    EXPECT_TRUE(ListKernelStreamingDevices(ks.Api()).empty());
    DeviceCapabilities capabilities;
    EXPECT_EQ(QueryKernelStreamingDevice(ks.Api(), 0, &capabilities), E_INVALIDARG);
  }
  ks.interfaces = {Bent(KSPROPERTY_PIN_DATARANGES, {good, 0, DWORD{0xFFFFFFFF}})};
  EXPECT_EQ(ListKernelStreamingDevices(ks.Api()).size(), 1u)
      << "claims to have written more than there is room for";

  for (const DWORD size : {DWORD{1}, DWORD{0xFFFFFFFF}, DWORD{8}}) {
    ks.interfaces = {Interface(u"path")};
    ks.interfaces[0].detail_bytes = size;
    EXPECT_TRUE(ListKernelStreamingDevices(ks.Api()).empty());
  }
  for (const fake::KsAnswer& count :
       {fake::KsAnswer{{}}, fake::KsAnswer{BytesOf(0u)}, fake::KsAnswer{{}, ERROR_GEN_FAILURE}}) {
    ks.interfaces = {Interface(u"path")};
    ks.interfaces[0].pin_count = count;
    EXPECT_TRUE(ListKernelStreamingDevices(ks.Api()).empty());
  }
  ks.interfaces[0].pin_count = {BytesOf(0xFFFFFFFFu)};
  EXPECT_EQ(ListKernelStreamingDevices(ks.Api()).size(), 1u);
  EXPECT_EQ(ks.OpenHandles(), 0u);
}

TEST(KernelStreamingList, PlatformAnswersWithoutAPin) {
  const KsApi* api = PlatformKsApi();
  if (!api) GTEST_SKIP() << "no Kernel Streaming here";
  const std::vector<DeviceInfo> list = ListKernelStreamingDevices(*api);
  EXPECT_EQ(ListDevices(DeviceKind::kKernelStreaming).size(), list.size());
  DeviceCapabilities capabilities;
  EXPECT_EQ(QueryDeviceCapabilities(PackDeviceId(2, static_cast<uint16_t>(list.size())), &capabilities),
            E_INVALIDARG);
}

constexpr uint32_t kBlock = 400;  // A hundred frames.
constexpr uint32_t kBlocks = 4;

class KernelStreaming : public testing::Test {
 protected:
  KernelStreaming() { ks_.interfaces = {Interface(u"path")}; }
  ~KernelStreaming() override {
    device_.Reset();
    EXPECT_EQ(ks_.OpenHandles(), 0u);
  }

  HRESULT TryOpen(int32_t index = 0) {
    device_.Reset();
    return OpenKernelStreamingDevice(ks_.Api(), format_, kBlock, kBlocks, index, device_.Receive(), clock_);
  }
  void Open() { ASSERT_EQ(TryOpen(), S_OK); }
  uint32_t Position() {
    uint32_t bytes = 1;
    EXPECT_EQ(device_->GetPosition(&bytes), S_OK);
    return bytes;
  }
  uint32_t Room() {
    uint32_t bytes = 1;
    EXPECT_EQ(device_->GetFreeSpace(&bytes), S_OK);
    return bytes;
  }
  fake::Bytes Data(uint32_t bytes) {
    fake::Bytes data(bytes);
    for (uint8_t& byte : data)
      byte = static_cast<uint8_t>(next_ = next_ * 5 + 3);
    return data;
  }
  HRESULT Write(const fake::Bytes& data) {
    return device_->Write(data.data(), static_cast<uint32_t>(data.size()));
  }

  FakeKs ks_;
  FastClock clock_;
  WAVEFORMATEX format_ = MakePcmFormat(2, 44100, 16);
  ComPtr<OutputDevice> device_;
  uint32_t next_ = 1;
};

TEST_F(KernelStreaming, ConnectsThePinWithTheFormatAsGiven) {
  const WAVEFORMATEXTENSIBLE extensible = MakeExtensible(MakePcmFormat(2, 96000, 24));
  const WAVEFORMATEX* formats[] = {&format_, &extensible.Format};
  for (const WAVEFORMATEX* format : formats) {
    ASSERT_EQ(OpenKernelStreamingDevice(ks_.Api(), *format, kBlock, kBlocks, 0, device_.Receive(), clock_),
              S_OK);
    const fake::Bytes& connect = ks_.Stream().connect;
    ASSERT_EQ(connect.size(), sizeof(KSPIN_CONNECT) + sizeof(KSDATAFORMAT) + FormatSize(*format));
    KSDATAFORMAT data = {};
    std::memcpy(&data, connect.data() + sizeof(KSPIN_CONNECT), sizeof data);
    EXPECT_TRUE(SameGuid(data.SubFormat, WaveSubtype(WAVE_FORMAT_PCM)));
    EXPECT_EQ(data.SampleSize, format->nBlockAlign);
    EXPECT_EQ(std::memcmp(connect.data() + sizeof(KSPIN_CONNECT) + sizeof data, format, FormatSize(*format)),
              0);
    EXPECT_EQ(ks_.Stream().states, "AP");
    device_.Reset();
  }
  int32_t kind = 0;
  uint32_t bytes = 0;
  Open();
  EXPECT_EQ(device_->GetType(&kind), S_OK);
  EXPECT_EQ(kind, 2);
  EXPECT_EQ(device_->GetBufferSize(&bytes), S_OK);
  EXPECT_EQ(bytes, kBlock * kBlocks);
  EXPECT_EQ(device_->SetVolume(50), E_NOTIMPL);
  EXPECT_EQ(device_->SetBalance(0), E_NOTIMPL);
  OutputDevice* twin = device_.get();
  EXPECT_EQ(device_->Clone(&twin), E_NOTIMPL);
  EXPECT_EQ(twin, nullptr);
}

TEST_F(KernelStreaming, TriesThePinsThatTakeTheFormat) {
  ks_.interfaces = {Interface(u"other"), Interface(u"path")};
  ks_.interfaces[1].pins = {fake::RenderPinSetup(PcmRange(2, 16, 16, 48000, 48000)), fake::RenderPinSetup(),
                            fake::RenderPinSetup()};
  ks_.interfaces[1].pins[1].create_error = ERROR_ACCESS_DENIED;
  ASSERT_EQ(TryOpen(1), S_OK);
  KSPIN_CONNECT connect = {};
  std::memcpy(&connect, ks_.Stream().connect.data(), sizeof connect);
  EXPECT_EQ(connect.PinId, 2u);

  ks_.interfaces[1].pins[2].create_error = ERROR_SHARING_VIOLATION;
  EXPECT_EQ(TryOpen(1), static_cast<HRESULT>(0x80070020)) << "of the last one";
  format_ = MakePcmFormat(6, 44100, 16);
  EXPECT_EQ(TryOpen(1), static_cast<HRESULT>(0x80070000 | ERROR_NO_MATCH));
  format_ = MakePcmFormat(2, 44100, 16);
  EXPECT_EQ(TryOpen(2), E_INVALIDARG);
  EXPECT_EQ(TryOpen(-1), E_INVALIDARG);
  OutputDevice* none = nullptr;
  EXPECT_EQ(OpenKernelStreamingDevice(ks_.Api(), format_, 0, 4, 0, &none), E_INVALIDARG);
  EXPECT_EQ(OpenKernelStreamingDevice(ks_.Api(), format_, kBlock, 0, 0, &none), E_INVALIDARG);
  EXPECT_EQ(OpenKernelStreamingDevice(ks_.Api(), format_, 0x10000, 0x10000, 0, &none), E_INVALIDARG);
  EXPECT_EQ(OpenKernelStreamingDevice(ks_.Api(), format_, kBlock, 4, 0, nullptr), E_POINTER);
  ks_.state_error = ERROR_BUSY;
  EXPECT_EQ(TryOpen(0), static_cast<HRESULT>(0x80070000 | ERROR_BUSY));
}

TEST_F(KernelStreaming, StatesFollowOneAnother) {
  Open();
  EXPECT_EQ(device_->Play(), S_OK);
  EXPECT_EQ(device_->Play(), S_OK);
  EXPECT_EQ(device_->Pause(), S_OK);
  EXPECT_EQ(device_->Play(), S_OK);
  EXPECT_EQ(device_->Reset(), S_OK);
  EXPECT_EQ(device_->Play(), S_OK);
  EXPECT_EQ(ks_.Stream().states,
            "AP"
            "R"
            "P"
            "R"
            "PASAP"
            "R");
  device_.Reset();
  EXPECT_EQ(ks_.Stream().states,
            "APRPRPASAPR"
            "PAS");
}

TEST_F(KernelStreaming, WhatIsWrittenArrivesInOrder) {
  Open();
  fake::Bytes all;
  const auto write = [&](uint32_t bytes) {
    const fake::Bytes data = Data(bytes);
    EXPECT_EQ(Write(data), S_OK);
    all.insert(all.end(), data.begin(), data.end());
  };
  write(kBlock);
  write(kBlock + 40);
  EXPECT_EQ(Room(), kBlock);
  EXPECT_EQ(Write(Data(kBlock + 1)), E_INVALIDARG);
  write(100);
  EXPECT_EQ(Room(), 0u);
  EXPECT_EQ(Position(), 0u);
  ASSERT_EQ(device_->Play(), S_OK);
  ks_.Play(kBlock - 2);
  EXPECT_EQ(Position(), kBlock - 4) << "whole frames";
  EXPECT_EQ(Room(), 0u);
  ks_.Play(2 + kBlock + 40);
  EXPECT_EQ(Room(), 3 * kBlock);
  EXPECT_EQ(Position(), 2 * kBlock + 40);
  ASSERT_EQ(device_->Pause(), S_OK);
  write(2 * kBlock);
  EXPECT_EQ(Position(), 2 * kBlock + 40);
  ASSERT_EQ(device_->Play(), S_OK);
  for (int i = 0; i < 40; ++i) {
    ks_.Play(kBlock / 4);
    if (Room() >= kBlock) write(kBlock - 4 * static_cast<uint32_t>(i));
  }
  ks_.Play(4 * kBlock);
  EXPECT_EQ(Position(), all.size());
  EXPECT_EQ(ks_.Stream().heard, all);
  EXPECT_EQ(Room(), kBlocks * kBlock);

  write(2 * kBlock);
  ASSERT_EQ(device_->Reset(), S_OK);
  EXPECT_EQ(Position(), 0u);
  EXPECT_EQ(Room(), kBlocks * kBlock);
  ks_.Stream().heard.clear();
  all.clear();
  write(kBlock);
  ASSERT_EQ(device_->Play(), S_OK);
  ks_.Play(4 * kBlock);
  EXPECT_EQ(ks_.Stream().heard, all) << "what was queued before the reset is not heard";
  EXPECT_EQ(Position(), kBlock);
}

TEST_F(KernelStreaming, PositionCountsFromTheResetWhateverTheDriverCountsFrom) {
  for (const uint64_t first : {uint64_t{123456}, (uint64_t{1} << 32) - 4, ~uint64_t{0} - 3}) {
    ks_.first_offset = first;
    Open();
    ASSERT_EQ(device_->Reset(), S_OK);
    EXPECT_EQ(Write(Data(2 * kBlock)), S_OK);
    ASSERT_EQ(device_->Play(), S_OK);
    ks_.Play(kBlock);
    if (first == (uint64_t{1} << 32) - 4)
      ks_.Stream().offset &= 0xFFFFFFFF;  // Drivers that count in 32 bits.
    if (first != ~uint64_t{0} - 3) {
      EXPECT_EQ(Position(), kBlock);
      ks_.Stream().offset += 1000 * kBlock;
      EXPECT_EQ(Position(), kBlock) << "a slip, perhaps";
      EXPECT_EQ(Position(), 2 * kBlock) << "no more than was written";
    }
    ks_.Stream().offset = 0;
    EXPECT_LE(Position(), 2 * kBlock);
  }
  ks_.position_error = ERROR_SET_NOT_FOUND;
  ks_.first_offset = 0;
  Open();
  ASSERT_EQ(device_->Play(), S_OK);
  uint32_t written = 0;
  for (; written < 40 * kBlock * kBlocks; written += kBlock * kBlocks) {
    EXPECT_EQ(Write(Data(kBlock * kBlocks)), S_OK);
    ks_.Play(kBlock * kBlocks);
    EXPECT_LE(Position(), written) << "what the driver has finished is not heard yet";
    clock_.Sleep(10);
  }
  EXPECT_EQ(Position(), written - 60 * format_.nAvgBytesPerSec / 1000);
  ASSERT_EQ(device_->Reset(), S_OK);
  EXPECT_EQ(Position(), 0u);
}

TEST_F(KernelStreaming, ADeviceThatIsTakenAwayFailsFromThenOn) {
  Open();
  EXPECT_EQ(Write(Data(2 * kBlock)), S_OK);
  ASSERT_EQ(device_->Play(), S_OK);
  ks_.Unplug();
  for (int i = 0; i < 2; ++i) {
    EXPECT_LT(Write(Data(kBlock)), 0);
    ks_.gone = false;  // Even if something answers there again.
  }
  uint32_t bytes = 0;
  EXPECT_LT(device_->GetPosition(&bytes), 0);
  EXPECT_LT(device_->GetFreeSpace(&bytes), 0);
  EXPECT_EQ(bytes, 0u);
  EXPECT_LT(device_->Play(), 0);
  EXPECT_LT(device_->Pause(), 0);
  EXPECT_LT(device_->Reset(), 0);
}

TEST_F(KernelStreaming, AShortageOfMemoryPasses) {
  Open();
  const fake::Bytes data = Data(kBlock);
  ks_.write_error = ERROR_NO_SYSTEM_RESOURCES;
  EXPECT_LT(Write(data), 0);
  EXPECT_EQ(Room(), kBlocks * kBlock);
  EXPECT_EQ(Write(data), S_OK);
  ASSERT_EQ(device_->Play(), S_OK);
  ks_.Play(kBlock);
  EXPECT_EQ(ks_.Stream().heard, data);
  ks_.write_error = ERROR_INVALID_PARAMETER;
  EXPECT_LT(Write(data), 0);
  EXPECT_LT(Write(data), 0) << "nothing that passes";
}

TEST_F(KernelStreaming, AStalledDriverHoldsUpNobodyAndKeepsItsMemory) {
  Open();
  const fake::Bytes data = Data(3 * kBlock);
  EXPECT_EQ(Write(data), S_OK);
  ASSERT_EQ(device_->Play(), S_OK);
  ks_.stalled = true;
  EXPECT_EQ(Room(), kBlock);
  EXPECT_EQ(Position(), 0u);
  EXPECT_EQ(device_->Pause(), S_OK);
  const uint32_t begin = SystemClock().TickMs();
  EXPECT_LT(device_->Reset(), 0);
  EXPECT_LT(device_->Play(), 0);
  device_.Reset();
  EXPECT_LT(SystemClock().TickMs() - begin, 2500u);
  fake::Bytes held;
  for (const fake::KsStream::Packet& packet : ks_.Stream().queue) {
    const auto* bytes = static_cast<const uint8_t*>(packet.header->Data);
    held.insert(held.end(), bytes, bytes + packet.header->DataUsed);
  }
  EXPECT_EQ(held, data);
  EXPECT_TRUE(ks_.GiveBack());
}

TEST_F(KernelStreaming, WhatAStoppedPinKeepsIsCancelled) {
  Open();
  EXPECT_EQ(Write(Data(3 * kBlock)), S_OK);
  ASSERT_EQ(device_->Play(), S_OK);
  ks_.keeps_on_stop = true;
  EXPECT_EQ(device_->Reset(), S_OK);
  EXPECT_EQ(Room(), kBlocks * kBlock);
  const fake::Bytes data = Data(kBlock);
  EXPECT_EQ(Write(data), S_OK);
  ASSERT_EQ(device_->Play(), S_OK);
  ks_.Play(4 * kBlock);
  EXPECT_EQ(ks_.Stream().heard, data);
}

TEST_F(KernelStreaming, ADriverThatDoesNotAnswerIsGivenUp) {
  Open();
  EXPECT_EQ(Write(Data(kBlock)), S_OK);
  ks_.mute_states = true;
  const uint32_t begin = SystemClock().TickMs();
  EXPECT_EQ(device_->Play(), static_cast<HRESULT>(0x80070000 | ERROR_TIMEOUT));
  EXPECT_LT(device_->Pause(), 0);
  EXPECT_LT(Write(Data(kBlock)), 0);
  device_.Reset();
  EXPECT_LT(SystemClock().TickMs() - begin, 3000u);
  EXPECT_TRUE(ks_.GiveBack()) << "the answer comes late";
}

TEST_F(KernelStreaming, CallsMayMeetInTheMiddle) {
  Open();
  for (int i = 0; i < 2; ++i) {
    ks_.amid_write = [&] { EXPECT_EQ(Room(), (kBlocks - 1) * kBlock) << "not sent, but no longer free"; };
    EXPECT_EQ(Write(Data(kBlock)), S_OK);
    ASSERT_EQ(device_->Play(), S_OK);
    ks_.Play(kBlock);
    ks_.amid_position = [&] {
      EXPECT_EQ(Position(), 0u) << "the last one known";
      EXPECT_EQ(device_->Reset(), S_OK);
      EXPECT_EQ(Write(Data(2 * kBlock)), S_OK);
    };
    EXPECT_EQ(Position(), 0u) << "an answer of before the reset";
    EXPECT_EQ(device_->Reset(), S_OK);
  }
}

TEST_F(KernelStreaming, TwoThreadsMayUseItAtOnce) {
  ks_.clock = &SystemClock();
  ks_.bytes_per_second = 2000000;
  Open();
  const fake::Bytes data = Data(kBlock + 40);
  std::atomic<bool> done{false};
  std::atomic<uint32_t> written{0};
  Thread writer;
  ASSERT_TRUE(writer.Start([&] {
    while (!done) {
      uint32_t room = 0;
      EXPECT_EQ(device_->GetFreeSpace(&room), S_OK);
      if (room < 2 * kBlock) continue;
      const HRESULT result = Write(data);
      if (result == S_OK) ++written;
      EXPECT_TRUE(result == S_OK || result == E_FAIL) << result;
    }
  }));
  const uint32_t begin = SystemClock().TickMs();
  for (int i = 0; SystemClock().TickMs() - begin < 300; ++i) {
    EXPECT_EQ(device_->Play(), S_OK);
    uint32_t last = 0;
    for (int k = 0; k < 20; ++k) {
      const uint32_t now = Position();
      EXPECT_GE(now, last);
      last = now;
    }
    EXPECT_EQ(device_->Pause(), S_OK);
    EXPECT_GE(Position(), last);
    if (i % 3 == 0) {
      EXPECT_EQ(device_->Reset(), S_OK);
    }
  }
  done = true;
  writer.Join();
  EXPECT_GT(written, 10u);
  EXPECT_EQ(device_->Reset(), S_OK);
  EXPECT_EQ(Position(), 0u);
  EXPECT_EQ(Room(), kBlocks * kBlock);
}

TEST_F(KernelStreaming, CapabilitiesAreThoseOfAllItsPins) {
  ks_.interfaces[0].pins.push_back(fake::RenderPinSetup(PcmRange(8, 32, 32, 192000, 192000)));
  DeviceCapabilities found;
  ASSERT_EQ(QueryKernelStreamingDevice(ks_.Api(), 0, &found), S_OK);
  EXPECT_EQ(found.min_rate, 8000u);
  EXPECT_EQ(found.max_rate, 192000u);
  EXPECT_EQ(found.max_channels, 8);
  EXPECT_EQ(found.bits, (std::vector<uint16_t>{8, 16, 24, 32}));
  EXPECT_EQ(QueryKernelStreamingDevice(ks_.Api(), 1, &found), E_INVALIDARG);
  EXPECT_EQ(QueryKernelStreamingDevice(ks_.Api(), 0, nullptr), E_POINTER);
}

class KsFactory final : public DeviceFactory {
 public:
  KsFactory(const KsApi& api, Clock& clock) : api_(api), clock_(clock) {}
  HRESULT OpenWaveOut(const WAVEFORMATEX&, uint32_t, int32_t, OutputDevice**) override { return E_NOTIMPL; }
  HRESULT OpenDirectSound(const DirectSoundRequest&, OutputDevice**) override { return E_NOTIMPL; }
  HRESULT OpenKernelStreaming(const WAVEFORMATEX& format, uint32_t block_bytes, uint32_t blocks,
                              int32_t index, OutputDevice** out) override {
    return OpenKernelStreamingDevice(api_, format, block_bytes, blocks, index, out, clock_);
  }
  HRESULT OpenAsio(const WAVEFORMATEX&, uint32_t, int32_t, OutputDevice**) override { return E_NOTIMPL; }

 private:
  const KsApi& api_;
  Clock& clock_;
};

/// A whole track of two seconds on a pin that plays by the clock.
class KernelStreamingTrack : public testing::Test, private EventTarget {
 protected:
  void SetUp() override {
    chain_setup_.total_frames = 16000;
    chain_setup_.duration_ms = 2000;
    journal_.SetQuiet(true);
    ks_.interfaces = {Interface(u"path")};
    ks_.clock = &clock_;
    ks_.bytes_per_second = 32000;
    settings_.device_type = PackDeviceId(2, 0);
    settings_.buffer_duration = 500;
  }
  void TearDown() override {
    stream_.Reset();
    EXPECT_EQ(ks_.OpenHandles(), 0u);
    EXPECT_TRUE(ks_.GiveBack());
  }
  HRESULT TryOpen() {
    KsFactory factory(ks_.Api(), clock_);
    return OpenForChain(std::make_unique<sim::SimChain>(journal_, chain_setup_), settings_, nullptr, clock_,
                        std::addressof(stream_), &factory);
  }
  void Open() {
    ASSERT_EQ(TryOpen(), S_OK);
    stream_->SetNotify(this, kStreamMessage);
  }
  void Post(uint32_t, uint32_t event, PlaybackStream*) override {
    if (event == kEventTrackEnd) ended_.Set();
  }
  /// The frames first to last of the track are what is heard from there on.
  void ExpectHeard(size_t at, uint32_t first, uint32_t last) {
    const fake::Bytes& heard = ks_.Stream().heard;
    ASSERT_GE(heard.size(), at + (last - first) * 4);
    for (uint32_t frame = first; frame < last; ++frame) {
      int16_t left = 0;
      std::memcpy(&left, &heard[at + (frame - first) * 4], 2);
      ASSERT_EQ(left, static_cast<int16_t>(frame)) << frame;
    }
  }

  FakeKs ks_;
  FastClock clock_;
  sim::Journal journal_{clock_};
  sim::ChainSetup chain_setup_;
  PlaybackSettings settings_;
  Event ended_{Event::Mode::kManualReset};
  ComPtr<PlaybackStream> stream_;
};

TEST_F(KernelStreamingTrack, PlaysToItsEnd) {
  Open();
  EXPECT_EQ(stream_->Kind(), DeviceKind::kKernelStreaming);
  EXPECT_EQ(stream_->FadeFlags(), 0) << "no volume, no fades";
  const uint32_t begin = clock_.now_ms;
  ASSERT_EQ(stream_->Play(), S_OK);
  ASSERT_TRUE(ended_.Wait(5000));
  EXPECT_GE(clock_.now_ms - begin, 1990u);
  EXPECT_LE(clock_.now_ms - begin, 2200u);
  ExpectHeard(0, 0, 16000);
  EXPECT_EQ(ks_.Stream().states,
            "APR"
            "PASAP");
}

TEST_F(KernelStreamingTrack, OpensByTheExtensibleLayoutWhereThePlainOneIsRefused) {
  ks_.interfaces[0].pins[0].extensible_only = true;
  Open();
  ks_.interfaces[0].pins[0].create_error = ERROR_SHARING_VIOLATION;
  EXPECT_EQ(TryOpen(), static_cast<HRESULT>(0x80070020));
  EXPECT_FALSE(stream_);
}

TEST_F(KernelStreamingTrack, SeeksAndPauses) {
  // The clock does not wait for this thread: on a busy machine the track may be over before it is paused.
  size_t before = 0;
  for (int attempt = 0; attempt < 20; ++attempt) {
    Open();
    Event there(Event::Mode::kManualReset);
    clock_.action = [&] { there.Set(); };
    clock_.at_ms = clock_.now_ms + 100;
    ASSERT_EQ(stream_->Play(), S_OK);
    ASSERT_TRUE(there.Wait(5000));
    ASSERT_EQ(stream_->Pause(), S_OK);
    before = ks_.Stream().heard.size();
    if (before < chain_setup_.total_frames * 4) break;
  }
  ended_.Reset();
  ExpectHeard(0, 0, static_cast<uint32_t>(before / 4));
  ASSERT_EQ(stream_->Seek(1500), S_OK);
  EXPECT_EQ(stream_->GetPositionMs(), 1500u);
  ASSERT_EQ(stream_->Play(), S_OK);
  ASSERT_TRUE(ended_.Wait(5000));
  ExpectHeard(before, 12000, 16000);
}

TEST_F(KernelStreamingTrack, RunsOnUnheardWhenTheDeviceFails) {
  const std::function<void()> faults[] = {[this] { ks_.Unplug(); }, [this] { ks_.stalled = true; }};
  for (const std::function<void()>& fault : faults) {
    ks_.gone = false;
    ended_.Reset();
    Open();
    clock_.action = fault;
    clock_.at_ms = clock_.now_ms + 700;
    ASSERT_EQ(stream_->Play(), S_OK);
    ASSERT_TRUE(ended_.Wait(5000));
    EXPECT_EQ(stream_->Play(), S_OK);
    EXPECT_EQ(stream_->Pause(), S_OK);
    EXPECT_EQ(stream_->Stop(), S_OK);
  }
}

}  // namespace
}  // namespace melorin
