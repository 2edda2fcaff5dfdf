// SPDX-License-Identifier: MIT
//
// How a name is cut:
// 1. A track number in front is taken away: "01. ", "01、", "01_", "(01)", "[01]" and, with a zero in front,
//    "01 ". A number that a dash follows ("01 - ") becomes a part of its own. Others ("99 Luftballons") stay.
// 2. What separates the parts is the first of these that the name has outside of brackets:
//    a. a dash with white space on a side, or a dash longer than a hyphen ("Artist – Title", "Artist—Title");
//       where a name has no white space, underscores stand for it ("Artist_-_Title");
//    b. the quotation marks of titles ("周杰伦《晴天》");
//    c. a hyphen, unless it joins one letter to a word ("A-Lin", "X-Ray");
//    d. an underscore between two characters, unless several join words of ASCII ("what_a_day").
#include "lyrics/name_parts.h"

#include <algorithm>

namespace melorin {
namespace {

constexpr size_t kNone = std::u16string_view::npos;

bool IsDigit(char16_t c) {
  return (c >= '0' && c <= '9') || (c >= 0xFF10 && c <= 0xFF19);
}
bool IsAsciiWord(char16_t c) {
  return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

size_t CountDigits(std::u16string_view text) {
  size_t count = 0;
  while (count < text.size() && IsDigit(text[count]))
    ++count;
  return count;
}

bool IsZero(char16_t c) {
  return c == '0' || c == 0xFF10;
}

/// "1", "12", "012", and "1-01" for disc and track.
bool IsTrackNumber(std::u16string_view text) {
  const size_t digits = CountDigits(text);
  if (digits == 0) return false;
  if (digits == text.size()) return digits <= 2 || (digits == 3 && IsZero(text[0]));
  const std::u16string_view rest = text.substr(digits);
  return digits <= 2 && rest.size() <= 4 && IsDash(rest[0]) && rest.size() > 1 &&
         CountDigits(rest.substr(1)) == rest.size() - 1;
}

/// Rule 1.
std::u16string_view WithoutNumber(std::u16string_view name) {
  constexpr std::u16string_view kAfter = u".\uFF0E、_)）]】";
  size_t at = 0;
  const char16_t closing = name.empty() ? u'\0' : ClosingBracket(name[0]);
  if (closing != 0) at = 1;
  const size_t digits = CountDigits(name.substr(at));
  if (digits == 0 || digits > 3) return name;
  const bool zero = IsZero(name[at]);
  at += digits;
  if (at == name.size()) return name;
  if (closing != 0) {
    if (name[at] != closing) return name;
    ++at;
  } else if (kAfter.find(name[at]) != kNone) {
    ++at;
    if (at < name.size() && IsDigit(name[at])) return name;  // "1.5"
  } else if (!zero || !IsSpace(name[at])) {
    return name;
  }
  const std::u16string_view rest = Trim(name.substr(at));
  // "01. - Title": the dash belongs to the number.
  if (rest.size() > 1 && IsDash(rest[0]) && IsSpace(rest[1])) return Trim(rest.substr(1));
  return rest.empty() ? name : rest;
}

/// Calls `visit(index)` for every character outside of brackets.
template <class Visit>
void OutsideBrackets(std::u16string_view name, Visit visit) {
  for (size_t i = 0; i < name.size(); ++i) {
    const char16_t closing = ClosingBracket(name[i]);
    const size_t end = closing != 0 ? name.find(closing, i + 1) : kNone;
    if (end != kNone)
      i = end;
    else
      visit(i);
  }
}

/// A piece of the name that separates parts.
struct Cut {
  size_t begin;
  size_t end;
};

std::vector<Cut> DashCuts(std::u16string_view name) {
  const bool spaced = std::any_of(name.begin(), name.end(), IsSpace);
  const auto is_space = [&](size_t i) { return IsSpace(name[i]) || (!spaced && name[i] == '_'); };
  std::vector<Cut> cuts;
  OutsideBrackets(name, [&](size_t i) {
    if (!IsDash(name[i])) return;
    Cut cut{i, i + 1};
    while (cut.begin > 0 && is_space(cut.begin - 1))
      --cut.begin;
    while (cut.end < name.size() && is_space(cut.end))
      ++cut.end;
    const bool hyphen = name[i] == '-' || name[i] == 0x2010 || name[i] == 0x2011;
    if (!hyphen || cut.end - cut.begin > 1) cuts.push_back(cut);
  });
  return cuts;
}

std::vector<Cut> QuoteCuts(std::u16string_view name) {
  constexpr std::u16string_view kOpening = u"《「『〈";
  constexpr std::u16string_view kClosing = u"》」』〉";
  std::vector<Cut> cuts;
  OutsideBrackets(name, [&](size_t i) {
    if (kOpening.find(name[i]) != kNone || kClosing.find(name[i]) != kNone) cuts.push_back({i, i + 1});
  });
  return cuts;
}

std::vector<Cut> HyphenCuts(std::u16string_view name) {
  std::vector<Cut> cuts;
  const auto word = [&](size_t from, bool forward) {
    size_t length = 0;
    while (from < name.size() && IsAsciiWord(name[from])) {
      ++length;
      from = forward ? from + 1 : from - 1;  // Wraps below 0, which ends it.
    }
    return length;
  };
  OutsideBrackets(name, [&](size_t i) {
    if (!IsDash(name[i])) return;
    const size_t before = i > 0 ? word(i - 1, false) : 0;
    const size_t after = word(i + 1, true);
    const bool digits = i > 0 && IsDigit(name[i - 1]);
    const bool joins = before > 0 && after > 0 && (before == 1 || after == 1) && !digits;
    if (!joins) cuts.push_back({i, i + 1});
  });
  return cuts;
}

std::vector<Cut> UnderscoreCuts(std::u16string_view name) {
  const bool spaced = std::any_of(name.begin(), name.end(), IsSpace);
  const bool ascii = std::all_of(name.begin(), name.end(), [](char16_t c) { return c < 0x80; });
  std::vector<Cut> cuts;
  OutsideBrackets(name, [&](size_t i) {
    if (name[i] != '_' || i == 0 || i + 1 == name.size()) return;
    const auto stands_for_itself = [](char16_t c) { return !IsSpace(c) && c != '_'; };
    if (!stands_for_itself(name[i - 1]) || !stands_for_itself(name[i + 1])) return;
    if (spaced && IsAsciiWord(name[i - 1]) && IsAsciiWord(name[i + 1])) return;
    cuts.push_back({i, i + 1});
  });
  if (ascii && cuts.size() > 1) cuts.clear();
  return cuts;
}

std::vector<NamePart> Pieces(std::u16string_view name, const std::vector<Cut>& cuts) {
  std::vector<NamePart> parts;
  size_t at = 0;
  for (size_t i = 0; i <= cuts.size(); ++i) {
    const bool last = parts.size() + 1 == kMostParts || i == cuts.size();
    const std::u16string_view text = Trim(name.substr(at, (last ? name.size() : cuts[i].begin) - at));
    if (!text.empty()) parts.push_back({text, false});
    if (last) break;
    at = cuts[i].end;
  }
  return parts;
}

}  // namespace

bool IsSpace(char16_t c) {
  return c == ' ' || (c >= 0x09 && c <= 0x0D) || c == 0xA0 || c == 0x3000;
}

std::u16string_view Trim(std::u16string_view text) {
  while (!text.empty() && IsSpace(text.front()))
    text.remove_prefix(1);
  while (!text.empty() && IsSpace(text.back()))
    text.remove_suffix(1);
  return text;
}

bool IsDash(char16_t c) {
  return c == '-' || (c >= 0x2010 && c <= 0x2015) || c == 0x2212 || c == 0xFF0D || c == 0xFE63;
}

char16_t ClosingBracket(char16_t c) {
  constexpr std::u16string_view kOpening = u"([{（［【〔";
  constexpr std::u16string_view kClosing = u")]}）］】〕";
  const size_t at = kOpening.find(c);
  return at == kNone ? u'\0' : kClosing[at];
}

std::vector<NamePart> SplitName(std::u16string_view name) {
  name = WithoutNumber(Trim(name));
  std::vector<NamePart> parts;
  for (const auto cuts_of : {DashCuts, QuoteCuts, HyphenCuts, UnderscoreCuts}) {
    parts = Pieces(name, cuts_of(name));
    if (parts.size() > 1) break;
  }
  if (parts.size() > 1) {
    // "01-周杰伦 - 晴天"
    NamePart& first = parts.front();
    const size_t digits = CountDigits(first.text);
    if (digits > 0 && digits <= 2 && digits + 1 < first.text.size() && IsDash(first.text[digits]) &&
        !IsTrackNumber(first.text))
      first.text = Trim(first.text.substr(digits + 1));
    for (NamePart& part : parts)
      part.is_number = IsTrackNumber(part.text);
    // Numbers alone are a name, not numbers of something.
    if (std::all_of(parts.begin(), parts.end(), [](const NamePart& part) { return part.is_number; }))
      for (NamePart& part : parts)
        part.is_number = false;
  }
  return parts;
}

}  // namespace melorin
