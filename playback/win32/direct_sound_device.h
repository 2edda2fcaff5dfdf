// SPDX-License-Identifier: MIT
//
// The DirectSound device: a circular buffer that loops for ever, with the writer ahead of the play cursor.
// dsound.dll is loaded at the first use and stays.
#pragma once

#include <memory>
#include <vector>

#include "playback/device_capabilities.h"
#include "playback/open_device.h"

namespace melorin {

/// A DirectSound object of one device, with its cooperative level set; shared by the buffers made of it.
class DirectSoundHost;

/// Opens DirectSound. guid null: the default device (the identifier that means "default playback" counts as
/// null too). window: a window handle; null or one that is gone is replaced by the desktop's.
/// create_primary: also make the primary buffer and set it to 16-bit stereo at 44100 Hz; when that fails
/// playback goes on without it. E_FAIL when there is no dsound.dll, E_OUTOFMEMORY, kDeviceTimedOut when
/// DirectSound does not answer within three seconds or has not answered an earlier call yet, else its own
/// failure (no device, for one).
HRESULT OpenDirectSoundHost(const GUID* guid, void* window, bool create_primary,
                            std::shared_ptr<DirectSoundHost>* out);

/// Makes a buffer of that format (one attempt). E_INVALIDARG below 1024 bytes, else DirectSound's failure.
///
/// - What is played and not written again is silenced, so a writer that comes late is heard as silence, never
///   as a loop of old sound.
/// - A buffer that the platform took away (DSERR_BUFFERLOST) is restored, goes on playing and is silent until
///   the next write; what was queued counts as played.
/// - Its release takes a bounded time, even where DirectSound waits for a sound server that stands still.
/// - Clone makes a second buffer of the same description: a duplicate would share the sample memory.
/// - Volume is an amplitude in percent; see DirectSoundVolume.
HRESULT OpenDirectSoundDevice(const std::shared_ptr<DirectSoundHost>& host, const WAVEFORMATEX& format,
                              uint32_t buffer_bytes, bool software, OutputDevice** out);

/// What "DirectSoundEnumerateA" lists, the default device first. Empty without dsound.dll.
std::vector<DeviceInfo> ListDirectSoundDevices();

/// The rates that the device states, and the widths and channels of which a buffer can be made.
HRESULT QueryDirectSoundDevice(const std::shared_ptr<DirectSoundHost>& host, DeviceCapabilities* out);

}  // namespace melorin
