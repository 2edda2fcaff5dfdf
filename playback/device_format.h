// SPDX-License-Identifier: MIT
//
// The arithmetic of opening and steering a sound device: which device a setting names, the output format, the
// size of the buffer, what volume and balance are in each platform's units. Plain functions of values; the
// devices themselves live in win32/.
// Thread: any. No allocation.
#pragma once

#include <cstdint>

#include "platform/com.h"

namespace melorin {

/// Which device a setting names.
struct DeviceChoice {
  /// A DeviceKind, or another number when the setting names a kind that does not exist.
  int32_t kind = 0;
  /// Within the kind; -1 when `guid` names the device.
  int32_t index = 0;
  /// Kind 1 with index -1 only: what DirectSound calls the device.
  GUID guid = {};
};

/// A packed identifier has the index in its word at byte 0, the kind in its word at byte 2 and zeros behind;
/// any other GUID is a DirectSound device's own.
DeviceChoice ParseDeviceId(const GUID& id);
/// The packed identifier of a device.
GUID PackDeviceId(uint16_t kind, uint16_t index);
/// The platform's number of a waveOut device: index 0 is the wave mapper, -1.
constexpr int32_t WaveOutNumber(int32_t index) {
  return index - 1;
}

/// The width of what the device gets: the setting, or the source's own width for 0; 16 for anything that is
/// not 8, 16, 24 or 32.
uint16_t ChooseOutputBits(uint32_t setting, uint16_t source_bits);

/// Plain PCM, extra size 0. The caller bounds channels (1 to 8) and rate so that the byte rate fits.
WAVEFORMATEX MakePcmFormat(uint16_t channels, uint32_t sample_rate, uint16_t bits);

/// The platform's standard speaker masks: mono is the centre, 2 front left and right, 3 with centre, 4 quad,
/// 5 quad with centre, 6 5.1, 7 6.1, 8 7.1 with side speakers; 0 for other counts (no assignment).
/// Source: the speaker position bits of WAVEFORMATEXTENSIBLE.
uint32_t ChannelMask(uint16_t channels);

/// The same format in the extensible layout: valid bits = bits, the standard mask, sub-format PCM, or IEEE
/// float when the format's tag is 3.
WAVEFORMATEXTENSIBLE MakeExtensible(const WAVEFORMATEX& format);

/// A device buffer that holds a whole number of the chain's blocks.
struct BufferPlan {
  uint32_t block_bytes = 0;  ///< Device bytes of one full block.
  uint32_t blocks = 0;       ///< At least four.
  uint32_t Bytes() const { return block_bytes * blocks; }
};

/// Wanted bytes are duration_ms (at least 100) of the format, rounded to the nearest byte; the blocks are as
/// many as fit, one more when over 1023 bytes are left, at least four. A duration whose bytes exceed 256 MiB
/// is cut to that: no sound card takes more, and the setting may hold anything. float_block_bytes: size of
/// one block of the chain as 32-bit floats, not 0.
BufferPlan PlanBuffer(const WAVEFORMATEX& format, uint32_t duration_ms, uint32_t float_block_bytes);

/// What waveOut takes as volume: right level in the high word, left in the low one, full level 65535.
/// volume 0 to 100, below 1 silent; balance -100 to 100, positive attenuates the left. Values outside are
/// cut. Example: (100, 50) → 0xFFFF7FFF.
uint32_t WaveOutVolumeWord(int32_t volume, int32_t balance);

/// DirectSound takes hundredths of a decibel. Volume is an amplitude: v percent of full scale, so 2000 ×
/// log10(v / 100): 100 → 0, 50 → -602, 10 → -2000, 1 → -4000, below 1 → -10000 (silence). Thus a volume
/// sounds equally loud on waveOut and DirectSound, and a fade that steps the volume evenly is an even ramp of
/// the amplitude.
int32_t DirectSoundVolume(int32_t volume);
/// The same curve for the side that balance attenuates: 0 → 0, 50 → 602 (the left 6.02 dB down), 100 → 10000
/// (the left silent); negative balance gives negative pan.
int32_t DirectSoundPan(int32_t balance);

}  // namespace melorin
