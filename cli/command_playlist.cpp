// SPDX-License-Identifier: MIT
//
// melorin-cli playlist: converts a list from one form to another.
#include <string>

#include "cli/command_list_input.h"
#include "cli/commands.h"
#include "playlist/list_file.h"

namespace melorin {
namespace {

constexpr OptionSpec kOptions[] = {{"--relative"}, {"--ignore-bad"}, {"--no-tags"}};

int RunPlaylist(const CommandContext& context, const Arguments& arguments) {
  std::string error;
  const auto output = PathFromArgument(arguments.operands[1], &error);
  if (!output) return context.Fail(error);
  SoundLibrary library;
  if (!context.StartSoundLibrary(library)) return kExitFailed;
  const auto list = Playlist::Create();
  const int exit_code =
      ReadListInput(context, library, arguments.operands[0], arguments.Has("--ignore-bad"), *list);
  library.Shutdown();
  if (exit_code != kExitDone && list->IsEmpty()) return exit_code;
  ListFileOptions options;
  options.save_relative_path = arguments.Has("--relative");
  options.save_tags = !arguments.Has("--no-tags");
  if (!SavePlaylist(*list, *output, options)) return context.Fail(arguments.operands[1], "cannot be written");
  context.console.Write(std::to_string(list->Size()) + "\n");
  return exit_code;
}

}  // namespace

constexpr Command kPlaylistCommand = {
    "playlist",
    "IN OUT [--relative] [--ignore-bad] [--no-tags]",
    "Converts a list and prints the number of its entries",
    "\nThe forms go by the extensions: .m3u (GBK), .m3u8 (UTF-8), .mzbl (binary), anything else is the XML "
    "form of\n"
    ".mzpl. IN may also be a CUE sheet, and each of its tracks becomes an entry.\n\n"
    "--relative    writes entries below the folder of OUT without it (not in .mzbl)\n"
    "--ignore-bad  leaves out entries whose file is not there\n"
    "--no-tags     writes only path, title, duration and track of each entry\n\n"
    "A list that is damaged is converted as far as it can be read, with exit code 1.\n",
    2,
    2,
    kOptions,
    RunPlaylist};

}  // namespace melorin
