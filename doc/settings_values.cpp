// SPDX-License-Identifier: MIT
//
// Reading and writing of the value kinds.
#include "doc/settings_values.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstdio>
#include <limits>
#include <optional>
#include <span>

#include "platform/text.h"

namespace melorin {
namespace {

constexpr std::string_view kBase64Prefix = "base64:";
constexpr size_t kAnsiFontBytes = sizeof(FontRecord);
constexpr size_t kWideFontBytes = 92;
constexpr size_t kFontHeadBytes = kAnsiFontBytes - FontRecord::kFaceBytes;

bool IsSpace(char c) {
  return c == ' ' || (c >= '\t' && c <= '\r');
}

int DigitValue(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return 16;
}

/// Takes fields off the front of a text as scanf does. After a field that failed the rest means nothing.
class Scan {
 public:
  explicit Scan(std::string_view text) : rest_(text.substr(0, text.find('\0'))) {}

  bool Literal(std::string_view text) {
    if (!rest_.starts_with(text)) return false;
    rest_.remove_prefix(text.size());
    return true;
  }

  /// "%d"
  bool Number(int32_t* out) {
    SkipSpace();
    const bool negative = !rest_.empty() && rest_.front() == '-';
    size_t used = !rest_.empty() && (negative || rest_.front() == '+') ? 1 : 0;
    const size_t first_digit = used;
    int64_t value = 0;
    for (; used < rest_.size() && rest_[used] >= '0' && rest_[used] <= '9'; ++used)
      value = std::min<int64_t>(value * 10 + (rest_[used] - '0'), int64_t{1} << 32);
    if (used == first_digit) return false;
    rest_.remove_prefix(used);
    *out = static_cast<int32_t>(std::clamp<int64_t>(
        negative ? -value : value, std::numeric_limits<int32_t>::min(), std::numeric_limits<int32_t>::max()));
    return true;
  }

  /// "%2x": two characters at most, of which one may be a sign. "0x" without a digit behind it is no number.
  bool HexPair(uint32_t* out) {
    SkipSpace();
    const std::string_view field = rest_.substr(0, 2);
    const bool negative = !field.empty() && field.front() == '-';
    size_t used = !field.empty() && (negative || field.front() == '+') ? 1 : 0;
    const size_t first_digit = used;
    uint32_t value = 0;
    for (; used < field.size() && DigitValue(field[used]) < 16; ++used)
      value = value * 16 + static_cast<uint32_t>(DigitValue(field[used]));
    if (used == first_digit || EqualNoCaseUtf8(field, "0x")) return false;
    rest_.remove_prefix(used);
    *out = negative ? 0 - value : value;
    return true;
  }

  /// "%s"
  bool Word(std::string_view* out) {
    SkipSpace();
    const auto end = std::find_if(rest_.begin(), rest_.end(), IsSpace);
    *out = rest_.substr(0, static_cast<size_t>(end - rest_.begin()));
    rest_.remove_prefix(out->size());
    return !out->empty();
  }

  /// Numbers with one character between them.
  bool Numbers(std::span<int32_t> out, char between) {
    for (size_t i = 0; i < out.size(); ++i)
      if ((i != 0 && !Literal({&between, 1})) || !Number(&out[i])) return false;
    return true;
  }

 private:
  void SkipSpace() {
    while (!rest_.empty() && IsSpace(rest_.front()))
      rest_.remove_prefix(1);
  }

