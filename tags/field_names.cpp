// SPDX-License-Identifier: MIT
//
// Field names of other formats and ours.
#include "tags/field_names.h"

#include "platform/text.h"

namespace melorin {

namespace {

struct Alias {
  std::string_view foreign;
  std::string_view field;
};

constexpr Alias kAliases[] = {
    {"Title", "Title"},
    {"Artist", "Artist"},
    {"Album", "Album"},
    {"Date", "Date"},
    {"Year", "Date"},
    {"Comment", "Comment"},
    {"Track", "Tracknumber"},
    {"Tracknumber", "Tracknumber"},
    {"Genre", "Genre"},
    {"Lyrics", "Lyrics"},
    {"Unsyncedlyrics", "Lyrics"},
    {"Unsynced lyrics", "Lyrics"},
    {"Subtitle", "Subtitle"},
    {"Copyright", "Copyright"},
    {"Composer", "Composer"},
    {"Orchestra", "Orchestra"},
    {"Conductor", "Conductor"},
    {"Publisher", "Publisher"},
    {"Label", "Publisher"},
    {"Encoder", "Encoder"},
    {"Encoded by", "Encoder"},
    {"EncodedBy", "Encoder"},
};

constexpr std::string_view kReplayGain = "replaygain_";

}  // namespace

std::string FieldName(std::string_view foreign) {
  for (const Alias& alias : kAliases)
    if (alias.foreign.size() == foreign.size() && EqualNoCaseUtf8(alias.foreign, foreign))
      return std::string(alias.field);
  std::string name(foreign);
  if (name.size() > kReplayGain.size() && EqualNoCaseUtf8(foreign.substr(0, kReplayGain.size()), kReplayGain))
    for (char& letter : name)
      if (letter >= 'A' && letter <= 'Z') letter = static_cast<char>(letter - 'A' + 'a');
  return name;
}

void AppendValue(std::string& joined, std::string_view value) {
  if (value.empty() || value == joined) return;
  if (!joined.empty()) joined += '/';
  joined += value;
}

}  // namespace melorin
