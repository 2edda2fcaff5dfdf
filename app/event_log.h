// SPDX-License-Identifier: MIT
//
// What the player does, as one JSON object a line in a UTF-8 file, for scripts and tests. Each line is
// written at once, so a reader may follow the file.
//
//   {"event":"crash_dump","file":…}               the newest one there is, of whatever session before
//   {"event":"started","window_ms":120}           the window is shown; ms since the process began
//   {"event":"lists","read":…,"count":…,"list":…,"entries":…}   the stored lists are there; the active one's
//                                                 name and size
//   {"event":"opened","file":…,"subtrack":…,"title":…,"artist":…,"codec":…,"duration_ms":…,"sample_rate":…,
//    "channels":…,"bits":…,"device":…,"index":…,"list":…}
//   {"event":"playing"|"paused"|"stopped","ms":…}
//   {"event":"delivered","block_ms":130,"device_ms":155}   after "playing" and a moment later: when the
//   device had
//                                                 taken the first block, and when it was set going; ms since
//                                                 the process began
//   {"event":"position","ms":…}                   about once a second while playing
//   {"event":"seek","ms":…}
//   {"event":"resumed","ms":…}                    goes on where the last session ended
//   {"event":"fading","file":…}                   that track was left and fades out
//   {"event":"ended"}                             the track has played to its end
//   {"event":"finished"}                          nothing follows by itself
//   {"event":"mode","mode":…}
//   {"event":"saved","settings":0|1,"lists":0|1}  1: written
//   {"event":"error","file":…,"text":…,"code":"0x80004005"}
//   {"event":"closed"}
//
// Every object has "at_ms" as well: ms since the process began.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "app/win_handle.h"
#include "platform/json_writer.h"

namespace melorin {

/// One object being put together.
class LogEntry {
 public:
  explicit LogEntry(std::string_view event);
  LogEntry& Add(std::string_view key, std::u16string_view text);
  LogEntry& Add(std::string_view key, uint32_t number);
  /// The whole object, without a line end.
  std::string Json() const { return json_.Text() + "}"; }

 private:
  JsonWriter json_;
};

/// Milliseconds since this process was started.
uint32_t ProcessAgeMs();

/// Does nothing until Open succeeded. Thread: the UI thread.
class EventLog {
 public:
  /// Truncates an existing file. False when it cannot be written.
  bool Open(const std::u16string& path);
  bool IsOpen() const { return static_cast<bool>(file_); }
  void Write(LogEntry entry);

 private:
  WinHandle file_;
};

}  // namespace melorin
