// SPDX-License-Identifier: MIT
#include "lyrics/ape_lyric.h"

#include <algorithm>
#include <string>

#include "platform/text.h"
#include "tags/field_names.h"
#include "tags/tag_bytes.h"

namespace melorin {
namespace {

constexpr std::string_view kMark = "APETAGEX";
constexpr std::string_view kLyrics = "Lyrics";
constexpr size_t kFooterSize = 32;
constexpr size_t kItemHeaderSize = 8;
constexpr size_t kId3v1Size = 128;
constexpr uint32_t kVersion2 = 2000;
constexpr uint32_t kHasHeader = 0x80000000;
constexpr uint32_t kIsHeader = 0x20000000;
constexpr uint32_t kReadOnly = 1;

std::string_view TextOf(std::span<const uint8_t> bytes) {
  return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

size_t Id3v1Size(std::span<const uint8_t> end) {
  const bool there = end.size() >= kId3v1Size && TextOf(end.last(kId3v1Size)).starts_with("TAG");
  return there ? kId3v1Size : 0;
}

/// The footer of the tag that ends there; empty: there is none.
std::span<const uint8_t> FooterOf(std::span<const uint8_t> end) {
  if (end.size() < kFooterSize || !TextOf(end.last(kFooterSize)).starts_with(kMark)) return {};
  return end.last(kFooterSize);
}

void AppendNumber(std::vector<uint8_t>& out, size_t number) {
  for (int shift = 0; shift < 32; shift += 8)
    out.push_back(static_cast<uint8_t>(number >> shift));
}

void AppendText(std::vector<uint8_t>& out, std::string_view text) {
  out.insert(out.end(), text.begin(), text.end());
}

/// The header or the footer.
void AppendEnd(std::vector<uint8_t>& out, size_t items_size, size_t count, uint32_t flags) {
  AppendText(out, kMark);
  AppendNumber(out, kVersion2);
  AppendNumber(out, items_size + kFooterSize);
  AppendNumber(out, count);
  AppendNumber(out, flags);
  out.resize(out.size() + 8);
}

void AppendLyric(std::vector<uint8_t>& out, std::string_view key, std::u16string_view lyric) {
  std::u16string lines(lyric);
  // Lines end with a line feed there.
  std::erase(lines, u'\r');
  const std::string value = Utf8FromUtf16(lines);
  AppendNumber(out, value.size());
  AppendNumber(out, 0);  // Text.
  AppendText(out, key);
  out.push_back(0);
  AppendText(out, value);
}

struct Items {
  std::vector<uint8_t> bytes;
  size_t count = 0;
};

std::optional<Items> ReplaceLyric(std::span<const uint8_t> items, size_t count, std::u16string_view lyric) {
  Items result;
  bool placed = lyric.empty();
  for (; count > 0; --count) {
    if (items.size() <= kItemHeaderSize) return std::nullopt;
    const std::string_view rest = TextOf(items.subspan(kItemHeaderSize));
    const std::string_view key = rest.substr(0, rest.find('\0'));
    const size_t value_size = LittleEndian32(items);
    if (key.size() == rest.size() || value_size > rest.size() - key.size() - 1) return std::nullopt;
    const auto item = items.first(kItemHeaderSize + key.size() + 1 + value_size);
    items = items.subspan(item.size());
    const bool is_lyric = FieldName(key) == kLyrics;
    if (is_lyric && placed) continue;
    if (is_lyric) {
      AppendLyric(result.bytes, key, lyric);
      placed = true;
    } else {
      result.bytes.insert(result.bytes.end(), item.begin(), item.end());
    }
    ++result.count;
  }
  if (!items.empty()) return std::nullopt;
  if (!placed) {
    AppendLyric(result.bytes, kLyrics, lyric);
    ++result.count;
  }
  return result;
}

}  // namespace

std::optional<size_t> TailSize(std::span<const uint8_t> end) {
  const size_t id3v1 = Id3v1Size(end);
  end = end.first(end.size() - id3v1);
  const std::string_view text = TextOf(end);
  if (text.ends_with("LYRICS200") || text.ends_with("LYRICSEND")) return std::nullopt;
  const auto footer = FooterOf(end);
  if (footer.empty()) return id3v1;
  const uint32_t flags = LittleEndian32(footer.subspan(20));
  const size_t size = LittleEndian32(footer.subspan(12));
  if (LittleEndian32(footer.subspan(8)) < kVersion2 || (flags & (kIsHeader | kReadOnly)) != 0 ||
      size < kFooterSize || size > SIZE_MAX / 4)
    return std::nullopt;
  return id3v1 + size + ((flags & kHasHeader) != 0 ? kFooterSize : 0);
}

std::optional<TagTail> TailWithLyric(std::span<const uint8_t> end, std::u16string_view lyric) {
  const std::optional<size_t> size = TailSize(end);
  if (!size || *size > end.size()) return std::nullopt;
  const auto tail = end.last(*size);
  const auto id3v1 = tail.last(Id3v1Size(end));
  const auto tag = tail.first(tail.size() - id3v1.size());
  std::span<const uint8_t> items;
  size_t count = 0;
  if (const auto footer = FooterOf(tag); !footer.empty()) {
    items = tag.last(LittleEndian32(footer.subspan(12)));
    items = items.first(items.size() - kFooterSize);
    count = LittleEndian32(footer.subspan(16));
  }
  const auto made = ReplaceLyric(items, count, lyric);
  if (!made) return std::nullopt;
  TagTail result;
  result.old_size = tail.size();
  if (made->count > 0) {
    AppendEnd(result.bytes, made->bytes.size(), made->count, kHasHeader | kIsHeader);
    result.bytes.insert(result.bytes.end(), made->bytes.begin(), made->bytes.end());
    AppendEnd(result.bytes, made->bytes.size(), made->count, kHasHeader);
  }
  result.bytes.insert(result.bytes.end(), id3v1.begin(), id3v1.end());
  return result;
}

}  // namespace melorin
