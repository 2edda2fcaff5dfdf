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
///   (paths)           play them in this order in the place of what was loaded; folders in name order
///   /add              append the paths to what is loaded; plays only when nothing is playing yet and /play
///   is given /play /pause      start or go on; pause, or go on when paused already /stop /next /prev
///   /volume=N         0 to 100
///   /seek=MS          position within the track in milliseconds
///   /device=NAME      waveout or dsound, from the next track on
///   /demo             play the built-in tune
///   /autoclose        end the program when the last track has played; exit code 2 when a track failed
///   /log=FILE         write one JSON object a line for every event (see EventLog); first instance only
///   /exit             end the running player
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
  std::optional<int> volume;
  std::optional<uint32_t> seek_ms;
  std::optional<Device> device;
  std::u16string log_path;
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
