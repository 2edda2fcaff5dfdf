// SPDX-License-Identifier: MIT
#include "playback/effects/tagged_gain.h"

#include "platform/com_ptr.h"
#include "platform/text.h"
#include "tags/tag_set.h"

namespace melorin {

namespace {

ComPtr<TagSet> TagsOf(SoundSource& source) {
  ComPtr<TagSet> tags;
  if (FAILED(source.QueryInterface(kIidTagSet, tags.ReceiveVoid()))) tags.Reset();
  return tags;
}

std::u16string ValueOf(TagSet& tags, const char16_t* name) {
  WideChar* value = nullptr;
  if (FAILED(tags.GetValue(AsWide(name), &value)) || !value) return {};
  std::u16string text = AsChar16(value);
  CoTaskMemFree(value);
  return text;
}

}  // namespace

std::optional<TrackGain> ReadTrackGain(SoundSource& source) {
  const ComPtr<TagSet> tags = TagsOf(source);
  if (!tags) return std::nullopt;
  const std::optional<double> gain_db = ParseGainDb(ValueOf(*tags, kTrackGainField));
  if (!gain_db) return std::nullopt;
  return TrackGain{*gain_db, ParsePeak(ValueOf(*tags, kTrackPeakField))};
}

void WriteTrackGain(SoundSource& source, const TrackGain& gain) {
  const ComPtr<TagSet> tags = TagsOf(source);
  if (!tags) return;
  tags->SetValue(AsWide(kTrackGainField), AsWide(FormatGainDb(gain.gain_db).c_str()));
  if (gain.peak) tags->SetValue(AsWide(kTrackPeakField), AsWide(FormatPeak(*gain.peak).c_str()));
}

}  // namespace melorin
