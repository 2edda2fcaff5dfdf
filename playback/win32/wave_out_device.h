// SPDX-License-Identifier: MIT
//
// The waveOut device: a queue of prepared blocks that the platform plays in order.
#pragma once

#include "playback/device_capabilities.h"
#include "playback/output_device.h"
#include "playback/win32/wave_out_api.h"

namespace melorin {

/// How long the platform may take for what a caller waits for, ms.
struct WaveOutPatience {
  uint32_t open_ms = 3000;
  uint32_t call_ms = 1000;
};

/// Opens a waveOut device with that format as it is given (one attempt). It is paused until Play, so what is
/// written before only fills the queue. number: the platform's device number, -1 the wave mapper. The api
/// must outlive the device. E_INVALIDARG for an empty format or buffer, E_OUTOFMEMORY, kDeviceTimedOut when
/// the platform does not answer or has not answered another device yet, else E_FAIL.
///
/// - SetVolume and SetBalance answer S_FALSE on success. Positions are kept in 64 bits and handed out modulo
///   2^32.
/// - A device that the platform takes away (unplugged, its server gone) makes Write fail from then on.
/// - All calls of the platform are made on a thread of the device's own. One that does not come back within
///   the patience holds up nobody longer: the device is lost, fails everything and is left to itself.
HRESULT OpenWaveOutDevice(const WAVEFORMATEX& format, uint32_t buffer_bytes, int32_t number,
                          OutputDevice** out, const WaveOutApi& api = PlatformWaveOutApi(),
                          const WaveOutPatience& patience = {});

/// Asks for every usual rate at 16 bits, then for every width at one of the rates found; nothing is opened.
/// E_INVALIDARG for a number past the last device, E_FAIL when there is none at all or it takes no rate.
HRESULT QueryWaveOutDevice(int32_t number, DeviceCapabilities* out);

}  // namespace melorin
