// SPDX-License-Identifier: MIT
//
// melorin-cli skin: what the player understands of a skin, and what its author should look at.
#include <cstdio>
#include <memory>
#include <vector>

#include "cli/commands.h"
#include "cli/skin_input.h"
#include "platform/json_writer.h"
#include "platform/text.h"
#include "skin/skin_check.h"
#include "skin/skin_elements.h"

namespace melorin {
namespace {

const char* KindName(SkinFinding::Kind kind) {
  switch (kind) {
    case SkinFinding::Kind::kMissing:
      return "missing";
    case SkinFinding::Kind::kInvalid:
      return "invalid";
    case SkinFinding::Kind::kUnknown:
      return "unknown";
    case SkinFinding::Kind::kPoor:
      break;
  }
  return "poor";
}

std::string AlignText(int32_t align) {
  constexpr const char* kHorizontal[] = {"", "left", "center", "right"};
  constexpr const char* kVertical[] = {"", "top", "vcenter", "bottom"};
  const std::string horizontal = kHorizontal[align & 3];
  const std::string vertical = kVertical[align >> 4 & 3];
  return horizontal + (horizontal.empty() || vertical.empty() ? "" : "+") + vertical;
}

/// Writes attributes as members of the object at hand, in the syntax of the file.
class JsonAttributes {
 public:
  explicit JsonAttributes(JsonWriter& json) : json_(json) {}
  void Rect(std::string_view name, const SkinRect& rect, SkinNeed) {
    json_.Key(name).BeginArray();
    for (const int32_t side : {rect.left, rect.top, rect.right, rect.bottom})
      json_.Number(side);
    json_.EndArray();
  }
  void Image(std::string_view name, const std::string& gbk, SkinNeed) { Text(name, gbk); }
  void Text(std::string_view name, const std::string& gbk) { json_.Key(name).String(Utf8FromGbk(gbk)); }
  void Align(std::string_view name, int32_t align) { json_.Key(name).String(AlignText(align)); }
  void Flag(std::string_view name, bool flag) { json_.Key(name).Bool(flag); }
  void Colour(std::string_view name, SkinColour colour) {
    char text[8] = "";
    if (colour != kNoColour)
      std::snprintf(text, sizeof text, "#%02x%02x%02x", static_cast<unsigned>(colour & 255),
                    static_cast<unsigned>(colour >> 8 & 255), static_cast<unsigned>(colour >> 16 & 255));
    json_.Key(name).String(text);
  }
  void Integer(std::string_view name, int32_t number) { json_.Key(name).Number(number); }

 private:
  JsonWriter& json_;
};

/// Writes elements into the array at hand.
class JsonElements {
 public:
  explicit JsonElements(JsonWriter& json) : json_(json) {}
  template <class Type>
  void Element(std::string_view name, const std::optional<Type>& slot, SkinNeed) {
    if (!slot) return;
    json_.BeginObject().Key("name").String(name);
    JsonAttributes attributes(json_);
    VisitSkinAttributes(*slot, attributes);
    json_.EndObject();
  }

 private:
  JsonWriter& json_;
};

void WriteWindows(const SkinDescription& skin, JsonWriter& json) {
  json.Key("windows").BeginObject();
  VisitSkinWindows(skin, [&json](std::string_view name, const auto& window, bool mini) {
    if (!window) return;
    json.Key(name).BeginObject();
    JsonAttributes attributes(json);
    VisitSkinAttributes(*window, attributes);
    json.Key("elements").BeginArray();
    JsonElements elements(json);
    VisitSkinElements(*window, mini, elements);
    json.EndArray().EndObject();
  });
  json.EndObject();
}

std::string SkinText(const std::string& name, bool loads, const SkinDescription& skin,
                     const std::vector<SkinFinding>& findings) {
  JsonWriter json;
  json.BeginObject().Key("package").String(name).Key("loads").Bool(loads);
  JsonAttributes attributes(json);
  VisitSkinAttributes(skin, attributes);
  WriteWindows(skin, json);
  json.Key("findings").BeginArray();
  for (const SkinFinding& finding : findings) {
    json.BeginObject().Key("kind").String(KindName(finding.kind));
    json.Key("path").String(finding.path).Key("text").String(finding.text).EndObject();
  }
  json.EndArray().EndObject();
  return json.Text() + "\n";
}

int RunSkin(const CommandContext& context, const Arguments& arguments) {
  const std::string& name = arguments.operands[0];
  std::vector<uint8_t> bytes;
  const std::unique_ptr<SkinPackage> package = OpenSkin(context, name, &bytes);
  if (package == nullptr) return kExitFailed;
  SkinDescription skin;
  std::vector<SkinFinding> findings;
  const SkinReadResult read = ReadSkinDescription(bytes, skin, &findings);
  const bool loads = read == SkinReadResult::kRead;
  if (loads) CheckSkin(skin, *package, &findings);
  context.console.Write(SkinText(name, loads, skin, findings));
  return loads ? kExitDone : context.Fail(name, SkinFailureText(read));
}

}  // namespace

constexpr Command kSkinCommand = {
    "skin",
    "PACKAGE",
    "Prints what the player understands of a skin, and what is amiss, as JSON",
    "\nPACKAGE is a folder, a .zip or .skn archive, or \"<DEFAULT_SKIN>\" for the built-in skin. Windows "
    "have "
    "their\nattributes and the list of their \"elements\", with the defaults of what the file does not say. "
    "\"findings\" are\nfor the skin's author; each has a \"kind\" (missing, invalid, unknown or poor), the "
    "\"path\" of the element or\n\"element@attribute\", and a \"text\". They do not change the exit code: 0 "
    "when the skin loads, 1 when it does\nnot, and then \"findings\" say why.\n",
    1,
    1,
    {},
    RunSkin};

}  // namespace melorin
