// SPDX-License-Identifier: MIT
//
// The passes over a file's tags, and the merge of what they found.
#include "tags/tag_scan.h"

#include <algorithm>
#include <atomic>
#include <new>

#include "tags/apev2.h"
#include "tags/cached_source.h"
#include "tags/id3v1.h"
#include "tags/id3v2.h"
#include "tags/lyrics3.h"
#include "tags/tag_limits.h"

namespace melorin {

namespace {

/// Programs that did not see a tag put another one before it; all of them are stepped over.
constexpr int kMostLeadingTags = 8;

constexpr uint32_t kAllKinds = kTagId3v1 | kTagLyrics3v2 | kTagApeV2 | kTagId3v2;

/// The fields by origin, so that the priority can be applied at the end.
struct Found {
  TagFields id3v2;
  TagFields ape;
  TagFields other;  ///< Lyrics3 and ID3v1.
  TagLimits limits;
};

/// `floor` is where trailing tags may begin at the earliest. A leading tag that claims more than the whole
/// file has is a broken one, and the tags at the end are looked for inside what it claims.
void ReadLeading(CachedSource& file, TagScan& scan, int64_t& floor, Found& found) {
  for (int i = 0; i < kMostLeadingTags; ++i) {
    const int64_t begin = scan.audio_start;
    const Id3v2Result result = ReadId3v2(file, scan.audio_start, found.limits, found.id3v2);
    if (result == Id3v2Result::kNone) return;
    scan.flags |= kTagId3v2;
    floor = result == Id3v2Result::kTooLong ? begin : scan.audio_start;
    if (result == Id3v2Result::kTooLong) return;
  }
}

void ReadTrailing(CachedSource& file, uint32_t kinds, int64_t floor, TagScan& scan, Found& found) {
  int64_t& end = scan.audio_end;
  int64_t before = -1;
  while (end != before) {
    before = end;
    if ((kinds & kTagId3v2) != 0 && ReadAppendedId3v2(file, floor, end, found.limits, found.id3v2))
      scan.flags |= kTagId3v2;
    if ((kinds & kTagApeV2) != 0 && ReadApe(file, floor, end, found.limits, found.ape))
      scan.flags |= kTagApeV2;
    if ((kinds & kTagLyrics3v2) != 0) {
      if (ReadLyrics3v2(file, floor, end, found.other)) scan.flags |= kTagLyrics3v2;
      ReadLyrics3v1(file, floor, end, found.other);
    }
    if ((kinds & kTagId3v1) != 0 && ReadId3v1(file, floor, end, found.other)) scan.flags |= kTagId3v1;
  }
}

bool IsCutText(std::string_view name) {
  return name == "Title" || name == "Artist" || name == "Album" || name == "Date" || name == "Comment";
}

void Merge(const Found& found, TagPriority priority, TagFields& fields) {
  const bool ape_first = priority == TagPriority::kApeFirst;
  const TagFields& first = ape_first ? found.ape : found.id3v2;
  const TagFields& second = ape_first ? found.id3v2 : found.ape;
  TagFields merged = first;
  for (size_t i = 0; i < second.size(); ++i)
    AddMissing(merged, second.name(i), second.value(i));
  for (size_t i = 0; i < found.other.size(); ++i) {
    if (IsCutText(found.other.name(i)))
      merged.Set(found.other.name(i), found.other.value(i), true);
    else
      AddMissing(merged, found.other.name(i), found.other.value(i));
  }
  if (fields.size() == 0) {
    fields = std::move(merged);
    return;
  }
  for (size_t i = 0; i < merged.size(); ++i)
    fields.Add(merged.name(i), merged.value(i));
}

std::atomic<TagPriority> users_priority{TagPriority::kId3v2First};

}  // namespace

TagPriority UsersTagPriority() {
  return users_priority.load(std::memory_order_relaxed);
}

void SetUsersTagPriority(TagPriority priority) {
  users_priority.store(priority, std::memory_order_relaxed);
}

TagScan ReadTags(ByteSource& source, uint32_t kinds, TagFields& fields, TagPriority priority) {
  if (kinds == 0) kinds = kAllKinds;
  CachedSource file(source);
  TagScan scan;
  scan.audio_end = file.Size();
  Found found;
  int64_t floor = 0;
  if ((kinds & kTagId3v2) != 0) ReadLeading(file, scan, floor, found);
  ReadTrailing(file, kinds, floor, scan, found);
  scan.audio_start = std::min(scan.audio_start, scan.audio_end);
  Merge(found, priority, fields);
  return scan;
}

HRESULT CreateTagContent(IStream& stream, uint32_t kinds, TagSet** out, TagScan* scan, TagPriority priority) {
  if (!out) return E_POINTER;
  *out = nullptr;
  try {
    StreamByteSource source(stream);
    if (source.Size() < 0) return E_FAIL;
    TagFields fields;
    const TagScan read = ReadTags(source, kinds, fields, priority);
    if (scan) *scan = read;
    return CreateTagSet(std::move(fields), read.flags, out);
  } catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
  }
}

}  // namespace melorin
