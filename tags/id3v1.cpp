// SPDX-License-Identifier: MIT
//
// ID3v1: 128 bytes at the end of the file. Layout and the first 80 genres as Eric Kemp defined them in 1996;
// genres 80 to 147 as players added them; the track number as Michael Mutschler's version 1.1 put it.
#include "tags/id3v1.h"

#include <array>
#include <string>

#include "platform/text.h"
#include "tags/legacy_text.h"

namespace melorin {

namespace {

constexpr std::array<std::string_view, kGenreCount> kGenres = {
    "Blues",
    "Classic Rock",
    "Country",
    "Dance",
    "Disco",
    "Funk",
    "Grunge",
    "Hip-Hop",
    "Jazz",
    "Metal",
    "New Age",
    "Oldies",
    "Other",
    "Pop",
    "R&B",
    "Rap",
    "Reggae",
    "Rock",
    "Techno",
    "Industrial",
    "Alternative",
    "Ska",
    "Death Metal",
    "Pranks",
    "Soundtrack",
    "Euro-Techno",
    "Ambient",
    "Trip-Hop",
    "Vocal",
    "Jazz+Funk",
    "Fusion",
    "Trance",
    "Classical",
    "Instrumental",
    "Acid",
    "House",
    "Game",
    "Sound Clip",
    "Gospel",
    "Noise",
    "AlternRock",
    "Bass",
    "Soul",
    "Punk",
    "Space",
    "Meditative",
    "Instrumental Pop",
    "Instrumental Rock",
    "Ethnic",
    "Gothic",
    "Darkwave",
    "Techno-Industrial",
    "Electronic",
    "Pop-Folk",
    "Eurodance",
    "Dream",
    "Southern Rock",
    "Comedy",
    "Cult",
    "Gangsta",
    "Top 40",
    "Christian Rap",
    "Pop/Funk",
    "Jungle",
    "Native American",
    "Cabaret",
    "New Wave",
    "Psychedelic",
    "Rave",
    "Showtunes",
    "Trailer",
    "Lo-Fi",
    "Tribal",
    "Acid Punk",
    "Acid Jazz",
    "Polka",
    "Retro",
    "Musical",
    "Rock & Roll",
    "Hard Rock",
    "Folk",
    "Folk-Rock",
    "National Folk",
    "Swing",
    "Fast Fusion",
    "Bebob",
    "Latin",
    "Revival",
    "Celtic",
    "Bluegrass",
    "Avantgarde",
    "Gothic Rock",
    "Progressive Rock",
    "Psychedelic Rock",
    "Symphonic Rock",
    "Slow Rock",
    "Big Band",
    "Chorus",
    "Easy Listening",
    "Acoustic",
    "Humour",
    "Speech",
    "Chanson",
    "Opera",
    "Chamber Music",
    "Sonata",
    "Symphony",
    "Booty Bass",
    "Primus",
    "Porn Groove",
    "Satire",
    "Slow Jam",
    "Club",
    "Tango",
    "Samba",
    "Folklore",
    "Ballad",
    "Power Ballad",
    "Rhythmic Soul",
    "Freestyle",
    "Duet",
    "Punk Rock",
    "Drum Solo",
    "A capella",
    "Euro-House",
    "Dance Hall",
    "Goa",
    "Drum & Bass",
    "Club-House",
    "Hardcore",
    "Terror",
    "Indie",
    "BritPop",
    "Negerpunk",
    "Polsk Punk",
    "Beat",
    "Christian Gangsta Rap",
    "Heavy Metal",
    "Black Metal",
    "Crossover",
    "Contemporary Christian",
    "Christian Rock",
    "Merengue",
    "Salsa",
    "Thrash Metal",
    "Anime",
    "Jpop",
    "Synthpop",
};
static_assert(!kGenres.back().empty());

constexpr int64_t kTagSize = 128;

/// A fixed field: up to its first NUL, without trailing spaces. In a field filled to the brim the last
/// character may have been cut in half; half a character is dropped.
std::string FieldText(std::span<const uint8_t> field) {
  std::string_view text(reinterpret_cast<const char*>(field.data()), field.size());
  text = text.substr(0, text.find('\0'));
  const bool full = text.size() == field.size();
  while (!text.empty() && text.back() == ' ')
    text.remove_suffix(1);
  if (text.empty()) return {};
  if (IsValidGbk(text)) return Utf8FromGbk(text);
  if (full && text.size() == field.size()) {
    const std::string_view cut = text.substr(0, text.size() - 1);
    if (IsGbkLead(static_cast<unsigned char>(text.back())) && !IsAscii(cut) && IsValidGbk(cut))
      return Utf8FromGbk(cut);
  }
  return DecodeLegacy(text);
}

void SetLonger(TagFields& fields, std::string_view name, std::span<const uint8_t> field) {
  const std::string text = FieldText(field);
  if (!text.empty()) fields.Set(name, text, true);
}

}  // namespace

std::string_view GenreName(uint32_t index) {
  return index < kGenreCount ? kGenres[index] : std::string_view();
}

std::string_view ResolveGenre(std::string_view text) {
  std::string_view digits = text;
  if (digits.size() > 2 && digits.front() == '(' && digits.back() == ')')
    digits = digits.substr(1, digits.size() - 2);
  if (digits.empty() || digits.size() > 9) return text;
  uint32_t index = 0;
  for (const char digit : digits) {
    if (digit < '0' || digit > '9') return text;
    index = index * 10 + static_cast<uint32_t>(digit - '0');
  }
  return index < kGenreCount ? kGenres[index] : text;
}

bool ReadId3v1(CachedSource& file, int64_t floor, int64_t& end, TagFields& fields) {
  if (end - kTagSize < floor) return false;
  const auto tag = file.At(end - kTagSize, kTagSize);
  if (tag.size() != kTagSize || tag[0] != 'T' || tag[1] != 'A' || tag[2] != 'G') return false;
  const bool has_track = tag[125] == 0 && tag[126] != 0;
  SetLonger(fields, "Title", tag.subspan(3, 30));
  SetLonger(fields, "Artist", tag.subspan(33, 30));
  SetLonger(fields, "Album", tag.subspan(63, 30));
  SetLonger(fields, "Date", tag.subspan(93, 4));
  SetLonger(fields, "Comment", tag.subspan(97, has_track ? 28 : 30));
  if (has_track) fields.Set("Tracknumber", std::to_string(tag[126]), true);
  if (tag[127] < kGenreCount) fields.Set("Genre", kGenres[tag[127]], true);
  end -= kTagSize;
  return true;
}

}  // namespace melorin
