// SPDX-License-Identifier: MIT
//
// Artist and title of a base name are its parts as lyrics/name_parts.cpp cuts it: without the numbers the
// first is the artist, and the rest, as it is written, the title ("Artist - Title - Live"). A number between
// ends what stands before the title ("Artist - Album - 01 - Title").
#include "lyrics/song_key.h"

#include "lyrics/name_parts.h"
#include "platform/file.h"
#include "platform/text.h"

namespace melorin {
namespace {

std::string TrimGbk(std::string_view gbk) {
  return GbkFromUtf16(Trim(Utf16FromGbk(gbk)));
}

std::string_view BaseName(std::string_view path_gbk) {
  const std::string_view name = PathFileName(path_gbk);
  const size_t dot = FindLastGbk(name, '.');
  // ".lrc" is a name without an extension.
  return dot == std::string_view::npos || dot == 0 ? name : name.substr(0, dot);
}

}  // namespace

std::string SongKey::FullName() const {
  return artist.empty() ? base_name : artist + " - " + title;
}

ArtistAndTitle SplitBaseName(std::string_view base_name_gbk) {
  const std::u16string name = Utf16FromGbk(base_name_gbk);
  const std::vector<NamePart> parts = SplitName(name);
  const NamePart* artist = nullptr;
  const NamePart* title = nullptr;
  for (const NamePart& part : parts) {
    if (part.is_number) {
      if (artist) title = nullptr;
    } else if (!artist) {
      artist = &part;
    } else if (!title) {
      title = &part;
    }
  }
  if (!artist) return {{}, TrimGbk(base_name_gbk)};
  if (!title && parts.back().is_number && &parts.back() > artist) title = artist + 1;  // "Artist - 1"
  if (!title) return {{}, GbkFromUtf16(artist->text)};
  const char16_t* const begin = title->text.data();
  const char16_t* const end = parts.back().text.data() + parts.back().text.size();
  return {GbkFromUtf16(artist->text), GbkFromUtf16({begin, static_cast<size_t>(end - begin)})};
}

SongKey MakeSongKey(std::string_view path_gbk, std::string_view artist_gbk, std::string_view title_gbk) {
  SongKey key{TrimGbk(artist_gbk), TrimGbk(title_gbk), TrimGbk(BaseName(path_gbk))};
  if (!key.title.empty()) return key;
  if (!key.artist.empty()) {
    key.title = key.base_name;
  } else {
    ArtistAndTitle split = SplitBaseName(key.base_name);
    key.artist = std::move(split.artist);
    key.title = std::move(split.title);
  }
  return key;
}

SongKey SongKeyOf(const PlayListItem& item) {
  return MakeSongKey(item.PathGbk(), GbkFromUtf8(item.TagValue("Artist")),
                     GbkFromUtf8(item.TagValue("Title")));
}

}  // namespace melorin
