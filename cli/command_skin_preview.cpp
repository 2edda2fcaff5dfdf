// SPDX-License-Identifier: MIT
//
// melorin-cli skin-preview: a picture of a skin's windows.
#include <algorithm>
#include <array>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "cli/commands.h"
#include "cli/skin_input.h"
#include "platform/file.h"
#include "platform/text.h"
#include "skin/image_file.h"
#include "skin/skin_images.h"
#include "skin/skin_package.h"
#include "skin/skin_preview.h"
#include "skin/skin_reader.h"
#include "skin/text_painter.h"

namespace melorin {
namespace {

constexpr OptionSpec kOptions[] = {{"--scale", true}, {"--window", true}};

constexpr std::array<std::pair<std::string_view, SkinWindow>, 5> kWindows = {
    {{"player", SkinWindow::kPlayer},
     {"mini", SkinWindow::kMini},
     {"lyric", SkinWindow::kLyric},
     {"equalizer", SkinWindow::kEqualizer},
     {"playlist", SkinWindow::kPlaylist}}};

struct PreviewOptions {
  int32_t scale = 1;
  std::optional<SkinWindow> window;  ///< None: the sheet of all.
};

bool ReadOptions(const Arguments& arguments, PreviewOptions& options, std::string& error) {
  if (const std::string* scale = arguments.Value("--scale")) {
    if (*scale != "1" && *scale != "2") {
      error = "--scale takes 1 or 2";
      return false;
    }
    options.scale = (*scale)[0] - '0';
  }
  if (const std::string* name = arguments.Value("--window")) {
    const auto found = std::find_if(kWindows.begin(), kWindows.end(),
                                    [name](const auto& window) { return window.first == *name; });
    if (found == kWindows.end()) {
      error = "--window takes player, mini, lyric, equalizer or playlist";
      return false;
    }
    options.window = found->second;
  }
  return true;
}

int RunSkinPreview(const CommandContext& context, const Arguments& arguments) {
  const std::string& name = arguments.operands[0];
  PreviewOptions options;
  std::string error;
  if (!ReadOptions(arguments, options, error)) return context.FailUsage(error);
  const auto output = PathFromArgument(arguments.operands[1], &error);
  if (!output) return context.Fail(error);
  std::vector<uint8_t> description;
  const std::unique_ptr<SkinPackage> package = OpenSkin(context, name, &description);
  if (package == nullptr) return kExitFailed;
  SkinDescription skin;
  const SkinReadResult read = ReadSkinDescription(description, skin);
  if (read != SkinReadResult::kRead) return context.Fail(name, SkinFailureText(read));

  SkinImages images(*package, skin.transparent_colour, options.scale);
  const std::unique_ptr<TextPainter> text = CreateTextPainter();
  const Bitmap picture = options.window ? PreviewWindow(skin, *options.window, images, text.get())
                                        : PreviewSheet(skin, images, text.get());
  if (picture.IsEmpty()) return context.Fail(name, "the skin has no such window");
  std::vector<uint8_t> png;
  if (!EncodePng(picture, png) || !WriteFileSafely(*output, png))
    return context.Fail(arguments.operands[1], "cannot be written");
  int exit_code = kExitDone;
  for (const std::string& missing : images.Missing())
    exit_code = context.Fail(name, Utf8FromGbk(missing) + " cannot be read; the picture lacks it");
  return exit_code;
}

}  // namespace

constexpr Command kSkinPreviewCommand = {
    "skin-preview",
    "PACKAGE OUT.png [--window NAME] [--scale 2]",
    "Draws the windows of a skin as they look while a song plays",
    "\nPACKAGE is a folder, a .zip or .skn archive, or \"<DEFAULT_SKIN>\". Without --window all windows are "
    "on "
    "one\n"
    "sheet.\n\n"
    "--window NAME  player, mini, lyric, equalizer or playlist\n"
    "--scale 2      for screens of twice the resolution; takes the images whose names end in @2x\n\n"
    "Images that cannot be read have a line each on standard error, and the exit code is 1; the picture is "
    "drawn\n"
    "without them.\n",
    2,
    2,
    kOptions,
    RunSkinPreview};

}  // namespace melorin
