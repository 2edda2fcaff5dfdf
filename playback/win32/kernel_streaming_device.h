// SPDX-License-Identifier: MIT
//
// The Kernel Streaming device: a render pin of an audio filter, fed past the system's mixer.
#pragma once

#include <vector>

#include "playback/device_capabilities.h"
#include "playback/open_device.h"
#include "playback/win32/ks_api.h"

namespace melorin {

/// Opens the index-th device of the list with that format as it is given (one attempt). block_bytes × blocks
/// is the buffer. The api must outlive the device. E_INVALIDARG for an empty format or buffer or an index
/// past the end, E_OUTOFMEMORY, else the failure of the call that failed.
HRESULT OpenKernelStreamingDevice(const KsApi& api, const WAVEFORMATEX& format, uint32_t block_bytes,
                                  uint32_t blocks, int32_t index, OutputDevice** out);

/// The audio render interfaces in the order that the platform lists them.
std::vector<DeviceInfo> ListKernelStreamingDevices(const KsApi& api);
HRESULT QueryKernelStreamingDevice(const KsApi& api, int32_t index, DeviceCapabilities* out);

}  // namespace melorin
