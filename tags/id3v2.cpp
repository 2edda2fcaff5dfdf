// SPDX-License-Identifier: MIT
//
// ID3v2, after the informal standards of 2.2.0, 2.3.0 and 2.4.0 (id3.org). The body is walked frame by frame
// through the file windows: frames that are not wanted, pictures above all, are stepped over without being
// read.
#include "tags/id3v2.h"

#include <algorithm>
#include <array>
#include <string>
#include <string_view>
#include <vector>

#include "tags/field_names.h"
#include "tags/id3v1.h"
#include "tags/id3v2_body.h"
#include "tags/id3v2_lyrics.h"
#include "tags/id3v2_text.h"
#include "tags/legacy_text.h"
#include "tags/tag_bytes.h"

namespace melorin {

namespace {

constexpr int64_t kHeaderSize = 10;

enum class FrameKind : uint8_t { kText, kGenre, kComment, kLyrics, kSyncedLyrics, kUser };

struct FrameRow {
  std::string_view id;
  std::string_view id22;  ///< In version 2.2.
  std::string_view field;
  FrameKind kind;
};

/// In the order in which fields are looked up. The year frame of 2.3 stands in where there is no date of 2.4.
constexpr FrameRow kRows[] = {
    {"TIT2", "TT2", "Title", FrameKind::kText},          {"TIT3", "TT3", "Subtitle", FrameKind::kText},
    {"TCOP", "TCR", "Copyright", FrameKind::kText},      {"TCOM", "TCM", "Composer", FrameKind::kText},
    {"TPE1", "TP1", "Artist", FrameKind::kText},         {"TPE2", "TP2", "Orchestra", FrameKind::kText},
    {"TPE3", "TP3", "Conductor", FrameKind::kText},      {"TALB", "TAL", "Album", FrameKind::kText},
    {"TRCK", "TRK", "Tracknumber", FrameKind::kText},    {"TDRC", "", "Date", FrameKind::kText},
    {"TYER", "TYE", "Date", FrameKind::kText},           {"TPUB", "TPB", "Publisher", FrameKind::kText},
    {"TCON", "TCO", "Genre", FrameKind::kGenre},         {"TENC", "TEN", "Encoder", FrameKind::kText},
    {"COMM", "COM", "Comment", FrameKind::kComment},     {"USLT", "ULT", "Lyrics", FrameKind::kLyrics},
    {"SYLT", "SLT", "Lyrics", FrameKind::kSyncedLyrics}, {"TXXX", "TXX", "", FrameKind::kUser},
};

const FrameRow* FindRow(std::string_view id) {
  for (const FrameRow& row : kRows)
    if (row.id == id || row.id22 == id) return &row;
  return nullptr;
}

/// A frame that was kept, as a part of the collected bytes.
struct Frame {
  const FrameRow* row;
  size_t begin;
  size_t size;
};

struct FrameHeader {
  std::string_view id;  ///< Inside the buffer that the header was read into.
  uint32_t size = 0;
  uint8_t format_flags = 0;
};

bool IsIdLetter(char letter) {
  return (letter >= 'A' && letter <= 'Z') || (letter >= '0' && letter <= '9');
}

/// Three or four letters. Some programs write a 2.2 name and a zero into newer tags.
bool IsFrameId(std::string_view id) {
  const size_t checked = id.size() == 4 && id[3] == '\0' ? 3 : id.size();
  return std::all_of(id.begin(), id.begin() + static_cast<std::ptrdiff_t>(checked), IsIdLetter);
}

class TagReader {
 public:
  TagReader(CachedSource& file, const Id3v2Header& header, int64_t begin, int64_t end, TagLimits& limits)
      : version_(header.version), header_(header), body_(file, begin, end, header), limits_(limits) {}

  void Collect();
  void Emit(TagFields& fields) const;

 private:
  bool ReadHeader(std::array<char, 10>& buffer, FrameHeader& frame);
  bool IsFrameAt(int64_t distance) const;
  uint32_t FrameSize24(std::span<const uint8_t> bytes) const;
  std::string_view Payload(const Frame& frame) const {
    return std::string_view(bytes_).substr(frame.begin, frame.size);
  }
  bool AnyGbk() const;
  std::string BestComment(bool gbk) const;
  std::string BestLyrics(bool gbk) const;

