// SPDX-License-Identifier: MIT
//
// A device that vanishes while it plays must not hold up the track or its commands.
#include "playback/watched_device.h"

#include <gtest/gtest.h>

#include "playback/device_format.h"

namespace melorin {
namespace {

class HandClock final : public Clock {
 public:
  uint32_t TickMs() override { return now_ms; }
  bool Wait(Event&, uint32_t) override { return false; }
  void Sleep(uint32_t ms) override { now_ms += ms; }
  uint32_t now_ms = 0xFFFFFF00;
};

constexpr uint32_t kBuffer = 4000;  // Four seconds of 8-bit mono at 1000 Hz.

class FakeDevice final : public ComObject<OutputDevice> {
 public:
  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID, void** out) override {
    return *out = nullptr, E_NOINTERFACE;
  }
  HRESULT STDMETHODCALLTYPE GetType(int32_t* kind) override { return *kind = 1, S_OK; }
  HRESULT STDMETHODCALLTYPE Clone(OutputDevice** out) override { return *out = new FakeDevice, S_OK; }
  HRESULT STDMETHODCALLTYPE Play() override { return result; }
  HRESULT STDMETHODCALLTYPE Pause() override { return result; }
  HRESULT STDMETHODCALLTYPE Reset() override { return result; }
  HRESULT STDMETHODCALLTYPE SetVolume(int32_t) override { return result; }
  HRESULT STDMETHODCALLTYPE SetBalance(int32_t) override { return result; }
  HRESULT STDMETHODCALLTYPE GetBufferSize(uint32_t* bytes) override { return *bytes = kBuffer, S_OK; }
  HRESULT STDMETHODCALLTYPE GetPosition(uint32_t* bytes) override { return *bytes = position, result; }
  HRESULT STDMETHODCALLTYPE GetFreeSpace(uint32_t* bytes) override { return *bytes = room, result; }
  HRESULT STDMETHODCALLTYPE Write(const uint8_t*, uint32_t) override { return write_result; }

  HRESULT result = S_OK;
  HRESULT write_result = S_OK;
  uint32_t position = 0;
  uint32_t room = kBuffer;
};

class WatchedDevice : public testing::Test {
 protected:
  void Start() {
    const uint8_t data[kBuffer] = {};
    ASSERT_EQ(watched_->Write(data, 3000), S_OK);
    ASSERT_EQ(watched_->Play(), S_OK);
    Step(500);
    fake_->position = 500;
    fake_->room = 1500;
    EXPECT_EQ(Position(), 500u);
  }
  void Step(uint32_t ms) { clock_.now_ms += ms; }
  uint32_t Position() {
    uint32_t bytes = 0;
    EXPECT_EQ(watched_->GetPosition(&bytes), S_OK);
    return bytes;
  }
  uint32_t Room() {
    uint32_t bytes = 0;
    EXPECT_EQ(watched_->GetFreeSpace(&bytes), S_OK);
    return bytes;
  }

  HandClock clock_;
  ComPtr<FakeDevice> fake_ = ComPtr<FakeDevice>::Adopt(new FakeDevice);
  ComPtr<OutputDevice> watched_ =
      WatchDevice(ComPtr<OutputDevice>::Share(fake_.get()), MakePcmFormat(1, 1000, 8), clock_);
};

TEST_F(WatchedDevice, TakesOverByTheClockWhenItStandsStill) {
  Start();
  Step(1900);
  EXPECT_EQ(Room(), 1500u);
  EXPECT_EQ(Position(), 500u);
  Step(200);
  EXPECT_EQ(Room(), 1500u) << "what is queued is still queued";
  Step(1000);
  EXPECT_EQ(Position(), 1500u);
  EXPECT_EQ(Room(), 2500u);
  EXPECT_EQ(watched_->Pause(), S_OK);
  Step(5000);
  EXPECT_EQ(Position(), 1500u);
  EXPECT_EQ(watched_->Play(), S_OK);
  Step(9000);
  EXPECT_EQ(Position(), 3000u) << "never beyond what was written";
  const uint8_t data[100] = {};
  fake_->write_result = E_FAIL;
  EXPECT_EQ(watched_->Write(data, 100), S_OK);
  EXPECT_EQ(watched_->SetVolume(50), S_OK);
  ComPtr<OutputDevice> clone;
  EXPECT_EQ(watched_->Clone(clone.Receive()), E_FAIL);
  EXPECT_EQ(watched_->Reset(), S_OK);
  EXPECT_EQ(Position(), 0u);
  EXPECT_EQ(Room(), kBuffer);
}

TEST_F(WatchedDevice, FailingCallsAreALossAfterTheSamePatience) {
  Start();
  fake_->result = E_FAIL;
  Step(1000);
  EXPECT_EQ(Position(), 500u);
  EXPECT_EQ(Room(), 0u);
  Step(1100);
  Room();
  Step(300);
  EXPECT_EQ(Position(), 800u);
}

TEST_F(WatchedDevice, RefusedWritesAreALossToo) {
  Start();
  fake_->room = 3900;
  fake_->write_result = E_FAIL;
  const uint8_t data[100] = {};
  for (int i = 0; i < 25; ++i) {
    Room();
    watched_->Write(data, 100);
    Step(100);
  }
  EXPECT_EQ(watched_->Write(data, 100), S_OK);
}

TEST_F(WatchedDevice, StopsEvenWhenTheDeviceCannot) {
  Start();
  fake_->result = E_FAIL;
  EXPECT_EQ(watched_->Pause(), S_OK);
  EXPECT_EQ(watched_->Reset(), S_OK);
  EXPECT_EQ(Position(), 0u);
}

TEST_F(WatchedDevice, StarvedOrPausedIsNotLost) {
  Start();
  fake_->room = 3900;
  for (int i = 0; i < 100; ++i) {
    Step(100);
    EXPECT_EQ(Room(), 3900u);
  }
  EXPECT_EQ(Position(), 500u);
  fake_->room = 1000;
  EXPECT_EQ(watched_->Pause(), S_OK);
  Step(60000);
  EXPECT_EQ(Room(), 1000u);
  EXPECT_EQ(watched_->Play(), S_OK);
  EXPECT_EQ(Room(), 1000u);
  ComPtr<OutputDevice> clone;
  EXPECT_EQ(watched_->Clone(clone.Receive()), S_OK);
}

}  // namespace
}  // namespace melorin
