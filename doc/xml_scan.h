// SPDX-License-Identifier: MIT
//
// The byte classes of XML text and the searches that parsing and writing spend their time in. SSE2 is part of
// both targets; elsewhere a plain loop does the same.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace melorin::xml {

inline constexpr uint8_t kSpace = 1;      ///< What the C isspace test holds for, CR and LF included.
inline constexpr uint8_t kNameStart = 2;  ///< A letter or "_".
inline constexpr uint8_t kName = 4;       ///< kNameStart, a digit, "-" or ":".
inline constexpr uint8_t kUnquotedEnd =
    8;  ///< What ends an attribute value without quotes: space, NUL, "/", ">".
inline constexpr uint8_t kTextStop = 16;  ///< What plain text cannot run over: space, "&", "<".

/// Bytes from 0x80 count as letters, so that names in UTF-8 and GBK can be read; they are never white space.
inline constexpr std::array<uint8_t, 256> kClasses = [] {
  std::array<uint8_t, 256> classes{};
  for (const char c : {' ', '\t', '\n', '\v', '\f', '\r'})
    classes[static_cast<size_t>(c)] = kSpace | kUnquotedEnd | kTextStop;
  for (size_t c = 0; c < 256; ++c) {
    const bool letter = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c >= 0x80;
    if (letter || c == '_') classes[c] = kNameStart | kName;
    if ((c >= '0' && c <= '9') || c == '-' || c == ':') classes[c] = kName;
  }
  classes[0] = classes['/'] = classes['>'] = kUnquotedEnd;
  classes['&'] = classes['<'] = kTextStop;
  return classes;
}();

inline bool Is(char c, uint8_t classes) {
  return (kClasses[static_cast<unsigned char>(c)] & classes) != 0;
}

/// Position of the first byte that is one of `classes`, or `end`.
inline const char* FindClass(const char* p, const char* end, uint8_t classes) {
  while (p != end && !Is(*p, classes))
    ++p;
  return p;
}
/// Position of the first byte that is none of `classes`, or `end`.
inline const char* SkipClass(const char* p, const char* end, uint8_t classes) {
  while (p != end && Is(*p, classes))
    ++p;
  return p;
}
inline const char* SkipSpace(const char* p, const char* end) {
  return SkipClass(p, end, kSpace);
}

/// Position of the first `a` or `b`, or `end`.
inline const char* FindEither(const char* p, const char* end, char a, char b) {
#if defined(__SSE2__)
  const __m128i all_a = _mm_set1_epi8(a);
  const __m128i all_b = _mm_set1_epi8(b);
  while (end - p >= 16) {
    const __m128i block = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
    const int found =
        _mm_movemask_epi8(_mm_or_si128(_mm_cmpeq_epi8(block, all_a), _mm_cmpeq_epi8(block, all_b)));
    if (found != 0) return p + __builtin_ctz(static_cast<unsigned>(found));
    p += 16;
  }
#endif
  while (p != end && *p != a && *p != b)
    ++p;
  return p;
}

/// Position of the first byte that must be escaped in output, or `end`: & < > " '
inline const char* FindSpecial(const char* p, const char* end) {
#if defined(__SSE2__)
  while (end - p >= 16) {
    const __m128i block = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
    const auto equal = [block](char c) { return _mm_cmpeq_epi8(block, _mm_set1_epi8(c)); };
    const __m128i hit = _mm_or_si128(_mm_or_si128(_mm_or_si128(equal('&'), equal('<')), equal('>')),
                                     _mm_or_si128(equal('"'), equal('\'')));
    const int found = _mm_movemask_epi8(hit);
    if (found != 0) return p + __builtin_ctz(static_cast<unsigned>(found));
    p += 16;
  }
#endif
  while (p != end && *p != '&' && *p != '<' && *p != '>' && *p != '"' && *p != '\'')
    ++p;
  return p;
}

/// Copies a run that is short as a rule: calling the C library takes longer than copying one, the more so on
/// Windows. The runs do not overlap.
inline void CopyShort(char* to, const char* from, size_t length) {
  if (length > 256) {
    std::memcpy(to, from, length);
  } else if (length >= 8) {
    size_t done = 0;
#if defined(__SSE2__)
    for (; length - done >= 16; done += 16)
      _mm_storeu_si128(reinterpret_cast<__m128i*>(to + done),
                       _mm_loadu_si128(reinterpret_cast<const __m128i*>(from + done)));
#endif
    for (; length - done >= 8; done += 8)
      std::memcpy(to + done, from + done, 8);
    std::memcpy(to + length - 8, from + length - 8, 8);
  } else if (length >= 4) {
    std::memcpy(to, from, 4);
    std::memcpy(to + length - 4, from + length - 4, 4);
  } else if (length != 0) {
    to[0] = from[0];
    to[length / 2] = from[length / 2];
    to[length - 1] = from[length - 1];
  }
}

/// Whether two runs of that length, which is short as a rule, are equal.
inline bool EqualShort(const char* a, const char* b, size_t length) {
  const auto word = [](const char* p) {
    uint32_t value;
    std::memcpy(&value, p, sizeof value);
    return value;
  };
  if (length < 4) {
    for (size_t i = 0; i < length; ++i)
      if (a[i] != b[i]) return false;
    return true;
  }
  for (size_t i = 0; i + 4 < length; i += 4)
    if (word(a + i) != word(b + i)) return false;
  return word(a + length - 4) == word(b + length - 4);
}

/// True when any byte is 0x80 or above.
inline bool HasHighByte(const char* p, const char* end) {
#if defined(__SSE2__)
  while (end - p >= 16) {
    if (_mm_movemask_epi8(_mm_loadu_si128(reinterpret_cast<const __m128i*>(p))) != 0) return true;
    p += 16;
  }
#endif
  while (p != end && static_cast<unsigned char>(*p) < 0x80)
    ++p;
  return p != end;
}

struct Entity {
  char character;
  uint8_t length;
  const char* text;
};
/// In the order in which they are tried.
inline constexpr std::array<Entity, 5> kEntities = {
    {{'&', 5, "&amp;"}, {'<', 4, "&lt;"}, {'>', 4, "&gt;"}, {'"', 6, "&quot;"}, {'\'', 6, "&apos;"}}};

}  // namespace melorin::xml
