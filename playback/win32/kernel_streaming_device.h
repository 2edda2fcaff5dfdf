// SPDX-License-Identifier: MIT
//
// The Kernel Streaming device: a render pin of an audio filter, fed past the system's mixer.
#pragma once

#include <vector>

#include "platform/clock.h"
#include "playback/device_capabilities.h"
#include "playback/open_device.h"
#include "playback/win32/ks_api.h"

namespace melorin {

/// Opens the index-th device of the list with that format as it is given (one attempt), on the first of its
/// pins that takes it. block_bytes × blocks is the buffer. It is paused until Play, so what is written before
/// only fills the queue. The api and the clock must outlive the device. E_INVALIDARG for an empty format or
/// buffer or an index past the end, E_OUTOFMEMORY, the platform's "no match" when no pin takes the format,
/// else the failure of the call that failed.
///
/// - A write fills whole blocks of the buffer; the last one is sent at once however short it is. More than
///   the free space is E_INVALIDARG.
/// - SetVolume, SetBalance and Clone answer E_NOTIMPL: nothing mixes here, so whoever feeds the device sets
///   the levels of the samples, and most hardware has one pin only.
/// - The position is the pin's own play offset; where a driver has none it is made of the finished blocks,
///   smoothed and held back by what is still on its way. Kept in 64 bits and handed out modulo 2^32.
/// - A device that is taken away, or whose driver does not answer for a second, fails every call from then
///   on. Destroying it takes a bounded time too; what the driver has not given back then is left to it.
HRESULT OpenKernelStreamingDevice(const KsApi& api, const WAVEFORMATEX& format, uint32_t block_bytes,
                                  uint32_t blocks, int32_t index, OutputDevice** out,
                                  Clock& clock = SystemClock());

/// The audio interfaces with a pin that renders PCM, in the order that the platform lists them. Their names
/// are "FriendlyName" of the interface, or its path. Pins without the streaming interface do not count: those
/// of WaveRT drivers share a buffer in memory instead of taking packets. Opens each of them; empty when
/// memory runs out.
std::vector<DeviceInfo> ListKernelStreamingDevices(const KsApi& api);
/// E_INVALIDARG for an index past the end, E_POINTER, E_OUTOFMEMORY.
HRESULT QueryKernelStreamingDevice(const KsApi& api, int32_t index, DeviceCapabilities* out);

}  // namespace melorin
