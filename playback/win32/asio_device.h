// SPDX-License-Identifier: MIT
//
// The ASIO device: a driver module that asks for buffers from a thread of its own.
#pragma once

#include <vector>

#include "playback/device_capabilities.h"
#include "playback/open_device.h"

namespace melorin {

/// Loads the index-th registered driver and opens it with that format (one attempt). window: the handle that
/// the driver's dialogs belong to; may be null. E_INVALIDARG for an empty format or buffer or an index past
/// the end, E_OUTOFMEMORY, else the driver's failure.
HRESULT OpenAsioDevice(const WAVEFORMATEX& format, uint32_t buffer_bytes, int32_t index, void* window,
                       OutputDevice** out);

/// The drivers below "SOFTWARE\ASIO" whose module is registered, in the order of the registry.
std::vector<DeviceInfo> ListAsioDevices();
/// Loads the driver to ask it, unless it is playing.
HRESULT QueryAsioDevice(int32_t index, void* window, DeviceCapabilities* out);

}  // namespace melorin
