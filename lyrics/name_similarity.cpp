// SPDX-License-Identifier: MIT
//
// The scores. A file's name can be read in several ways: which part is the artist and which the title. All
// readings of both names are compared, and the best counts.
//
//                            title the same   part of it*   a few letters differ**
//   artist the same                9              7                 6
//   one of the artists             8              6                 5
//   artist nearly the same**       7              -                 -
//   neither has an artist          6              -                 -
//   one has none                   5              -                 -
//   the same, read as "title - artist", and one has no artist: 4
//   artist and title joined are the other's title ("周杰伦晴天"): 8
//   artists differ, and the title is so long that two songs hardly share it (a cover): 2
//   the name of the song's own file, folded: 3
//
//   *  the Chinese, Japanese or Korean half of a title in two languages ("晴天 Sunny Day")
//   ** Levenshtein distance up to a sixth of the shorter one's length, 3 at most, and no other numbers
//
// What differs besides takes off, the larger of these two counting:
//   another recording (live, remix) 1; with and without voice 2; one names a language 4; both name
//   different ones: 0 in all;
//   a bracket that only one has 1; different brackets 4, of two live recordings 1;
// and a part that is read as neither artist nor title (an album) 1. A result of 1 counts as 0.
#include "lyrics/name_similarity.h"

#include <algorithm>
#include <array>
#include <bit>

namespace melorin {
namespace {

using View = std::u16string_view;

constexpr int kLeastScore = 2;
constexpr size_t kMostDistance = 3;
constexpr size_t kLeastNear = 6;
constexpr size_t kLongLatinTitle = 16;
constexpr size_t kLongHanTitle = 6;

bool IsHan(char16_t c) {
  return c >= 0x2E80;
}
bool IsDigit(char16_t c) {
  return c >= '0' && c <= '9';
}

/// One way to read a name.
struct Reading {
  View artist;  ///< Empty: unknown.
  View title;
  View artist_extra;
  View title_extra;
  bool dropped = false;  ///< A part is neither.
  bool swapped = false;  ///< The title stands in front.
};

class Reader {
 public:
  explicit Reader(const FoldedName& name) : name_(name) {
    readings_.reserve(24);
    if (name.parts.empty()) return;
    if (name.is_song)
      ReadSong();
    else
      ReadFile();
  }
  const std::vector<Reading>& Readings() const { return readings_; }
  const FoldedName& Name() const { return name_; }

  /// The names in an artist's text: all of it, what "&" joins, halves by script, what a bracket adds.
  template <class Visit>
  void Artists(const Reading& reading, Visit visit) const {
    const View all = reading.artist;
    if (all.empty()) return;
    Halves(all, visit);
    const auto offset = static_cast<size_t>(all.data() - name_.text.data());
    size_t begin = 0;
    for (const size_t joint : name_.joints) {
      if (joint <= offset || joint >= offset + all.size()) continue;
      Halves(all.substr(begin, joint - offset - begin), visit);
      begin = joint - offset;
    }
    if (begin != 0) Halves(all.substr(begin), visit);
    if (!reading.artist_extra.empty()) visit(reading.artist_extra);
  }

 private:
  template <class Visit>
  static void Halves(View name, Visit visit) {
    visit(name);
    const auto change = std::adjacent_find(name.begin(), name.end(),
                                           [](char16_t a, char16_t b) { return IsHan(a) != IsHan(b); });
    if (change == name.end()) return;
    const auto at = static_cast<size_t>(change - name.begin()) + 1;
    visit(name.substr(0, at));
    visit(name.substr(at));
  }

  size_t Begin(size_t part) const { return part == 0 ? 0 : name_.parts[part - 1].end; }
  View Text(size_t first, size_t last) const {
    return View(name_.text).substr(Begin(first), name_.parts[last].end - Begin(first));
  }
  View Extra(size_t first, size_t last) const {
    const size_t begin = first == 0 ? 0 : name_.parts[first - 1].extra_end;
    return View(name_.extras).substr(begin, name_.parts[last].extra_end - begin);
  }

