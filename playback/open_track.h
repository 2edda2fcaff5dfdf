// SPDX-License-Identifier: MIT
//
// From a file to a stream that is ready to play: source, chain, device, stream.
#pragma once

#include "platform/clock.h"
#include "platform/com_ptr.h"
#include "playback/effects/effects_chain.h"
#include "playback/open_device.h"
#include "playback/playback_settings.h"
#include "playback/playback_stream.h"
#include "sound/sound_library.h"

namespace melorin {

/// Where opening a track failed: at its file or at the device.
enum class OpenStep { kSource, kDevice };

/// What the settings ask of the chain of a track whose gain is known to be `gain`, if it is: "ResampleRate",
/// "HQResample"; the equalizer and "Surround"; with "AutoGain" that gain; with "AutoScanGain" the measuring
/// of the track, which "SkipScanGain" leaves out where a gain is known. Volume and balance are the device's
/// until it refuses them.
ChainOptions MakeChainOptions(const PlaybackSettings& settings, const std::optional<TrackGain>& gain);

/// What the file's tags say of the track's gain, else what the list knows.
std::optional<TrackGain> KnownGain(SoundSource* source, const PlaybackSettings& settings);

/// Opens the file, sets its chain up with the effects of the settings, chooses the output format (the chain's
/// channels and rate, the width that "OutputBits" asks for), plans the buffer ("BufferDuration"), opens the
/// device that "DeviceType" names and makes the stream with "Dither". Volume, balance, fades and priority are
/// left to the caller, who knows whether to play. flags: those of SoundLibrary::OpenSource; SubtrackFlags
/// selects a track of a file that holds several. window: the main window's handle, null for the desktop.
/// factory: null opens the platform's devices. failed_at, when given, receives the step that failed.
///
/// On failure `out` is empty and nothing stays open: E_INVALIDARG without a path or `out`; E_OUTOFMEMORY;
/// E_NOTIMPL when no reader or decoder takes the file or the device kind is not there; else the failure of
/// the source, of the device (see OpenDevice) or of the stream. Source and device are tried once each, so a
/// machine without a sound card answers at once.
///
/// A device that disappears while playing is replaced by silence that keeps time (see WatchDevice): the track
/// runs to its end, and the next one opens a device anew. Thread: the UI thread. The library and the clock
/// must outlive the stream.
HRESULT OpenForTrack(const SoundLibrary& library, const WideChar* path, uint32_t flags,
                     const PlaybackSettings& settings, void* window, Clock& clock,
                     ComPtr<PlaybackStream>* out, DeviceFactory* factory = nullptr,
                     OpenStep* failed_at = nullptr);

/// The same for a chain that is set up already, which it takes over; E_INVALIDARG without one.
HRESULT OpenForChain(std::unique_ptr<PlaybackChain> chain, const PlaybackSettings& settings, void* window,
                     Clock& clock, ComPtr<PlaybackStream>* out, DeviceFactory* factory = nullptr);

}  // namespace melorin
