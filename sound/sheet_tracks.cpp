// SPDX-License-Identifier: MIT
//
// See sheet_tracks.h.
#include "sound/sheet_tracks.h"

#include <new>
#include <optional>

#include "platform/com_ptr.h"
#include "platform/text.h"
#include "sound/cue_files.h"
#include "sound/sound_library.h"

namespace melorin {
namespace {

std::optional<uint32_t> LengthOf(const SoundLibrary& library, const std::string& path_gbk) {
  if (path_gbk.empty()) return std::nullopt;
  const std::u16string path = Utf16FromGbk(path_gbk);
  ComPtr<SoundSource> source;
  uint32_t ms = 0;
  if (FAILED(library.OpenSource(AsWide(path.c_str()), 0, source.Receive())) || !source) return std::nullopt;
  return SUCCEEDED(source->GetDuration(&ms)) ? std::optional(ms) : std::nullopt;
}

std::vector<SheetTrack> ListTracks(const SoundLibrary& library, const std::string& path_gbk) {
  const CueSheet sheet = ReadCueFile(path_gbk);
  struct Length {
    bool asked = false;
    std::optional<uint32_t> ms;
  };
  std::vector<Length> lengths(sheet.files.size());
  std::vector<SheetTrack> list;
  for (size_t i = 0; i < sheet.tracks.size(); ++i) {
    const CueTrack& track = sheet.tracks[i];
    if (!track.audio) continue;
    const auto end = sheet.EndOf(i);
    Length& length = lengths[track.file];
    if (!end && !length.asked) {
      length.asked = true;
      length.ms = LengthOf(library, FindCueAudio(library, path_gbk, sheet, track.file));
    }
    SheetTrack& listed = list.emplace_back();
    listed.number = track.number;
    listed.title_gbk = GbkFromUtf8(track.own[CueField::kTitle]);
    if (end || length.ms) {
      const uint32_t ms = CueDurationMs(track.start, end, length.ms.value_or(0));
      if (ms <= INT32_MAX) listed.duration_ms = static_cast<int32_t>(ms);
    }
    listed.tags = CueTrackTags(track);
  }
  return list;
}

}  // namespace

std::vector<SheetTrack> ReadSheetTracks(const SoundLibrary& library, const std::string& path_gbk) {
  try {
    return ListTracks(library, path_gbk);
  } catch (const std::bad_alloc&) {
    return {};
  }
}

}  // namespace melorin