  /// Artist: the parts a to b, title: c to d.
  void Add(size_t a, size_t b, size_t c, size_t d, bool dropped, bool swapped) {
    const size_t article = name_.parts[a].article;
    const Reading reading{Text(a, b).substr(article), Text(c, d), Extra(a, b), Extra(c, d), dropped, swapped};
    AddWithNumber(reading, a == 0, c == 0);
  }
  void AddTitle(size_t c, size_t d) { AddWithNumber({{}, Text(c, d), {}, Extra(c, d)}, false, c == 0); }
  /// The same without what may be a track number.
  void AddWithNumber(Reading reading, bool in_artist, bool in_title) {
    readings_.push_back(reading);
    const size_t number = name_.parts[0].number;
    if (number == 0) return;
    if (in_artist) reading.artist.remove_prefix(number);
    if (in_title) reading.title.remove_prefix(number);
    if (in_artist || in_title) readings_.push_back(reading);
  }

  void ReadSong() {
    const size_t last = name_.parts.size() - 1;
    if (last == 0) {
      // A title of nothing; the artist alone stands for no song.
      return;
    }
    Add(0, 0, 1, last, false, false);
    if (last > 1)
      for (size_t i = 1; i <= last; ++i)
        Add(0, 0, i, i, true, false);
  }

  void ReadFile() {
    const size_t count = name_.parts.size();
    AddTitle(0, count - 1);
    for (size_t cut = 1; cut < count; ++cut) {
      Add(0, cut - 1, cut, count - 1, false, false);
      Add(cut, count - 1, 0, cut - 1, false, true);
    }
    const auto numbers = static_cast<size_t>(std::count_if(name_.parts.begin(), name_.parts.end(),
                                                           [](const auto& part) { return part.is_number; }));
    if (count < 3 && numbers == 0) return;
    for (size_t i = 0; i < count; ++i) {
      if (name_.parts[i].is_number) continue;
      if (count - numbers == 1) AddTitle(i, i);
      for (size_t j = 0; j < count; ++j)
        if (i != j && !name_.parts[j].is_number) Add(i, i, j, j, count - numbers > 2, j < i);
    }
    if (numbers == 0 || count - numbers < 3) return;
    // "01 - Artist - Title - More"
    for (size_t cut = 2; name_.parts[0].is_number && cut < count; ++cut) {
      Add(1, cut - 1, cut, count - 1, false, false);
      Add(cut, count - 1, 1, cut - 1, false, true);
    }
  }

