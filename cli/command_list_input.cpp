// SPDX-License-Identifier: MIT
#include "cli/command_list_input.h"

#include "cli/result_text.h"
#include "playlist/list_file.h"
#include "playlist/list_paths.h"
#include "playlist/list_reading.h"

namespace melorin {

int ReadListInput(const CommandContext& context, const SoundLibrary& library, const std::string& name,
                  bool ignore_bad_files, Playlist& list) {
  std::string error;
  auto path = PathFromArgument(name, &error);
  if (!path) return context.Fail(error);
  if (const std::string why = ReadFailureText(*path); !why.empty()) return context.Fail(name, why);
  ListFileOptions options;
  options.ignore_bad_files = ignore_bad_files;
  options.read_sheet = [&library](const std::string& sheet) { return ReadSheetTracks(library, sheet); };
  if (!IsPlaylistFile(*path) && HasExtension(*path, "cue")) {
    if (!AddPath(list, *path, options)) return context.Fail(name, "the sheet has no tracks");
    return kExitDone;
  }
  const ListReadResult result = ReadListFile(list, *path, options, false);
  if (!result.recognised) return context.Fail(name, "no list, or one of a version that is not known");
  if (!result.complete)
    return context.Fail(name, "damaged: only " + std::to_string(result.entries) + " entries could be read");
  return kExitDone;
}

}  // namespace melorin
