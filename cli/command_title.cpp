// SPDX-License-Identifier: MIT
//
// melorin-cli title: what a title pattern makes of sound files.
#include "cli/commands.h"
#include "cli/result_text.h"
#include "platform/file.h"
#include "platform/text.h"
#include "playlist/item_info.h"
#include "playlist/title_format.h"

namespace melorin {
namespace {

constexpr OptionSpec kOptions[] = {{"--count"}};

HRESULT PrintTitle(const CommandContext& context, const SoundLibrary& library, const std::string& path_gbk,
                   std::u16string_view pattern, bool with_count) {
  ItemInfo info;
  const HRESULT result = ReadItemInfo(library, path_gbk, 0, &info);
  if (FAILED(result)) return result;
  const ItemRef item = ItemCache::Obtain(path_gbk, {}, kUnknownDuration, 0);
  ApplyItemInfo(*item, info);
  const FormattedTitle title = FormatTitle(pattern, *item);
  std::string line = PrintableLine(Utf8FromUtf16(title.text));
  if (with_count) line = std::to_string(title.found) + "\t" + line;
  context.console.Write(line + "\n");
  return result;
}

int RunTitle(const CommandContext& context, const Arguments& arguments) {
  if (!IsValidUtf8(arguments.operands[0])) return context.FailUsage("the pattern is no UTF-8");
  const std::u16string pattern = Utf16FromUtf8(arguments.operands[0]);
  SoundLibrary library;
  if (!context.StartSoundLibrary(library)) return kExitFailed;
  int exit_code = kExitDone;
  for (size_t i = 1; i < arguments.operands.size(); ++i) {
    const std::string& name = arguments.operands[i];
    std::string error;
    const auto path = PathFromArgument(name, &error);
    if (!path) {
      exit_code = context.Fail(error);
      continue;
    }
    const std::string full_path = FullPath(*path);
    const HRESULT result = PrintTitle(context, library, full_path, pattern, arguments.Has("--count"));
    if (FAILED(result)) exit_code = context.Fail(name, OpenFailureText(library, full_path, result));
  }
  library.Shutdown();
  return exit_code;
}

}  // namespace

constexpr Command kTitleCommand = {
    "title",
    "PATTERN FILE… [--count]",
    "Prints what a title pattern makes of each file",
    "\nPlaceholders: %(Name) a tag by its name; %A artist, %T title, %L album, %G genre, %I track number, %Y "
    "date,\n%D comment, %F file name, %E extension, %P path, %C codec, %% a percent sign. What a file does "
    "not "
    "have\nhas a default in its place.\n\n--count puts the number of placeholders that had a value in front, "
    "with a tab. Control characters in tags are\nprinted as \"?\", so that each file has one line.\n",
    2,
    static_cast<size_t>(-1),
    kOptions,
    RunTitle};

}  // namespace melorin