  const FoldedName& name_;
  std::vector<Reading> readings_;
};

size_t NearLimit(size_t a, size_t b) {
  const size_t shorter = std::min(a, b);
  return shorter < kLeastNear ? 0 : std::min(kMostDistance, shorter / 6);
}

bool SameDigits(View a, View b) {
  const auto next = [](View text, size_t& at) {
    while (at < text.size() && !IsDigit(text[at]))
      ++at;
    return at < text.size() ? text[at++] : u'\0';
  };
  for (size_t i = 0, j = 0;;) {
    const char16_t x = next(a, i);
    if (x != next(b, j)) return false;
    if (x == 0) return true;
  }
}

/// Levenshtein distance up to the limit: only the cells near the diagonal are looked at.
bool IsNear(View a, View b) {
  const size_t limit = NearLimit(a.size(), b.size());
  if (limit == 0) return false;
  if (a.size() > b.size()) std::swap(a, b);
  if (b.size() - a.size() > limit || !SameDigits(a, b)) return false;
  constexpr size_t kWidth = 2 * kMostDistance + 1;
  constexpr size_t kFar = 100;
  // row[k] is the distance between the first i units of a and the first i + k - kMostDistance of b.
  std::array<size_t, kWidth> row;
  for (size_t k = 0; k < kWidth; ++k)
    row[k] = k < kMostDistance ? kFar : k - kMostDistance;
  for (size_t i = 1; i <= a.size(); ++i) {
    size_t left = kFar;
    size_t least = kFar;
    for (size_t k = 0; k < kWidth; ++k) {
      const size_t above = k + 1 < kWidth ? row[k + 1] : kFar;
      if (i + k < kMostDistance || i + k - kMostDistance > b.size()) {
        row[k] = left = kFar;
        continue;
      }
      const size_t j = i + k - kMostDistance;
      size_t cell = j == 0 ? i : row[k] + (a[i - 1] == b[j - 1] ? 0 : 1);
      if (j != 0) cell = std::min({cell, above + 1, left + 1});
      row[k] = left = cell;
      least = std::min(least, cell);
    }
    if (least > limit) return false;
  }
  return row[b.size() - a.size() + kMostDistance] <= limit;
}

/// The half of a title in Chinese, Japanese or Korean; empty unless it has two units in one piece.
View HanHalf(View title) {
  const auto begin = std::find_if(title.begin(), title.end(), IsHan);
  const auto end = std::find_if_not(begin, title.end(), IsHan);
  if (end - begin < 2 || std::find_if(end, title.end(), IsHan) != title.end()) return {};
  return title.substr(static_cast<size_t>(begin - title.begin()), static_cast<size_t>(end - begin));
}

bool IsLongTitle(View title) {
  const auto han = static_cast<size_t>(std::count_if(title.begin(), title.end(), IsHan));
  return han >= kLongHanTitle || title.size() >= kLongLatinTitle;
}

/// "Track 01", "音轨 1", "12": names that stand for no song.
bool IsNoName(View text) {
  for (const View word : {View(u"track"), View(u"音轨"), View(u"未知"), View(u"unknown"), View(u"曲目")})
    if (text.starts_with(word)) {
      text.remove_prefix(word.size());
      break;
    }
  return std::all_of(text.begin(), text.end(), IsDigit);
}

enum class ArtistMatch { kSame, kOne, kNear, kDifferent, kOneUnknown, kBothUnknown };

ArtistMatch MatchArtists(const Reader& a, const Reading& x, const Reader& b, const Reading& y) {
  if (x.artist.empty() || y.artist.empty())
    return x.artist.empty() && y.artist.empty() ? ArtistMatch::kBothUnknown : ArtistMatch::kOneUnknown;
  if (x.artist == y.artist) return ArtistMatch::kSame;
  bool same = false;
  bool one = false;
  a.Artists(x, [&](View p) {
    b.Artists(y, [&](View q) {
      if (p != q || p.size() < 2) return;
      one = true;
      // A name in two scripts is the same as its Chinese half: "周杰伦 Jay Chou".
      const auto is_name = [&](const Reader& reader, const Reading& reading) {
        const View text = reading.artist;
        const bool joined =
            std::any_of(reader.Name().joints.begin(), reader.Name().joints.end(), [&](size_t joint) {
              const size_t begin = static_cast<size_t>(text.data() - reader.Name().text.data());
              return joint > begin && joint < begin + text.size();
            });
        return !joined;
      };
      same = same || (std::all_of(p.begin(), p.end(), IsHan) && is_name(a, x) && is_name(b, y));
    });
  });
  if (same) return ArtistMatch::kSame;
  if (one) return ArtistMatch::kOne;
  return IsNear(x.artist, y.artist) ? ArtistMatch::kNear : ArtistMatch::kDifferent;
}

bool IsJoin(const Reading& parted, const Reading& whole) {
  const View a = parted.artist;
  const View t = parted.title;
  const View w = whole.title;
  return !a.empty() && !t.empty() && !parted.dropped && whole.artist.empty() &&
         w.size() == a.size() + t.size() &&
         ((w.starts_with(a) && w.ends_with(t)) || (w.starts_with(t) && w.ends_with(a)));
}

/// What the versions take off; 9 leaves nothing.
int VersionPenalty(uint16_t a, uint16_t b) {
  const int language_a = a & kVersionLanguages;
  const int language_b = b & kVersionLanguages;
  if (language_a != 0 && language_b != 0 && language_a != language_b) return 9;
  if (language_a != language_b) return 4;
  if ((a ^ b) & kVersionNoVoice) return 2;
  return (a ^ b) & kVersionLive ? 1 : 0;
}

int ExtraPenalty(View a, View b, uint16_t versions_a, uint16_t versions_b) {
  if (a == b) return 0;
  if (a.empty() || b.empty()) return 1;
  return versions_a != 0 && versions_a == versions_b ? 1 : 4;
}

int MatchTitles(ArtistMatch artists, const Reading& x, const Reading& y) {
  const bool known = artists == ArtistMatch::kSame || artists == ArtistMatch::kOne;
  const int off = artists == ArtistMatch::kOne ? 1 : 0;
  if (x.title == y.title) {
    switch (artists) {
      case ArtistMatch::kSame:
        return 9;
      case ArtistMatch::kOne:
        return 8;
      case ArtistMatch::kNear:
        return 7;
      case ArtistMatch::kBothUnknown:
        return IsNoName(x.title) ? 0 : 6;
      case ArtistMatch::kOneUnknown:
        if (IsNoName(x.title)) return 0;
        return x.swapped || y.swapped ? 4 : 5;
      case ArtistMatch::kDifferent:
        return IsLongTitle(x.title) && !x.swapped && !y.swapped ? 2 : 0;
    }
  }
  if (!known) return 0;
  if (const View half = HanHalf(x.title); !half.empty() && half == HanHalf(y.title) &&
                                          (half.size() == x.title.size() || half.size() == y.title.size()))
    return 7 - off;
  return IsNear(x.title, y.title) ? 6 - off : 0;
}

int Rate(const Reader& a, const Reading& x, const Reader& b, const Reading& y) {
  if (x.title.empty() || y.title.empty()) return 0;
  int score = IsJoin(x, y) || IsJoin(y, x) ? 8 : 0;
  // Most pairs end here: without the same title only a known artist counts.
  const bool may_match = x.title == y.title || (!x.artist.empty() && !y.artist.empty());
  if (may_match) score = std::max(score, MatchTitles(MatchArtists(a, x, b, y), x, y));
  if (score == 0) return 0;
  const uint16_t versions_a = a.Name().versions;
  const uint16_t versions_b = b.Name().versions;
  score -= std::max(VersionPenalty(versions_a, versions_b),
                    ExtraPenalty(x.title_extra, y.title_extra, versions_a, versions_b));
  if (x.dropped || y.dropped) --score;
  return score < kLeastScore ? 0 : score;
}

View BaseOf(const FoldedName& name) {
  return name.base.empty() ? View(name.text) : View(name.base);
}

/// FNV-1a, with the bits mixed.
class Hash {
 public:
  Hash& Add(View text) {
    for (const char16_t c : text)
      Add(c);
    return *this;
  }
  Hash& Add(uint32_t value) {
    state_ = (state_ ^ value) * 0x01000193u;
    return *this;
  }
  uint32_t Value() const { return (state_ ^ (state_ >> 15)) * 0x2C1B3C6Du; }

