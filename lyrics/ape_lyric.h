// SPDX-License-Identifier: MIT
//
// Puts a lyric into the APEv2 tag at the end of a file, after the APEv2 description of the Hydrogenaudio
// knowledge base. All other items stay as they are, byte for byte. Pure.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

namespace melorin {

/// What of a file's end has to be at hand to see how much of it the tags are.
inline constexpr size_t kTailProbe = 160;

/// The bytes that take the place of a file's last `old_size`.
struct TagTail {
  std::vector<uint8_t> bytes;
  size_t old_size = 0;
};

/// How many bytes the APEv2 tag and the ID3v1 tag behind it take, from the last kTailProbe bytes of the file
/// or all of them; not more than the file has only when the tag is sound. Nothing when tags are there that
/// are not written: version 1, read-only, or Lyrics3, which would come to stand behind the tag.
std::optional<size_t> TailSize(std::span<const uint8_t> end);

/// `end`: the last TailSize bytes of the file or more. The lyric takes the place of the first that is there;
/// other lyrics, which nobody would see, go. An empty lyric takes it out, and the tag with it when it was all
/// of it. Nothing for a tag that is damaged.
std::optional<TagTail> TailWithLyric(std::span<const uint8_t> end, std::u16string_view lyric);

}  // namespace melorin
