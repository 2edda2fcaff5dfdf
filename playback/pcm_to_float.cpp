// SPDX-License-Identifier: MIT
#include "playback/pcm_to_float.h"

#include <cmath>
#include <cstring>
#include <limits>

#include "sound/format_tag.h"

namespace melorin {

namespace {

template <class Sample>
Sample Load(const uint8_t* bytes) {
  Sample value;
  std::memcpy(&value, bytes, sizeof value);
  return value;
}

template <class Sample>
float FiniteOrZero(Sample value) {
  // False for NaN too.
  const bool fits = std::fabs(value) <= static_cast<Sample>(std::numeric_limits<float>::max());
  return fits ? static_cast<float>(value) : 0.0f;
}

}  // namespace

bool ParseSampleLayout(const WAVEFORMATEX& format, SampleLayout* layout) {
  if (!IsUncompressed(format)) return false;
  const uint32_t channels = format.nChannels;
  if (channels == 0 || channels > kMaxChannels) return false;
  if (format.nSamplesPerSec == 0 || format.nSamplesPerSec > kMaxSampleRate) return false;
  if (format.wBitsPerSample == 0 || format.nBlockAlign % channels != 0) return false;
  const uint32_t width = format.nBlockAlign / channels;
  if (format.wBitsPerSample > width * 8) return false;

  SampleKind kind;
  if (PlainFormatTag(format) == WAVE_FORMAT_IEEE_FLOAT) {
    if (format.wBitsPerSample != width * 8 || (width != 4 && width != 8)) return false;
    kind = width == 4 ? SampleKind::kFloat32 : SampleKind::kFloat64;
  } else {
    switch (width) {
      case 1:
        kind = SampleKind::kUnsigned8;
        break;
      case 2:
        kind = SampleKind::kSigned16;
        break;
      case 3:
        kind = SampleKind::kSigned24;
        break;
      case 4:
        kind = SampleKind::kSigned32;
        break;
      default:
        return false;
    }
  }
  *layout = {kind, format.nChannels, format.nSamplesPerSec, format.nBlockAlign};
  return true;
}

void ConvertToFloat(SampleKind kind, const uint8_t* in, size_t samples, float* out) {
  switch (kind) {
    case SampleKind::kUnsigned8:
      for (size_t i = 0; i < samples; ++i)
        out[i] = static_cast<float>(in[i] - 128) * 0x1p-7f;
      break;
    case SampleKind::kSigned16:
      for (size_t i = 0; i < samples; ++i)
        out[i] = static_cast<float>(Load<int16_t>(in + 2 * i)) * 0x1p-15f;
      break;
    case SampleKind::kSigned24:
      for (size_t i = 0; i < samples; ++i) {
        const uint8_t* bytes = in + 3 * i;
        const uint32_t upper = (static_cast<uint32_t>(bytes[0]) << 8) |
                               (static_cast<uint32_t>(bytes[1]) << 16) |
                               (static_cast<uint32_t>(bytes[2]) << 24);
        out[i] = static_cast<float>(static_cast<int32_t>(upper) >> 8) * 0x1p-23f;
      }
      break;
    case SampleKind::kSigned32:
      for (size_t i = 0; i < samples; ++i)
        out[i] = static_cast<float>(Load<int32_t>(in + 4 * i)) * 0x1p-31f;
      break;
    case SampleKind::kFloat32:
      for (size_t i = 0; i < samples; ++i)
        out[i] = FiniteOrZero(Load<float>(in + 4 * i));
      break;
    case SampleKind::kFloat64:
      for (size_t i = 0; i < samples; ++i)
        out[i] = FiniteOrZero(Load<double>(in + 8 * i));
      break;
  }
}

}  // namespace melorin
