// SPDX-License-Identifier: MIT
#include "playlist/packed_tags.h"

#include <algorithm>
#include <array>
#include <cstdint>

namespace melorin {
namespace {

/// The number of a name is its place plus one. Spelled otherwise it is kept as it is spelled.
constexpr std::array<std::string_view, 19> kUsualNames = {"Title",
                                                          "Artist",
                                                          "Album",
                                                          "Date",
                                                          "Comment",
                                                          "Tracknumber",
                                                          "Genre",
                                                          "Lyrics",
                                                          "Subtitle",
                                                          "Copyright",
                                                          "Composer",
                                                          "Orchestra",
                                                          "Conductor",
                                                          "Publisher",
                                                          "Encoder",
                                                          "replaygain_track_gain",
                                                          "replaygain_track_peak",
                                                          "replaygain_album_gain",
                                                          "replaygain_album_peak"};

size_t NumberOf(std::string_view name) {
  if (name.empty()) return 0;
  const auto found = std::find_if(kUsualNames.begin(), kUsualNames.end(), [name](std::string_view usual) {
    return usual.size() == name.size() && usual[0] == name[0] && usual == name;
  });
  return found == kUsualNames.end() ? 0 : static_cast<size_t>(found - kUsualNames.begin()) + 1;
}

size_t PackedSize(std::string_view text) {
  size_t size = text.size() + 1;
  for (size_t length = text.size(); length >= 0x80; length >>= 7)
    ++size;
  return size;
}

void AppendText(std::string& out, std::string_view text) {
  size_t length = text.size();
  for (; length >= 0x80; length >>= 7)
    out += static_cast<char>(0x80 | (length & 0x7F));
  out += static_cast<char>(length);
  out += text;
}

}  // namespace

std::string PackTags(const TagFields& tags) {
  size_t size = 0;
  for (size_t i = 0; i < tags.size(); ++i)
    size += 1 + (NumberOf(tags.name(i)) ? 0 : PackedSize(tags.name(i))) + PackedSize(tags.value(i));
  std::string out;
  out.reserve(size);
  for (size_t i = 0; i < tags.size(); ++i)
    AppendPackedTag(out, tags.name(i), tags.value(i));
  return out;
}

void AppendPackedTag(std::string& packed, std::string_view name, std::string_view value_utf8) {
  if (name.empty()) return;
  const size_t number = NumberOf(name);
  packed += static_cast<char>(number);
  if (number == 0) AppendText(packed, name);
  AppendText(packed, value_utf8);
}

TagFields UnpackTags(std::string_view packed) {
  TagFields tags;
  for (PackedTagReader reader(packed); reader.Next();)
    tags.Add(reader.Name(), reader.Value());
  return tags;
}

bool PackedTagReader::Next() {
  name_ = value_ = {};
  if (rest_.empty()) return false;
  const auto number = static_cast<size_t>(rest_.front());
  rest_.remove_prefix(1);
  name_ = number == 0 ? TakeText() : kUsualNames[number - 1];
  value_ = TakeText();
  return true;
}

std::string_view PackedTagReader::TakeText() {
  size_t length = 0;
  for (unsigned shift = 0;; shift += 7) {
    const auto byte = static_cast<unsigned char>(rest_.front());
    rest_.remove_prefix(1);
    length |= static_cast<size_t>(byte & 0x7F) << shift;
    if (byte < 0x80) break;
  }
  const std::string_view text = rest_.substr(0, length);
  rest_.remove_prefix(length);
  return text;
}

}  // namespace melorin
