// SPDX-License-Identifier: MIT
#include "playback/ks_data_range.h"

#include <algorithm>
#include <cstring>

#include "sound/interfaces.h"

namespace melorin {

namespace {

constexpr GUID kAny = {};
constexpr GUID kTypeAudio = {0x73647561, 0x0000, 0x0010, {0x80, 0x00, 0x00, 0xAA, 0x00, 0x38, 0x9B, 0x71}};
constexpr GUID kSpecifierWave = {
    0x05589F81, 0xC356, 0x11CE, {0xBF, 0x01, 0x00, 0xAA, 0x00, 0x55, 0x59, 0x5A}};

constexpr uint32_t kAnyNumber = 0xFFFFFFFF;
constexpr uint32_t kHasAttributes = 2;
/// Items of an answer begin at multiples of this.
constexpr size_t kItemAlignment = 8;

struct MultipleItem {
  uint32_t size;  ///< Of itself and all items.
  uint32_t count;
};

struct Identifier {
  GUID set;
  uint32_t id;
  uint32_t flags;
};

struct DataRange {
  uint32_t size;
  uint32_t flags;
  uint32_t sample_size;
  uint32_t reserved;
  GUID major;
  GUID subformat;
  GUID specifier;
};

struct AudioBounds {
  uint32_t max_channels;
  uint32_t min_bits;
  uint32_t max_bits;
  uint32_t min_rate;
  uint32_t max_rate;
};

static_assert(sizeof(MultipleItem) == 8 && sizeof(Identifier) == 24);
static_assert(sizeof(DataRange) == 64 && sizeof(AudioBounds) == 20);

/// False when the bytes are fewer than the record.
template <class Record>
bool Read(std::span<const uint8_t> bytes, Record* record) {
  if (bytes.size() < sizeof(Record)) return false;
  std::memcpy(record, bytes.data(), sizeof(Record));
  return true;
}

std::span<const uint8_t> After(std::span<const uint8_t> bytes, size_t size) {
  return bytes.subspan(std::min(size, bytes.size()));
}

/// Behind an item of that size: where the next one begins. A size that is smaller than the item's own header
/// is taken for the header's, so that every step moves on.
std::span<const uint8_t> AfterItem(std::span<const uint8_t> bytes, uint32_t size, size_t header) {
  const uint64_t step = std::max<uint64_t>(size, header);
  const uint64_t aligned = (step + kItemAlignment - 1) / kItemAlignment * kItemAlignment;
  return After(bytes, static_cast<size_t>(std::min<uint64_t>(aligned, bytes.size())));
}

/// The items of an answer and how many it claims; what lies behind the size that it states is cut off.
std::span<const uint8_t> Items(std::span<const uint8_t> answer, uint32_t* count) {
  MultipleItem head = {};
  *count = 0;
  if (!Read(answer, &head) || head.size < sizeof head) return {};
  *count = head.count;
  return After(answer.first(std::min<size_t>(head.size, answer.size())), sizeof head);
}

bool IsAnyOr(const GUID& value, const GUID& wanted) {
  return SameGuid(value, wanted) || SameGuid(value, kAny);
}

bool IsWaveAudio(const DataRange& range) {
  return IsAnyOr(range.major, kTypeAudio) && IsAnyOr(range.specifier, kSpecifierWave);
}

}  // namespace

std::vector<KsAudioRange> ParseKsDataRanges(std::span<const uint8_t> answer) {
  std::vector<KsAudioRange> ranges;
  uint32_t left = 0;
  std::span<const uint8_t> items = Items(answer, &left);
  DataRange range = {};
  for (; left > 0 && Read(items, &range); --left) {
    AudioBounds bounds = {};
    const bool whole =
        range.size >= sizeof range + sizeof bounds && Read(After(items, sizeof range), &bounds);
    if (whole && IsWaveAudio(range) && bounds.max_channels > 0 && bounds.min_bits <= bounds.max_bits &&
        bounds.min_rate <= bounds.max_rate && bounds.max_bits > 0 && bounds.max_rate > 0) {
      ranges.push_back({range.subformat, bounds.max_channels, bounds.min_bits, bounds.max_bits,
                        bounds.min_rate, bounds.max_rate});
    }
    items = AfterItem(items, range.size, sizeof range);
    if (range.flags & kHasAttributes) {
      MultipleItem attributes = {};
      if (Read(items, &attributes)) items = AfterItem(items, attributes.size, sizeof attributes);
    }
  }
  return ranges;
}

bool KsAnswerHasIdentifier(std::span<const uint8_t> answer, const GUID& set, uint32_t id) {
  uint32_t left = 0;
  std::span<const uint8_t> items = Items(answer, &left);
  Identifier item = {};
  for (; left > 0 && Read(items, &item); --left, items = After(items, sizeof item))
    if (item.id == id && SameGuid(item.set, set)) return true;
  return false;
}

GUID KsSubformat(const WAVEFORMATEX& format) {
  if (format.wFormatTag != WAVE_FORMAT_EXTENSIBLE || FormatSize(format) < sizeof(WAVEFORMATEXTENSIBLE))
    return WaveSubtype(format.wFormatTag);
  WAVEFORMATEXTENSIBLE extensible;
  std::memcpy(&extensible, &format, sizeof extensible);
  return extensible.SubFormat;
}

bool KsRangeTakes(const KsAudioRange& range, const WAVEFORMATEX& format) {
  return IsAnyOr(range.subformat, KsSubformat(format)) && format.nChannels <= range.max_channels &&
         format.wBitsPerSample >= range.min_bits && format.wBitsPerSample <= range.max_bits &&
         format.nSamplesPerSec >= range.min_rate && format.nSamplesPerSec <= range.max_rate;
}

bool KsRangeTakesPcm(const KsAudioRange& range) {
  return IsAnyOr(range.subformat, WaveSubtype(WAVE_FORMAT_PCM));
}

DeviceCapabilities KsCapabilities(std::span<const KsAudioRange> ranges) {
  const auto narrow = [](uint32_t value, uint16_t any) {
    return value == kAnyNumber ? any : static_cast<uint16_t>(std::min(value, 0xFFFFu));
  };
  constexpr uint16_t kWidest = 32;
  constexpr uint16_t kMostChannels = 8;
  DeviceCapabilities capabilities;
  bool first = true;
  for (const KsAudioRange& range : ranges) {
    if (!KsRangeTakesPcm(range)) continue;
    capabilities.min_rate = first ? range.min_rate : std::min(capabilities.min_rate, range.min_rate);
    capabilities.max_rate = std::max(capabilities.max_rate, range.max_rate);
    capabilities.min_bits = first ? narrow(range.min_bits, kWidest)
                                  : std::min(capabilities.min_bits, narrow(range.min_bits, kWidest));
    capabilities.max_bits = std::max(capabilities.max_bits, narrow(range.max_bits, kWidest));
    capabilities.max_channels =
        std::max(capabilities.max_channels, narrow(range.max_channels, kMostChannels));
    first = false;
  }
  const auto any = [&](auto&& inside) {
    return std::any_of(ranges.begin(), ranges.end(),
                       [&](const KsAudioRange& range) { return KsRangeTakesPcm(range) && inside(range); });
  };
  for (const uint32_t rate : kUsualRates)
    if (any([&](const KsAudioRange& range) { return rate >= range.min_rate && rate <= range.max_rate; }))
      capabilities.rates.push_back(rate);
  for (const uint16_t bits : kOutputBits)
    if (any([&](const KsAudioRange& range) { return bits >= range.min_bits && bits <= range.max_bits; }))
      capabilities.bits.push_back(bits);
  return capabilities;
}

}  // namespace melorin
