// SPDX-License-Identifier: MIT
#include "playlist/mzbl.h"

#include <cstring>
#include <utility>

#include "platform/text.h"
#include "playlist/list_paths.h"
#include "playlist/packed_tags.h"
#include "playlist/tag_rules.h"
#include "playlist/written_items.h"

namespace melorin {
namespace {

constexpr std::string_view kMagic = "MZBL";
constexpr uint32_t kVersion = 1;
constexpr size_t kMostTags = 0xFFFF;

/// Reads from the front of the bytes; once something does not fit, everything fails.
class Cursor {
 public:
  explicit Cursor(std::string_view bytes) : rest_(bytes) {}
  bool AtEnd() const { return rest_.empty(); }
  std::string_view Rest() const { return rest_; }

  template <class Number>
  bool Take(Number& out) {
    static_assert(std::is_unsigned_v<Number>);
    if (rest_.size() < sizeof(Number)) return false;
    uint32_t value = 0;
    for (size_t i = 0; i < sizeof(Number); ++i)
      value |= static_cast<uint32_t>(static_cast<unsigned char>(rest_[i])) << (8 * i);
    out = static_cast<Number>(value);
    rest_.remove_prefix(sizeof(Number));
    return true;
  }
  bool Take(std::string_view& out) {
    uint32_t length = 0;
    if (!Take(length) || length > rest_.size()) return false;  // A negative count is a huge one here.
    out = rest_.substr(0, length);
    rest_.remove_prefix(length);
    return true;
  }

 private:
  std::string_view rest_;
};

struct Header {
  int code_page = 0;
  std::string_view name;
};

bool TakeHeader(Cursor& cursor, Header& header) {
  uint32_t version = 0;
  uint32_t code_page = 0;
  if (!cursor.Rest().starts_with(kMagic)) return false;
  uint32_t magic = 0;
  cursor.Take(magic);
  if (!cursor.Take(version) || version != kVersion || !cursor.Take(code_page)) return false;
  if (code_page != kCodePageUtf8 && code_page != kCodePageGbk) return false;
  header.code_page = static_cast<int>(code_page);
  return cursor.Take(header.name);
}

/// An entry as it stands in the file; what is absent has the default.
struct Entry {
  std::string_view path;
  uint16_t flags = 0;
  uint16_t subtrack = 0;
  std::string_view title;
  int32_t duration_ms = kUnknownDuration;
  uint32_t time_stamp = 0;
  std::string_view codec;
  StreamFormat format;
  Cursor tags{{}};
};

bool TakeEntry(Cursor& cursor, Entry& entry) {
  if (!cursor.Take(entry.path) || !cursor.Take(entry.flags)) return false;
  const auto has = [&](MzblFlags flag) { return (entry.flags & flag) != 0; };
  if (has(kMzblSubtrack) && !cursor.Take(entry.subtrack)) return false;
  if (has(kMzblTitle) && !cursor.Take(entry.title)) return false;
  if (has(kMzblDuration)) {
    uint32_t duration = 0;
    if (!cursor.Take(duration)) return false;
    entry.duration_ms = static_cast<int32_t>(duration);
  }
  if (has(kMzblTimeStamp) && !cursor.Take(entry.time_stamp)) return false;
  if (has(kMzblCodec)) {
    StreamFormat& format = entry.format;
    if (!cursor.Take(entry.codec) || !cursor.Take(format.sample_rate) || !cursor.Take(format.channels) ||
        !cursor.Take(format.bits) || !cursor.Take(format.bit_rate))
      return false;
  }
  if (has(kMzblTags)) {
    uint16_t count = 0;
    const Cursor begin = cursor;
    if (!cursor.Take(count)) return false;
    std::string_view text;
    for (size_t i = 0; i < 2 * size_t{count}; ++i)
      if (!cursor.Take(text)) return false;
    entry.tags = begin;
  }
  return true;
}

class Reader {
 public:
  Reader(const ListReading& reading, int code_page, Playlist& list)
      : reading_(reading), code_page_(code_page), list_(list) {}

  void Add(Entry& entry) {
    if (entry.path.empty()) return;
    ToGbk(entry.path, path_);
    ResolveEntry(reading_, path_);
    if (!TakesEntry(reading_, path_)) return;
    ToGbk(entry.title, title_);
    // Copied, for a copy takes exactly the memory it needs.
    ItemRef item =
        ItemCache::Obtain(std::string(path_), std::string(title_), entry.duration_ms, entry.subtrack);
    if ((entry.flags & kMzblTimeStamp) != 0) item->SetTimeStamp(entry.time_stamp);
    if ((entry.flags & kMzblCodec) != 0) {
      SetCodec(*item, entry.codec);
      item->SetFormat(entry.format);
    }
    if ((entry.flags & kMzblTags) != 0) SetTags(*item, entry.tags);
    list_.Append(std::move(item));
  }

 private:
  void ToGbk(std::string_view text, std::string& out) const {
    out.clear();
    if (code_page_ == kCodePageUtf8)
      AppendGbkFromUtf8(text, out);
    else
      out.append(text);
  }

  /// Most entries have the codec of the entry before.
  void SetCodec(PlayListItem& item, std::string_view codec) {
    if (codec != codec_) {
      codec_ = codec;
      ToGbk(codec, codec_gbk_);
    }
    item.SetCodec(codec_gbk_);
  }

