// SPDX-License-Identifier: MIT
#include "skin/skin_reader.h"

#include <algorithm>
#include <array>
#include <optional>
#include <string_view>
#include <utility>

#include "doc/xml_document.h"
#include "doc/xml_error_text.h"
#include "platform/text.h"
#include "skin/skin_elements.h"
#include "skin/skin_findings.h"
#include "skin/skin_values.h"

namespace melorin {

namespace {

using Kind = SkinFinding::Kind;

constexpr std::string_view kMailto = "mailto:";
constexpr std::string_view kUtf8Mark = "\xEF\xBB\xBF";

std::string_view Article(std::string_view name) {
  return name.find_first_of("aeiou") == 0 ? "an " : "a ";
}

/// `known_as`: how it must be written, empty when nothing is known of it.
std::string UnknownText(std::string_view what, std::string_view known_as) {
  std::string text = "The player does not know this " + std::string(what) + " here";
  if (!known_as.empty()) text += ", only " + QuotedText(known_as) + " in small letters";
  return text + ".";
}

/// Takes the attributes of one element into its fields. Every attribute that is asked for is remembered, so
/// that Finish can go through the element in the order of the file.
class AttributeReader {
 public:
  AttributeReader(const XmlElement& element, const std::string& path, SkinFindings& findings)
      : element_(element), path_(path), findings_(findings) {}

  void Rect(std::string_view name, SkinRect& out, SkinNeed need) {
    const auto [asked, text] = Ask(name);
    const SkinValue value = ParseSkinRect(text, out);
    if (value == SkinValue::kInvalid)
      Complain(*asked, " needs four numbers: left,top,right,bottom.");
    else if (value == SkinValue::kTaken && out.IsEmpty())
      Complain(*asked, " is an empty rectangle: right must be greater than left, and bottom than top.");
    if (value == SkinValue::kMissing && need == SkinNeed::kNeeded)
      asked->missing = "needs four numbers of pixels: left,top,right,bottom.";
  }
  void Image(std::string_view name, std::string& out_gbk, SkinNeed need) {
    const auto [asked, text] = Ask(name);
    TakeText(*asked, text, out_gbk);
    if (text.empty() && need == SkinNeed::kNeeded)
      asked->missing = "needs the name of a bitmap in the package; without one nothing is drawn here.";
  }
  void Text(std::string_view name, std::string& out_gbk) {
    const auto [asked, text] = Ask(name);
    TakeText(*asked, text, out_gbk);
  }
  void Align(std::string_view name, int32_t& out) {
    const auto [asked, text] = Ask(name);
    // An attribute that is not there is not an empty one.
    if (asked->attribute == nullptr) return;
    if (ParseSkinAlign(text, out) == SkinValue::kInvalid)
      Complain(*asked,
               " needs left, center or right, then top, vcenter or bottom, or one of each with \"+\" and no "
               "space between them.");
  }
  void Flag(std::string_view name, bool& out) {
    const auto [asked, text] = Ask(name);
    if (ParseSkinFlag(text, out) == SkinValue::kInvalid)
      Complain(*asked, " needs true or false; anything else is false.");
  }
  void Colour(std::string_view name, SkinColour& out) {
    const auto [asked, text] = Ask(name);
    if (ParseSkinColour(text, out) == SkinValue::kInvalid)
      Complain(*asked, " needs a colour as #rrggbb, in hexadecimal.");
  }
  void Integer(std::string_view name, int32_t& out) {
    const auto [asked, text] = Ask(name);
    if (ParseSkinInteger(text, out) == SkinValue::kInvalid) Complain(*asked, " needs a number.");
  }

  void Finish() {
    if (!findings_.Wanted()) return;
    for (const XmlAttribute* attribute = element_.FirstAttribute();
         attribute != nullptr && findings_.Wanted(); attribute = element_.NextAttribute(*attribute)) {
      const std::string path = path_ + "@" + ShownText(attribute->Name());
      const Asked* asked = Find(attribute->Name());
      if (asked == nullptr)
        findings_.Add(Kind::kUnknown, path, UnknownText("attribute", SmallName(attribute->Name())));
      else if (asked->attribute != attribute)
        findings_.Add(Kind::kUnknown, path, "The element already has this attribute; the first counts.");
      else if (asked->complaint != nullptr)
        findings_.Add(Kind::kInvalid, path, QuotedText(attribute->Value()) + asked->complaint);
    }
    for (size_t i = 0; i < count_; ++i)
      if (asked_[i].missing != nullptr)
        findings_.Add(Kind::kMissing, path_ + "@" + std::string(asked_[i].name),
                      "The attribute " + std::string(asked_[i].name) + " " + asked_[i].missing);
  }

 private:
  struct Asked {
    std::string_view name;
    const XmlAttribute* attribute;
    const char* complaint;
    const char* missing;
  };
  static constexpr size_t kMostAttributes = 8;