 private:
  uint32_t state_ = 0x811C9DC5u;
};

/// `spread`: artists are entered for titles of all lengths that may be near.
std::vector<uint32_t> Keys(const FoldedName& name, bool spread) {
  std::vector<uint32_t> keys;
  const auto add = [&](View text) {
    if (!text.empty()) keys.push_back(Hash().Add(text).Value());
  };
  const Reader reader(name);
  add(BaseOf(name));
  for (const Reading& reading : reader.Readings()) {
    const View title = reading.title;
    add(title);
    add(HanHalf(title));
    if (reading.artist.empty()) continue;
    if (!reading.dropped) {
      keys.push_back(Hash().Add(reading.artist).Add(title).Value());
      keys.push_back(Hash().Add(title).Add(reading.artist).Value());
    }
    if (title.size() < kLeastNear) continue;
    const size_t reach = spread ? kMostDistance : 0;
    for (size_t length = title.size() - reach; length <= title.size() + reach; ++length) {
      const size_t distance = length > title.size() ? length - title.size() : title.size() - length;
      if (distance > NearLimit(length, title.size()) || (distance == 0 && length < kLeastNear)) continue;
      reader.Artists(reading, [&](View artist) {
        if (artist.size() >= 2 || artist == reading.artist)
          keys.push_back(Hash().Add(artist).Add(0xFFFF0000u + static_cast<uint32_t>(length)).Value());
      });
    }
  }
  std::sort(keys.begin(), keys.end());
  keys.erase(std::unique(keys.begin(), keys.end()), keys.end());
  return keys;
}

}  // namespace

int Similarity(const FoldedName& a, const FoldedName& b) {
  const Reader x(a);
  const Reader y(b);
  int best = 0;
  if (BaseOf(a) == BaseOf(b) && !IsNoName(BaseOf(a))) best = 3;
  for (const Reading& p : x.Readings())
    for (const Reading& q : y.Readings())
      best = std::max(best, Rate(x, p, y, q));
  return best;
}

std::vector<uint32_t> IndexKeys(const FoldedName& name) {
  return Keys(name, false);
}

std::vector<uint32_t> LookupKeys(const FoldedName& name) {
  return Keys(name, true);
}

}  // namespace melorin
