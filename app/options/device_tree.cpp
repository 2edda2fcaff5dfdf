// SPDX-License-Identifier: MIT
#include "app/options/device_tree.h"

namespace melorin {

std::vector<DeviceKindEntry> ListDeviceKinds(const std::atomic<bool>* stop) {
  std::vector<DeviceKindEntry> kinds;
  for (const DeviceKind kind :
       {DeviceKind::kWaveOut, DeviceKind::kDirectSound, DeviceKind::kKernelStreaming, DeviceKind::kAsio})
    kinds.push_back({DeviceKindNameGbk(static_cast<int32_t>(kind)), ListDevices(kind, stop)});
  return kinds;
}

const DeviceInfo* FindDevice(const std::vector<DeviceKindEntry>& kinds, const GUID& setting) {
  for (const DeviceKindEntry& kind : kinds)
    for (const DeviceInfo& device : kind.devices)
      if (IsEqualGUID(device.id, setting)) return &device;
  const DeviceChoice choice = ParseDeviceId(setting);
  if (choice.kind < 0 || static_cast<size_t>(choice.kind) >= kinds.size() || choice.index < 0) return nullptr;
  const std::vector<DeviceInfo>& devices = kinds[static_cast<size_t>(choice.kind)].devices;
  return static_cast<size_t>(choice.index) < devices.size() ? &devices[static_cast<size_t>(choice.index)]
                                                            : nullptr;
}

}  // namespace melorin
