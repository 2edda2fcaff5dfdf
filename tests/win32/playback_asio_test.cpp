// SPDX-License-Identifier: MIT
//
// The ASIO device over a driver module that is really registered, loaded and called back from; see
// fake_asio_driver.cpp.
#include "playback/win32/asio_device.h"

#include <gtest/gtest.h>
#include <windows.h>

#include <cstring>
#include <string>
#include <thread>

#include "fake_asio.h"
#include "platform/clock.h"
#include "platform/com_ptr.h"
#include "playback/open_track.h"
#include "playback/win32/asio_driver.h"
#include "tests/playback_sim.h"

namespace melorin {
namespace {

using fake_asio::Behaviour;

constexpr uint32_t kRate = 48000;
constexpr HRESULT kBusy = HRESULT_FROM_WIN32(ERROR_BUSY);
constexpr HRESULT kTimedOut = HRESULT_FROM_WIN32(ERROR_TIMEOUT);
constexpr AsioPatience kShort = {300, 300, 100};
const std::wstring kList = L"SOFTWARE\\ASIO\\";
const std::wstring kClass = L"CLSID\\{5A1D6F30-2B47-4E0C-9D11-6C524F0E77A3}";

void WriteText(HKEY root, const std::wstring& key, const wchar_t* name, const std::wstring& text) {
  HKEY opened = nullptr;
  ASSERT_EQ(RegCreateKeyExW(root, key.c_str(), 0, nullptr, 0, KEY_WRITE, nullptr, &opened, nullptr), 0);
  RegSetValueExW(opened, name, 0, REG_SZ, reinterpret_cast<const BYTE*>(text.c_str()),
                 static_cast<DWORD>((text.size() + 1) * sizeof(wchar_t)));
  RegCloseKey(opened);
}

/// Entries of the driver list: the fake and broken ones before, between and behind.
const wchar_t* const kEntries[] = {L"Melorin test a empty", L"Melorin test b no module",
                                   L"Melorin test c fake", L"Melorin test d not a class",
                                   L"Melorin test e described"};

class AsioDevices : public testing::Test {
 protected:
  static void SetUpTestSuite() {
    wchar_t program[MAX_PATH];
    GetModuleFileNameW(nullptr, program, MAX_PATH);
    std::wstring module(program);
    module = module.substr(0, module.rfind(L'\\')) + L"\\test_drivers\\fake_asio_driver.dll";
    const HMODULE loaded = LoadLibraryW(module.c_str());
    ASSERT_NE(loaded, nullptr);
    const auto get = reinterpret_cast<fake_asio::GetControl>(
        reinterpret_cast<void*>(GetProcAddress(loaded, "FakeAsioControl")));
    ASSERT_NE(get, nullptr);
    control_ = get();
    WriteText(HKEY_CLASSES_ROOT, kClass + L"\\InprocServer32", nullptr, module);
    WriteText(HKEY_CLASSES_ROOT, kClass + L"\\InprocServer32", L"ThreadingModel", L"Apartment");
    const std::wstring clsid = kClass.substr(6);
    WriteText(HKEY_LOCAL_MACHINE, kList + kEntries[0], L"Description", L"no class");
    WriteText(HKEY_LOCAL_MACHINE, kList + kEntries[1], L"CLSID", L"{5A1D6F30-2B47-4E0C-9D11-6C524F0E77A4}");
    WriteText(HKEY_LOCAL_MACHINE, kList + kEntries[2], L"CLSID", clsid);
    WriteText(HKEY_LOCAL_MACHINE, kList + kEntries[3], L"CLSID", L"Folder");
    WriteText(HKEY_LOCAL_MACHINE, kList + kEntries[4], L"CLSID", clsid);
    WriteText(HKEY_LOCAL_MACHINE, kList + kEntries[4], L"Description", L"声卡");
  }
  static void TearDownTestSuite() {
    for (const wchar_t* entry : kEntries)
      RegDeleteKeyW(HKEY_LOCAL_MACHINE, (kList + entry).c_str());
    RegDeleteKeyW(HKEY_LOCAL_MACHINE, L"SOFTWARE\\ASIO");  // Stays when it is not empty.
    RegDeleteKeyW(HKEY_CLASSES_ROOT, (kClass + L"\\InprocServer32").c_str());
    RegDeleteKeyW(HKEY_CLASSES_ROOT, kClass.c_str());
  }

