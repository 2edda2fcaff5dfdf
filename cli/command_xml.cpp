// SPDX-License-Identifier: MIT
//
// melorin-cli xml: parses a document and prints what was understood.
#include <vector>

#include "cli/commands.h"
#include "cli/result_text.h"
#include "doc/xml_document.h"
#include "doc/xml_error_text.h"

namespace melorin {
namespace {

constexpr OptionSpec kOptions[] = {{"--compact"}};

class ConsoleOutput final : public XmlOutput {
 public:
  explicit ConsoleOutput(Console& console) : console_(console) {}
  bool PutChar(char c) override { return console_.Write({&c, 1}); }
  bool Write(const char* text, ptrdiff_t length) override {
    return console_.Write(length < 0 ? std::string_view(text)
                                     : std::string_view(text, static_cast<size_t>(length)));
  }

 private:
  Console& console_;
};

/// Keeps the path of elements that are open, which after a failure says where it happened.
class OpenElements final : public XmlParseObserver {
 public:
  void OnElementStart(std::string_view name, XmlElement&) override { names_.emplace_back(name); }
  void OnElementEnd(std::string_view) override { names_.pop_back(); }
  std::string Path() const {
    std::string path;
    for (const std::string& name : names_)
      path.append("/").append(name);
    return path;
  }

 private:
  std::vector<std::string> names_;
};

int RunXml(const CommandContext& context, const Arguments& arguments) {
  const std::string& name = arguments.operands[0];
  std::string error;
  const auto path = PathFromArgument(name, &error);
  if (!path) return context.Fail(error);
  XmlDocument document;
  OpenElements open_elements;
  document.SetObserver(&open_elements);
  if (!document.LoadFile(*path, XmlDocument::kCodePageFromDeclaration)) {
    const XmlError code = document.Error();
    std::string what = code == XmlError::kOpenFile ? ReadFailureText(*path) : std::string();
    if (what.empty()) what = XmlErrorText(code);
    if (const std::string where = open_elements.Path(); !where.empty()) what += ", inside " + where;
    return context.Fail(name, what + " (error " + std::to_string(static_cast<int>(code)) + ")");
  }
  ConsoleOutput output(context.console);
  if (arguments.Has("--compact"))
    document.Stream(output);
  else
    document.Print(output, 0, false);
  return kExitDone;
}

}  // namespace

constexpr Command kXmlCommand = {"xml",
                                 "FILE [--compact]",
                                 "Parses an XML file and prints it in UTF-8",
                                 "\nThe encoding is taken from the declaration: UTF-8, GB2312, anything else "
                                 "is code page 936. The output is\n"
                                 "indented, with CR LF line ends, as the player writes its files; --compact "
                                 "prints it without line breaks.\n",
                                 1,
                                 1,
                                 kOptions,
                                 RunXml};

}  // namespace melorin
