// SPDX-License-Identifier: MIT
//
// See cue_files.h.
#include "sound/cue_files.h"

#include <algorithm>
#include <optional>

#include "platform/file.h"
#include "platform/text.h"
#include "sound/sound_library.h"

namespace melorin {
namespace {

/// Sheets are written on all systems. In UTF-8, where a separator is never half a character.
std::string OwnSeparators(std::string_view name_utf8) {
  std::string name(name_utf8);
  std::replace_if(
      name.begin(), name.end(), [](char c) { return c == '\\' || c == '/'; }, kPathSeparator);
  return name;
}

std::string_view WithoutExtension(std::string_view name_gbk) {
  const std::string_view extension = PathExtension(name_gbk);
  const size_t point = extension.data() > name_gbk.data() ? 1 : 0;
  return extension.empty() ? name_gbk : name_gbk.substr(0, name_gbk.size() - extension.size() - point);
}

bool IsAudioName(const SoundLibrary& library, const std::string& name_gbk) {
  return !EqualNoCaseGbk(PathExtension(name_gbk), "cue") && library.CanPlay(Utf16FromGbk(name_gbk));
}

/// The first by name of the folder's files that have that base name and can be played; empty without one.
std::string FindSibling(const SoundLibrary& library, const std::string& folder_gbk,
                        std::string_view base_gbk) {
  std::string best;
  for (const DirectoryEntry& entry : ListDirectory(folder_gbk)) {
    if (entry.is_directory || !EqualNoCaseGbk(WithoutExtension(entry.name_gbk), base_gbk)) continue;
    if (!IsAudioName(library, entry.name_gbk)) continue;
    if (best.empty() || LowerGbk(entry.name_gbk) < LowerGbk(best)) best = entry.name_gbk;
  }
  return best.empty() ? best : JoinPath(folder_gbk, best);
}

}  // namespace

CueSheet ReadCueFile(const std::string& path_gbk) {
  MappedFile file;
  return ParseCueSheet(file.Open(path_gbk) ? file.Bytes() : std::span<const uint8_t>());
}

std::string FindCueAudio(const SoundLibrary& library, const std::string& sheet_path_gbk,
                         const CueSheet& sheet, size_t file) {
  if (file >= sheet.files.size()) return {};
  const std::string sheet_path = FullPath(sheet_path_gbk);
  const std::string sheet_folder(PathDirectory(sheet_path));
  const std::string name = GbkFromUtf8(OwnSeparators(sheet.files[file]));
  const std::string stated = FullPathFrom(sheet_folder, name);
  const std::string moved = JoinPath(sheet_folder, PathFileName(name));
  for (const std::string& path : {stated, moved})
    if (IsAudioName(library, path) && FileExists(path)) return path;

  const std::string_view base = WithoutExtension(PathFileName(name));
  for (const std::string& folder : {std::string(PathDirectory(stated)), sheet_folder})
    if (std::string path = FindSibling(library, folder, base); !path.empty()) return path;

  if (sheet.files.size() != 1) return {};
  const std::string own(WithoutExtension(sheet_path));
  if (IsAudioName(library, own) && FileExists(own)) return own;
  return FindSibling(library, sheet_folder, PathFileName(own));
}

TagFields CueTrackTags(const CueTrack& track) {
  struct Source {
    const char* tag;
    CueField field;
    bool from_album;
  };
  constexpr Source kSources[] = {
      {"Title", CueField::kTitle, false},
      {"Artist", CueField::kPerformer, true},
      {"Date", CueField::kDate, true},
      {"Genre", CueField::kGenre, true},
      {"Comment", CueField::kComment, true},
      {"Composer", CueField::kComposer, true},
      {"Composer", CueField::kSongwriter, true},
      {"replaygain_track_gain", CueField::kTrackGain, false},
      {"replaygain_track_peak", CueField::kTrackPeak, false},
      {"replaygain_album_gain", CueField::kAlbumGain, true},
      {"replaygain_album_peak", CueField::kAlbumPeak, true},
      {"ISRC", CueField::kIsrc, false},
  };
  TagFields tags;
  for (const Source& source : kSources) {
    std::string_view text = track.own[source.field];
    if (text.empty() && source.from_album) text = track.album[source.field];
    if (!text.empty() && !tags.Find(source.tag)) tags.Add(source.tag, text);
  }
  if (const std::string_view album = track.album[CueField::kTitle]; !album.empty()) tags.Add("Album", album);
  const uint32_t number = track.stated_number != 0 ? track.stated_number : track.number;
  tags.Add("Tracknumber", std::to_string(number));
  return tags;
}

}  // namespace melorin