  void SetUp() override {
    ASSERT_NE(control_, nullptr);
    control_->behaviour = {};
    control_->starts = control_->stops = control_->ready = 0;
    control_->silent_thread = 0;
    ResetEvent(control_->let_go);
  }
  void TearDown() override {
    device_.Reset();
    SetEvent(control_->let_go);
    // A driver that was let go may still be on its way.
    Await([] { return control_->alive == 0; });
    EXPECT_EQ(control_->alive, 0);
    EXPECT_EQ(control_->buffers, 0);
    EXPECT_EQ(control_->foreign_calls, 0);
  }

  template <class Condition>
  static bool Await(Condition&& condition) {
    for (int i = 0; i < 1000 && !condition(); ++i)
      Sleep(5);
    return condition();
  }
  static int32_t Index() {
    const std::vector<DeviceInfo> list = ListAsioDevices();
    for (size_t i = 0; i < list.size(); ++i)
      if (list[i].name_gbk == "Melorin test c fake") return static_cast<int32_t>(i);
    return -1;
  }
  /// patience: the usual one unless something is going to hang; a busy machine is slow too.
  HRESULT Open(const WAVEFORMATEX& format, uint32_t frames = 2400, const AsioPatience& patience = {}) {
    device_.Reset();
    HRESULT result =
        OpenAsioDevice(format, frames * format.nBlockAlign, Index(), nullptr, device_.Receive(), patience);
    EXPECT_EQ(SUCCEEDED(result), static_cast<bool>(device_));
    return result;
  }
  uint32_t Position() {
    uint32_t bytes = 1;
    EXPECT_EQ(device_->GetPosition(&bytes), S_OK);
    return bytes;
  }
  uint32_t Room() {
    uint32_t bytes = 0;
    EXPECT_EQ(device_->GetFreeSpace(&bytes), S_OK);
    return bytes;
  }
  /// The position when the clock has had the time to come up to what was taken.
  uint32_t SettledPosition() {
    uint32_t before = Position();
    for (;;) {
      Sleep(20);
      const uint32_t now = Position();
      EXPECT_GE(now, before);
      if (now == before) return now;
      before = now;
    }
  }
  int16_t Played(int channel, uint32_t frame) {
    int16_t value = 0;
    std::memcpy(&value, control_->capture[channel] + frame * 2, 2);
    return value;
  }

