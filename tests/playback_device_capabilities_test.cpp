// SPDX-License-Identifier: MIT
//
// The lines of the settings page about a device, and what it is asked here.
#include "playback/device_capabilities.h"

#include <gtest/gtest.h>

#include "platform/text.h"
#include "playback/open_device.h"

namespace melorin {
namespace {

TEST(DeviceCapabilities, Lines) {
  struct Case {
    const char* name;
    DeviceCapabilities capabilities;
    const char* lines;
  };
  const Case cases[] = {
      {"nothing known", {}, ""},
      {"ranges", {8000, 192000, 8, 24, 2, {}, {}, 0}, "8000 - 192000 Hz 立体声|8 - 24 比特|"},
      {"mono", {44100, 44100, 16, 16, 1, {}, {}, 0}, "44100 - 44100 Hz 单声道|16 - 16 比特|"},
      {"one by one",
       {8000, 96000, 16, 32, 8, {8000, 96000}, {8, 16}, 512},
       "8000 - 96000 Hz 8 声道|16 - 32 比特|512 Samples|  8000 Hz| 96000 Hz|  8 比特| 16 比特|"},
      {"channels unknown", {1, 0xFFFFFFFF, 0, 0, 0, {}, {}, 0}, "1 - 2147483647 Hz|"},
  };
  for (const Case& c : cases) {
    std::string all;
    for (const std::string& line : DescribeCapabilitiesGbk(c.capabilities))
      all += Utf8FromGbk(line) + "|";
    EXPECT_EQ(all, c.lines) << c.name;
  }
}

TEST(DeviceCapabilities, EveryListedDeviceAnswersSensibly) {
  for (const DeviceKind kind : {DeviceKind::kWaveOut, DeviceKind::kDirectSound}) {
    for (const DeviceInfo& device : ListDevices(kind)) {
      SCOPED_TRACE(Utf8FromGbk(device.name_gbk));
      DeviceCapabilities found;
      ASSERT_GE(QueryDeviceCapabilities(device.id, &found), 0);
      EXPECT_GT(found.min_rate, 0u);
      EXPECT_LE(found.min_rate, found.max_rate);
      EXPECT_LE(found.min_bits, 16);
      EXPECT_GE(found.max_bits, 16);
      EXPECT_GE(found.max_channels, 1);
    }
  }
}

TEST(DeviceCapabilities, NoSuchDeviceOrKind) {
  DeviceCapabilities found;
  EXPECT_EQ(QueryDeviceCapabilities(PackDeviceId(4, 0), &found), E_NOTIMPL);
  EXPECT_EQ(QueryDeviceCapabilities(PackDeviceId(0, 500), nullptr), E_POINTER);
  for (const uint16_t kind : {uint16_t{0}, uint16_t{1}, uint16_t{2}, uint16_t{3}}) {
    found.max_rate = 1;
    const HRESULT result = QueryDeviceCapabilities(PackDeviceId(kind, 500), &found);
    EXPECT_TRUE(result == E_INVALIDARG || result == E_NOTIMPL) << kind;
    EXPECT_EQ(found.max_rate, 0u);
  }
}

}  // namespace
}  // namespace melorin