  std::string_view rest_;
};

int Base64Value(char c) {
  if (c >= 'A' && c <= 'Z') return c - 'A';
  if (c >= 'a' && c <= 'z') return c - 'a' + 26;
  if (c >= '0' && c <= '9') return c - '0' + 52;
  if (c == '+') return 62;
  return c == '/' ? 63 : -1;
}

/// Decodes up to `bytes.size()` bytes; white space is skipped and "=" ends the text. Nothing when another
/// character is met or there are more bytes.
std::optional<size_t> DecodeBase64(std::string_view text, std::span<uint8_t> bytes) {
  uint32_t bits = 0;
  int bit_count = 0;
  size_t size = 0;
  for (const char c : text) {
    if (IsSpace(c)) continue;
    if (c == '=') break;
    const int value = Base64Value(c);
    if (value < 0) return std::nullopt;
    bits = bits << 6 | static_cast<uint32_t>(value);
    bit_count += 6;
    if (bit_count < 8) continue;
    bit_count -= 8;
    if (size == bytes.size()) return std::nullopt;
    bytes[size++] = static_cast<uint8_t>(bits >> bit_count);
  }
  return size;
}

/// The first 60 bytes as a record.
FontRecord Record(std::span<const uint8_t> bytes) {
  std::array<uint8_t, kAnsiFontBytes> record;
  std::copy_n(bytes.begin(), record.size(), record.begin());
  return std::bit_cast<FontRecord>(record);
}

bool ParseFontRecord(std::string_view base64, FontRecord* out) {
  std::array<uint8_t, kWideFontBytes> bytes;
  const auto size = DecodeBase64(base64, bytes);
  if (size == kAnsiFontBytes) {
    *out = Record(bytes);
    return true;
  }
  if (size != kWideFontBytes) return false;
  std::u16string face;
  for (size_t i = kFontHeadBytes; i < kWideFontBytes; i += 2) {
    const auto unit = static_cast<char16_t>(bytes[i] | bytes[i + 1] << 8);
    if (unit == 0) break;
    face += unit;
  }
  *out = Record(bytes);
  out->SetFaceGbk(GbkFromUtf16(face));
  return true;
}

std::string JoinNumbers(std::span<const int32_t> numbers) {
  std::string text;
  for (const int32_t number : numbers) {
    if (!text.empty()) text += ',';
    text += std::to_string(number);
  }
  return text;
}

/// Bytes of the first character, as far as its first two say.
size_t GbkCharacterSize(std::string_view gbk) {
  if (!IsGbkLead(static_cast<unsigned char>(gbk[0]))) return 1;
  return gbk.size() > 1 && gbk[1] >= '0' && gbk[1] <= '9' ? 4 : 2;
}

/// Room for every format below: at most five numbers of eleven characters, or a GUID.
using Buffer = std::array<char, 128>;

}  // namespace

std::string_view FontRecord::FaceGbk() const {
  const std::string_view face(face_gbk.data(), face_gbk.size());
  return face.substr(0, face.find('\0'));
}

void FontRecord::SetFaceGbk(std::string_view name_gbk) {
  name_gbk = name_gbk.substr(0, name_gbk.find('\0'));
  size_t size = 0;
  while (size < name_gbk.size()) {
    const size_t step = GbkCharacterSize(name_gbk.substr(size));
    if (size + step > std::min(kFaceBytes, name_gbk.size())) break;
    size += step;
  }
  face_gbk.fill('\0');
  std::copy_n(name_gbk.begin(), size, face_gbk.begin());
}

bool ParseSetting(std::string_view text, int32_t* out) {
  if (text.empty()) return false;
  if (!Scan(text).Number(out)) *out = 0;
  return true;
}

bool HasNumber(std::string_view text) {
  int32_t number;
  return Scan(text).Number(&number);
}

bool ParseSetting(std::string_view text, SettingsRect* out) {
  std::array<int32_t, 4> sides;
  if (!Scan(text).Numbers(sides, ',')) return false;
  *out = {sides[0], sides[1], sides[2], sides[3]};
  return true;
}

bool ParseSetting(std::string_view text, FadeTimes* out) {
  FadeTimes durations;
  if (!Scan(text).Numbers(durations, ',')) return false;
  *out = durations;
  return true;
}

bool ParseSetting(std::string_view text, SettingsColour* out) {
  Scan scan(text);
  uint32_t red = 0;
  uint32_t green = 0;
  uint32_t blue = 0;
  if (!scan.Literal("#") || !scan.HexPair(&red) || !scan.HexPair(&green) || !scan.HexPair(&blue))
    return false;
  out->value = (red + (green << 8) + (blue << 16)) & 0x00FFFFFF;
  return true;
}

bool ParseSetting(std::string_view text, FontRecord* out) {
  if (EqualNoCaseUtf8(text.substr(0, kBase64Prefix.size()), kBase64Prefix))
    return ParseFontRecord(text.substr(kBase64Prefix.size()), out);
  Scan scan(text);
  std::array<int32_t, 13> n;
  std::string_view face;
  if (!scan.Numbers(n, ',') || !scan.Literal(",") || !scan.Word(&face)) return false;
  const auto byte = [&n](size_t i) { return static_cast<uint8_t>(n[i]); };
  *out = {n[0],    n[1],    n[2],    n[3],     n[4],     byte(5),  byte(6),
          byte(7), byte(8), byte(9), byte(10), byte(11), byte(12), {}};
  out->SetFaceGbk(GbkFromUtf8(face));
  return true;
}

bool ParseSetting(std::string_view text, std::string* out_gbk) {
  text = text.substr(0, text.find('\0'));
  if (text.empty()) return false;
  *out_gbk = GbkFromUtf8(text);
  return true;
}

bool ParseSetting(std::string_view text, GUID* out) {
  constexpr std::string_view kForm = "{xxxxxxxx-xxxx-xxxx-xxxx-xxxxxxxxxxxx}";
  if (text.size() != kForm.size()) return false;
  std::array<uint8_t, 16> bytes = {};
  size_t digits = 0;
  for (size_t i = 0; i < kForm.size(); ++i) {
    if (kForm[i] != 'x') {
      if (text[i] != kForm[i]) return false;
      continue;
    }
    const int value = DigitValue(text[i]);
    if (value > 15) return false;
    bytes[digits / 2] = static_cast<uint8_t>(bytes[digits / 2] << 4 | value);
    ++digits;
  }
  const auto word = [&bytes](size_t i) { return static_cast<uint16_t>(bytes[i] << 8 | bytes[i + 1]); };
  out->Data1 = static_cast<uint32_t>(word(0)) << 16 | word(2);
  out->Data2 = word(4);
  out->Data3 = word(6);
  std::copy_n(bytes.begin() + 8, 8, out->Data4);
  return true;
}

bool ParseSetting(std::string_view text, KeyBinding* out) {
  Scan scan(text);
  int32_t command = 0;
  std::array<int32_t, 2> application;
  std::array<int32_t, 2> global;
  if (!scan.Number(&command) || !scan.Literal(":a(") || !scan.Numbers(application, ',') ||
      !scan.Literal("),g(") || !scan.Numbers(global, ','))
    return false;
  const auto stroke = [](const std::array<int32_t, 2>& pair) {
    return KeyStroke{static_cast<uint16_t>(pair[0]), static_cast<uint16_t>(pair[1])};
  };
  *out = {command, stroke(application), stroke(global)};
  return true;
}

bool ParseSetting(std::string_view text, EqualizerBands* out) {
  Scan scan(text);
  EqualizerBands bands;
  if (!scan.Number(&bands.values[EqualizerBands::kPreamp]) || !scan.Literal(":") ||
      !scan.Numbers(std::span(bands.values).first(EqualizerBands::kBands), ','))
    return false;
  *out = bands;
  return true;
}

std::string FormatSetting(int32_t value) {
  return std::to_string(value);
}

std::string FormatSetting(const SettingsRect& value) {
  return JoinNumbers(std::array{value.left, value.top, value.right, value.bottom});
}

std::string FormatSetting(const FadeTimes& value) {
  return JoinNumbers(value);
}

std::string FormatSetting(const SettingsColour& value) {
  Buffer text;
  std::snprintf(text.data(), text.size(), "#%02x%02x%02x", static_cast<unsigned>(value.value & 0xFF),
                static_cast<unsigned>(value.value >> 8 & 0xFF),
                static_cast<unsigned>(value.value >> 16 & 0xFF));
  return text.data();
}

std::string FormatSetting(const FontRecord& value) {
  const std::array<int32_t, 13> numbers = {
      value.height,         value.width,     value.escapement,      value.orientation, value.weight,
      value.italic,         value.underline, value.strike_out,      value.char_set,    value.out_precision,
      value.clip_precision, value.quality,   value.pitch_and_family};
  return JoinNumbers(numbers) + "," + Utf8FromGbk(value.FaceGbk());
}

std::string FormatSetting(const std::string& value_gbk) {
  return Utf8FromGbk(value_gbk);
}

std::string FormatSetting(const GUID& value) {
  Buffer text;
  const auto& tail = value.Data4;
  std::snprintf(text.data(), text.size(), "{%08X-%04X-%04X-%02X%02X-%02X%02X%02X%02X%02X%02X}",
                static_cast<unsigned>(value.Data1), value.Data2, value.Data3, tail[0], tail[1], tail[2],
                tail[3], tail[4], tail[5], tail[6], tail[7]);
  return text.data();
}

std::string FormatSetting(const KeyBinding& value) {
  Buffer text;
  std::snprintf(text.data(), text.size(), "%d:a(%d,%d),g(%d,%d)", static_cast<int>(value.command),
                value.application.modifiers, value.application.key, value.global.modifiers, value.global.key);
  return text.data();
}

std::string FormatSetting(const EqualizerBands& value) {
  return std::to_string(value.values[EqualizerBands::kPreamp]) + ":" +
         JoinNumbers(std::span(value.values).first(EqualizerBands::kBands));
}

}  // namespace melorin
