// SPDX-License-Identifier: MIT
//
// The sound devices of the machine by kind, as the device page lists them. Thread: the UI thread.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "playback/open_device.h"

namespace melorin {

struct DeviceKindEntry {
  std::string name_gbk;
  std::vector<DeviceInfo> devices;
};

/// All four kinds; as slow as the drivers are.
std::vector<DeviceKindEntry> ListDeviceKinds();

/// The device that the setting "DeviceType" names among these, by its own identifier or its place in the
/// list; nothing when there is no such device.
const DeviceInfo* FindDevice(const std::vector<DeviceKindEntry>& kinds, const GUID& setting);

}  // namespace melorin