  std::pair<Asked*, std::string_view> Ask(std::string_view name) {
    Asked& asked = asked_.at(count_++);
    asked = {name, element_.FindAttribute(name), nullptr, nullptr};
    return {&asked, asked.attribute == nullptr ? std::string_view() : asked.attribute->Value()};
  }
  const Asked* Find(std::string_view name) const {
    const auto end = asked_.begin() + static_cast<ptrdiff_t>(count_);
    const auto found = std::find_if(asked_.begin(), end, [name](const Asked& a) { return a.name == name; });
    return found == end ? nullptr : &*found;
  }
  /// A name that is this one but for its case; empty when there is none.
  std::string_view SmallName(std::string_view name) const {
    for (size_t i = 0; i < count_; ++i)
      if (EqualNoCaseUtf8(name, asked_[i].name)) return asked_[i].name;
    return {};
  }
  static void Complain(Asked& asked, const char* text) { asked.complaint = text; }
  static void TakeText(Asked& asked, std::string_view utf8, std::string& out_gbk) {
    bool lossy = false;
    out_gbk = GbkFromUtf8(utf8, &lossy);
    if (lossy) Complain(asked, " is no text in the encoding that the file declares.");
  }

  const XmlElement& element_;
  const std::string& path_;
  SkinFindings& findings_;
  std::array<Asked, kMostAttributes> asked_{};
  size_t count_ = 0;
};

template <class Element>
void ReadAttributes(const XmlElement& element, const std::string& path, SkinFindings& findings,
                    Element& out) {
  AttributeReader reader(element, path, findings);
  VisitSkinAttributes(out, reader);
  reader.Finish();
}

std::string ChildPath(const std::string& path, const XmlElement& child) {
  return path + "/" + ShownText(child.Name());
}

void ReportUnknown(const std::string& path, SkinFindings& findings, std::string_view known_as = {}) {
  findings.Add(Kind::kUnknown, path, UnknownText("element", known_as));
}

/// A second element of a name replaces the first.
void ReportSecond(const std::string& path, SkinFindings& findings) {
  findings.Add(Kind::kUnknown, path,
               "This is not the first such element here; it replaces the one before it.");
}

/// Reads one child of a window into the element that has its name.
class ChildReader {
 public:
  ChildReader(const XmlElement& child, std::string path, bool mini, SkinFindings& findings)
      : child_(child), path_(std::move(path)), mini_(mini), findings_(findings) {}

  template <class Type>
  void Element(std::string_view name, std::optional<Type>& slot, SkinNeed) {
    if (known_) return;
    if (name != child_.Name()) {
      if (EqualNoCaseUtf8(name, child_.Name())) known_as_ = name;
      return;
    }
    // The mini player's "lyric" is the area that comes later in the table, unless it has a bitmap.
    if (std::is_same_v<Type, SkinButton> && mini_ && name == "lyric" && child_.Attribute("image").empty())
      return;
    known_ = true;
    if (slot) ReportSecond(path_, findings_);
    ReadAttributes(child_, path_, findings_, slot.emplace());
    for (const XmlElement* below = child_.FirstChildElement(); below != nullptr && findings_.Wanted();
         below = below->NextSiblingElement())
      ReportUnknown(ChildPath(path_, *below), findings_);
  }
  void Finish() const {
    if (!known_) ReportUnknown(path_, findings_, known_as_);
  }

 private:
  const XmlElement& child_;
  const std::string path_;
  const bool mini_;
  SkinFindings& findings_;
  bool known_ = false;
  std::string_view known_as_;
};

/// Reports what a window should have and has not.
class MissingElements {
 public:
  MissingElements(const std::string& path, SkinFindings& findings) : path_(path), findings_(findings) {}

  template <class Type>
  void Element(std::string_view name, const std::optional<Type>& slot, SkinNeed need) {
    if (need != SkinNeed::kNeeded || slot) return;
    findings_.Add(
        Kind::kMissing, path_ + "/" + std::string(name),
        "Users will miss " + std::string(Article(name)) + std::string(name) + " element in this window.");
  }