  void SetTags(PlayListItem& item, Cursor cursor) {
    packed_.clear();
    uint16_t count = 0;
    cursor.Take(count);
    for (size_t i = 0; i < count; ++i) {
      std::string_view name;
      std::string_view value;
      cursor.Take(name);
      cursor.Take(value);
      if (name.empty() || value.empty()) continue;
      if (code_page_ == kCodePageUtf8)
        AppendPackedTag(packed_, name, value);
      else
        AppendPackedTag(packed_, Utf8FromGbk(name), Utf8FromGbk(value));
    }
    AddTags(item, packed_);
  }

  const ListReading& reading_;
  int code_page_;
  Playlist& list_;
  std::string path_;  // Used again for each entry.
  std::string title_;
  std::string packed_;
  std::string codec_;
  std::string codec_gbk_;
};

class Writer {
 public:
  explicit Writer(const Playlist& list) : written_(list.Size()) { out_.reserve(64 + list.Size() * 160); }

  std::vector<uint8_t>& Out() { return out_; }

  void Header(std::string_view name_utf8) {
    Raw(kMagic);
    Number(kVersion);
    Number(uint32_t{kCodePageUtf8});
    Text(name_utf8);
  }

  void Entry(const PlayListItem& item, bool save_tags) {
    const bool whole = written_.Add(&item);
    const StreamFormat& format = item.Format();
    const auto subtrack = static_cast<uint16_t>(item.Subtrack() & 0xFFFF);
    const std::string tags = whole && save_tags ? item.PackedTags() : std::string();
    unsigned flags = subtrack != 0 ? kMzblSubtrack : 0;
    if (whole && !item.TitleGbk().empty()) flags |= kMzblTitle;
    if (whole && item.DurationMs() >= 0) flags |= kMzblDuration;
    if (whole && save_tags) {
      flags |= kMzblTimeStamp;
      if (!item.CodecGbk().empty() || format != StreamFormat()) flags |= kMzblCodec;
      if (!tags.empty()) flags |= kMzblTags;
    }
    Gbk(item.PathGbk());
    Number(static_cast<uint16_t>(flags));
    if ((flags & kMzblSubtrack) != 0) Number(subtrack);
    if ((flags & kMzblTitle) != 0) Gbk(item.TitleGbk());
    if ((flags & kMzblDuration) != 0) Number(static_cast<uint32_t>(item.DurationMs()));
    if ((flags & kMzblTimeStamp) != 0) Number(item.TimeStamp());
    if ((flags & kMzblCodec) != 0) {
      Gbk(item.CodecGbk());
      Number(format.sample_rate);
      Number(format.channels);
      Number(format.bits);
      Number(format.bit_rate);
    }
    if ((flags & kMzblTags) != 0) Tags(tags);
  }

 private:
  void Raw(std::string_view bytes) {
    const auto* begin = reinterpret_cast<const uint8_t*>(bytes.data());
    out_.insert(out_.end(), begin, begin + bytes.size());
  }
  template <class Number_>
  void Number(Number_ value) {
    const size_t at = out_.size();
    out_.resize(at + sizeof value);
    for (size_t i = 0; i < sizeof value; ++i)
      out_[at + i] = static_cast<uint8_t>(value >> (8 * i));
  }
  void Text(std::string_view bytes) {
    Number(static_cast<uint32_t>(bytes.size()));
    Raw(bytes);
  }
  void Gbk(std::string_view gbk) {
    scratch_.clear();
    AppendUtf8FromGbk(gbk, scratch_);
    Text(scratch_);
  }
  void Tags(std::string_view packed) {
    const size_t count_at = out_.size();
    Number(uint16_t{0});
    size_t count = 0;
    for (PackedTagReader tag(packed); count < kMostTags && tag.Next(); ++count) {
      Text(tag.Name());
      Text(HasTagNameLength(tag.Name()) ? tag.Value() : std::string_view());
    }
    out_[count_at] = static_cast<uint8_t>(count & 0xFF);
    out_[count_at + 1] = static_cast<uint8_t>(count >> 8);
  }

  std::vector<uint8_t> out_;
  std::string scratch_;
  WrittenItems written_;
};

std::string_view AsText(std::span<const uint8_t> bytes) {
  return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

}  // namespace

ListReadResult ReadMzbl(std::span<const uint8_t> bytes, const ListReading& reading, Playlist& list) {
  ListReadResult result;
  Cursor cursor(AsText(bytes));
  Header header;
  if (!TakeHeader(cursor, header)) return result;
  result.recognised = true;
  list.SetName(header.code_page == kCodePageUtf8 ? GbkFromUtf8(header.name) : std::string(header.name));
  if (reading.name_only) {
    result.complete = true;
    return result;
  }
  const size_t before = list.Size();
  Reader reader(reading, header.code_page, list);
  result.complete = true;
  while (!cursor.AtEnd()) {
    Entry entry;
    if (!TakeEntry(cursor, entry)) {
      result.complete = false;
      break;
    }
    reader.Add(entry);
  }
  result.entries = list.Size() - before;
  return result;
}

std::vector<uint8_t> WriteMzbl(const Playlist& list, bool save_tags) {
  Writer writer(list);
  writer.Header(Utf8FromGbk(list.NameGbk()));
  for (const ItemRef& item : list.Items())
    writer.Entry(*item, save_tags);
  return std::move(writer.Out());
}

}  // namespace melorin
