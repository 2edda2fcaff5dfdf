// SPDX-License-Identifier: MIT
//
// What a sound device can play, as the settings page lists it.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "platform/com.h"

namespace melorin {

/// 0 stands for what the device does not say.
struct DeviceCapabilities {
  uint32_t min_rate = 0;  ///< Hz.
  uint32_t max_rate = 0;
  uint16_t min_bits = 0;
  uint16_t max_bits = 0;
  uint16_t max_channels = 0;
  /// Of those that a device is asked for one by one: the rates and widths that it takes, rising.
  std::vector<uint32_t> rates;
  std::vector<uint16_t> bits;
  /// Frames of the buffer that the driver asks for.
  uint32_t buffer_frames = 0;
};

/// Asks the device with that identifier (see DeviceInfo::id); slow, as drivers are. E_NOTIMPL for a kind that
/// does not exist here, E_INVALIDARG for an index past the last device, the device's failure. Thread: the UI
/// thread.
HRESULT QueryDeviceCapabilities(const GUID& id, DeviceCapabilities* out);

/// The lines that the settings page shows, GBK: "8000 - 192000 Hz 立体声", "8 - 24 比特", "512 Samples", then
/// one line a rate and one a width where these were asked for one by one ("%6d Hz", " %2d 比特").
std::vector<std::string> DescribeCapabilitiesGbk(const DeviceCapabilities& capabilities);

}  // namespace melorin
