// SPDX-License-Identifier: MIT
#include "playback/device_format.h"

#include <algorithm>
#include <cmath>
#include <iterator>

#include "sound/interfaces.h"

namespace melorin {

namespace {

constexpr int32_t kSilence = -10000;
constexpr uint64_t kMaxBufferBytes = 256u << 20;
constexpr uint32_t kMinBufferMs = 100;
constexpr uint32_t kMinBlocks = 4;
constexpr uint32_t kRemainderWorthABlock = 1023;

int32_t HundredthsOfDecibel(int32_t percent) {
  if (percent < 1) return kSilence;
  return std::max(kSilence,
                  static_cast<int32_t>(std::lround(2000.0 * std::log10(std::min(percent, 100) / 100.0))));
}

}  // namespace

DeviceChoice ParseDeviceId(const GUID& id) {
  DeviceChoice choice;
  bool packed = id.Data2 == 0 && id.Data3 == 0;
  for (const uint8_t byte : id.Data4)
    packed = packed && byte == 0;
  if (!packed) {
    choice.kind = 1;
    choice.index = -1;
    choice.guid = id;
    return choice;
  }
  choice.index = static_cast<int32_t>(id.Data1 & 0xFFFF);
  choice.kind = static_cast<int32_t>(id.Data1 >> 16);
  return choice;
}

GUID PackDeviceId(uint16_t kind, uint16_t index) {
  GUID id = {};
  id.Data1 = (static_cast<uint32_t>(kind) << 16) | index;
  return id;
}

uint16_t ChooseOutputBits(uint32_t setting, uint16_t source_bits) {
  const uint32_t bits = setting == 0 ? source_bits : setting;
  switch (bits) {
    case 8:
    case 16:
    case 24:
    case 32:
      return static_cast<uint16_t>(bits);
    default:
      return 16;
  }
}

WAVEFORMATEX MakePcmFormat(uint16_t channels, uint32_t sample_rate, uint16_t bits) {
  WAVEFORMATEX format = {};
  format.wFormatTag = WAVE_FORMAT_PCM;
  format.nChannels = channels;
  format.nSamplesPerSec = sample_rate;
  format.wBitsPerSample = bits;
  format.nBlockAlign = static_cast<uint16_t>(bits / 8 * channels);
  format.nAvgBytesPerSec = format.nBlockAlign * sample_rate;
  return format;
}

uint32_t ChannelMask(uint16_t channels) {
  static constexpr uint32_t kMasks[] = {0, 0x4, 0x3, 0x7, 0x33, 0x37, 0x3F, 0x13F, 0x63F};
  return channels < std::size(kMasks) ? kMasks[channels] : 0;
}

WAVEFORMATEXTENSIBLE MakeExtensible(const WAVEFORMATEX& format) {
  WAVEFORMATEXTENSIBLE extensible = {};
  extensible.Format = format;
  extensible.Format.wFormatTag = WAVE_FORMAT_EXTENSIBLE;
  extensible.Format.cbSize = sizeof(WAVEFORMATEXTENSIBLE) - sizeof(WAVEFORMATEX);
  extensible.Samples.wValidBitsPerSample = format.wBitsPerSample;
  extensible.dwChannelMask = ChannelMask(format.nChannels);
  extensible.SubFormat =
      WaveSubtype(format.wFormatTag == WAVE_FORMAT_IEEE_FLOAT ? WAVE_FORMAT_IEEE_FLOAT : WAVE_FORMAT_PCM);
  return extensible;
}

BufferPlan PlanBuffer(const WAVEFORMATEX& format, uint32_t duration_ms, uint32_t float_block_bytes) {
  const uint64_t duration = std::max(duration_ms, kMinBufferMs);
  const uint64_t wanted = std::min((format.nAvgBytesPerSec * duration + 500) / 1000, kMaxBufferBytes);
  BufferPlan plan;
  plan.block_bytes = format.wBitsPerSample / 8u * (float_block_bytes / 4);
  if (plan.block_bytes == 0) return plan;
  plan.blocks = static_cast<uint32_t>(wanted / plan.block_bytes);
  if (wanted % plan.block_bytes > kRemainderWorthABlock) ++plan.blocks;
  plan.blocks = std::max(plan.blocks, kMinBlocks);
  return plan;
}

uint32_t WaveOutVolumeWord(int32_t volume, int32_t balance) {
  const int32_t share = std::clamp(balance, -100, 100);
  const uint32_t level = volume < 1 ? 0 : static_cast<uint32_t>(std::min(volume, 100)) * 65535 / 100;
  uint32_t left = level;
  uint32_t right = level;
  if (share > 0) left = level * static_cast<uint32_t>(100 - share) / 100;
  if (share < 0) right = level * static_cast<uint32_t>(100 + share) / 100;
  return (right << 16) | left;
}

int32_t DirectSoundVolume(int32_t volume) {
  return HundredthsOfDecibel(volume);
}

int32_t DirectSoundPan(int32_t balance) {
  const int32_t share = std::clamp(balance, -100, 100);
  return share >= 0 ? -HundredthsOfDecibel(100 - share) : HundredthsOfDecibel(100 + share);
}

}  // namespace melorin
