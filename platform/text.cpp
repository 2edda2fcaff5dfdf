// SPDX-License-Identifier: MIT
//
// One loop for all conversions: a reader of one character, a writer of one character, and a block on the
// stack between, so that a result is allocated once in its right size. ASCII goes through eight at a time.
#include "platform/text.h"

#include <bit>
#include <cstring>
#include <type_traits>

#include "platform/text_tables.h"

namespace melorin {
namespace {

constexpr char32_t kReplacement = 0xFFFD;

char LowerAscii(char c) {
  return c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c;
}

/// Each reader takes one character from [at, end), which is not empty, and moves on. For what is malformed it
/// sets `bad`, skips it and answers kReplacement.
struct ReadUtf8 {
  char32_t operator()(const char*& at, const char* end, bool& bad) const {
    const auto byte = [](const char* p) { return static_cast<unsigned char>(*p); };
    const unsigned char lead = byte(at);
    if (lead < 0x80) {
      ++at;
      return lead;
    }
    if ((lead & 0xF0) == 0xE0 && end - at >= 3) {  // Chinese text is nothing else: without the loop.
      const char32_t first = byte(at + 1) ^ 0x80u;
      const char32_t second = byte(at + 2) ^ 0x80u;
      const char32_t c = (lead & 0x0Fu) << 12 | first << 6 | second;
      if ((first | second) < 0x40 && c >= 0x800 && (c < 0xD800 || c > 0xDFFF)) {
        at += 3;
        return c;
      }
    }
    int length = 0;
    char32_t value = 0;
    char32_t least = 0;
    if (lead >= 0xC2 && lead <= 0xDF) {
      length = 2, value = lead & 0x1F, least = 0x80;
    } else if ((lead & 0xF0) == 0xE0) {
      length = 3, value = lead & 0x0F, least = 0x800;
    } else if (lead >= 0xF0 && lead <= 0xF4) {
      length = 4, value = lead & 0x07, least = 0x10000;
    }
    if (length != 0 && end - at >= length) {
      bool good = true;
      for (int i = 1; i < length; ++i) {
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
    bad = true;
    return kReplacement;
  }
};

struct ReadUtf16 {
  char32_t operator()(const char16_t*& at, const char16_t* end, bool& bad) const {
    const char32_t c = *at++;
    if (c < 0xD800 || c > 0xDFFF) return c;
    if (c < 0xDC00 && at != end && (*at & 0xFC00) == 0xDC00)
      return 0x10000 + ((c & 0x3FF) << 10) + (*at++ & 0x3FFu);
    bad = true;
    return kReplacement;
  }
};

struct ReadGbk {
  const GbTables& tables = GbTables::Get();

  char32_t operator()(const char*& at, const char* end, bool& bad) const {
    const auto lead = static_cast<unsigned char>(*at++);
    if (lead < 0x80) return lead;
    if (at != end) {
      const auto trail = static_cast<unsigned char>(*at);
      if (const char16_t unit = tables.Unit(lead, trail)) {
        ++at;
        return unit;
      }
      if (lead == 0x80) return 0x20AC;
      if (const char32_t c = IsDigit(trail) && lead != 0xFF ? FourByte(lead, at, end) : 0) {
        at += 3;
        return c;
      }
      // A lead byte takes its trail byte along when that one could not stand for itself.
      if (trail >= 0x80 && lead != 0xFF) ++at;
    } else if (lead == 0x80) {
      return 0x20AC;
    }
    bad = true;
    return kReplacement;
  }

 private:
  static bool IsDigit(unsigned char byte) { return byte >= '0' && byte <= '9'; }

  /// `at` stands on the second byte, a digit.
  static char32_t FourByte(unsigned char lead, const char* at, const char* end) {
    if (end - at < 3) return 0;
    const auto third = static_cast<unsigned char>(at[1]);
    const auto fourth = static_cast<unsigned char>(at[2]);
    if (!IsGbkLead(third) || !IsDigit(fourth)) return 0;
    const auto second = static_cast<unsigned char>(at[0]);
    return CharacterOfGbFour(((lead - 0x81u) * 10 + (second - 0x30u)) * 1260 + (third - 0x81u) * 10 +
                             (fourth - 0x30u));
  }
};

/// Each writer stores one character and answers where the next one goes.
/// At most four units.
struct WriteUtf8 {
  char* operator()(char32_t c, bool&, char* to) const {
    if (c < 0x80) {
      *to++ = static_cast<char>(c);
    } else if (c < 0x800) {
      *to++ = static_cast<char>(0xC0 | (c >> 6));
      *to++ = static_cast<char>(0x80 | (c & 0x3F));
    } else if (c < 0x10000) {
      *to++ = static_cast<char>(0xE0 | (c >> 12));
      *to++ = static_cast<char>(0x80 | ((c >> 6) & 0x3F));
      *to++ = static_cast<char>(0x80 | (c & 0x3F));
    } else {
      *to++ = static_cast<char>(0xF0 | (c >> 18));
      *to++ = static_cast<char>(0x80 | ((c >> 12) & 0x3F));
      *to++ = static_cast<char>(0x80 | ((c >> 6) & 0x3F));
      *to++ = static_cast<char>(0x80 | (c & 0x3F));
    }
    return to;
  }
};

struct WriteUtf16 {
  char16_t* operator()(char32_t c, bool&, char16_t* to) const {
    if (c < 0x10000) {
      *to++ = static_cast<char16_t>(c);
    } else {
      *to++ = static_cast<char16_t>(0xD7C0 + (c >> 10));
      *to++ = static_cast<char16_t>(0xDC00 | (c & 0x3FF));
    }
    return to;
  }
};

struct WriteGbk {
  const GbTables& tables = GbTables::Get();

  char* operator()(char32_t c, bool& bad, char* to) const {
    if (c < 0x10000) {
      if (const uint16_t code = tables.Code(static_cast<char16_t>(c)); code != 0 || c == 0) {
        if (code >= 0x100) *to++ = static_cast<char>(code >> 8);
        *to++ = static_cast<char>(code & 0xFF);
        return to;
      }
    }
    uint32_t index = GbFourIndex(c);
    if (index == kNoGbFour) {  // Only where the platform's code page 936 has gaps.
      bad = true;
      *to++ = '?';
      return to;
    }
    to[3] = static_cast<char>(0x30 + index % 10);
    index /= 10;
    to[2] = static_cast<char>(0x81 + index % 126);
    index /= 126;
    to[1] = static_cast<char>(0x30 + index % 10);
    to[0] = static_cast<char>(0x81 + index / 10);
    return to + 4;
  }
};

/// The number of ASCII bytes at the start of a word of memory.
size_t LeadingAscii(uint64_t word) {
  return static_cast<size_t>(std::countr_zero(word & 0x8080808080808080u)) / 8;
}
static_assert(std::endian::native == std::endian::little);

/// Copies eight units, of which the answer tells how many are ASCII; the rest is there to be overwritten.
size_t CopyAscii(const char* at, char* to) {
  uint64_t word;
  std::memcpy(&word, at, sizeof word);
  std::memcpy(to, &word, sizeof word);
  return LeadingAscii(word);
}
size_t CopyAscii(const char* at, char16_t* to) {
  uint64_t word;
  std::memcpy(&word, at, sizeof word);
  for (int i = 0; i < 8; ++i)
    to[i] = static_cast<unsigned char>(at[i]);
  return LeadingAscii(word);
}
size_t CopyAscii(const char16_t* at, char* to) {
  size_t count = 0;
  for (; count < 8 && at[count] < 0x80; ++count)
    to[count] = static_cast<char>(at[count]);
  return count;
}

/// Appends the converted text; `malformed` stands for what the reader rejected (0: U+FFFD). False when
/// anything was lost.
template <class In, class Out, class Read, class Write>
bool Convert(std::basic_string_view<In> text, std::basic_string<Out>& out, const Read& read,
             const Write& write, char32_t malformed) {
  constexpr size_t kBlock = 1024;
  constexpr size_t kRoom = 8;
  Out block[kBlock];
  Out* to = block;
  const In* at = text.data();
  const In* const end = at + text.size();
  if (text.size() > kBlock / 2) out.reserve(out.size() + text.size() + text.size() / 2);
  bool lost = false;
  while (at != end) {
    if (to > block + kBlock - kRoom) {
      out.append(block, to);
      to = block;
    }
    if (static_cast<std::make_unsigned_t<In>>(*at) < 0x80) {
      if (end - at >= 8) {
        const size_t count = CopyAscii(at, to);
        at += count;
        to += count;
      } else {
        *to++ = static_cast<Out>(*at++);
      }
      continue;
    }
    bool bad = false;
    const char32_t c = read(at, end, bad);
    to = write(bad && malformed != 0 ? malformed : c, bad, to);
    lost = lost || bad;
  }
  out.append(block, to);
  return !lost;
}

constexpr size_t kEachByte = ~size_t{0} / 0xFF;
constexpr size_t kEachPair = ~size_t{0} / 0xFFFF;
constexpr size_t kHighBits = 0x80 * kEachByte;

/// A word of memory holds nothing but pairs with a lead from B0 to F7, without D7, and a trail from A1 to FE:
/// the hanzi of GB2312, of which code page 936 lacks none but some of row D7.
bool IsAllHanzi(size_t word) {
  const size_t low = word & ~kHighBits;
  const size_t least = low + 0x5F50 * kEachPair;  // Each addition reaches a high bit from there on.
  const size_t beyond = low + 0x0108 * kEachPair;
  const size_t not_d7 = (low ^ 0x57 * kEachPair) + 0x7F7F * kEachPair;
  return (word & least & ~beyond & (not_d7 | 0x8000 * kEachPair) & kHighBits) == kHighBits;
}

void SetFlag(bool* flag, bool value) {
  if (flag) *flag = value;
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
  bool bad = false;
  for (const char *at = bytes.data(), *end = at + bytes.size(); at != end && !bad;)
    ReadUtf8()(at, end, bad);
  return !bad;
}

bool IsValidGbk(std::string_view bytes) {
  const char* at = bytes.data();
  const char* const end = at + bytes.size();
  const GbTables* tables = nullptr;
  while (at != end) {
    if (static_cast<size_t>(end - at) >= sizeof(size_t)) {
      size_t word;
      std::memcpy(&word, at, sizeof word);
      if ((word & kHighBits) == 0 || IsAllHanzi(word)) {
        at += sizeof word;
        continue;
      }
    }
    const auto lead = static_cast<unsigned char>(*at++);
    if (lead < 0x80) continue;
    if (at == end) return false;
    if (!tables) tables = &GbTables::Get();
    if (!tables->IsPlain(lead, static_cast<unsigned char>(*at++))) return false;
  }
  return true;
}

void AppendUtf8FromGbk(std::string_view gbk, std::string& out, bool* lossy) {
  SetFlag(lossy, !Convert(gbk, out, ReadGbk(), WriteUtf8(), 0));
}
void AppendGbkFromUtf8(std::string_view utf8, std::string& out, bool* lossy) {
  SetFlag(lossy, !Convert(utf8, out, ReadUtf8(), WriteGbk(), U'?'));
}
void AppendGbkFromUtf16(std::u16string_view utf16, std::string& out, bool* lossy) {
  SetFlag(lossy, !Convert(utf16, out, ReadUtf16(), WriteGbk(), U'?'));
}
void AppendUtf8FromUtf16(std::u16string_view utf16, std::string& out, bool* lossy) {
  SetFlag(lossy, !Convert(utf16, out, ReadUtf16(), WriteUtf8(), 0));
}

std::string Utf8FromGbk(std::string_view gbk, bool* lossy) {
  std::string out;
  AppendUtf8FromGbk(gbk, out, lossy);
  return out;
}
std::string GbkFromUtf8(std::string_view utf8, bool* lossy) {
  std::string out;
  AppendGbkFromUtf8(utf8, out, lossy);
  return out;
}
std::string GbkFromUtf16(std::u16string_view utf16, bool* lossy) {
  std::string out;
  AppendGbkFromUtf16(utf16, out, lossy);
  return out;
}
std::string Utf8FromUtf16(std::u16string_view utf16, bool* lossy) {
  std::string out;
  AppendUtf8FromUtf16(utf16, out, lossy);
  return out;
}
std::u16string Utf16FromGbk(std::string_view gbk, bool* lossy) {
  std::u16string out;
  SetFlag(lossy, !Convert(gbk, out, ReadGbk(), WriteUtf16(), 0));
  return out;
}
std::u16string Utf16FromUtf8(std::string_view utf8, bool* lossy) {
  std::u16string out;
  SetFlag(lossy, !Convert(utf8, out, ReadUtf8(), WriteUtf16(), 0));
  return out;
}

std::string Utf8FromCodePage(int code_page, std::string_view bytes, bool* lossy) {
  SetFlag(lossy, false);
  if (code_page == kCodePageUtf8) return std::string(bytes);
  if (code_page == kCodePageGbk) return Utf8FromGbk(bytes, lossy);
  if (IsAscii(bytes)) return std::string(bytes);
  bool malformed = false;
  bool halved = false;
  std::string out = Utf8FromUtf16(Utf16FromCodePage(code_page, bytes, &malformed), &halved);
  SetFlag(lossy, malformed || halved);
  return out;
}

void AppendUtf8FromCodePage(int code_page, std::string_view bytes, std::string& out) {
  if (code_page == kCodePageGbk) {
    AppendUtf8FromGbk(bytes, out);
  } else if (code_page == kCodePageUtf8 || IsAscii(bytes)) {
    out.append(bytes);
  } else {
    AppendUtf8FromUtf16(Utf16FromCodePage(code_page, bytes, nullptr), out);
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
