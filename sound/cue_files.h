// SPDX-License-Identifier: MIT
//
// The files around a CUE sheet: the sheet itself, and the audio files that it names, wherever they are now.
#pragma once

#include <string>

#include "sound/cue_sheet.h"
#include "tags/tag_set.h"

namespace melorin {

class SoundLibrary;

/// Reads and parses the file; a sheet without tracks when that fails. May throw std::bad_alloc. Thread: any.
CueSheet ReadCueFile(const std::string& path_gbk);

/// The path of one of the sheet's audio files; empty when it is not to be found. Rips are moved, renamed and
/// encoded anew without anybody touching the sheet, so these are tried in turn:
/// 1. the name as the sheet has it, seen from the sheet's folder;
/// 2. its last part, in the sheet's folder;
/// 3. the same base name with another extension that the library can play, beside 1 and then beside 2;
/// 4. when the sheet names one file only: what the sheet itself is named like ("album.flac.cue"), then the
///    sheet's base name with an extension that the library can play.
/// Of several extensions the first by name is taken. Another sheet is never an answer, so sheets cannot refer
/// to each other. Thread: any.
std::string FindCueAudio(const SoundLibrary& library, const std::string& sheet_path_gbk,
                         const CueSheet& sheet, size_t file);

/// What the sheet says of a track, by the player's field names: Title, Artist (the album's performer when the
/// track has none), Album, Tracknumber, Date, Genre, Comment, Composer, replaygain_…
TagFields CueTrackTags(const CueTrack& track);

}  // namespace melorin
