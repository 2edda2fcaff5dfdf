// SPDX-License-Identifier: MIT
//
// The files around the formats: which format a path means, where relative entries are seen from, and the way
// to the disk and back. The formats themselves are functions of bytes (m3u.h, mzpl.h, mzbl.h).
#include "playlist/list_file.h"

#include <new>
#include <span>
#include <string_view>
#include <utility>

#include "platform/folders.h"
#include "platform/text.h"
#include "playlist/list_paths.h"
#include "playlist/list_reading.h"
#include "playlist/m3u.h"
#include "playlist/mzbl.h"
#include "playlist/mzpl.h"
#include "playlist/path_check.h"

namespace melorin {
namespace {

/// A shortcut may lead to a shortcut; one that leads to itself must end somewhere.
constexpr int kMostShortcuts = 8;

enum class ListFormat { kMzpl, kMzbl, kM3u, kM3u8 };

ListFormat FormatOf(std::string_view path) {
  if (HasExtension(path, "mzbl")) return ListFormat::kMzbl;
  if (HasExtension(path, "m3u")) return ListFormat::kM3u;
  if (HasExtension(path, "m3u8")) return ListFormat::kM3u8;
  return ListFormat::kMzpl;
}

std::string FullListPath(const std::string& path) {
  return FullPathFrom(IsAbsoluteEntry(path) ? std::string() : FullPath("."), path);
}

std::string NameWithoutExtension(std::string_view path) {
  const std::string_view name = EntryFileName(path);
  const std::string_view extension = PathExtension(name);
  const bool has_dot = extension.size() < name.size() && name[name.size() - extension.size() - 1] == '.';
  return std::string(has_dot ? name.substr(0, name.size() - extension.size() - 1) : name);
}

/// False when the shortcut leads to no file; then the path is as it was.
bool FollowShortcuts(std::string& path) {
  std::string target = path;
  for (int i = 0; HasExtension(target, "lnk"); ++i) {
    target = i < kMostShortcuts ? ResolveShortcut(target) : std::string();
    if (target.empty()) return false;
  }
  path = std::move(target);
  return true;
}

std::span<const uint8_t> AsBytes(std::string_view text) {
  return {reinterpret_cast<const uint8_t*>(text.data()), text.size()};
}

}  // namespace

bool IsPlaylistFile(std::string& path) try {
  if (!FollowShortcuts(path)) return false;
  return FormatOf(path) != ListFormat::kMzpl || HasExtension(path, "mzpl");
} catch (const std::bad_alloc&) {
  return false;
}

bool AddPath(Playlist& list, const std::string& path_gbk, const ListFileOptions& options) try {
  std::string path = path_gbk;
  if (IsPlaylistFile(path)) {
    // An entry of a list that is a list itself is an entry: lists do not nest.
    const ComPtr<Playlist> read = Playlist::Create();
    LoadPlaylist(*read, path, options);
    list.Reserve(list.Size() + read->Size());
    for (const ItemRef& item : read->Items())
      list.Append(item);
    return !read->IsEmpty();
  }
  if (path.empty() || HasExtension(path, "lnk")) return false;
  path = FullListPath(path);
  if (options.read_sheet && HasExtension(path, "cue"))
    return AppendSheet(list, path, options.read_sheet) != 0;
  list.Append(ItemCache::Obtain(std::move(path), {}, kUnknownDuration, 0));
  return true;
} catch (const std::bad_alloc&) {
  return false;
}

ListReadResult ReadListFile(Playlist& list, const std::string& path_gbk, const ListFileOptions& options,
                            bool name_only) {
  const std::string path = FullListPath(path_gbk);
  const ListFormat format = FormatOf(path);
  const bool is_m3u = format == ListFormat::kM3u || format == ListFormat::kM3u8;
  if (is_m3u) list.SetName(NameWithoutExtension(path));
  MappedFile file;
  if (!file.Open(path)) return {};
  PathCheck check;
  ListReading reading;
  reading.folder_gbk = PathDirectory(path);
  reading.read_sheet = options.read_sheet;
  reading.name_only = name_only;
  if (options.ignore_bad_files)
    reading.exists = [&check](const std::string& entry) { return check.IsFile(entry); };
  switch (format) {
    case ListFormat::kMzbl:
      return ReadMzbl(file.Bytes(), reading, list);
    case ListFormat::kM3u:
      return ReadM3u(file.Bytes(), M3uText::kGbk, reading, list);
    case ListFormat::kM3u8:
      return ReadM3u(file.Bytes(), M3uText::kUtf8, reading, list);
    case ListFormat::kMzpl:
      break;
  }
  return ReadMzpl(file.Bytes(), reading, list);
}

bool LoadPlaylist(Playlist& list, const std::string& path, const ListFileOptions& options) try {
  list.SetSourcePath(path);
  list.SetLoaded(true);
  const ListReadResult result = ReadListFile(list, path, options, false);
  return FormatOf(path) == ListFormat::kMzpl ? result.complete : result.recognised && !list.IsEmpty();
} catch (const std::bad_alloc&) {
  return false;
}

bool LoadPlaylistName(Playlist& list, const std::string& path) try {
  list.SetSourcePath(path);
  list.SetLoaded(false);
  return ReadListFile(list, path, {}, true).recognised;
} catch (const std::bad_alloc&) {
  return false;
}

bool SavePlaylist(const Playlist& list, const std::string& path_gbk, const ListFileOptions& options) try {
  const std::string path = FullListPath(path_gbk);
  const RelativeBase base = options.save_relative_path ? RelativeBase(path) : RelativeBase();
  switch (FormatOf(path)) {
    case ListFormat::kMzbl:
      return WriteFileSafely(path, WriteMzbl(list, options.save_tags));
    case ListFormat::kM3u:
      return WriteFileSafely(path, AsBytes(WriteM3u(list, M3uText::kGbk, base)));
    case ListFormat::kM3u8:
      return WriteFileSafely(path, AsBytes(WriteM3u(list, M3uText::kUtf8, base)));
    case ListFormat::kMzpl:
      break;
  }
  return WriteFileSafely(path, AsBytes(WriteMzpl(list, base, options.save_tags)));
} catch (const std::bad_alloc&) {
  return false;
}

}  // namespace melorin
