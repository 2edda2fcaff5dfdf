// SPDX-License-Identifier: MIT
//
// What a Kernel Streaming driver says about its pins, read from the bytes of its answers. Drivers are not to
// be trusted with sizes and counts: whatever they claim, nothing outside the answer is read.
//
// Source of the layouts: KSMULTIPLE_ITEM, KSIDENTIFIER and KSDATARANGE_AUDIO of the platform's "ks.h" and
// "ksmedia.h". Thread: any.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "platform/com.h"
#include "playback/device_capabilities.h"

namespace melorin {

/// The PCM or float formats that a pin takes at most: all whose values lie within.
struct KsAudioRange {
  GUID subformat = {};        ///< All zero: any.
  uint32_t max_channels = 0;  ///< 0xFFFFFFFF: any number.
  uint32_t min_bits = 0;
  uint32_t max_bits = 0;
  uint32_t min_rate = 0;  ///< Hz.
  uint32_t max_rate = 0;
};

/// The ranges of an answer to KSPROPERTY_PIN_DATARANGES that describe audio in the WAVEFORMATEX layout.
/// Others, those that are cut short and those whose bounds exclude everything are left out; attribute lists
/// are stepped over.
std::vector<KsAudioRange> ParseKsDataRanges(std::span<const uint8_t> answer);

/// Whether an answer to KSPROPERTY_PIN_INTERFACES or _MEDIUMS names that member of that set.
bool KsAnswerHasIdentifier(std::span<const uint8_t> answer, const GUID& set, uint32_t id);

/// What a pin's connection is asked for: the sub-format of an extensible record, else the one of its tag.
GUID KsSubformat(const WAVEFORMATEX& format);
bool KsRangeTakes(const KsAudioRange& range, const WAVEFORMATEX& format);
bool KsRangeTakesPcm(const KsAudioRange& range);

/// Of all PCM ranges together; any number stands for as much as the player puts out, eight channels of 32
/// bits. The lists hold the usual rates and widths that lie in one of them.
DeviceCapabilities KsCapabilities(std::span<const KsAudioRange> ranges);

}  // namespace melorin
