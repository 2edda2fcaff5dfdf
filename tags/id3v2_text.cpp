// SPDX-License-Identifier: MIT
//
// Decoding of ID3v2 texts.
#include "tags/id3v2_text.h"

#include <algorithm>

#include "platform/text.h"
#include "tags/field_names.h"
#include "tags/legacy_text.h"

namespace melorin {

namespace {

bool IsWide(Id3Encoding encoding) {
  return encoding == Id3Encoding::kUtf16 || encoding == Id3Encoding::kUtf16BigEndian;
}

char16_t UnitAt(std::string_view bytes, size_t i, bool big_endian) {
  const auto first = static_cast<unsigned char>(bytes[i]);
  const auto second = static_cast<unsigned char>(bytes[i + 1]);
  return static_cast<char16_t>(big_endian ? first << 8 | second : second << 8 | first);
}

std::string DecodeUtf8(std::string_view bytes, bool neighbours_gbk) {
  if (bytes.starts_with("\xEF\xBB\xBF")) bytes.remove_prefix(3);
  if (IsValidUtf8(bytes)) return std::string(bytes);
  return DecodeLegacy(bytes, WeighLegacy(bytes), neighbours_gbk);
}

}  // namespace

bool LooksBigEndian(std::string_view bytes) {
  size_t zeros_first = 0;
  size_t zeros_second = 0;
  for (size_t i = 0; i + 1 < bytes.size(); i += 2) {
    if (bytes[i] == 0 && bytes[i + 1] != 0) ++zeros_first;
    if (bytes[i] != 0 && bytes[i + 1] == 0) ++zeros_second;
  }
  return zeros_first > zeros_second;
}

std::string DecodeUtf16(std::string_view bytes, bool big_endian) {
  std::u16string units;
  units.reserve(bytes.size() / 2);
  for (size_t i = 0; i + 1 < bytes.size(); i += 2) {
    const char16_t unit = UnitAt(bytes, i, big_endian);
    if (units.empty() && unit == 0xFEFF) continue;
    if (units.empty() && unit == 0xFFFE) {
      big_endian = !big_endian;
      continue;
    }
    units.push_back(unit);
  }
  return Utf8FromUtf16(units);
}

std::string_view TakeTerminated(std::string_view& bytes, Id3Encoding encoding, bool& terminated) {
  size_t length = bytes.size();
  size_t terminator = 0;
  if (IsWide(encoding)) {
    for (size_t i = 0; i + 1 < bytes.size(); i += 2) {
      if (bytes[i] != 0 || bytes[i + 1] != 0) continue;
      length = i;
      terminator = 2;
      break;
    }
  } else if (const size_t found = bytes.find('\0'); found != std::string_view::npos) {
    length = found;
    terminator = 1;
  }
  terminated = terminator != 0;
  const std::string_view text = bytes.substr(0, length);
  bytes.remove_prefix(length + terminator);
  return text;
}

std::string DecodeValues(std::string_view bytes, Id3Encoding encoding, bool neighbours_gbk,
                         std::string_view (*map)(std::string_view)) {
  bool big_endian = encoding == Id3Encoding::kUtf16BigEndian;
  if (encoding == Id3Encoding::kUtf16) {
    if (bytes.starts_with("\xFE\xFF"))
      big_endian = true;
    else if (!bytes.starts_with("\xFF\xFE"))
      big_endian = LooksBigEndian(bytes);
  }
  std::string joined;
  bool terminated = false;
  while (!bytes.empty()) {
    const std::string_view raw = TakeTerminated(bytes, encoding, terminated);
    if (raw.empty()) continue;
    std::string value;
    if (IsWide(encoding))
      value = DecodeUtf16(raw, big_endian);
    else if (encoding == Id3Encoding::kUtf8)
      value = DecodeUtf8(raw, neighbours_gbk);
    else
      value = DecodeLegacy(raw, WeighLegacy(raw), neighbours_gbk);
    AppendValue(joined, map ? map(value) : std::string_view(value));
  }
  return joined;
}

}  // namespace melorin
