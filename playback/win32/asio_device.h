// SPDX-License-Identifier: MIT
//
// The ASIO device: a driver module that asks for buffers from a thread of its own.
#pragma once

#include <vector>

#include "playback/device_capabilities.h"
#include "playback/open_device.h"

namespace melorin {

/// How long a driver may take for what a caller waits for, ms.
struct AsioPatience {
  uint32_t open_ms = 8000;  ///< Until it is ready to start; some wake up their hardware first.
  uint32_t start_ms = 3000;
  uint32_t close_ms = 2000;
};

/// Loads the index-th registered driver and opens it with that format (one attempt). window: the handle that
/// the driver's dialogs belong to; null is the desktop. E_INVALIDARG for an empty format or buffer, one that
/// is not PCM of up to eight channels, or an index past the end; E_OUTOFMEMORY; as result codes ERROR_BUSY
/// while another device of this kind exists and ERROR_TIMEOUT; E_FAIL when the driver refuses (to work at
/// all, the rate, the channels, the buffers) or wants samples that are not PCM; else the failure to load it.
///
/// - The driver lives on a thread of its own, where all its methods are called. One that does not return
///   within the patience is left to itself there, and no other device of this kind can be opened before it
///   does.
/// - It starts with the first Play and runs until the device is released: Pause and Reset only make it play
///   silence, so that a seek does not restart the hardware. Its rate is not set back.
/// - Mono goes to the first two outputs. More channels than the driver has outputs are a failure.
/// - The buffer holds at least four of the driver's own, so it may be a multiple of buffer_bytes.
/// - A position is what the driver has taken, smoothed by the clock, less the latency that it states.
/// - SetVolume and SetBalance answer E_NOTIMPL: the interface has neither, and whoever opens the device
///   attenuates the samples instead. Clone answers E_NOTIMPL: a driver serves one client.
/// - A driver that asks for a reset, because its panel was used for one, is released and loaded anew; what is
///   queued goes on where it was.
/// - A driver that fails in that, changes its rate or does not start is lost: Write, Pause and Reset fail
///   from then on. Play does not, so that WatchDevice keeps the time. The next device is a fresh start.
HRESULT OpenAsioDevice(const WAVEFORMATEX& format, uint32_t buffer_bytes, int32_t index, void* window,
                       OutputDevice** out, const AsioPatience& patience = {});

/// The drivers below "SOFTWARE\ASIO" whose module is registered, in the order of the registry.
std::vector<DeviceInfo> ListAsioDevices();
/// Loads the driver to ask it. kDeviceBusy while it is open for playing or being asked already; else as for
/// opening. A device opened meanwhile waits until the driver has answered.
HRESULT QueryAsioDevice(int32_t index, void* window, DeviceCapabilities* out,
                        const AsioPatience& patience = {});

}  // namespace melorin
