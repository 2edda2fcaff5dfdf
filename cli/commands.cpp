// SPDX-License-Identifier: MIT
//
// The table of commands, help, and the dispatch from a command line to a command.
#include "cli/commands.h"

#include <algorithm>
#include <iterator>
#include <new>

#include "cli/result_text.h"

namespace melorin {
namespace {

const Command* const kCommands[] = {&kInfoCommand,       &kDecodeCommand,    &kFormatsCommand,  &kXmlCommand,
                                    &kConfigCommand,     &kTitleCommand,     &kPlaylistCommand, &kListCommand,
                                    &kLyricCommand,      &kFindLyricCommand, &kDevicesCommand,  &kSkinCommand,
                                    &kSkinPreviewCommand};

std::string UsageLine(const Command& command) {
  std::string line = "melorin-cli " + std::string(command.name);
  if (!command.usage.empty()) line.append(" ").append(command.usage);
  return line;
}

/// The same in one line.
std::string ShortUsage(const Command& command) {
  std::string line = UsageLine(command);
  for (size_t end; (end = line.find('\n')) != std::string::npos;)
    line.replace(end, line.find_first_not_of("\n ", end) - end, " ");
  return "usage: " + line;
}

std::string HelpText() {
  std::string text =
      "melorin-cli: the core of the Melorin player without its window.\n\n"
      "Usage: melorin-cli COMMAND …\n\n";
  for (const Command* command : kCommands)
    text.append("  ")
        .append(UsageLine(*command).substr(12))
        .append("\n      ")
        .append(command->summary)
        .append("\n");
  text.append(
      "\n  melorin-cli COMMAND --help   says more about one command\n"
      "  melorin-cli --version\n\n"
      "Exit code: 0 done; 1 something failed, with one line for each failure on standard error; 2 wrong "
      "usage.\n"
      "Results, messages and file names are UTF-8.\n");
  return text;
}

int Print(const CommandContext& context, std::string_view text) {
  context.console.Write(text);
  return context.Finish(kExitDone);
}

int RunCommand(const CommandContext& context, const Command& command, std::span<const std::string> rest) {
  const auto options_end = std::find(rest.begin(), rest.end(), "--");
  if (std::find(rest.begin(), options_end, "--help") != options_end) {
    return Print(context, "Usage: " + UsageLine(command) + "\n\n" + std::string(command.summary) + "\n" +
                              std::string(command.details));
  }
  Arguments arguments;
  std::string error;
  if (!ParseArguments(rest, command.options, &arguments, &error)) return context.FailUsage(error);
  if (arguments.operands.size() < command.min_operands) return context.FailUsage(ShortUsage(command));
  if (arguments.operands.size() > command.max_operands)
    return context.FailUsage("one argument too many: " + arguments.operands[command.max_operands] + "; " +
                             ShortUsage(command));
  return context.Finish(command.run(context, arguments));
}

}  // namespace

int CommandContext::Fail(std::string_view what_utf8) const {
  console.Message("melorin-cli: " + PrintableLine(what_utf8));
  return kExitFailed;
}

int CommandContext::Fail(std::string_view where_utf8, std::string_view what_utf8) const {
  return Fail(std::string(where_utf8) + ": " + std::string(what_utf8));
}

int CommandContext::FailUsage(std::string_view what_utf8) const {
  Fail(what_utf8);
  return kExitUsage;
}

bool CommandContext::StartSoundLibrary(SoundLibrary& library) const {
  const HRESULT result = library.Start(add_in_folder_gbk);
  if (FAILED(result)) Fail("the sound library cannot be started: " + ResultText(result));
  return SUCCEEDED(result);
}

int CommandContext::Finish(int exit_code) const {
  if (console.Flush()) return exit_code;
  return Fail("standard output", "not everything could be written");
}

int RunCommandLine(const CommandContext& context, std::span<const std::string> arguments) try {
  if (arguments.empty()) return context.FailUsage("which command? melorin-cli --help lists them");
  const std::string& name = arguments[0];
  if (name == "--help" || name == "-h" || name == "help") return Print(context, HelpText());
  if (name == "--version") return Print(context, "melorin-cli " MELORIN_VERSION "\n");
  const auto command = std::find_if(std::begin(kCommands), std::end(kCommands),
                                    [&](const Command* candidate) { return candidate->name == name; });
  if (command == std::end(kCommands))
    return context.FailUsage("unknown command " + name + "; melorin-cli --help lists them");
  return RunCommand(context, **command, arguments.subspan(1));
} catch (const std::bad_alloc&) {
  context.console.Message("melorin-cli: out of memory");
  return kExitFailed;
}

}  // namespace melorin
