// SPDX-License-Identifier: MIT
//
// melorin-cli info: one JSON object a line about each sound file.
#include <memory>

#include "cli/commands.h"
#include "cli/result_text.h"
#include "platform/com_ptr.h"
#include "platform/json_writer.h"
#include "platform/text.h"
#include "sound/exports.h"
#include "tags/tag_scan.h"
#include "tags/tag_set.h"

namespace melorin {
namespace {

constexpr OptionSpec kOptions[] = {{"--scan"}, {"--track", true}};
constexpr uint32_t kShareDenyNone = STGM_SHARE_DENY_NONE;
constexpr uint32_t kFullScan = 1;

struct TaskMemoryDeleter {
  void operator()(void* memory) const { CoTaskMemFree(memory); }
};
template <class T>
using TaskMemory = std::unique_ptr<T, TaskMemoryDeleter>;

std::string TakeText(WideChar* text) {
  const TaskMemory<WideChar> owner(text);
  return text ? Utf8FromUtf16(AsChar16(text)) : std::string();
}

struct KindName {
  uint32_t flag;
  std::string_view name;
};
/// In the order in which the tags of a file are looked for.
constexpr KindName kKindNames[] = {
    {kTagId3v2, "ID3v2"}, {kTagApeV2, "APEv2"}, {kTagLyrics3v2, "Lyrics3v2"}, {kTagId3v1, "ID3v1"}};

HRESULT WriteSourceFacts(SoundSource& source, JsonWriter& json) {
  WideChar* codec = nullptr;
  // A format without a name is no failure.
  if (FAILED(source.GetCodecName(&codec))) codec = nullptr;
  json.Key("codec").String(TakeText(codec));
  uint32_t duration_ms = 0;
  HRESULT result = source.GetDuration(&duration_ms);
  if (FAILED(result)) return result;
  WAVEFORMATEX* format_memory = nullptr;
  result = source.GetFormat(&format_memory);
  if (FAILED(result)) return result;
  const TaskMemory<WAVEFORMATEX> format(format_memory);
  uint16_t bits = 0;
  result = source.GetBitsPerSample(&bits);
  if (FAILED(result)) return result;
  uint32_t bitrate = 0;
  result = source.GetBitrate(&bitrate);
  if (FAILED(result)) return result;
  json.Key("duration_ms").Number(duration_ms);
  json.Key("sample_rate").Number(format->nSamplesPerSec);
  json.Key("channels").Number(format->nChannels);
  json.Key("bits").Number(bits);
  json.Key("bitrate").Number(bitrate);
  return S_OK;
}

HRESULT WriteTags(SoundSource& source, JsonWriter& json) {
  ComPtr<TagSet> tags;
  uint32_t flags = 0;
  uint32_t count = 0;
  // A source without tags need not have the interface.
  if (SUCCEEDED(source.QueryInterface(kIidTagSet, tags.ReceiveVoid()))) {
    HRESULT result = tags->GetFlags(&flags);
    if (SUCCEEDED(result)) result = tags->GetCount(&count);
    if (FAILED(result)) return result;
  }
  json.Key("tag_flags").Number(flags).Key("tag_kinds").BeginArray();
  for (const KindName& kind : kKindNames)
    if ((flags & kind.flag) != 0) json.String(kind.name);
  json.EndArray().Key("tags").BeginArray();
  for (uint32_t i = 0; i < count; ++i) {
    WideChar* name = nullptr;
    WideChar* value = nullptr;
    const HRESULT result = tags->GetField(i, &name, &value);
    const std::string name_text = TakeText(name);
    const std::string value_text = TakeText(value);
    if (FAILED(result)) return result;
    json.BeginObject().Key("name").String(name_text).Key("value").String(value_text).EndObject();
  }
  json.EndArray();
  return S_OK;
}

/// The bytes between the leading and the trailing tags, of whatever kind.
HRESULT WriteAudioRange(const std::u16string& path, JsonWriter& json) {
  ComPtr<IStream> stream;
  HRESULT result = CreateStreamOnFile(AsWide(path.c_str()), STGM_READ | kShareDenyNone, stream.Receive());
  if (FAILED(result)) return result;
  ComPtr<TagSet> tags;
  TagScan scan;
  result = CreateTagContent(*stream, 0, tags.Receive(), &scan);
  if (FAILED(result)) return result;
  json.Key("audio_start").Number(scan.audio_start).Key("audio_end").Number(scan.audio_end);
  return S_OK;
}

HRESULT WriteInfo(const SoundLibrary& library, const std::string& path_gbk, const std::string& name,
                  uint32_t open_flags, JsonWriter& json) {
  const std::u16string path = Utf16FromGbk(path_gbk);
  ComPtr<SoundSource> source;
  size_t reader_index = 0;
  HRESULT result = library.OpenSource(AsWide(path.c_str()), open_flags, source.Receive(), &reader_index);
  if (SUCCEEDED(result) && !source) result = E_NOTIMPL;
  if (FAILED(result)) return result;
  const auto reader_names = library.ReaderNames();
  json.BeginObject().Key("file").String(name);
  json.Key("reader").String(reader_index < reader_names.size() ? Utf8FromUtf16(reader_names[reader_index])
                                                               : std::string());
  result = WriteSourceFacts(*source, json);
  if (SUCCEEDED(result)) result = WriteAudioRange(path, json);
  if (SUCCEEDED(result)) result = WriteTags(*source, json);
  json.EndObject();
  return result;
}

int RunInfo(const CommandContext& context, const Arguments& arguments) {
  std::string usage_error;
  const auto track_flags = TrackFlags(arguments, &usage_error);
  if (!track_flags) return context.FailUsage(usage_error);
  SoundLibrary library;
  if (!context.StartSoundLibrary(library)) return kExitFailed;
  const uint32_t open_flags = *track_flags | (arguments.Has("--scan") ? kFullScan : 0);
  int exit_code = kExitDone;
  for (const std::string& name : arguments.operands) {
    std::string error;
    const auto path = PathFromArgument(name, &error);
    if (!path) {
      exit_code = context.Fail(error);
      continue;
    }
    JsonWriter json;
    const HRESULT result = WriteInfo(library, *path, name, open_flags, json);
    if (FAILED(result))
      exit_code = context.Fail(name, OpenFailureText(library, *path, result));
    else
      context.console.Write(json.Text() + "\n");
  }
  library.Shutdown();
  return exit_code;
}

}  // namespace

constexpr Command kInfoCommand = {
    "info",
    "FILE… [--scan] [--track N]",
    "Prints one JSON object a line about each sound file",
    "\n--scan looks at every frame of an MPEG file, which makes the duration of a file with a varying bit "
    "rate and\n"
    "without a header for it exact.\n"
    "--track chooses a track of a CUE sheet by its number; without it the first one is shown. audio_start "
    "and\n"
    "audio_end are then those of the sheet itself.\n\n"
    "Members: file, reader, codec, duration_ms, sample_rate, channels, bits (of the decoded samples), "
    "bitrate\n"
    "(bit/s), audio_start and audio_end (bytes between the tags of any kind), tag_flags (a sum: 8 ID3v2, 4 "
    "APEv2,\n"
    "2 Lyrics3v2, 1 ID3v1), tag_kinds (the same by name), tags (objects with name and value, in the file's "
    "order;\n"
    "a name may occur more than once).\n\n"
    "A file that cannot be opened has its line on standard error and does not stop the others.\n",
    1,
    static_cast<size_t>(-1),
    kOptions,
    RunInfo};

}  // namespace melorin
