// SPDX-License-Identifier: MIT
//
// The waveOut device: a queue of prepared blocks that the platform plays in order.
#pragma once

#include "playback/device_capabilities.h"
#include "playback/output_device.h"

namespace melorin {

/// Opens a waveOut device with that format as it is given (one attempt). It is paused until Play, so what is
/// written before only fills the queue. number: the platform's device number, -1 the wave mapper.
/// E_INVALIDARG for an empty format or buffer, E_OUTOFMEMORY, else E_FAIL.
///
/// SetVolume and SetBalance answer S_FALSE on success. Positions are kept in 64 bits and handed out modulo
/// 2^32. A device that the platform takes away (unplugged, its server gone) makes Write fail from then on.
HRESULT OpenWaveOutDevice(const WAVEFORMATEX& format, uint32_t buffer_bytes, int32_t number,
                          OutputDevice** out);

/// Asks for every usual rate at 16 bits, then for every width at one of the rates found; nothing is opened.
/// E_INVALIDARG for a number past the last device, E_FAIL when there is none at all or it takes no rate.
HRESULT QueryWaveOutDevice(int32_t number, DeviceCapabilities* out);

}  // namespace melorin
