// SPDX-License-Identifier: MIT
#include "app/status_report.h"

#include <string_view>

#include "platform/json_writer.h"
#include "platform/text.h"
#include "ui/short_text.h"

namespace melorin {
namespace {

// UTF-16 units. An answer has a fixed room (see InstanceBlock), and names come from files.
constexpr size_t kLongestName = 200;
constexpr size_t kLongestTitle = 1000;
constexpr size_t kRoomForLists = 20000;

std::string_view StateName(ShownState state) {
  switch (state) {
    case ShownState::kPlaying:
      return "playing";
    case ShownState::kPaused:
      return "paused";
    case ShownState::kStopped:
      break;
  }
  return "stopped";
}

}  // namespace

std::string FormatStatus(const PlayerStatusReport& report) {
  JsonWriter json;
  const auto text = [&](std::string_view key, std::u16string_view value) {
    json.Key(key).String(Utf8FromUtf16(value));
  };
  const auto number = [&](std::string_view key, int64_t value) { json.Key(key).Number(value); };
  json.BeginObject().Key("state").String(StateName(report.state));
  text("list", ShortText(report.list, kLongestName));
  json.Key("index");
  if (report.index) {
    json.Number(static_cast<int64_t>(*report.index));
  } else {
    json.Null();
  }
  text("file", report.file);
  text("title", ShortText(report.title, kLongestTitle));
  number("position_ms", report.position_ms);
  number("duration_ms", report.duration_ms);
  number("volume", report.volume);
  json.Key("mute").Bool(report.mute);
  text("lyric", ShortText(report.lyric, kLongestTitle));
  json.Key("windows").BeginArray();
  for (const std::string& window : report.windows)
    json.String(window);
  json.EndArray().Key("lists").BeginArray();
  size_t room = kRoomForLists;
  for (const std::u16string& list : report.lists) {
    const std::u16string name = ShortText(list, kLongestName);
    if (name.size() > room) break;
    room -= name.size();
    json.String(Utf8FromUtf16(name));
  }
  json.EndArray();
  number("entries", static_cast<int64_t>(report.entries));
  number("mode", report.mode);
  text("skin", report.skin);
  return json.EndObject().Text();
}

std::string FormatNotRunning() {
  return JsonWriter().BeginObject().Key("state").String("not_running").EndObject().Text();
}

}  // namespace melorin
