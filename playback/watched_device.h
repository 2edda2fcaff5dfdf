// SPDX-License-Identifier: MIT
//
// Watches over a device whose hardware may vanish while it plays (unplugged, its sound server gone).
#pragma once

#include "platform/clock.h"
#include "platform/com_ptr.h"
#include "playback/output_device.h"

namespace melorin {

/// Wraps a device. It counts as lost when it should be playing and for two seconds its position has not
/// moved, although it has data (its buffer is half full) or refuses more; and when Play, Pause or Reset
/// fails. From then on the wrapper is a silent device that keeps time by the clock: the track runs on unheard
/// to its end, every command works as ever, and the next track, which opens a device anew, is heard again or
/// fails clearly. A lost device is not brought back, since what it would still hold is old. Clone fails then.
/// The clock must outlive the device. Null only when memory runs out.
ComPtr<OutputDevice> WatchDevice(ComPtr<OutputDevice> device, const WAVEFORMATEX& format, Clock& clock);

}  // namespace melorin
