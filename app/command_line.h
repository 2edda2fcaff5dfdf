// SPDX-License-Identifier: MIT
//
// The command line as the player understands it: paths to play and switches. Parsing and formatting only;
// nothing here looks at files except FullArguments, which resolves names against the current folder.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace melorin {

/// melorin.exe [switches] [files and folders]
///
///   (paths)           put into the list and play, in this order; folders in name order; playlists, sheets
///                     and shortcuts stand for their entries. What the list holds already is played where it
///                     is.
///   /add              append the paths to the list; what plays goes on
///   /list=NAME        of the list of that name, made when there is none; else see PlayerJobs
///   /play /pause      start or go on; pause, or go on when paused; nothing when stopped
///   /stop /next /prev "/play /next" to a player that has not played yet begins with the second entry
///   /mode=N           play mode: 0 single, 1 repeat one, 2 in order, 3 repeat all, 4 random
///   /volume=N         0 to 100
///   /seek=MS          position within the track in milliseconds
///   /device=NAME      waveout or dsound, from the next track on
///   /demo             play the built-in tune
///   /autoclose        play the list once, in order unless /mode says else, then end the program; exit code 2
///                     when a track failed
///   /log=FILE         write one JSON object a line for every event (see EventLog); first instance only
///   /data=FOLDER      keep settings and lists there; first instance only
///   /exit             end the running player
///   /status           print what the running player does as one line of JSON (see status_report.h) to
///                     standard output and leave with 1, as whoever hands a command line over; without a
///                     player say so, and start none
///
/// Switches may begin with '-' and are read without case. Given to a second instance, all of them act on the
/// running player. A text that begins with '/' and is no known switch is a path when it holds a further '/',
/// '\' or '.'.
struct CommandLine {
  enum class Device { kWaveOut, kDirectSound };

  std::vector<std::u16string> paths;
  bool add = false;
  bool play = false;
  bool pause = false;
  bool stop = false;
  bool next = false;
  bool previous = false;
  bool exit = false;
  bool demo = false;
  bool auto_close = false;
  bool status = false;
  /// Not a command line but files dropped on a window: the settings about command lines do not apply.
  bool dropped = false;
  std::optional<int> mode;
  std::optional<int> volume;
  std::optional<uint32_t> seek_ms;
  std::optional<Device> device;
  std::u16string list_name;
  std::u16string log_path;
  std::u16string data_folder;
  /// Switches that were not understood, in the user's language; the rest is carried out.
  std::vector<std::u16string> problems;
};

/// Arguments without the program's name.
CommandLine ParseArguments(const std::vector<std::u16string>& arguments);

/// Splits the text of a command line by the platform's rules; `with_program`: its first word is the program's
/// name and is left out.
std::vector<std::u16string> SplitCommandLine(const std::u16string& text, bool with_program);

/// The inverse of SplitCommandLine(…, false): quotes what needs it.
std::u16string JoinArguments(const std::vector<std::u16string>& arguments);

/// Paths made absolute against the current folder, switches unchanged: what a second instance hands over,
/// since the first may run in another folder.
std::vector<std::u16string> FullArguments(const std::vector<std::u16string>& arguments);

}  // namespace melorin
