// SPDX-License-Identifier: MIT
//
// The file is XML in UTF-8:
//   <melorin_lyrics>
//     <song path="…" subtrack="0" lyric="…"/>
#include "lyrics/lyric_associations.h"

#include <algorithm>
#include <charconv>
#include <utility>
#include <vector>

#include "doc/settings.h"
#include "doc/xml_document.h"
#include "doc/xml_element.h"
#include "platform/file.h"
#include "platform/text.h"
#include "playlist/path_check.h"

namespace melorin {
namespace {

constexpr char kFileName[] = "melorin-lyrics.xml";
constexpr char kRoot[] = "melorin_lyrics";
constexpr char kSong[] = "song";
constexpr char kPath[] = "path";
constexpr char kSubtrack[] = "subtrack";
constexpr char kLyric[] = "lyric";
/// A full table needs a few million.
constexpr int64_t kMostBytes = 16 << 20;

std::string KeyOf(std::string_view song_path_gbk, uint32_t subtrack) {
  bool exact = true;  // What only the system can compare (Roman numerals, accents) must be written alike.
  // No path holds a zero.
  return FoldName(song_path_gbk, exact) + '\0' + std::to_string(subtrack);
}

bool IsOfSensibleSize(const std::string& path_gbk) {
  File file;
  return file.Open(path_gbk, File::Access::kRead, File::Share::kReadWrite, File::Create::kMustExist) &&
         file.Size() <= kMostBytes;
}

}  // namespace

std::string LyricAssociationsPath(const std::string& data_folder_gbk) {
  return JoinPath(data_folder_gbk, kFileName);
}

std::string LyricAssociations::Find(std::string_view song_path_gbk, uint32_t subtrack) const {
  const auto found = entries_.find(KeyOf(song_path_gbk, subtrack));
  return found == entries_.end() ? std::string() : found->second.lyric_path_gbk;
}

void LyricAssociations::Set(std::string_view song_path_gbk, uint32_t subtrack, std::string lyric_path_gbk) {
  if (lyric_path_gbk.empty()) {
    Remove(song_path_gbk, subtrack);
    return;
  }
  entries_[KeyOf(song_path_gbk, subtrack)] = {std::string(song_path_gbk), subtrack, std::move(lyric_path_gbk),
                                              ++last_order_};
  if (entries_.size() > kMostEntries)
    entries_.erase(std::min_element(entries_.begin(), entries_.end(), [](const auto& a, const auto& b) {
      return a.second.order < b.second.order;
    }));
}

bool LyricAssociations::Remove(std::string_view song_path_gbk, uint32_t subtrack) {
  return entries_.erase(KeyOf(song_path_gbk, subtrack)) != 0;
}

bool LyricAssociations::Load(const std::string& path_gbk) {
  if (!IsOfSensibleSize(path_gbk)) return false;
  XmlDocument document;
  if (!document.LoadFile(path_gbk, XmlDocument::kCodePageFromDeclaration)) return false;
  const XmlElement* root = document.RootElement();
  if (!root || root->Name() != kRoot) return false;
  std::vector<const XmlElement*> songs;
  for (const XmlElement* child = root->FirstChildElement(); child; child = child->NextSiblingElement())
    if (child->Name() == kSong) songs.push_back(child);
  if (songs.size() > kMostEntries) songs.erase(songs.begin(), songs.end() - kMostEntries);
  LyricAssociations read;
  for (const XmlElement* song : songs) {
    const std::string_view number = song->Attribute(kSubtrack);
    uint32_t subtrack = 0;
    const auto parsed = std::from_chars(number.data(), number.data() + number.size(), subtrack);
    const std::string path = GbkFromUtf8(song->Attribute(kPath));
    if (path.empty() || parsed.ec != std::errc() || parsed.ptr != number.data() + number.size()) continue;
    read.Set(path, subtrack, GbkFromUtf8(song->Attribute(kLyric)));
  }
  *this = std::move(read);
  return true;
}

bool LyricAssociations::Save(const std::string& path_gbk) const {
  if (FileExists(path_gbk) && !LyricAssociations().Load(path_gbk) && KeepAside(path_gbk).empty())
    return false;
  std::vector<const Entry*> in_order;
  for (const auto& [key, entry] : entries_)
    in_order.push_back(&entry);
  std::sort(in_order.begin(), in_order.end(),
            [](const Entry* a, const Entry* b) { return a->order < b->order; });

  XmlDocument document;
  auto declaration = NewXmlDeclaration("1.0", "UTF-8", "yes");
  if (!declaration) return false;
  document.LinkEndChild(std::move(declaration));
  XmlElement* root = document.AddElement(kRoot);
  if (!root) return false;
  for (const Entry* entry : in_order) {
    XmlElement* song = root->AddElement(kSong);
    if (!song || !song->AddAttribute(kPath, Utf8FromGbk(entry->song_path_gbk)) ||
        !song->AddAttribute(kSubtrack, std::to_string(entry->subtrack)) ||
        !song->AddAttribute(kLyric, Utf8FromGbk(entry->lyric_path_gbk)))
      return false;
  }
  return document.SaveFileSafely(path_gbk, false);
}

}  // namespace melorin
