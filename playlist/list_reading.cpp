// SPDX-License-Identifier: MIT
#include "playlist/list_reading.h"

#include <limits>
#include <unordered_set>
#include <utility>

#include "playlist/list_paths.h"
#include "playlist/packed_tags.h"

namespace melorin {
namespace {

std::string LowerAscii(std::string_view text) {
  std::string lower(text);
  for (char& c : lower)
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c + ('a' - 'A'));
  return lower;
}

}  // namespace

void ResolveEntry(const ListReading& reading, std::string& path) {
  if (!IsAbsoluteEntry(path)) path = reading.full_path(reading.folder_gbk, path);
}

size_t AppendSheet(Playlist& list, const std::string& path, const SheetReader& read_sheet) {
  const std::vector<SheetTrack> tracks = read_sheet(path);
  for (const SheetTrack& track : tracks) {
    ItemRef item = ItemCache::Obtain(path, track.title_gbk, track.duration_ms, track.number);
    // What an item already knows may have come from the audio itself.
    if (item->TagCount() == 0) item->SetTags(track.tags);
    list.Append(std::move(item));
  }
  return tracks.size();
}

void AddTags(PlayListItem& item, std::string_view packed_tags) {
  // Of more than this the names are not compared one with the other.
  constexpr size_t kMostBytes = 16384;
  if (packed_tags.empty()) return;
  const std::string known = item.PackedTags();
  if (known.empty() || known == packed_tags) {
    item.SetPackedTags(packed_tags);
    return;
  }
  if (known.size() + packed_tags.size() <= kMostBytes) {
    TagFields merged = UnpackTags(known);
    for (PackedTagReader tag(packed_tags); tag.Next();)
      merged.Set(tag.Name(), tag.Value(), false);
    item.SetTags(merged);
    return;
  }
  std::unordered_set<std::string> names;
  for (PackedTagReader tag(packed_tags); tag.Next();)
    names.insert(LowerAscii(tag.Name()));
  std::string merged;
  for (PackedTagReader tag(known); tag.Next();)
    if (names.count(LowerAscii(tag.Name())) == 0) AppendPackedTag(merged, tag.Name(), tag.Value());
  item.SetPackedTags(merged.append(packed_tags));
}

int32_t ParseDecimal(std::string_view text) {
  size_t at = 0;
  while (at < text.size() && (text[at] == ' ' || (text[at] >= '\t' && text[at] <= '\r')))
    ++at;
  const bool negative = at < text.size() && text[at] == '-';
  if (negative || (at < text.size() && text[at] == '+')) ++at;
  constexpr int64_t kMost = std::numeric_limits<int32_t>::max();
  int64_t value = 0;
  for (; at < text.size() && text[at] >= '0' && text[at] <= '9'; ++at)
    value = std::min(value * 10 + (text[at] - '0'), kMost + 1);
  return negative ? static_cast<int32_t>(-value) : static_cast<int32_t>(std::min(value, kMost));
}

uint32_t ParseHexadecimal(std::string_view text) {
  uint64_t value = 0;
  for (const char c : text) {
    const int digit = c >= '0' && c <= '9'   ? c - '0'
                      : c >= 'a' && c <= 'f' ? c - 'a' + 10
                      : c >= 'A' && c <= 'F' ? c - 'A' + 10
                                             : -1;
    if (digit < 0) break;
    value = std::min<uint64_t>(value * 16 + static_cast<uint64_t>(digit), 0xFFFFFFFF);
  }
  return static_cast<uint32_t>(value);
}

}  // namespace melorin
