// SPDX-License-Identifier: MIT
#include "lyrics/lyric_tag_writer.h"

#include <algorithm>
#include <array>
#include <iterator>

#include "lyrics/ape_lyric.h"
#include "platform/file.h"
#include "platform/text.h"
#include "tags/tag_bytes.h"
#include "tags/tag_set.h"

namespace melorin {
namespace {

constexpr size_t kHeaderSize = 10;
/// Room for the next change, so that it does not cost the copying of the file.
constexpr size_t kPadding = 4096;
/// A tag is held in memory; larger ones hold films.
constexpr size_t kLargestTag = 32u << 20;
constexpr size_t kMostSyncSafe = (1u << 28) - 1;
constexpr size_t kCopyBytes = 256u << 10;

void AppendNumber(std::vector<uint8_t>& out, size_t number, int bytes, int bits) {
  for (int i = bytes - 1; i >= 0; --i)
    out.push_back(static_cast<uint8_t>(number >> (i * bits) & ((1u << bits) - 1)));
}

/// How the frames of a version are laid out.
struct FrameLayout {
  explicit FrameLayout(int version)
      : id_size(version == 2 ? 3 : 4),
        size_bits(version == 4 ? 7 : 8),
        flags_size(version == 2 ? 0 : 2),
        lyric_id(version == 2 ? "ULT" : "USLT") {}
  size_t HeaderSize() const { return 2 * id_size + flags_size; }

