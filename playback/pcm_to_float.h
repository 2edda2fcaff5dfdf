// SPDX-License-Identifier: MIT
//
// Uncompressed samples as files and decoders hold them, turned into 32-bit floats with full scale ±1.0.
// Thread: any. No allocation.
#pragma once

#include <cstddef>
#include <cstdint>

#include "platform/com.h"

namespace melorin {

enum class SampleKind { kUnsigned8, kSigned16, kSigned24, kSigned32, kFloat32, kFloat64 };

struct SampleLayout {
  SampleKind kind = SampleKind::kSigned16;
  uint16_t channels = 0;
  uint32_t sample_rate = 0;
  uint32_t frame_bytes = 0;
};

/// Limits of what is played. The rate bound keeps every byte count of a second below 2^32.
inline constexpr uint16_t kMaxChannels = 8;
inline constexpr uint32_t kMaxSampleRate = 1536000;

/// True when the format is uncompressed: tag PCM in containers of 8, 16, 24 or 32 bits, tag IEEE float of 32
/// or 64 bits, or either in the extensible layout. Samples narrower than their container lie in its upper
/// bits, so the container's width is what counts. `layout` is filled only then. False as well for no or more
/// than kMaxChannels channels, a rate of 0 or above kMaxSampleRate, and a block align that the sample width
/// does not explain.
bool ParseSampleLayout(const WAVEFORMATEX& format, SampleLayout* layout);

/// Converts `samples` samples. Integers are divided by 2^(width-1), so widths up to 24 bits are exact and
/// come back as they were when multiplied by the same power. A float that is not finite becomes 0: nothing
/// behind this point (filters above all) would recover from it; values beyond ±1.0 pass.
void ConvertToFloat(SampleKind kind, const uint8_t* in, size_t samples, float* out);

}  // namespace melorin
