// SPDX-License-Identifier: MIT
//
// melorin-cli find-lyric: which lyric file the player would show for a song.
#include "cli/commands.h"
#include "cli/result_text.h"
#include "doc/settings.h"
#include "lyrics/lyric_finder.h"
#include "lyrics/song_key.h"
#include "platform/file.h"
#include "platform/json_writer.h"
#include "platform/text.h"
#include "playlist/item_info.h"

namespace melorin {
namespace {

constexpr OptionSpec kOptions[] = {{"--folder", true}, {"--track", true}};

/// The folders to search, in order; false after a message.
bool SearchFolders(const CommandContext& context, const Arguments& arguments, LyricSearch* search) {
  for (const auto& [name, value] : arguments.options) {
    if (name != "--folder") continue;
    std::string error;
    const auto path = PathFromArgument(value, &error);
    const std::string folder = path ? FullPath(*path) : std::string();
    if (path && !DirectoryExists(folder)) error = PrintableLine(value) + ": there is no such folder";
    if (!error.empty()) {
      context.Fail(error);
      return false;
    }
    search->folders_gbk.push_back(folder);
  }
  if (search->folders_gbk.empty()) search->folders_gbk = {kSongFolderEntryGbk};
  return true;
}

std::string Describe(const std::string& name, const PlayListItem& item, const LyricMatch& match) {
  const SongKey key = SongKeyOf(item);
  JsonWriter json;
  json.BeginObject().Key("file").String(name);
  json.Key("artist").String(Utf8FromGbk(key.artist)).Key("title").String(Utf8FromGbk(key.title));
  json.Key("score").Number(match.score).Key("lyric").String(Utf8FromGbk(match.path_gbk));
  return json.EndObject().Text() + "\n";
}

int RunFindLyric(const CommandContext& context, const Arguments& arguments) {
  std::string usage_error;
  const auto track_flags = TrackFlags(arguments, &usage_error);
  if (!track_flags) return context.FailUsage(usage_error);
  const std::string* const track = arguments.Value("--track");
  const uint32_t subtrack = track ? ParseNumber(*track).value_or(0) : 0;
  LyricSearch search;
  if (!SearchFolders(context, arguments, &search)) return kExitFailed;
  SoundLibrary library;
  if (!context.StartSoundLibrary(library)) return kExitFailed;
  const LyricAssociations none;
  LyricFinder finder(none);
  int exit_code = kExitDone;
  for (const std::string& name : arguments.operands) {
    std::string error;
    const auto path = PathFromArgument(name, &error);
    if (!path) {
      exit_code = context.Fail(error);
      continue;
    }
    const std::string full_path = FullPath(*path);
    ItemInfo info;
    const HRESULT result = ReadItemInfo(library, full_path, subtrack, &info);
    if (FAILED(result)) {
      exit_code = context.Fail(name, OpenFailureText(library, full_path, result));
      continue;
    }
    const ItemRef item = ItemCache::Obtain(full_path, {}, kUnknownDuration, subtrack);
    ApplyItemInfo(*item, info);
    context.console.Write(Describe(name, *item, finder.Find(*item, search)));
  }
  library.Shutdown();
  return exit_code;
}

}  // namespace

constexpr Command kFindLyricCommand = {
    "find-lyric",
    "SONG… [--folder FOLDER]… [--track N]",
    "Prints which lyric file would be shown for each song, one JSON object a line",
    "\n--folder names a folder to search, with what lies below it; several are searched in order. Without "
    "it\n"
    "each song's own folder is searched. --track chooses a track of a CUE sheet by its number.\n\n"
    "Members: file, artist and title (what is searched for: the tags, or what the file's name says), score\n"
    "(0 nothing, to 9 certain), lyric (the file that was found, or empty).\n",
    1,
    static_cast<size_t>(-1),
    kOptions,
    RunFindLyric};

}  // namespace melorin
