// SPDX-License-Identifier: MIT
//
// melorin-cli config: reads a settings file and writes it back.
#include "cli/commands.h"
#include "cli/result_text.h"
#include "doc/settings.h"
#include "doc/xml_document.h"

namespace melorin {
namespace {

constexpr OptionSpec kOptions[] = {{"--output", true}};

/// The whole file as Settings::Save writes it; empty when memory runs out.
std::string SettingsText(Settings& settings, std::string_view version) {
  XmlDocument document;
  document.LinkEndChild(NewXmlDeclaration("1.0", "UTF-8", "yes"));
  XmlElement* root = document.AddElement(Settings::kName);
  if (root == nullptr) return {};
  if (!version.empty() && !root->SetAttribute("version", version)) return {};
  XmlStringOutput out;
  if (!settings.Serialize(*root, true)) return {};
  document.Print(out, 0, true);
  return out.Failed() ? std::string() : out.Text();
}

int RunConfig(const CommandContext& context, const Arguments& arguments) {
  const std::string& name = arguments.operands[0];
  std::string error;
  const auto path = PathFromArgument(name, &error);
  if (!path) return context.Fail(error);
  if (const std::string why = ReadFailureText(*path); !why.empty()) return context.Fail(name, why);
  XmlDocument document;
  if (!document.LoadFile(*path, XmlDocument::kCodePageFromDeclaration))
    return context.Fail(name, "cannot be parsed; melorin-cli xml says why");
  const XmlElement* root = document.RootElement();
  Settings settings;
  if (root == nullptr || settings.Load(*path) != LoadResult::kLoaded)
    return context.Fail(name, "no settings file: the root element has another name");
  for (const std::string& line : NotUnderstood(*root))
    context.Fail(name, line);

  const std::string_view version = root->Attribute("version");
  if (const std::string* output = arguments.Value("--output")) {
    const auto output_path = PathFromArgument(*output, &error);
    if (!output_path) return context.Fail(error);
    if (!settings.Save(*output_path, version)) return context.Fail(*output, "cannot be written");
    return kExitDone;
  }
  const std::string text = SettingsText(settings, version);
  if (text.empty()) return context.Fail("out of memory");
  context.console.Write(text);
  return kExitDone;
}

}  // namespace

constexpr Command kConfigCommand = {
    "config",
    "FILE [--output FILE]",
    "Reads a settings file and writes it back, to standard output without --output",
    "\nThe root element must be \"melorin\" or \"melorin_config\". What the file lacks is written with its "
    "default.\nSections, keys and values that were not understood have a line each on standard error; they "
    "do "
    "not\nchange the exit code. The version attribute is kept.\n",
    1,
    1,
    kOptions,
    RunConfig};

}  // namespace melorin