  static fake_asio::Control* control_;
  ComPtr<OutputDevice> device_;
};

fake_asio::Control* AsioDevices::control_ = nullptr;

/// 16-bit: frame n is n + 1 on the left and -(n + 1) on the right.
std::vector<uint8_t> Ramp(uint32_t frames, uint16_t channels, uint32_t first = 0) {
  std::vector<uint8_t> bytes;
  for (uint32_t frame = first; frame < first + frames; ++frame)
    for (uint16_t channel = 0; channel < channels; ++channel) {
      const auto value = static_cast<uint16_t>(channel == 0 ? frame + 1 : ~frame);
      bytes.push_back(static_cast<uint8_t>(value));
      bytes.push_back(static_cast<uint8_t>(value >> 8));
    }
  return bytes;
}

TEST_F(AsioDevices, ListHasWhatCanBeLoaded) {
  std::vector<std::string> names;
  const std::vector<DeviceInfo> list = ListDevices(DeviceKind::kAsio);
  for (size_t i = 0; i < list.size(); ++i) {
    EXPECT_EQ(ParseDeviceId(list[i].id).kind, 3);
    EXPECT_EQ(ParseDeviceId(list[i].id).index, static_cast<int32_t>(i));
    if (list[i].name_gbk.starts_with("Melorin test") || list[i].name_gbk == "\xC9\xF9\xBF\xA8")
      names.push_back(list[i].name_gbk);
  }
  EXPECT_EQ(names, (std::vector<std::string>{"Melorin test c fake", "\xC9\xF9\xBF\xA8"}));
}

TEST_F(AsioDevices, EveryByteReachesItsChannelInEveryTurn) {
  ASSERT_EQ(Open(MakePcmFormat(2, kRate, 16)), S_OK);
  int32_t kind = -1;
  EXPECT_EQ(device_->GetType(&kind), S_OK);
  EXPECT_EQ(kind, 3);
  EXPECT_EQ(control_->rate, kRate);
  EXPECT_EQ(Room(), 2400u * 4);
  EXPECT_FALSE(control_->Switch()) << "it runs from the first Play on";
  uint32_t written = 0;
  const uint32_t total = 5000;
  EXPECT_EQ(device_->Play(), S_OK);
  while (control_->captured < total * 2) {
    while (Room() >= 4 * 300 && written < total) {
      const std::vector<uint8_t> data = Ramp(300, 2, written);
      ASSERT_EQ(device_->Write(data.data(), static_cast<uint32_t>(data.size())), S_OK);
      written += 300;
    }
    ASSERT_TRUE(control_->Switch());
  }
  for (uint32_t frame = 0; frame < total; ++frame) {
    ASSERT_EQ(Played(0, frame), static_cast<int16_t>(frame + 1));
    ASSERT_EQ(Played(1, frame), static_cast<int16_t>(~frame));
  }
  EXPECT_GT(control_->ready, 10);
  EXPECT_EQ(control_->starts, 1);
  device_.Reset();
  EXPECT_EQ(control_->stops, 1);
}

TEST_F(AsioDevices, PositionIsWhatWasTakenLessTheLatency) {
  control_->behaviour.latency = 480;  // 10 ms.
  ASSERT_EQ(Open(MakePcmFormat(2, kRate, 16)), S_OK);
  const std::vector<uint8_t> data = Ramp(640, 2);
  ASSERT_EQ(device_->Write(data.data(), 640 * 4), S_OK);
  EXPECT_EQ(Position(), 0u);
  EXPECT_EQ(device_->Play(), S_OK);
  control_->Switch();
  EXPECT_EQ(SettledPosition(), 0u) << "256 frames, 480 of latency";
  control_->Switch();
  EXPECT_EQ(Room(), (2400u - 128) * 4);
  EXPECT_EQ(SettledPosition(), 32u * 4);
  // The rest, then silence that does not count.
  control_->Switch();
  control_->Switch();
  EXPECT_EQ(Played(0, 639), 640);
  for (uint32_t frame = 640; frame < 1024; ++frame)
    ASSERT_EQ(Played(0, frame), 0) << frame;
  EXPECT_EQ(SettledPosition(), 160u * 4);

  EXPECT_EQ(device_->Write(data.data(), 640 * 4), S_OK);
  EXPECT_EQ(device_->Pause(), S_OK);
  control_->Switch();
  EXPECT_EQ(Played(0, 1024), 0) << "paused is silent";
  EXPECT_EQ(Room(), (2400u - 640) * 4) << "and keeps what is queued";
  EXPECT_EQ(device_->Play(), S_OK);
  control_->Switch();
  EXPECT_EQ(Played(0, 1280), 1);
  EXPECT_EQ(Played(1, 1535), static_cast<int16_t>(~255u));

  EXPECT_EQ(device_->Pause(), S_OK);
  EXPECT_EQ(device_->Reset(), S_OK);
  EXPECT_EQ(Position(), 0u);
  EXPECT_EQ(Room(), 2400u * 4);
  const std::vector<uint8_t> later = Ramp(256, 2, 7000);
  EXPECT_EQ(device_->Write(later.data(), 256 * 4), S_OK);
  control_->Switch();
  EXPECT_EQ(device_->Play(), S_OK);
  control_->Switch();
  EXPECT_EQ(Played(0, 1791), 0);
  EXPECT_EQ(Played(0, 1792), 7001) << "nothing of before the reset";
  EXPECT_EQ(control_->starts, 1);
}

TEST_F(AsioDevices, WhatALargeBufferTakesAtOnceIsNotHeardYet) {
  control_->behaviour.preferred = 4096;
  control_->behaviour.real_time = true;
  ASSERT_EQ(Open(MakePcmFormat(2, 8000, 16), 8192), S_OK);
  const std::vector<uint8_t> data = Ramp(8192, 2);
  ASSERT_EQ(device_->Write(data.data(), 8192 * 4), S_OK);
  ASSERT_EQ(device_->Play(), S_OK);
  EXPECT_EQ(Room(), 4u * 4096 * 4) << "both halves at the start";
  EXPECT_LT(Position(), 4096u * 4);
}

TEST_F(AsioDevices, ChannelsWidthsAndTypes) {
  struct Case {
    const char* name;
    uint16_t channels, bits;
    int32_t outputs, type;
    HRESULT result;
  };
  const Case cases[] = {
      {"mono on both sides", 1, 16, 2, 16, S_OK},
      {"mono on one output", 1, 16, 1, 16, S_OK},
      {"stereo on one output", 2, 16, 1, 16, E_FAIL},
      {"six of eight", 6, 16, 8, 16, S_OK},
      {"eight of six", 8, 16, 6, 16, E_FAIL},
      {"32-bit driver", 2, 16, 2, 18, S_OK},
      {"24 bits packed, 24-bit track", 2, 24, 2, 17, S_OK},
      {"float", 2, 16, 2, 19, S_OK},
      {"big-endian", 2, 16, 2, 2, S_OK},
      {"one-bit driver", 2, 16, 2, 32, E_FAIL},
      {"negative type", 2, 16, 2, -1, E_FAIL},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    control_->behaviour.outputs = c.outputs;
    control_->behaviour.type = c.type;
    const WAVEFORMATEX format = MakePcmFormat(c.channels, 44100, c.bits);
    EXPECT_EQ(Open(format), c.result);
    if (!device_) continue;
    // The highest byte alone: 0x40, half of full scale.
    std::vector<uint8_t> frame(format.nBlockAlign, 0);
    for (uint16_t channel = 0; channel < c.channels; ++channel)
      frame[(channel + 1u) * c.bits / 8 - 1] = 0x40;
    ASSERT_EQ(device_->Write(frame.data(), format.nBlockAlign), S_OK);
    device_->Play();
    ASSERT_TRUE(control_->Switch());
    const uint8_t* last = control_->capture[std::min(c.outputs, c.channels == 1 ? 2 : c.channels) - 1];
    const uint8_t expected[][4] = {
        {0x40, 0, 0, 0}, {0, 0x40, 0, 0}, {0, 0, 0x40, 0}, {0, 0, 0, 0x40}, {0, 0, 0, 0x3F}};
    const int row = c.type == 2 ? 0 : c.type == 16 ? 1 : c.type == 17 ? 2 : c.type == 18 ? 3 : 4;
    EXPECT_EQ(std::memcmp(last, expected[row], 4), 0);
  }
}

TEST_F(AsioDevices, RefusalsLeaveNothingBehind) {
  struct Case {
    const char* name;
    void (*spoil)(Behaviour&);
    HRESULT result;
  };
  const Case cases[] = {
      {"init", [](Behaviour& b) { b.init = 0; }, E_FAIL},
      {"other rate only", [](Behaviour& b) { b.only_rate = 44100; }, E_FAIL},
      {"rate does not change", [](Behaviour& b) { b.stuck_rate = 44100; }, E_FAIL},
      {"no outputs", [](Behaviour& b) { b.outputs = 0; }, E_FAIL},
      {"negative outputs", [](Behaviour& b) { b.outputs = -5; }, E_FAIL},
      {"no buffer size", [](Behaviour& b) { b.preferred = 0; }, E_FAIL},
      {"absurd buffer size", [](Behaviour& b) { b.preferred = b.largest = 1 << 30; }, E_FAIL},
      {"no buffers", [](Behaviour& b) { b.create = asio::kHardwareMalfunction; }, E_FAIL},
      {"no memory", [](Behaviour& b) { b.create = asio::kNoMemory; }, E_OUTOFMEMORY},
      {"half a buffer", [](Behaviour& b) { b.null_buffer = true; }, E_FAIL},
      {"does not answer", [](Behaviour& b) { b.hangs_in_init = true; }, kTimedOut},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    control_->behaviour = {};
    c.spoil(control_->behaviour);
    EXPECT_EQ(Open(MakePcmFormat(2, kRate, 16), 2400, c.result == kTimedOut ? kShort : AsioPatience()),
              c.result);
    EXPECT_EQ(control_->alive, c.result == kTimedOut ? 1 : 0);
    EXPECT_EQ(control_->buffers, 0);
  }
  control_->behaviour = {};
  EXPECT_EQ(Open(MakePcmFormat(2, kRate, 16)), kBusy) << "the last one is still inside";
  SetEvent(control_->let_go);
  ASSERT_TRUE(Await([this] { return Open(MakePcmFormat(2, kRate, 16)) != kBusy; }));
  ASSERT_TRUE(device_);

  ComPtr<OutputDevice> second;
  const WAVEFORMATEX format = MakePcmFormat(2, kRate, 16);
  EXPECT_EQ(OpenAsioDevice(format, 9600, Index(), nullptr, second.Receive()), kBusy);
  EXPECT_EQ(device_->Clone(second.Receive()), E_NOTIMPL);
  EXPECT_EQ(device_->SetVolume(50), E_NOTIMPL);
  EXPECT_EQ(device_->SetBalance(50), E_NOTIMPL);
  EXPECT_EQ(OpenAsioDevice(format, 9600, 9999, nullptr, second.Receive()), E_INVALIDARG);
  EXPECT_EQ(OpenAsioDevice(format, 9601, Index(), nullptr, second.Receive()), E_INVALIDARG);
}

TEST_F(AsioDevices, BufferHoldsFourOfTheDrivers) {
  control_->behaviour.preferred = 2000;
  control_->behaviour.granularity = 0;
  ASSERT_EQ(Open(MakePcmFormat(2, kRate, 16), 1500), S_OK);
  uint32_t bytes = 0;
  EXPECT_EQ(device_->GetBufferSize(&bytes), S_OK);
  EXPECT_EQ(bytes, 9000u * 4);
  EXPECT_EQ(Room(), bytes);
}

TEST_F(AsioDevices, LossIsSilentAndForGood) {
  struct Case {
    const char* name;
    void (*happen)(fake_asio::Control&);
    bool lost;
  };
  const Case cases[] = {
      {"resync", [](fake_asio::Control& c) { EXPECT_EQ(c.Message(asio::kResyncRequest, 0), 1); }, false},
      {"rate", [](fake_asio::Control& c) { c.ChangeRate(44100); }, true},
      {"same rate", [](fake_asio::Control& c) { c.ChangeRate(kRate); }, false},
      {"no clock", [](fake_asio::Control& c) { c.ChangeRate(0); }, false},
      {"questions",
       [](fake_asio::Control& c) {
         EXPECT_EQ(c.Message(asio::kEngineVersion, 0), 2);
         EXPECT_EQ(c.Message(asio::kSelectorSupported, asio::kResetRequest), 1);
         EXPECT_EQ(c.Message(asio::kSelectorSupported, asio::kSupportsTimeInfo), 0);
         EXPECT_EQ(c.Message(asio::kBufferSizeChange, 512), 0);
         EXPECT_EQ(c.Message(12345, 0), 0);
       },
       false},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    ASSERT_EQ(Open(MakePcmFormat(2, kRate, 16)), S_OK);
    const std::vector<uint8_t> data = Ramp(1000, 2);
    ASSERT_EQ(device_->Write(data.data(), 4000), S_OK);
    ASSERT_EQ(device_->Play(), S_OK);
    control_->Switch();
    c.happen(*control_);
    control_->Switch();
    EXPECT_EQ(Played(0, 255), 256);
    EXPECT_EQ(Played(0, 256), c.lost ? 0 : 257);
    EXPECT_EQ(device_->Write(data.data(), 400), c.lost ? E_FAIL : S_OK);
    EXPECT_EQ(device_->Pause(), c.lost ? E_FAIL : S_OK);
    EXPECT_EQ(device_->Reset(), c.lost ? E_FAIL : S_OK);
    EXPECT_EQ(device_->Play(), S_OK);
  }
}

TEST_F(AsioDevices, AResetGoesOnWhereItWas) {
  const std::vector<uint8_t> data = Ramp(2000, 2);
  const auto ask = [this](int32_t starts) {
    EXPECT_EQ(control_->Message(asio::kResetRequest, 0), 1);
    EXPECT_TRUE(Await([starts] { return control_->starts == starts; }));
  };
  ASSERT_EQ(Open(MakePcmFormat(2, kRate, 16)), S_OK);
  ASSERT_EQ(device_->Write(data.data(), 2000 * 4), S_OK);
  ASSERT_EQ(device_->Play(), S_OK);
  ASSERT_TRUE(control_->Switch());
  control_->behaviour.preferred = 512;
  control_->behaviour.type = 18;
  ask(2);
  ASSERT_TRUE(control_->Switch());
  EXPECT_EQ(Played(0, 1), 257) << "the high half of a 32-bit sample";
  EXPECT_EQ(Room(), (2400u - 2000 + 256 + 512) * 4);
  EXPECT_EQ(control_->stops, 1);
  EXPECT_EQ(control_->buffers, 1);
  EXPECT_EQ(device_->Pause(), S_OK);
  ask(3);
  EXPECT_EQ(device_->Play(), S_OK);
  ASSERT_TRUE(control_->Switch());
  EXPECT_EQ(Played(0, 1), 257 + 512);

  struct Case {
    const char* name;
    void (*spoil)(Behaviour&);
  };
  const Case cases[] = {
      {"no buffers any more", [](Behaviour& b) { b.create = asio::kHardwareMalfunction; }},
      {"does not start again", [](Behaviour& b) { b.start = asio::kHardwareMalfunction; }},
      {"buffers beyond ours", [](Behaviour& b) { b.preferred = 4096; }},
      {"does not come back", [](Behaviour& b) { b.hangs_in_init = true; }},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    control_->behaviour = {};
    AsioPatience patience;
    patience.close_ms = 100;
    ASSERT_TRUE(Await([&] { return Open(MakePcmFormat(2, kRate, 16), 2400, patience) != kBusy; }));
    ASSERT_TRUE(device_);
    ASSERT_EQ(device_->Play(), S_OK);
    c.spoil(control_->behaviour);
    const int32_t stops = control_->stops;
    EXPECT_EQ(control_->Message(asio::kResetRequest, 0), 1);
    if (control_->behaviour.hangs_in_init) {
      EXPECT_TRUE(Await([stops] { return control_->stops > stops; }));
    } else {
      EXPECT_TRUE(Await([&] { return device_->Write(data.data(), 4) == E_FAIL; }));
    }
    const DWORD begin = GetTickCount();
    device_.Reset();
    EXPECT_LT(GetTickCount() - begin, 1500u);
  }
}

TEST_F(AsioDevices, StartThatFailsOrHangsIsALoss) {
  const WAVEFORMATEX format = MakePcmFormat(2, kRate, 16);
  const std::vector<uint8_t> data = Ramp(100, 2);
  control_->behaviour.start = asio::kHardwareMalfunction;
  ASSERT_EQ(Open(format), S_OK);
  EXPECT_EQ(device_->Play(), S_OK);
  EXPECT_EQ(device_->Write(data.data(), 400), E_FAIL);
  control_->behaviour = {};
  control_->behaviour.hangs_in_start = true;
  AsioPatience patience = kShort;
  patience.open_ms = 8000;
  ASSERT_EQ(Open(format, 2400, patience), S_OK);
  const DWORD begin = GetTickCount();
  EXPECT_EQ(device_->Play(), S_OK);
  EXPECT_EQ(device_->Play(), S_OK);
  EXPECT_EQ(device_->Write(data.data(), 400), E_FAIL);
  device_.Reset();
  EXPECT_LT(GetTickCount() - begin, 1500u);
  EXPECT_EQ(Open(format), kBusy);
}

TEST_F(AsioDevices, CallbackThatDoesNotComeBackHoldsUpNobody) {
  const WAVEFORMATEX format = MakePcmFormat(2, kRate, 16);
  control_->behaviour.hangs_in_ready = true;
  AsioPatience patience;
  patience.close_ms = 100;
  ASSERT_EQ(Open(format, 2400, patience), S_OK);
  EXPECT_EQ(device_->Play(), S_OK);
  const int32_t before = control_->ready;
  std::thread driver([] { control_->Switch(); });
  while (control_->ready == before)
    Sleep(1);
  const DWORD begin = GetTickCount();
  EXPECT_EQ(device_->Pause(), S_OK);
  EXPECT_EQ(device_->Reset(), S_OK);
  device_.Reset();
  EXPECT_LT(GetTickCount() - begin, 1000u);
  EXPECT_EQ(control_->alive, 1) << "its memory may still be written to";
  EXPECT_EQ(Open(format), kBusy);
  SetEvent(control_->let_go);
  driver.join();
}

TEST_F(AsioDevices, ModuleWithoutThreadingModel) {
  // It belongs to the program's first apartment, which is not the one of the driver's thread.
  ASSERT_GE(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED), 0);
  HKEY key = nullptr;
  ASSERT_EQ(RegOpenKeyExW(HKEY_CLASSES_ROOT, (kClass + L"\\InprocServer32").c_str(), 0, KEY_WRITE, &key), 0);
  RegDeleteValueW(key, L"ThreadingModel");
  RegCloseKey(key);
  EXPECT_EQ(Open(MakePcmFormat(2, kRate, 16)), S_OK);
  device_.Reset();
  DeviceCapabilities found;
  EXPECT_EQ(QueryAsioDevice(Index(), nullptr, &found), S_OK);
  WriteText(HKEY_CLASSES_ROOT, kClass + L"\\InprocServer32", L"ThreadingModel", L"Apartment");
  CoUninitialize();
}

TEST_F(AsioDevices, CapabilitiesAreTheDriversAnswers) {
  control_->behaviour.only_rate = 96000;
  control_->behaviour.type = 27;  // 24 bits in 32.
  control_->behaviour.outputs = 4;
  DeviceCapabilities found;
  ASSERT_EQ(QueryAsioDevice(Index(), nullptr, &found), S_OK);
  EXPECT_EQ(found.rates, std::vector<uint32_t>{96000});
  EXPECT_EQ(found.bits, std::vector<uint16_t>{24});
  EXPECT_EQ(found.max_channels, 4);
  EXPECT_EQ(found.buffer_frames, 256u);
  EXPECT_EQ(QueryAsioDevice(9999, nullptr, &found), E_INVALIDARG);
  control_->behaviour = {};
  ASSERT_EQ(Open(MakePcmFormat(2, kRate, 16)), S_OK);
  EXPECT_EQ(QueryAsioDevice(Index(), nullptr, &found), kBusy);
}

TEST_F(AsioDevices, ADeviceWaitsForTheQuestionUnderWay) {
  control_->behaviour.hangs_in_init = true;
  DeviceCapabilities found;
  HRESULT asked = E_FAIL;
  std::thread asker([&] { asked = QueryAsioDevice(Index(), nullptr, &found); });
  EXPECT_TRUE(Await([] { return control_->alive == 1; }));
  DeviceCapabilities second;
  EXPECT_EQ(QueryAsioDevice(Index(), nullptr, &second), kBusy);
  EXPECT_EQ(Open(MakePcmFormat(2, kRate, 16), 2400, kShort), kTimedOut);
  control_->behaviour.hangs_in_init = false;
  std::thread later([] {
    Sleep(50);
    SetEvent(control_->let_go);
  });
  EXPECT_EQ(Open(MakePcmFormat(2, kRate, 16)), S_OK);
  EXPECT_EQ(control_->alive, 1);
  asker.join();
  later.join();
  EXPECT_EQ(asked, S_OK);
  EXPECT_FALSE(found.rates.empty());
}

/// 16-bit stereo at 8000 Hz, played by the driver's clock.
class AsioTrack : public AsioDevices, private EventTarget {
 protected:
  void Play() {
    PlaybackSettings settings;
    settings.device_type = PackDeviceId(3, static_cast<uint16_t>(Index()));
    settings.buffer_duration = 100;
    chain_setup_.block_frames = 200;
    control_->behaviour.real_time = true;
    control_->behaviour.latency = 80;
    const HRESULT result = OpenForChain(std::make_unique<sim::SimChain>(journal_, chain_setup_), settings,
                                        nullptr, SystemClock(), std::addressof(stream_));
    ASSERT_EQ(result, S_OK);
    stream_->SetNotify(this, 1);
    EXPECT_EQ(stream_->FadeFlags(), 0);
    ASSERT_EQ(stream_->Play(), S_OK);
  }
  void Post(uint32_t, uint32_t event, PlaybackStream*) override {
    if (event == kEventTrackEnd) ended_.Set();
  }
  void TearDown() override {
    stream_.Reset();
    AsioDevices::TearDown();
  }