  const int version_;
  const Id3v2Header& header_;
  Id3v2Body body_;
  TagLimits& limits_;
  std::string bytes_;
  std::vector<Frame> frames_;
};

/// Whether a frame, padding or the tag's end comes `distance` bytes after the next byte to read.
bool TagReader::IsFrameAt(int64_t distance) const {
  const auto next = body_.Peek(distance, 4);
  if (next.empty()) return distance == body_.Left();
  if (next[0] == 0) return true;
  return next.size() == 4 && IsFrameId({reinterpret_cast<const char*>(next.data()), 4});
}

/// 2.4 has seven bits a byte. Old programs wrote eight; where the two differ, the one counts that leads to
/// something.
uint32_t TagReader::FrameSize24(std::span<const uint8_t> bytes) const {
  const uint32_t plain = BigEndian32(bytes);
  if (!IsSyncSafe(bytes)) return plain;
  const uint32_t safe = SyncSafe32(bytes);
  if (safe == plain || IsFrameAt(safe)) return safe;
  return IsFrameAt(plain) ? plain : safe;
}

bool TagReader::ReadHeader(std::array<char, 10>& buffer, FrameHeader& frame) {
  const size_t size = version_ == 2 ? 6 : 10;
  const std::span<char> room(buffer.data(), size);
  if (!body_.Read(room)) return false;
  const std::span<const uint8_t> raw(reinterpret_cast<const uint8_t*>(buffer.data()), size);
  frame.id = std::string_view(buffer.data(), version_ == 2 ? 3 : 4);
  if (!IsFrameId(frame.id)) return false;
  if (frame.id.back() == '\0') frame.id.remove_suffix(1);
  switch (version_) {
    case 2:
      frame.size = BigEndian24(raw.subspan(3));
      break;
    case 3:
      frame.size = BigEndian32(raw.subspan(4));
      break;
    default:
      frame.size = FrameSize24(raw.subspan(4));
      break;
  }
  frame.format_flags = version_ == 2 ? 0 : raw[9];
  return frame.size <= body_.Left();
}

void TagReader::Collect() {
  std::array<char, 10> buffer;
  FrameHeader frame;
  while (limits_.fields_left != 0 && ReadHeader(buffer, frame)) {
    const FrameRow* row = FindRow(frame.id);
    if (!row) {
      body_.Skip(frame.size);
      continue;
    }
    --limits_.fields_left;
    const size_t begin = bytes_.size();
    if (!body_.Append(frame.size, bytes_)) return;
    if (UnpackFrame(header_, frame.format_flags, bytes_, begin, limits_) && bytes_.size() > begin + 1)
      frames_.push_back({row, begin, bytes_.size() - begin});
    else
      bytes_.resize(begin);
  }
}

/// Takes the encoding byte off. Programs that forget it begin with the text itself.
Id3Encoding TakeEncoding(std::string_view& payload) {
  const auto first = static_cast<unsigned char>(payload.front());
  if (first >= 0x20) return Id3Encoding::kLatin1;
  payload.remove_prefix(1);
  return first <= 3 ? static_cast<Id3Encoding>(first) : Id3Encoding::kLatin1;
}

bool TagReader::AnyGbk() const {
  return std::any_of(frames_.begin(), frames_.end(), [this](const Frame& frame) {
    std::string_view payload = Payload(frame);
    if (frame.row->kind != FrameKind::kText || TakeEncoding(payload) != Id3Encoding::kLatin1) return false;
    bool terminated = false;
    return WeighLegacy(TakeTerminated(payload, Id3Encoding::kLatin1, terminated)).kind ==
           LegacyEvidence::Kind::kGbk;
  });
}

/// A text with a language and a description before it.
struct Described {
  std::string description;
  std::string text;
};

Described DecodeDescribed(std::string_view payload, bool has_language, bool gbk) {
  const Id3Encoding encoding = TakeEncoding(payload);
  if (has_language) payload.remove_prefix(std::min<size_t>(3, payload.size()));
  std::string_view rest = payload;
  bool terminated = false;
  const std::string_view description = TakeTerminated(rest, encoding, terminated);
  if (!terminated) return {{}, has_language ? DecodeValues(payload, encoding, gbk) : std::string()};
  return {DecodeValues(description, encoding, gbk), DecodeValues(rest, encoding, gbk)};
}

std::string TagReader::BestComment(bool gbk) const {
  std::string second_choice;
  for (const Frame& frame : frames_) {
    if (frame.row->kind != FrameKind::kComment) continue;
    Described comment = DecodeDescribed(Payload(frame), true, gbk);
    if (comment.text.empty()) continue;
    if (comment.description.empty()) return std::move(comment.text);
    const bool private_data = comment.description.starts_with("iTun") ||
                              comment.description.starts_with("Songs-DB_") || comment.description == "ID3v1";
    if (!private_data && second_choice.empty()) second_choice = std::move(comment.text);
  }
  return second_choice;
}

/// Lyrics with times go before others: LRC text that a program put among the plain lyrics, as it is the one
/// that its user sees there, then synchronised ones.
std::string TagReader::BestLyrics(bool gbk) const {
  std::string plain;
  std::string synced;
  for (const Frame& frame : frames_) {
    if (frame.row->kind == FrameKind::kSyncedLyrics && synced.empty()) {
      synced = LrcOfSyncedLyrics(Payload(frame), gbk);
    } else if (frame.row->kind == FrameKind::kLyrics) {
      std::string text = DecodeDescribed(Payload(frame), true, gbk).text;
      if (HasTimeTags(text)) return text;
      if (plain.empty()) plain = std::move(text);
    }
  }
  return synced.empty() ? plain : synced;
}

void TagReader::Emit(TagFields& fields) const {
  const bool gbk = AnyGbk();
  for (const FrameRow& row : kRows) {
    if (row.kind == FrameKind::kComment || row.kind == FrameKind::kLyrics) {
      const std::string best = row.kind == FrameKind::kComment ? BestComment(gbk) : BestLyrics(gbk);
      if (!best.empty()) AddMissing(fields, row.field, best);
      continue;
    }
    if (row.kind == FrameKind::kSyncedLyrics) continue;
    for (const Frame& frame : frames_) {
      if (frame.row != &row) continue;
      std::string name(row.field);
      std::string value;
      std::string_view payload = Payload(frame);
      if (row.kind == FrameKind::kText || row.kind == FrameKind::kGenre) {
        const Id3Encoding encoding = TakeEncoding(payload);
        value = DecodeValues(payload, encoding, gbk, row.kind == FrameKind::kGenre ? ResolveGenre : nullptr);
      } else {
        Described described = DecodeDescribed(payload, false, gbk);
        name = FieldName(described.description);
        value = std::move(described.text);
      }
      if (!value.empty() && !name.empty()) AddMissing(fields, name, value);
    }
  }
}

}  // namespace

Id3v2Result ReadId3v2(CachedSource& file, int64_t& offset, TagLimits& limits, TagFields& fields) {
  const auto bytes = file.At(offset, kHeaderSize);
  Id3v2Header header;
  if (bytes.size() != kHeaderSize || !ParseId3v2Header(bytes, header)) return Id3v2Result::kNone;
  const int64_t begin = offset + kHeaderSize;
  const int64_t body_end = begin + header.body_size;
  const int64_t end = body_end + (header.has_footer ? kHeaderSize : 0);
  if (header.known) {
    TagReader reader(file, header, begin, std::min(body_end, file.Size()), limits);
    reader.Collect();
    reader.Emit(fields);
  }
  offset = std::min(end, file.Size());
  return end > file.Size() ? Id3v2Result::kTooLong : Id3v2Result::kRead;
}

bool ReadAppendedId3v2(CachedSource& file, int64_t floor, int64_t& end, TagLimits& limits,
                       TagFields& fields) {
  if (end - 2 * kHeaderSize < floor) return false;
  const auto footer = file.At(end - kHeaderSize, kHeaderSize);
  if (footer.size() != kHeaderSize || footer[0] != '3' || footer[1] != 'D' || footer[2] != 'I') return false;
  if (!IsSyncSafe(footer.subspan(6))) return false;
  const int64_t begin = end - 2 * kHeaderSize - SyncSafe32(footer.subspan(6));
  if (begin < floor) return false;
  const auto bytes = file.At(begin, kHeaderSize);
  Id3v2Header header;
  if (bytes.size() != kHeaderSize || !ParseId3v2Header(bytes, header) || !header.has_footer) return false;
  int64_t offset = begin;
  if (begin + 2 * kHeaderSize + header.body_size != end) return false;
  ReadId3v2(file, offset, limits, fields);
  end = begin;
  return true;
}

}  // namespace melorin
