// SPDX-License-Identifier: MIT
//
// melorin-cli lyric: what a lyric file, or the lyrics in the tags of a sound file, hold.
#include <limits>
#include <optional>

#include "cli/commands.h"
#include "cli/result_text.h"
#include "lyrics/lyric_file.h"
#include "lyrics/lyric_tags.h"
#include "platform/file.h"
#include "platform/json_writer.h"
#include "platform/text.h"
#include "playlist/item_info.h"

namespace melorin {
namespace {

constexpr OptionSpec kOptions[] = {{"--at", true}, {"--write", true}, {"--merge"}};
/// Progress is told in thousandths of the line.
constexpr int32_t kExtent = 1000;

struct Lyric {
  LyricDoc doc;
  std::string_view encoding;  ///< Empty for lyrics from tags.
  LyricEncoding file_encoding = LyricEncoding::kGbk;
};

std::string_view EncodingName(LyricEncoding encoding) {
  switch (encoding) {
    case LyricEncoding::kUtf8:
      return "UTF-8";
    case LyricEncoding::kUtf8Mark:
      return "UTF-8 with mark";
    case LyricEncoding::kUtf16LittleEndian:
      return "UTF-16LE";
    case LyricEncoding::kUtf16BigEndian:
      return "UTF-16BE";
    case LyricEncoding::kGbk:
      break;
  }
  return "GBK";
}

bool IsLyricFile(const std::string& path_gbk) {
  const std::string_view extension = PathExtension(path_gbk);
  return EqualNoCaseGbk(extension, "lrc") || EqualNoCaseGbk(extension, "txt");
}

/// False after a message.
bool ReadFromFile(const CommandContext& context, const std::string& name, const std::string& path_gbk,
                  Lyric& lyric) {
  MappedFile file;
  if (!file.Open(path_gbk)) {
    context.Fail(name, "cannot be opened");
    return false;
  }
  if (file.Bytes().size() > kLargestLyricBytes) {
    context.Fail(name, "too large for a lyric");
    return false;
  }
  ParseLyricBytes(lyric.doc, file.Bytes(), {}, &lyric.file_encoding);
  lyric.encoding = EncodingName(lyric.file_encoding);
  return true;
}

bool ReadFromTags(const CommandContext& context, const std::string& name, const std::string& path_gbk,
                  Lyric& lyric) {
  SoundLibrary library;
  if (!context.StartSoundLibrary(library)) return false;
  ItemInfo info;
  const HRESULT result = ReadItemInfo(library, path_gbk, 0, &info);
  if (FAILED(result)) context.Fail(name, OpenFailureText(library, path_gbk, result));
  library.Shutdown();
  if (FAILED(result)) return false;
  LyricFromTags(lyric.doc, info.tags);
  return true;
}

void WritePosition(const LyricPosition& position, JsonWriter& json) {
  json.Key("position").BeginObject();
  json.Key("index").Number(static_cast<int64_t>(position.index));
  json.Key("start_ms").Number(position.start_ms).Key("end_ms").Number(position.end_ms);
  json.Key("progress").Number(position.progress).EndObject();
}

std::string Json(const std::string& name, const Lyric& lyric, std::optional<int32_t> at_ms) {
  JsonWriter json;
  const LyricDoc& doc = lyric.doc;
  json.BeginObject().Key("file").String(name);
  if (!lyric.encoding.empty()) json.Key("encoding").String(lyric.encoding);
  json.Key("title").String(Utf8FromGbk(doc.title_gbk)).Key("artist").String(Utf8FromGbk(doc.artist_gbk));
  json.Key("album").String(Utf8FromGbk(doc.album_gbk)).Key("by").String(Utf8FromGbk(doc.by_gbk));
  json.Key("plain_text").String(Utf8FromGbk(doc.plain_text_gbk));
  json.Key("lines").BeginArray();
  for (const LyricLine& line : doc.Lines())
    json.BeginObject()
        .Key("time_ms")
        .Number(line.time_ms)
        .Key("text")
        .String(Utf8FromGbk(line.text_gbk))
        .EndObject();
  json.EndArray();
  if (at_ms)
    if (const auto position = doc.LineAtTime(*at_ms, kExtent, 0)) WritePosition(*position, json);
  json.EndObject();
  return json.Text();
}

int RunLyric(const CommandContext& context, const Arguments& arguments) {
  std::optional<int32_t> at_ms;
  if (const std::string* at = arguments.Value("--at")) {
    const auto number = ParseNumber(*at);
    if (!number || *number > static_cast<uint32_t>(std::numeric_limits<int32_t>::max()))
      return context.FailUsage("--at takes milliseconds");
    at_ms = static_cast<int32_t>(*number);
  }
  const std::string* const out = arguments.Value("--write");
  if (!out && arguments.Has("--merge")) return context.FailUsage("--merge goes with --write");
  const std::string& name = arguments.operands[0];
  std::string error;
  const auto path = PathFromArgument(name, &error);
  if (!path) return context.Fail(error);
  Lyric lyric;
  const auto read = IsLyricFile(*path) ? ReadFromFile : ReadFromTags;
  if (!read(context, name, FullPath(*path), lyric)) return kExitFailed;
  if (out) {
    const auto out_path = PathFromArgument(*out, &error);
    if (!out_path) return context.Fail(error);
    if (!SaveLyricFile(lyric.doc, *out_path, arguments.Has("--merge"), lyric.file_encoding))
      return context.Fail(*out, "cannot be written");
  }
  context.console.Write(Json(name, lyric, at_ms) + "\n");
  return kExitDone;
}

}  // namespace

constexpr Command kLyricCommand = {
    "lyric",
    "FILE [--at MS] [--write OUT [--merge]]",
    "Prints the lyric in a file, or in a sound file's tags, as JSON",
    "\nFILE is a lyric file when its name ends in .lrc or .txt, else a sound file.\n"
    "--at adds the position of a playback time: the line's index (the number of lines: none is lit), its "
    "start "
    "and\nend, and its progress in thousandths.\n"
    "--write writes the lyric as LRC text in the file's encoding, GBK for that of tags; --merge gives lines "
    "of "
    "the\nsame text one line with several times.\n\n"
    "Members: file, encoding (of a lyric file), title, artist, album, by, plain_text (the lines without a "
    "tag), lines\n(objects with time_ms and text, by time), position (index, start_ms, end_ms, progress).\n",
    1,
    1,
    kOptions,
    RunLyric};

}  // namespace melorin
