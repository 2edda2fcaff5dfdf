// SPDX-License-Identifier: MIT
//
// The rule that tells the encodings of lyric files apart.
//
// 1. A file that begins with FF FE or FE FF is UTF-16: no GBK text holds the byte FF.
// 2. One that begins with EF BB BF and is UTF-8 to its end (or first zero) is UTF-8 with a mark.
// 3. One that is well-formed UTF-8, has other characters than ASCII and does not read well as GBK is UTF-8.
// 4. All others are GBK: they are, or they are something that this player does not know.
//
// UTF-8 reads well as GBK when it is plain code page 936 and at least half of its pairs are everyday ones
// (punctuation, kana and the first level of hanzi in GB2312) that touch no ASCII letter. Chinese texts of one
// line in UTF-8 are well-formed GBK in one of four cases, of five lines in one of 400; but of their pairs
// only a fifth is everyday ones on the average. Accented letters of Latin alphabets mostly are everyday
// pairs, but touch ASCII letters; and of the hanzi that Greek and Cyrillic letters would be many are everyday
// ones, but a text of eight or more hanzi of just two rows, some of them outside GB2312, is Greek or
// Cyrillic.
//
// GBK that happens to be UTF-8 is known in texts of two or three hanzi. All everyday ones, they stay GBK.
#include <algorithm>
#include <string_view>

#include "lyrics/lyric_file.h"
#include "platform/text.h"

namespace melorin {

namespace {

bool IsAsciiLetter(char c) {
  return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z');
}

bool IsEveryday(unsigned char lead, unsigned char trail) {
  const bool symbols_and_kana = lead >= 0xA1 && lead <= 0xA5;
  const bool first_level = lead >= 0xB0 && lead <= 0xD7;
  return trail >= 0xA1 && (symbols_and_kana || first_level);
}

/// Greek has the leads CE and CF in UTF-8, Cyrillic D0 and D1.
bool IsOneAlphabet(std::string_view utf8) {
  constexpr size_t kFewestLetters = 8;
  size_t letters = 0;
  bool beyond_gb2312 = false;
  unsigned alphabet = 0;
  for (size_t i = 0; i < utf8.size(); ++i) {
    const auto lead = static_cast<unsigned char>(utf8[i]);
    if (lead < 0x80) continue;
    if (lead < 0xCE || lead > 0xD1 || (alphabet != 0 && (lead & 0xFEu) != alphabet)) return false;
    alphabet = lead & 0xFEu;
    beyond_gb2312 = beyond_gb2312 || static_cast<unsigned char>(utf8[i + 1]) < 0xA1;
    ++letters;
    ++i;
  }
  return letters >= kFewestLetters && beyond_gb2312;
}

bool ReadsWellAsGbk(std::string_view utf8) {
  if (!IsValidGbk(utf8) || IsOneAlphabet(utf8)) return false;
  size_t pairs = 0;
  size_t everyday = 0;
  for (size_t i = 0; i < utf8.size(); ++i) {
    if (static_cast<unsigned char>(utf8[i]) < 0x80) continue;
    const bool touches =
        (i > 0 && IsAsciiLetter(utf8[i - 1])) || (i + 2 < utf8.size() && IsAsciiLetter(utf8[i + 2]));
    ++pairs;
    if (!touches && IsEveryday(static_cast<unsigned char>(utf8[i]), static_cast<unsigned char>(utf8[i + 1])))
      ++everyday;
    ++i;
  }
  return 2 * everyday >= pairs;
}

}  // namespace

LyricEncoding DetectLyricEncoding(std::span<const uint8_t> bytes) {
  std::string_view text(reinterpret_cast<const char*>(bytes.data()), bytes.size());
  if (text.starts_with("\xFF\xFE")) return LyricEncoding::kUtf16LittleEndian;
  if (text.starts_with("\xFE\xFF")) return LyricEncoding::kUtf16BigEndian;
  text = text.substr(0, text.find('\0'));
  if (!IsValidUtf8(text)) return LyricEncoding::kGbk;
  if (text.starts_with("\xEF\xBB\xBF")) return LyricEncoding::kUtf8Mark;
  return IsAscii(text) || ReadsWellAsGbk(text) ? LyricEncoding::kGbk : LyricEncoding::kUtf8;
}

}  // namespace melorin
