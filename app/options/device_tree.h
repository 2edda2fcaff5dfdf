// SPDX-License-Identifier: MIT
//
// The sound devices of the machine by kind, as the device page lists them.
#pragma once

#include <atomic>
#include <string>
#include <vector>

#include "playback/open_device.h"

namespace melorin {

struct DeviceKindEntry {
  std::string name_gbk;
  std::vector<DeviceInfo> devices;
};

/// All four kinds; as slow as the drivers are. What is missing when `stop` is set counts as none. Thread:
/// any.
std::vector<DeviceKindEntry> ListDeviceKinds(const std::atomic<bool>* stop = nullptr);

/// The device that the setting "DeviceType" names among these, by its own identifier or its place in the
/// list; nothing when there is no such device.
const DeviceInfo* FindDevice(const std::vector<DeviceKindEntry>& kinds, const GUID& setting);

}  // namespace melorin
