// SPDX-License-Identifier: MIT
//
// The one module that converts text. Inside the player text is "Gbk": code page 936 bytes, and for characters
// that 936 lacks the forms that GB18030 gives them, mostly of four bytes: a lead and a digit, twice. At
// interfaces text is UTF-16, in tag sets, the XML tree and on disk UTF-8; every Unicode character survives
// the way from one to the other and back. Note that the second byte of a GBK character may equal an ASCII
// letter, a digit or the backslash: never search GBK text byte by byte, use the functions below. Stepping
// over pairs is right for four-byte forms too: they are two pairs.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace melorin {

/// The player's ANSI code page.
inline constexpr int kCodePageGbk = 936;
inline constexpr int kCodePageUtf8 = 65001;
inline constexpr int kCodePageLatin1 = 28591;

/// Conversions never fail: malformed input (a lone surrogate, half a character) becomes U+FFFD, or '?' in
/// GBK. Pass `lossy` to learn whether that happened; nothing else is ever lost. Thread: any. By tables that
/// are read from the platform once; the same on every platform.
std::string Utf8FromGbk(std::string_view gbk, bool* lossy = nullptr);
std::string GbkFromUtf8(std::string_view utf8, bool* lossy = nullptr);
std::u16string Utf16FromGbk(std::string_view gbk, bool* lossy = nullptr);
std::string GbkFromUtf16(std::u16string_view utf16, bool* lossy = nullptr);
std::u16string Utf16FromUtf8(std::string_view utf8, bool* lossy = nullptr);
/// Surrogate pairs become one four-byte sequence; a lone surrogate becomes U+FFFD.
std::string Utf8FromUtf16(std::u16string_view utf16, bool* lossy = nullptr);

/// The same, appended to `out`: no temporary string. `lossy` speaks of the appended part.
void AppendUtf8FromGbk(std::string_view gbk, std::string& out, bool* lossy = nullptr);
void AppendGbkFromUtf8(std::string_view utf8, std::string& out, bool* lossy = nullptr);
void AppendGbkFromUtf16(std::u16string_view utf16, std::string& out, bool* lossy = nullptr);
void AppendUtf8FromUtf16(std::u16string_view utf16, std::string& out, bool* lossy = nullptr);

/// Any code page of the platform to UTF-8: 936, 65001 (bytes unchanged), 1252, 28591, 932, 950 and what else
/// the platform has. An unknown code page is read as 936.
std::string Utf8FromCodePage(int code_page, std::string_view bytes, bool* lossy = nullptr);
/// The same, appended to `out`: no temporary string.
void AppendUtf8FromCodePage(int code_page, std::string_view bytes, std::string& out);

bool IsAscii(std::string_view bytes);
/// Well-formed UTF-8, ASCII included; no overlong forms, no surrogates.
bool IsValidUtf8(std::string_view bytes);
/// Plain code page 936: every byte from 0x80 is the lead of a two-byte character that 936 assigns; no forms
/// of GB18030, no private characters. What tags and old files hold, not what file names may be.
bool IsValidGbk(std::string_view bytes);

/// True for a byte that begins a pair: a two-byte GBK character or half of a four-byte one.
constexpr bool IsGbkLead(unsigned char byte) {
  return byte >= 0x81 && byte <= 0xFE;
}
/// Position of the last `wanted` (an ASCII character) that is a character of its own, npos if none.
size_t FindLastGbk(std::string_view gbk, char wanted);
/// ASCII letters lowered, all other characters untouched.
std::string LowerGbk(std::string_view gbk);
/// ASCII letters compared without case; other bytes exactly. For UTF-8, GBK-aware for GBK text.
bool EqualNoCaseUtf8(std::string_view a, std::string_view b);
bool EqualNoCaseGbk(std::string_view a, std::string_view b);

}  // namespace melorin
