// SPDX-License-Identifier: MIT
#include "lyrics/lyric_file.h"

#include <array>
#include <optional>
#include <string_view>
#include <vector>

#include "platform/file.h"
#include "platform/text.h"

namespace melorin {

namespace {

constexpr std::string_view kUtf8MarkBytes = "\xEF\xBB\xBF";

std::u16string UnitsOf(std::span<const uint8_t> bytes, bool big_endian) {
  std::u16string units(bytes.size() / 2, u'\0');
  for (size_t i = 0; i < units.size(); ++i) {
    const uint8_t first = bytes[2 * i];
    const uint8_t second = bytes[2 * i + 1];
    units[i] = static_cast<char16_t>(big_endian ? first << 8 | second : second << 8 | first);
  }
  return units;
}

std::string BytesOf(std::u16string_view units, bool big_endian) {
  std::string bytes;
  bytes.reserve(2 * units.size());
  for (const char16_t unit : units) {
    const auto low = static_cast<char>(unit & 0xFF);
    const auto high = static_cast<char>(unit >> 8);
    bytes += big_endian ? high : low;
    bytes += big_endian ? low : high;
  }
  return bytes;
}

/// Room for a file's bytes. Most lyrics fit into the part on the stack, which spares the heap a large block
/// that it would take from the system and give back each time.
struct FileRoom {
  std::array<uint8_t, 128u << 10> usual;
  std::vector<uint8_t> large;
};

/// The bytes, in `room`. Nothing when they cannot be read or are too many. Others may write the file
/// meanwhile.
std::optional<std::span<const uint8_t>> ReadLyricBytes(const std::string& path_gbk, FileRoom& room) {
  File file;
  if (!file.Open(path_gbk, File::Access::kRead, File::Share::kReadWrite, File::Create::kMustExist))
    return std::nullopt;
  const int64_t size = file.Size();
  if (size < 0 || size > static_cast<int64_t>(kLargestLyricBytes)) return std::nullopt;
  std::span<uint8_t> bytes(room.usual);
  if (static_cast<size_t>(size) > bytes.size()) {
    room.large.resize(static_cast<size_t>(size));
    bytes = room.large;
  }
  bytes = bytes.first(static_cast<size_t>(size));
  size_t count = 0;
  while (count < bytes.size()) {
    const int64_t got = file.Read(bytes.subspan(count));
    if (got < 0) return std::nullopt;
    if (got == 0) break;
    count += static_cast<size_t>(got);
  }
  return bytes.first(count);
}

}  // namespace

bool ParseLyricBytes(LyricDoc& doc, std::span<const uint8_t> bytes, const LyricLoadOptions& options,
                     LyricEncoding* encoding) {
  const LyricEncoding found = options.detect_encoding ? DetectLyricEncoding(bytes) : LyricEncoding::kGbk;
  if (encoding) *encoding = found;
  if (bytes.size() > kLargestLyricBytes) {
    doc.Clear();
    return false;
  }
  const std::string_view text(reinterpret_cast<const char*>(bytes.data()), bytes.size());
  switch (found) {
    case LyricEncoding::kUtf16LittleEndian:
    case LyricEncoding::kUtf16BigEndian:
      return doc.Parse(UnitsOf(bytes.subspan(2), found == LyricEncoding::kUtf16BigEndian));
    case LyricEncoding::kUtf8Mark:
      return doc.Parse(Utf16FromUtf8(text.substr(kUtf8MarkBytes.size())));
    case LyricEncoding::kUtf8:
      return doc.Parse(Utf16FromUtf8(text));
    case LyricEncoding::kGbk:
      break;
  }
  // What stands behind a zero is not read either way.
  return IsValidGbk(text) ? doc.ParsePlainGbk(text) : doc.Parse(Utf16FromGbk(text));
}

bool LoadLyricFile(LyricDoc& doc, const std::string& path_gbk, const LyricLoadOptions& options,
                   LyricEncoding* encoding) {
  FileRoom room;
  if (const auto bytes = ReadLyricBytes(path_gbk, room))
    return ParseLyricBytes(doc, *bytes, options, encoding);
  doc.Clear();
  if (encoding) *encoding = LyricEncoding::kGbk;
  return false;
}

bool SaveLyricFile(const LyricDoc& doc, const std::string& path_gbk, bool merge, LyricEncoding encoding) {
  const std::u16string text = doc.Write(merge);
  std::string bytes;
  switch (encoding) {
    case LyricEncoding::kGbk:
      AppendGbkFromUtf16(text, bytes);
      break;
    case LyricEncoding::kUtf8Mark:
      bytes = kUtf8MarkBytes;
      [[fallthrough]];
    case LyricEncoding::kUtf8:
      AppendUtf8FromUtf16(text, bytes);
      break;
    case LyricEncoding::kUtf16LittleEndian:
    case LyricEncoding::kUtf16BigEndian:
      bytes = BytesOf(u'\xFEFF' + text, encoding == LyricEncoding::kUtf16BigEndian);
      break;
  }
  return WriteFileSafely(path_gbk, {reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size()});
}

}  // namespace melorin
