// SPDX-License-Identifier: MIT
//
// What a sound device can play, as the settings page lists it.
#pragma once

#include <atomic>
#include <cstdint>
#include <string>
#include <vector>

#include "platform/com.h"

// The platform's headers have a function of that name, which they define as a macro.
#undef DeviceCapabilities

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

/// Rates that sound files and cards have, Hz, rising: what a device is asked for where it states no list.
inline constexpr uint32_t kUsualRates[] = {8000,  11025, 16000, 22050,  32000,  44100,  48000,
                                           64000, 88200, 96000, 176400, 192000, 352800, 384000};
/// The widths that the player can put out.
inline constexpr uint16_t kOutputBits[] = {8, 16, 24, 32};

/// Asks the device with that identifier (see DeviceInfo::id); slow, as drivers are. E_NOTIMPL for a kind that
/// does not exist here, E_INVALIDARG for an index past the last device, kDeviceTimedOut when there is no
/// answer within ten seconds or `stop` is set before, else the device's failure; `out` then says nothing.
/// Throws std::bad_alloc. Thread: any.
HRESULT QueryDeviceCapabilities(const GUID& id, DeviceCapabilities* out,
                                const std::atomic<bool>* stop = nullptr);

/// The lines that the settings page shows, GBK: "8000 - 192000 Hz 立体声", "8 - 24 比特", "512 Samples", then
/// one line a rate and one a width where these were asked for one by one ("%6d Hz", " %2d 比特").
std::vector<std::string> DescribeCapabilitiesGbk(const DeviceCapabilities& capabilities);

}  // namespace melorin
