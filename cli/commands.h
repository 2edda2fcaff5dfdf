// SPDX-License-Identifier: MIT
//
// The commands of melorin-cli and the table that names them. A command gets its arguments sorted and the
// number of its operands checked; it writes to the console and returns the program's exit code.
#pragma once

#include <span>
#include <string>
#include <string_view>

#include "cli/arguments.h"
#include "cli/console.h"
#include "sound/sound_library.h"

namespace melorin {

inline constexpr int kExitDone = 0;
inline constexpr int kExitFailed =
    1;  ///< Something was wrong with a file; each has its line on standard error.
inline constexpr int kExitUsage = 2;  ///< The command line itself was wrong; nothing was done.

/// What a command works with.
struct CommandContext {
  Console& console;
  std::string add_in_folder_gbk;

  /// One line on standard error, with the program's name in front; returns kExitFailed.
  int Fail(std::string_view what_utf8) const;
  /// The same about a file or stream.
  int Fail(std::string_view where_utf8, std::string_view what_utf8) const;
  /// A line about the command line; returns kExitUsage.
  int FailUsage(std::string_view what_utf8) const;
  /// Starts the library with what is in the add-in folder; false after a message.
  bool StartSoundLibrary(SoundLibrary& library) const;
  /// Flushes standard output; a failure there turns `exit_code` into kExitFailed, with a message.
  int Finish(int exit_code) const;
};

struct Command {
  std::string_view name;
  std::string_view usage;    ///< Behind the name: "FILE [--compact]".
  std::string_view summary;  ///< One line for the list of commands.
  std::string_view details;  ///< What "NAME --help" adds.
  size_t min_operands;
  size_t max_operands;
  std::span<const OptionSpec> options;
  int (*run)(const CommandContext& context, const Arguments& arguments);
};

extern const Command kFormatsCommand;
extern const Command kInfoCommand;
extern const Command kDecodeCommand;
extern const Command kXmlCommand;
extern const Command kConfigCommand;
extern const Command kTitleCommand;
extern const Command kPlaylistCommand;
extern const Command kListCommand;
extern const Command kLyricCommand;
extern const Command kDevicesCommand;
extern const Command kFindLyricCommand;
extern const Command kSkinCommand;
extern const Command kSkinPreviewCommand;

/// Runs the command that `arguments` (without the program's name, UTF-8) asks for. Nothing is thrown.
int RunCommandLine(const CommandContext& context, std::span<const std::string> arguments);

}  // namespace melorin