  sim::Journal journal_{SystemClock()};
  sim::ChainSetup chain_setup_;
  Event ended_{Event::Mode::kManualReset};
  ComPtr<PlaybackStream> stream_;
};

TEST_F(AsioTrack, RunsToItsEndInTime) {
  chain_setup_.total_frames = 2000;
  // Both halves are more than the buffer duration that is set.
  control_->behaviour.preferred = 512;
  const DWORD begin = GetTickCount();
  ASSERT_NO_FATAL_FAILURE(Play());
  ASSERT_TRUE(ended_.Wait(10000));
  EXPECT_GE(GetTickCount() - begin, 240u);
  EXPECT_EQ(stream_->State(), DeviceState::kStopped);
  stream_.Reset();
  uint32_t first = 0;
  while (first < 2000 && Played(0, first) == 0 && Played(0, first + 1) != 1)
    ++first;
  for (uint32_t frame = 0; frame < 2000; ++frame) {
    ASSERT_EQ(Played(0, first + frame), static_cast<int16_t>(frame)) << first;
    ASSERT_EQ(Played(1, first + frame), static_cast<int16_t>(-static_cast<int>(frame)));
  }
}

TEST_F(AsioTrack, SeeksAndSurvivesADriverThatStops) {
  chain_setup_.total_frames = 4000;
  ASSERT_NO_FATAL_FAILURE(Play());
  Sleep(50);
  EXPECT_EQ(stream_->Pause(), S_OK);
  EXPECT_EQ(stream_->Seek(100), S_OK);
  EXPECT_EQ(stream_->GetPositionMs(), 100u);
  EXPECT_EQ(stream_->Play(), S_OK);
  EXPECT_TRUE(Await([this] { return stream_->GetPositionMs() > 100; }));
  control_->silent_thread = 1;
  control_->ChangeRate(44100);
  // The watch takes over after two seconds and brings the track to its end.
  EXPECT_TRUE(ended_.Wait(10000));
  EXPECT_EQ(control_->starts, 1);
}

}  // namespace
}  // namespace melorin
