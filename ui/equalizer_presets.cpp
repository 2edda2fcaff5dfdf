// SPDX-License-Identifier: MIT
#include "ui/equalizer_presets.h"

#include <algorithm>
#include <iterator>

namespace melorin {
namespace {

/// dB at 31, 62, 125, 250, 500 Hz, 1, 2, 4, 8 and 16 kHz, then the preamplifier.
constexpr EqualizerPreset kPresets[] = {
    {u"流行", {{-1, 0, 2, 4, 5, 4, 2, 0, -1, -1, 0}}},  {u"摇滚", {{6, 5, 3, 0, -2, -1, 2, 4, 6, 6, 0}}},
    {u"金属", {{5, 4, 1, 0, -3, -2, 2, 5, 6, 4, 0}}},   {u"舞曲", {{7, 6, 4, 0, 0, -2, -3, -2, 2, 3, 0}}},
    {u"电子", {{6, 5, 2, 0, -2, 1, 0, 2, 5, 6, 0}}},    {u"嘻哈", {{6, 5, 2, 3, -1, -1, 1, 0, 2, 4, 0}}},
    {u"古典", {{4, 3, 2, 2, -1, -1, 0, 2, 3, 4, 0}}},   {u"爵士", {{4, 3, 1, 2, -2, -2, 0, 1, 3, 4, 0}}},
    {u"蓝调", {{3, 4, 3, 1, 0, -1, 0, 2, 3, 2, 0}}},    {u"民谣", {{2, 3, 2, 0, 1, 2, 3, 2, 2, 1, 0}}},
    {u"乡村", {{2, 2, 1, 0, 0, 1, 2, 3, 4, 4, 0}}},     {u"慢歌", {{2, 3, 2, 0, -1, 0, 2, 3, 2, 1, 0}}},
    {u"人声", {{-4, -3, -1, 2, 4, 5, 4, 2, 0, -2, 0}}}, {u"低音增强", {{8, 7, 5, 3, 1, 0, 0, 0, 0, 0, 0}}},
    {u"高音增强", {{0, 0, 0, 0, 0, 1, 3, 5, 7, 8, 0}}}, {u"现场", {{-3, 0, 2, 3, 4, 4, 3, 2, 2, 2, 0}}},
    {u"大厅", {{5, 5, 3, 2, 0, -2, -2, -1, 0, 0, 0}}},  {u"轻音量", {{6, 5, 3, 1, 0, 0, 1, 2, 4, 5, 0}}},
};

int32_t Limited(int32_t db) {
  return std::clamp(db, -kEqualizerLimit, kEqualizerLimit);
}

bool IsProfile(int32_t profile) {
  return profile >= 0 && profile < EqualizerProfileCount();
}

/// What "on" returns to.
int32_t LastProfile(const EqualizerSettings& settings) {
  const int32_t last = settings.profile_last;
  return IsProfile(last) && last != kEqualizerOff ? last : kEqualizerCustom;
}

const EqualizerBands& BandsOf(const EqualizerSettings& settings, int32_t profile) {
  if (profile < kEqualizerFirstPreset) return settings.custom;
  return kPresets[profile - kEqualizerFirstPreset].bands;
}

}  // namespace

std::span<const EqualizerPreset> EqualizerPresets() {
  return kPresets;
}

int32_t EqualizerProfileCount() {
  return kEqualizerFirstPreset + static_cast<int32_t>(std::size(kPresets));
}

const char16_t* EqualizerProfileName(int32_t profile) {
  if (!IsProfile(profile)) return u"";
  if (profile == kEqualizerOff) return u"关闭";
  return profile == kEqualizerCustom ? u"自定义" : kPresets[profile - kEqualizerFirstPreset].name;
}

int32_t EqualizerProfileOf(const EqualizerSettings& settings) {
  return IsProfile(settings.profile) ? settings.profile : kEqualizerOff;
}

const EqualizerBands& EqualizerShownBands(const EqualizerSettings& settings) {
  const int32_t profile = EqualizerProfileOf(settings);
  return BandsOf(settings, profile == kEqualizerOff ? LastProfile(settings) : profile);
}

void ChooseEqualizerProfile(EqualizerSettings& settings, int32_t profile) {
  if (!IsProfile(profile)) return;
  const int32_t before = EqualizerProfileOf(settings);
  if (profile != kEqualizerOff) {
    settings.profile_last = profile;
  } else if (before != kEqualizerOff) {
    settings.profile_last = before;
  }
  settings.profile = profile;
  settings.current = profile == kEqualizerOff ? EqualizerBands{} : BandsOf(settings, profile);
}

void SwitchEqualizer(EqualizerSettings& settings, bool on) {
  if (on == (EqualizerProfileOf(settings) != kEqualizerOff)) return;
  ChooseEqualizerProfile(settings, on ? LastProfile(settings) : kEqualizerOff);
}

void MoveEqualizerBand(EqualizerSettings& settings, size_t band, int32_t db) {
  EqualizerBands bands = EqualizerShownBands(settings);
  if (band >= bands.values.size()) return;
  bands.values[band] = db;
  SetEqualizerCurve(settings, bands);
}

void SetEqualizerCurve(EqualizerSettings& settings, const EqualizerBands& bands) {
  std::transform(bands.values.begin(), bands.values.end(), settings.custom.values.begin(), Limited);
  ChooseEqualizerProfile(settings, kEqualizerCustom);
}

void ResetEqualizer(EqualizerSettings& settings) {
  const bool on = EqualizerProfileOf(settings) != kEqualizerOff;
  SetEqualizerCurve(settings, {});
  SwitchEqualizer(settings, on);
}

void AdoptSoundingCurve(EqualizerSettings& settings) {
  const bool on = EqualizerProfileOf(settings) != kEqualizerOff;
  if (settings.current != (on ? EqualizerShownBands(settings) : EqualizerBands{}))
    SetEqualizerCurve(settings, EqualizerBands(settings.current));
}

}  // namespace melorin
