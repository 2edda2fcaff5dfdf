// SPDX-License-Identifier: MIT
//
// The CUE parser on arbitrary bytes. What comes out must keep its promises: limits, numbers that tell tracks
// apart, ends behind starts, texts in UTF-8 inside the sheet's own.
#include <set>

#include "platform/text.h"
#include "sound/cue_files.h"

namespace {

void Require(bool good) {
  if (!good) __builtin_trap();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using namespace melorin;
  const CueSheet sheet = ParseCueSheet({data, size});
  Require(sheet.tracks.size() <= kMaxCueTracks && sheet.files.size() <= kMaxCueTracks);
  Require(IsValidUtf8(*sheet.text));
  std::set<uint32_t> numbers;
  for (size_t i = 0; i < sheet.tracks.size(); ++i) {
    const CueTrack& track = sheet.tracks[i];
    Require(track.number >= 1 && track.number <= 0xFFFF && numbers.insert(track.number).second);
    Require(track.file < sheet.files.size());
    const auto end = sheet.EndOf(i);
    Require(!end || *end > track.start);
    CueDurationMs(track.start, end, static_cast<uint32_t>(size));
    const TagFields tags = CueTrackTags(track);
    for (size_t field = 0; field < tags.size(); ++field)
      Require(!tags.value(field).empty() && IsValidUtf8(tags.value(field)));
    Require(!track.audio || sheet.FindTrack(track.number) == i);
  }
  return 0;
}
