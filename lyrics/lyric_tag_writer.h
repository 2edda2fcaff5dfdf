// SPDX-License-Identifier: MIT
//
// Puts a lyric into the tags of an MPEG file: the frame USLT of its ID3v2 tag, after the informal standards
// of 2.2.0, 2.3.0 and 2.4.0 (id3.org), and its APEv2 tag (see ape_lyric.h). All other frames stay as they
// are, byte for byte.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace melorin {

enum class TagWrite {
  kDone,
  kInUse,         ///< The file cannot be replaced now: somebody, as the player itself, has it open.
  kNotSupported,  ///< No MPEG file, or its tag is of a kind that is not written.
  kFailed,
  kNoKind,  ///< Of the kinds of tag that are to be written none holds lyrics.
};

/// The beginning of a file, to be written instead of its first `old_size` bytes.
struct TagHead {
  std::vector<uint8_t> bytes;
  size_t old_size = 0;
  bool operator==(const TagHead&) const = default;
};

/// `start`: the whole ID3v2 tag at the start of the file and what follows as far as it is at hand; no tag:
/// one is made. The first lyric's place is taken, with its language; an empty lyric takes it out. Nothing for
/// a tag that is damaged, unsynchronised or extended. Pure.
std::optional<TagHead> HeadWithLyric(std::span<const uint8_t> start, std::u16string_view lyric);

/// True for files of the extensions that MPEG audio has.
bool CanWriteLyricTag(std::string_view path_gbk);
/// Writes into each of `kinds`, a sum of the kinds of tag (see tags/tag_set.h); one that is not among them
/// stays as it is. The file is written beside its place and swapped in, also where the tag has room: a write
/// that is cut short would leave a broken tag. Slow: it copies the file. Thread: any.
TagWrite WriteLyricTag(const std::string& path_gbk, std::u16string_view lyric, uint32_t kinds);

}  // namespace melorin