 private:
  const std::string& path_;
  SkinFindings& findings_;
};

template <class Window>
void ReadWindow(const XmlElement& element, bool mini, const std::string& path, SkinFindings& findings,
                Window& out) {
  ReadAttributes(element, path, findings, out);
  for (const XmlElement* child = element.FirstChildElement(); child != nullptr;
       child = child->NextSiblingElement()) {
    ChildReader reader(*child, ChildPath(path, *child), mini, findings);
    VisitSkinElements(out, mini, reader);
    reader.Finish();
  }
  MissingElements missing(path, findings);
  VisitSkinElements(std::as_const(out), mini, missing);
}

void ReadWindows(const XmlElement& root, const std::string& path, SkinFindings& findings,
                 SkinDescription& out) {
  for (const XmlElement* child = root.FirstChildElement(); child != nullptr;
       child = child->NextSiblingElement()) {
    const std::string child_path = ChildPath(path, *child);
    bool known = false;
    std::string_view known_as;
    VisitSkinWindows(out, [&](std::string_view name, auto& slot, bool mini) {
      if (EqualNoCaseUtf8(name, child->Name())) known_as = name;
      if (name != child->Name()) return;
      known = true;
      if (slot) ReportSecond(child_path, findings);
      ReadWindow(*child, mini, child_path, findings, slot.emplace());
    });
    if (!known) ReportUnknown(child_path, findings, known_as);
  }
  VisitSkinWindows(std::as_const(out), [&](std::string_view name, const auto& slot, bool) {
    if (slot) return;
    findings.Add(Kind::kMissing, path + "/" + std::string(name),
                 "The skin does not have this window; the player draws one in the system's colours.");
  });
}

/// Knows which elements are open, for the place where a document breaks off.
class OpenElements final : public XmlParseObserver {
 public:
  void OnElementStart(std::string_view name, XmlElement&) override {
    if (depth_ < names_.size()) names_[depth_] = name;
    ++depth_;
  }
  void OnElementEnd(std::string_view) override { --depth_; }
  std::string Path() const {
    std::string path;
    for (size_t i = 0; i < std::min(depth_, names_.size()); ++i)
      path.append(i == 0 ? "" : "/").append(ShownText(names_[i]));
    return path;
  }

 private:
  std::array<std::string, 4> names_;  // Skins have three levels.
  size_t depth_ = 0;
};

void ReportNoXml(std::string_view text, const XmlDocument& document, const OpenElements& open_elements,
                 SkinFindings& findings) {
  std::string what;
  if (text.starts_with(kUtf8Mark))
    what = "The file begins with a byte-order mark: save it as UTF-8 without one.";
  else if (text.starts_with("\xFF\xFE") || text.starts_with("\xFE\xFF"))
    what = "The file is UTF-16: save it as UTF-8 without a byte-order mark.";
  else
    what = std::string("The XML breaks off: ") + XmlErrorText(document.Error()) + ".";
  findings.Add(Kind::kInvalid, open_elements.Path(), std::move(what));
}

/// Text that is not ASCII, in a file that does not say which it is, is taken for GBK.
void ReportEncoding(std::string_view text, const XmlDocument& document, SkinFindings& findings) {
  if (!findings.Wanted() || document.CodePage() != XmlDocument::kCodePageFromDeclaration || IsAscii(text))
    return;
  std::string_view encoding;
  for (const XmlNode* node = document.FirstChild(); node != nullptr; node = node->NextSibling())
    if (node->Kind() == XmlKind::kDeclaration)
      encoding = static_cast<const XmlDeclaration*>(node)->Encoding();
  constexpr std::string_view kRead = "so the file is read as GBK; write encoding=\"UTF-8\", in capitals.";
  if (EqualNoCaseUtf8(encoding, "GBK") || EqualNoCaseUtf8(encoding, "GB18030")) return;
  if (!encoding.empty())
    findings.Add(Kind::kInvalid, "?xml@encoding",
                 QuotedText(encoding) + " is not known, " + std::string(kRead));
  else if (IsValidUtf8(text))
    findings.Add(Kind::kMissing, "?xml@encoding",
                 "The text seems to be UTF-8 but does not say it, " + std::string(kRead));
}

}  // namespace

SkinReadResult ReadSkinDescription(std::span<const uint8_t> bytes, SkinDescription& out,
                                   std::vector<SkinFinding>* findings_out) {
  out = {};
  if (findings_out != nullptr) findings_out->clear();
  SkinFindings findings(findings_out);
  if (bytes.size() > kLargestSkinDescription) {
    findings.Add(Kind::kInvalid, {}, "The file is larger than any description of a skin.");
    return SkinReadResult::kNoXml;
  }
  const std::string_view text(reinterpret_cast<const char*>(bytes.data()), bytes.size());
  XmlDocument document;
  OpenElements open_elements;
  document.SetObserver(&open_elements);
  if (!document.Parse(text, XmlDocument::kCodePageFromDeclaration)) {
    ReportNoXml(text, document, open_elements, findings);
    return SkinReadResult::kNoXml;
  }
  const XmlElement* root = document.RootElement();
  if (root == nullptr || root->Name() != kSkinRoot) {
    findings.Add(Kind::kInvalid, root == nullptr ? std::string() : ShownText(root->Name()),
                 "The outermost element must be skin.");
    return SkinReadResult::kNoSkin;
  }
  ReportEncoding(text, document, findings);
  const std::string path(kSkinRoot);
  ReadAttributes(*root, path, findings, out);
  if (EqualNoCaseGbk(std::string_view(out.email_gbk).substr(0, kMailto.size()), kMailto))
    out.email_gbk.erase(0, kMailto.size());
  if (out.version != SkinDescription::kVersion) {
    findings.Add(Kind::kInvalid, path + "@version", "The version must be 2; other skins are not loaded.");
    return SkinReadResult::kWrongVersion;
  }
  ReadWindows(*root, path, findings, out);
  return SkinReadResult::kRead;
}

}  // namespace melorin
