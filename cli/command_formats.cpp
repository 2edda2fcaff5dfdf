// SPDX-License-Identifier: MIT
//
// melorin-cli formats: what the sound library can open and decode.
#include <algorithm>

#include "cli/commands.h"
#include "cli/result_text.h"
#include "platform/text.h"

namespace melorin {
namespace {

void PrintRecord(Console& console, std::string_view kind, std::string_view first, std::string_view second) {
  std::string line(kind);
  line.append("\t").append(first);
  if (!second.empty()) line.append("\t").append(second);
  line.append("\n");
  console.Write(line);
}

/// The open dialog's text is a run of pairs "label NUL patterns NUL", closed by one more NUL.
void PrintFilter(Console& console, std::string_view text_gbk) {
  const auto take = [&] {
    const size_t length = std::min(text_gbk.find('\0'), text_gbk.size());
    const std::string part = Utf8FromGbk(text_gbk.substr(0, length));
    text_gbk.remove_prefix(std::min(length + 1, text_gbk.size()));
    return part;
  };
  while (true) {
    const std::string label = take();
    if (label.empty()) return;
    PrintRecord(console, "filter", label, take());
  }
}

int RunFormats(const CommandContext& context, const Arguments&) {
  SoundLibrary library;
  if (!context.StartSoundLibrary(library)) return kExitFailed;
  const auto names = library.ReaderNames();
  const auto descriptions = library.ReaderDescriptions();
  for (size_t i = 0; i < names.size(); ++i) {
    const std::u16string description = i < descriptions.size() ? descriptions[i] : std::u16string();
    PrintRecord(context.console, "reader", Utf8FromUtf16(names[i]), Utf8FromUtf16(description));
  }
  for (const auto& name : library.DecoderNames())
    PrintRecord(context.console, "decoder", Utf8FromUtf16(name), {});
  for (const auto& name : library.OutputNames())
    PrintRecord(context.console, "output", Utf8FromUtf16(name), {});
  PrintFilter(context.console, library.OpenDialogFilter());
  int exit_code = kExitDone;
  for (const AddInFailure& failure : library.AddInFailures())
    exit_code = context.Fail(Utf8FromGbk(failure.file_gbk),
                             "the add-in cannot be used: " + ResultText(failure.result));
  library.Shutdown();
  return exit_code;
}

}  // namespace

constexpr Command kFormatsCommand = {
    "formats",
    "",
    "Lists readers, decoders and outputs in the order in which they are tried, and the open dialog's filter",
    "\nOne record a line, fields parted by tabs:\n"
    "  reader NAME [DESCRIPTION]   decoder NAME   output NAME   filter LABEL PATTERNS\n",
    0,
    0,
    {},
    RunFormats};

}  // namespace melorin