  size_t id_size;
  int size_bits;
  size_t flags_size;
  std::string_view lyric_id;
};

bool IsFrameId(std::span<const uint8_t> id) {
  return std::all_of(id.begin(), id.end(), [](uint8_t letter) {
    return (letter >= 'A' && letter <= 'Z') || (letter >= '0' && letter <= '9');
  });
}

std::vector<uint8_t> LyricFrame(const FrameLayout& layout, std::span<const uint8_t> language,
                                std::u16string_view lyric) {
  std::vector<uint8_t> body = {1};  // UTF-16 with a mark, which all three versions know.
  body.insert(body.end(), language.begin(), language.end());
  constexpr uint8_t kMarks[] = {0xFF, 0xFE, 0x00,
                                0x00, 0xFF, 0xFE};  // Before and behind an empty description.
  body.insert(body.end(), std::begin(kMarks), std::end(kMarks));
  const auto append = [&body](char16_t unit) {
    body.push_back(static_cast<uint8_t>(unit & 0xFF));
    body.push_back(static_cast<uint8_t>(unit >> 8));
  };
  // Lines end with a line feed there.
  for (size_t i = 0; i < lyric.size(); ++i)
    if (lyric[i] != u'\r') append(lyric[i]);
  std::vector<uint8_t> frame(layout.lyric_id.begin(), layout.lyric_id.end());
  AppendNumber(frame, body.size(), static_cast<int>(layout.id_size), layout.size_bits);
  frame.resize(frame.size() + layout.flags_size);
  frame.insert(frame.end(), body.begin(), body.end());
  return frame;
}

/// The frames with the lyric among them. Nothing when they make no sense.
std::optional<std::vector<uint8_t>> ReplaceLyric(std::span<const uint8_t> frames, const FrameLayout& layout,
                                                 std::u16string_view lyric) {
  constexpr std::array<uint8_t, 3> kUnknownLanguage = {'X', 'X', 'X'};
  std::vector<uint8_t> result;
  bool placed = lyric.empty();
  bool taken = false;  // Of several lyrics the first is the one that is shown.
  while (frames.size() >= layout.HeaderSize() && frames[0] != 0) {
    const auto id = frames.first(layout.id_size);
    if (!IsFrameId(id)) return std::nullopt;
    const auto number = frames.subspan(layout.id_size);
    const size_t size = layout.id_size == 3     ? BigEndian24(number)
                        : layout.size_bits == 7 ? SyncSafe32(number)
                                                : BigEndian32(number);
    if (size > frames.size() - layout.HeaderSize()) return std::nullopt;
    const auto frame = frames.first(layout.HeaderSize() + size);
    const bool is_lyric = std::equal(id.begin(), id.end(), layout.lyric_id.begin(), layout.lyric_id.end());
    if (!is_lyric || taken) {
      result.insert(result.end(), frame.begin(), frame.end());
    } else {
      taken = true;
      const bool has_language = size >= 4;
      const std::vector<uint8_t> own = LyricFrame(layout,
                                                  has_language ? frame.subspan(layout.HeaderSize() + 1, 3)
                                                               : std::span<const uint8_t>(kUnknownLanguage),
                                                  lyric);
      if (!placed) result.insert(result.end(), own.begin(), own.end());
      placed = true;
    }
    frames = frames.subspan(frame.size());
  }
  // What follows is padding, or a tag that means something else than is understood here.
  if (std::any_of(frames.begin(), frames.end(), [](uint8_t byte) { return byte != 0; })) return std::nullopt;
  if (!placed) {
    const std::vector<uint8_t> own = LyricFrame(layout, kUnknownLanguage, lyric);
    result.insert(result.end(), own.begin(), own.end());
  }
  return result;
}

bool HasTag(std::span<const uint8_t> start) {
  return start.size() >= kHeaderSize && start[0] == 'I' && start[1] == 'D' && start[2] == '3';
}

/// Reads all of a part, or fails.
bool ReadPart(File& file, int64_t offset, std::span<uint8_t> bytes) {
  while (!bytes.empty()) {
    const int64_t got = file.ReadAt(offset, bytes);
    if (got <= 0) return false;
    offset += got;
    bytes = bytes.subspan(static_cast<size_t>(got));
  }
  return true;
}

/// What is to be written; nothing: that end of the file stays as it is.
struct Ends {
  std::optional<TagHead> head;
  std::optional<TagTail> tail;
};

/// The file with other ends, under another name.
bool CopyWithEnds(File& from, const Ends& ends, const std::string& to_path) {
  File to;
  if (!to.Open(to_path, File::Access::kReadWrite, File::Share::kRead, File::Create::kAlways)) return false;
  const auto write = [&to](std::span<const uint8_t> bytes) {
    return to.Write(bytes) == static_cast<int64_t>(bytes.size());
  };
  int64_t offset = ends.head ? static_cast<int64_t>(ends.head->old_size) : 0;
  const int64_t end = from.Size() - (ends.tail ? static_cast<int64_t>(ends.tail->old_size) : 0);
  if (end < offset || (ends.head && !write(ends.head->bytes))) return false;
  std::vector<uint8_t> block(kCopyBytes);
  while (offset < end) {
    const auto part = std::span(block).first(
        static_cast<size_t>(std::min(end - offset, static_cast<int64_t>(block.size()))));
    if (!ReadPart(from, offset, part) || !write(part)) return false;
    offset += static_cast<int64_t>(part.size());
  }
  return (!ends.tail || write(ends.tail->bytes)) && to.Flush();
}

/// The ID3v2 tag at the start. kDone: it can be written, or is so already.
TagWrite PlanHead(File& file, std::u16string_view lyric, std::optional<TagHead>& head) {
  std::array<uint8_t, kHeaderSize> first{};
  if (!ReadPart(file, 0, first)) return TagWrite::kNotSupported;
  std::vector<uint8_t> start;
  if (HasTag(first)) {
    const size_t size = kHeaderSize + SyncSafe32(std::span(first).subspan(6));
    if (size > kLargestTag || static_cast<int64_t>(size) > file.Size()) return TagWrite::kNotSupported;
    start.resize(size);
    if (!ReadPart(file, 0, start)) return TagWrite::kFailed;
  }
  head = HeadWithLyric(start, lyric);
  if (!head) return TagWrite::kNotSupported;
  if (head->bytes == start) head.reset();
  return TagWrite::kDone;
}

/// The APEv2 tag at the end, with ID3v1 behind it.
TagWrite PlanTail(File& file, std::u16string_view lyric, std::optional<TagTail>& tail) {
  const int64_t size = file.Size();
  if (size < 0) return TagWrite::kFailed;
  std::vector<uint8_t> end(static_cast<size_t>(std::min(size, static_cast<int64_t>(kTailProbe))));
  if (!ReadPart(file, size - static_cast<int64_t>(end.size()), end)) return TagWrite::kFailed;
  const std::optional<size_t> needed = TailSize(end);
  if (!needed || *needed > kLargestTag || static_cast<int64_t>(*needed) > size)
    return TagWrite::kNotSupported;
  if (*needed > end.size()) {
    end.resize(*needed);
    if (!ReadPart(file, size - static_cast<int64_t>(end.size()), end)) return TagWrite::kFailed;
  }
  tail = TailWithLyric(end, lyric);
  if (!tail) return TagWrite::kNotSupported;
  const auto old = std::span(end).last(tail->old_size);
  if (std::equal(old.begin(), old.end(), tail->bytes.begin(), tail->bytes.end())) tail.reset();
  return TagWrite::kDone;
}

/// Of the two: what can be written of the kinds that are wanted is enough.
TagWrite PlanEnds(File& file, std::u16string_view lyric, uint32_t kinds, Ends& ends) {
  TagWrite result = TagWrite::kNoKind;
  if (kinds & kTagId3v2) result = PlanHead(file, lyric, ends.head);
  if (!(kinds & kTagApeV2) || result == TagWrite::kFailed) return result;
  const TagWrite tail = PlanTail(file, lyric, ends.tail);
  return tail == TagWrite::kNotSupported && result == TagWrite::kDone ? result : tail;
}

}  // namespace

std::optional<TagHead> HeadWithLyric(std::span<const uint8_t> start, std::u16string_view lyric) {
  TagHead head;
  int version = 3;
  std::span<const uint8_t> frames;
  if (HasTag(start)) {
    version = start[3];
    const size_t size = SyncSafe32(start.subspan(6));
    if (version < 2 || version > 4 || start[5] != 0 || size > start.size() - kHeaderSize) return std::nullopt;
    frames = start.subspan(kHeaderSize, size);
    head.old_size = kHeaderSize + size;
  }
  const auto body = ReplaceLyric(frames, FrameLayout(version), lyric);
  if (!body) return std::nullopt;
  size_t size = kHeaderSize + body->size();
  size = size <= head.old_size ? head.old_size : size + kPadding;
  if (size - kHeaderSize > kMostSyncSafe) return std::nullopt;
  head.bytes = {'I', 'D', '3', static_cast<uint8_t>(version), 0, 0};
  AppendNumber(head.bytes, size - kHeaderSize, 4, 7);
  head.bytes.insert(head.bytes.end(), body->begin(), body->end());
  head.bytes.resize(size);
  return head;
}

bool CanWriteLyricTag(std::string_view path_gbk) {
  const std::string_view extension = PathExtension(path_gbk);
  for (const std::string_view known : {"mp3", "mp2", "mp1", "mpa"})
    if (EqualNoCaseGbk(extension, known)) return true;
  return false;
}

TagWrite WriteLyricTag(const std::string& path_gbk, std::u16string_view lyric, uint32_t kinds) {
  if (!CanWriteLyricTag(path_gbk)) return TagWrite::kNotSupported;
  File file;
  if (!file.Open(path_gbk, File::Access::kRead, File::Share::kReadWrite, File::Create::kMustExist))
    return TagWrite::kFailed;
  Ends ends;
  if (const TagWrite plan = PlanEnds(file, lyric, kinds, ends); plan != TagWrite::kDone) return plan;
  if (!ends.head && !ends.tail) return TagWrite::kDone;
  const std::string beside = path_gbk + ".melorin-new";
  const bool copied = CopyWithEnds(file, ends, beside);
  file.Close();
  if (copied && ReplaceFileAt(beside, path_gbk)) return TagWrite::kDone;
  DeleteFileAt(beside);
  return copied ? TagWrite::kInUse : TagWrite::kFailed;
}

}  // namespace melorin
