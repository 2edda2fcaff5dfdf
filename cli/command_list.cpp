// SPDX-License-Identifier: MIT
//
// melorin-cli list: the entries of a list as JSON.
#include <string>

#include "cli/command_list_input.h"
#include "cli/commands.h"
#include "platform/json_writer.h"
#include "platform/text.h"

namespace melorin {
namespace {

constexpr OptionSpec kOptions[] = {{"--ignore-bad"}};

std::string EntryLine(const PlayListItem& item) {
  JsonWriter json;
  json.BeginObject().Key("path").String(Utf8FromGbk(item.PathGbk()));
  json.Key("title").String(Utf8FromGbk(item.TitleGbk()));
  json.Key("duration_ms").Number(item.DurationMs());
  json.Key("subtrack").Number(item.Subtrack());
  json.Key("codec").String(Utf8FromGbk(item.CodecGbk()));
  const StreamFormat& format = item.Format();
  json.Key("sample_rate").Number(format.sample_rate).Key("channels").Number(format.channels);
  json.Key("bits").Number(format.bits).Key("bitrate").Number(format.bit_rate);
  json.Key("time_stamp").Number(item.TimeStamp());
  json.Key("tags").BeginArray();
  const TagFields tags = item.Tags();
  for (size_t i = 0; i < tags.size(); ++i)
    json.BeginObject().Key("name").String(tags.name(i)).Key("value").String(tags.value(i)).EndObject();
  json.EndArray().EndObject();
  return json.Text() + "\n";
}

int RunList(const CommandContext& context, const Arguments& arguments) {
  SoundLibrary library;
  if (!context.StartSoundLibrary(library)) return kExitFailed;
  const auto list = Playlist::Create();
  const int exit_code =
      ReadListInput(context, library, arguments.operands[0], arguments.Has("--ignore-bad"), *list);
  library.Shutdown();
  for (const ItemRef& item : list->Items())
    context.console.Write(EntryLine(*item));
  return exit_code;
}

}  // namespace

constexpr Command kListCommand = {
    "list",
    "FILE [--ignore-bad]",
    "Prints one JSON object a line about each entry of a list",
    "\nFILE is a playlist (.m3u, .m3u8, .mzbl, .mzpl) or a CUE sheet. The sound files are not opened; what "
    "is\n"
    "printed is what the list says.\n\n"
    "Members: path, title, duration_ms (-2: not known), subtrack (0: the whole file), codec, sample_rate,\n"
    "channels, bits, bitrate (bit/s), time_stamp (of the file when it was read, 0: not read), tags (objects "
    "with\n"
    "name and value).\n\n"
    "--ignore-bad  leaves out entries whose file is not there\n",
    1,
    1,
    kOptions,
    RunList};

}  // namespace melorin
