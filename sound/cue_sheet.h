// SPDX-License-Identifier: MIT
//
// CUE sheets: the text file that lists the tracks inside one or several audio files. Bytes to a model; no
// file access, no samples.
// Source: the command set of CDRWIN's user guide (appendix A, "CUE Sheet Commands") and what rippers have
// made of it since.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace melorin {

/// Positions in a sheet are counted in frames of a CD.
inline constexpr uint32_t kCueFramesPerSecond = 75;

/// Texts that a sheet, or one of its tracks, may state.
enum class CueField {
  kTitle,
  kPerformer,
  kSongwriter,
  kDate,
  kGenre,
  kComment,
  kComposer,
  kAlbumGain,
  kAlbumPeak,
  kTrackGain,
  kTrackPeak,
  kCatalog,
  kIsrc,
  kCount
};

/// UTF-8 texts by field, empty where nothing is stated. They are views into the text of their CueSheet.
struct CueTexts {
  std::array<std::string_view, static_cast<size_t>(CueField::kCount)> texts;

  std::string_view& operator[](CueField field) { return texts[static_cast<size_t>(field)]; }
  std::string_view operator[](CueField field) const { return texts[static_cast<size_t>(field)]; }
};

struct CueTrack {
  uint32_t number = 0;         ///< What the track is chosen by: at least 1, no two tracks alike.
  uint32_t stated_number = 0;  ///< As the sheet says.
  bool audio = true;           ///< Tracks of data are kept because the one before ends where they begin.
  size_t file = 0;             ///< Index into CueSheet::files: where the track begins.
  uint32_t start = 0;          ///< In frames from the start of that file: INDEX 01, else the lowest index.
  CueTexts album;              ///< What stood above the track.
  CueTexts own;
};

struct CueSheet {
  std::shared_ptr<const std::string> text;  ///< The whole sheet in UTF-8, which all views point into.
  std::vector<std::string_view> files;      ///< Names as they are written; no two alike.
  std::vector<CueTrack> tracks;             ///< In the sheet's order.

  /// Index into `tracks` of the audio track with that number, of the first audio track for 0.
  std::optional<size_t> FindTrack(uint32_t number) const;
  /// Where the track ends, in frames: at the next place after its start where another track of the same file
  /// begins, whatever the order in the sheet. None when it goes on to the file's end.
  std::optional<uint32_t> EndOf(size_t track) const;
};

/// A track's length in milliseconds, both ends rounded by the same rule so that lengths add up. Without an
/// `end` the track goes to the end of the file, which is `file_ms` long; 0 when it would begin behind that.
uint32_t CueDurationMs(uint32_t start, std::optional<uint32_t> end, uint32_t file_ms);

/// Sheets larger than this are no sheets.
inline constexpr size_t kMaxCueBytes = size_t{1} << 20;
/// A CD has at most 99 tracks; sheets of long mixes and audio books have more. What comes later is dropped.
inline constexpr size_t kMaxCueTracks = 999;

/// Reads a sheet. Lines that make no sense are passed over, a track without any INDEX is dropped; a sheet
/// without tracks comes out empty. When two kept tracks have the same number, or one has 0 or none that fits
/// 16 bits, all are numbered anew from 1 in their order. An INDEX counts in the file that was named last
/// before it. A FILE line ends a track's texts: TITLE, PERFORMER and REM behind it stand for the tracks that
/// follow. Memory is bounded by the input and kMaxCueTracks. May throw std::bad_alloc.
/// Thread: any. Cost: one pass.
CueSheet ParseCueSheet(std::span<const uint8_t> bytes);

/// The sheet's text in UTF-8.
///
/// A byte order mark (UTF-8, UTF-16 of either order) decides. Without one every line votes by the rule for
/// tags of unstated encoding (tags/legacy_text.h): UTF-8, GBK or Western. A sheet that is well-formed UTF-8
/// and has one line at least that GBK never looks like is UTF-8; so GBK text that happens to be well-formed
/// UTF-8 stays GBK. Otherwise the majority decides; GBK wins a tie. The whole sheet is read in one encoding;
/// what that cannot read becomes U+FFFD.
std::string DecodeCueText(std::span<const uint8_t> bytes);

}  // namespace melorin
