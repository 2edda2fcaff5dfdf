// SPDX-License-Identifier: MIT
//
// What needs no tables: UTF-8 and UTF-16, the shape of GBK, and the conversions composed of a platform half's
// (Utf16FromCodePage and GbkFromUtf16Table).
#include "platform/text.h"

#include <cstring>

#include "platform/text_tables.h"

namespace melorin {
namespace {

constexpr char32_t kReplacement = 0xFFFD;

char LowerAscii(char c) {
  return c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c;
}

void AppendUtf8(char32_t c, std::string& out) {
  if (c < 0x80) {
    out += static_cast<char>(c);
  } else if (c < 0x800) {
    out += static_cast<char>(0xC0 | (c >> 6));
    out += static_cast<char>(0x80 | (c & 0x3F));
  } else if (c < 0x10000) {
    out += static_cast<char>(0xE0 | (c >> 12));
    out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
    out += static_cast<char>(0x80 | (c & 0x3F));
  } else {
    out += static_cast<char>(0xF0 | (c >> 18));
    out += static_cast<char>(0x80 | ((c >> 12) & 0x3F));
    out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
    out += static_cast<char>(0x80 | (c & 0x3F));
  }
}

/// Decodes one character at text[at] and moves on; kReplacement with `ok` false for a malformed sequence, of
/// which one byte is consumed.
char32_t DecodeUtf8(std::string_view text, size_t& at, bool& ok) {
  const auto byte = [&](size_t i) { return static_cast<unsigned char>(text[i]); };
  const unsigned char lead = byte(at);
  ok = true;
  if (lead < 0x80) {
    ++at;
    return lead;
  }
  size_t length = 0;
  char32_t value = 0;
  char32_t least = 0;
  if (lead >= 0xC2 && lead <= 0xDF) {
    length = 2, value = lead & 0x1F, least = 0x80;
  } else if ((lead & 0xF0) == 0xE0) {
    length = 3, value = lead & 0x0F, least = 0x800;
  } else if (lead >= 0xF0 && lead <= 0xF4) {
    length = 4, value = lead & 0x07, least = 0x10000;
  }
  if (length != 0 && text.size() - at >= length) {
    bool good = true;
    for (size_t i = 1; i < length; ++i) {
      const unsigned char next = byte(at + i);
      good = good && (next & 0xC0) == 0x80;
      value = (value << 6) | (next & 0x3F);
    }
    if (good && value >= least && value <= 0x10FFFF && (value < 0xD800 || value > 0xDFFF)) {
      at += length;
      return value;
    }
  }
  ++at;
  ok = false;
  return kReplacement;
}

void SetFlag(bool* flag, bool value) {
  if (flag) *flag = value;
}

std::u16string WidenAscii(std::string_view ascii) {
  return {ascii.begin(), ascii.end()};
}

}  // namespace

bool IsAscii(std::string_view bytes) {
  const char* at = bytes.data();
  size_t left = bytes.size();
  for (; left >= sizeof(uint64_t); at += sizeof(uint64_t), left -= sizeof(uint64_t)) {
    uint64_t word;
    std::memcpy(&word, at, sizeof word);
    if (word & 0x8080808080808080u) return false;
  }
  for (; left != 0; ++at, --left)
    if (static_cast<unsigned char>(*at) >= 0x80) return false;
  return true;
}

bool IsValidUtf8(std::string_view bytes) {
  for (size_t at = 0; at < bytes.size();) {
    bool ok;
    DecodeUtf8(bytes, at, ok);
    if (!ok) return false;
  }
  return true;
}

bool IsValidGbk(std::string_view bytes) {
  if (IsAscii(bytes)) return true;
  for (size_t i = 0; i < bytes.size(); ++i) {
    const auto lead = static_cast<unsigned char>(bytes[i]);
    if (lead < 0x80) continue;
    if (!IsGbkLead(lead) || i + 1 == bytes.size()) return false;
    const auto trail = static_cast<unsigned char>(bytes[++i]);
    if (trail < 0x40 || trail == 0x7F || trail == 0xFF) return false;
  }
  // The shape is right; what remains are positions that the code page leaves unassigned.
  bool lossy = false;
  Utf16FromCodePage(kCodePageGbk, bytes, &lossy);
  return !lossy;
}

std::u16string Utf16FromUtf8(std::string_view utf8, bool* lossy) {
  SetFlag(lossy, false);
  if (IsAscii(utf8)) return WidenAscii(utf8);
  std::u16string out;
  out.reserve(utf8.size());
  for (size_t at = 0; at < utf8.size();) {
    bool ok;
    const char32_t c = DecodeUtf8(utf8, at, ok);
    if (!ok) SetFlag(lossy, true);
    if (c < 0x10000) {
      out += static_cast<char16_t>(c);
    } else {
      out += static_cast<char16_t>(0xD7C0 + (c >> 10));
      out += static_cast<char16_t>(0xDC00 | (c & 0x3FF));
    }
  }
  return out;
}

namespace {

void AppendUtf8FromUtf16(std::u16string_view utf16, std::string& out, bool* lossy) {
  for (size_t i = 0; i < utf16.size(); ++i) {
    char32_t c = utf16[i];
    if (c >= 0xD800 && c <= 0xDFFF) {
      const bool pair = c < 0xDC00 && i + 1 < utf16.size() && (utf16[i + 1] & 0xFC00) == 0xDC00;
      if (pair) {
        c = 0x10000 + ((c & 0x3FF) << 10) + (utf16[++i] & 0x3FFu);
      } else {
        c = kReplacement;
        SetFlag(lossy, true);
      }
    }
    AppendUtf8(c, out);
  }
}

}  // namespace

std::string Utf8FromUtf16(std::u16string_view utf16, bool* lossy) {
  SetFlag(lossy, false);
  std::string out;
  out.reserve(utf16.size() + utf16.size() / 2);
  AppendUtf8FromUtf16(utf16, out, lossy);
  return out;
}

std::u16string Utf16FromGbk(std::string_view gbk, bool* lossy) {
  SetFlag(lossy, false);
  if (IsAscii(gbk)) return WidenAscii(gbk);
  return Utf16FromCodePage(kCodePageGbk, gbk, lossy);
}

std::string GbkFromUtf16(std::u16string_view utf16, bool* lossy) {
  SetFlag(lossy, false);
  std::string ascii;
  ascii.reserve(utf16.size());
  for (const char16_t c : utf16) {
    if (c >= 0x80) return GbkFromUtf16Table(utf16, lossy);
    ascii += static_cast<char>(c);
  }
  return ascii;
}

std::string Utf8FromGbk(std::string_view gbk, bool* lossy) {
  return Utf8FromCodePage(kCodePageGbk, gbk, lossy);
}

std::string GbkFromUtf8(std::string_view utf8, bool* lossy) {
  SetFlag(lossy, false);
  if (IsAscii(utf8)) return std::string(utf8);
  bool bad_input = false;
  bool unmappable = false;
  std::string out = GbkFromUtf16Table(Utf16FromUtf8(utf8, &bad_input), &unmappable);
  SetFlag(lossy, bad_input || unmappable);
  return out;
}

std::string Utf8FromCodePage(int code_page, std::string_view bytes, bool* lossy) {
  SetFlag(lossy, false);
  if (code_page == kCodePageUtf8 || IsAscii(bytes)) return std::string(bytes);
  std::string out;
  out.reserve(bytes.size() + bytes.size() / 2);
  AppendUtf8FromUtf16(Utf16FromCodePage(code_page, bytes, lossy), out, lossy);
  return out;
}

void AppendUtf8FromCodePage(int code_page, std::string_view bytes, std::string& out) {
  if (code_page == kCodePageUtf8 || IsAscii(bytes)) {
    out.append(bytes);
  } else {
    AppendUtf8FromUtf16(Utf16FromCodePage(code_page, bytes, nullptr), out, nullptr);
  }
}

size_t FindLastGbk(std::string_view gbk, char wanted) {
  size_t found = std::string_view::npos;
  for (size_t i = 0; i < gbk.size(); ++i) {
    if (IsGbkLead(static_cast<unsigned char>(gbk[i])) && i + 1 < gbk.size()) {
      ++i;
    } else if (gbk[i] == wanted) {
      found = i;
    }
  }
  return found;
}

std::string LowerGbk(std::string_view gbk) {
  std::string out(gbk);
  for (size_t i = 0; i < out.size(); ++i) {
    if (IsGbkLead(static_cast<unsigned char>(out[i])) && i + 1 < out.size()) {
      ++i;
    } else {
      out[i] = LowerAscii(out[i]);
    }
  }
  return out;
}

bool EqualNoCaseUtf8(std::string_view a, std::string_view b) {
  if (a.size() != b.size()) return false;
  for (size_t i = 0; i < a.size(); ++i)
    if (LowerAscii(a[i]) != LowerAscii(b[i])) return false;
  return true;
}

bool EqualNoCaseGbk(std::string_view a, std::string_view b) {
  return a.size() == b.size() && LowerGbk(a) == LowerGbk(b);
}

}  // namespace melorin
