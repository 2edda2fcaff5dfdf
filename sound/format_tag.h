// SPDX-License-Identifier: MIT
//
// The format tag that counts, also behind the extensible layout.
#pragma once

#include <cstring>

#include "sound/interfaces.h"

namespace melorin {

/// Of an extensible format, the tag that its sub-format stands for; 0 when it stands for none. Thread: any.
inline uint32_t PlainFormatTag(const WAVEFORMATEX& format) {
  if (format.wFormatTag != WAVE_FORMAT_EXTENSIBLE) return format.wFormatTag;
  WAVEFORMATEXTENSIBLE extensible;
  if (FormatSize(format) < sizeof extensible) return 0;
  std::memcpy(&extensible, &format, sizeof extensible);
  const uint32_t tag = extensible.SubFormat.Data1;
  return SameGuid(extensible.SubFormat, WaveSubtype(tag)) ? tag : 0;
}

/// The tag is PCM or IEEE float, plain or as the extensible sub-format, whatever the rest says.
inline bool IsUncompressed(const WAVEFORMATEX& format) {
  const uint32_t tag = PlainFormatTag(format);
  return tag == WAVE_FORMAT_PCM || tag == WAVE_FORMAT_IEEE_FLOAT;
}

}  // namespace melorin
