// SPDX-License-Identifier: MIT
//
// Any bytes as a settings file: what was taken from it must be written, read back and written the same. Only
// fonts may need one round more: a record can hold a face name with spaces or malformed characters.
#include <cstdint>
#include <cstdlib>
#include <string>

#include "doc/settings.h"
#include "doc/xml_document.h"

namespace {

constexpr size_t kEntries = 40;

melorin::XmlElement* Parsed(melorin::XmlDocument& document, std::string_view text, int code_page) {
  return document.Parse(text, code_page) ? document.RootElement() : nullptr;
}

std::string Written(melorin::Settings& settings) {
  melorin::XmlDocument document;
  melorin::XmlElement* root = document.AddElement(melorin::Settings::kName);
  melorin::XmlStringOutput out;
  if (root == nullptr || !settings.Serialize(*root, true)) std::abort();
  document.Print(out, 0, true);
  return out.Text();
}

std::string Reread(const std::string& text) {
  melorin::XmlDocument document;
  melorin::XmlElement* root = Parsed(document, text, 65001);
  melorin::Settings settings;
  if (root == nullptr || !settings.Serialize(*root, false) || !melorin::NotUnderstood(*root).empty())
    std::abort();
  return Written(settings);
}

std::string WithoutFonts(std::string text) {
  for (size_t at = 0; (at = text.find("\tFont=\"", at)) != std::string::npos;)
    text.erase(at, text.find("\r\n", at) - at);
  return text;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  melorin::XmlDocument document;
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  melorin::XmlElement* root = Parsed(document, text, melorin::XmlDocument::kCodePageFromDeclaration);
  if (root == nullptr) return 0;
  melorin::Settings settings;
  if (!settings.Serialize(*root, false)) std::abort();
  if (melorin::NotUnderstood(*root).size() > 1000) std::abort();
  // A record may lack a face name; written as text it would then be refused.
  for (melorin::FontRecord* font : {&settings.lyric.font, &settings.play_list.font})
    if (font->FaceGbk().find_first_not_of(" \t\n\v\f\r") == std::string_view::npos) font->SetFaceGbk("a");
  // Long lists are alike and take long to write.
  if (settings.hot_key.key_map.size() > kEntries) settings.hot_key.key_map.resize(kEntries);
  for (auto* list : {&settings.lyric.folders_gbk, &settings.plugin.modules_gbk})
    if (list->size() > kEntries) list->resize(kEntries);
  const std::string first = Written(settings);
  const std::string second = Reread(first);
  if (WithoutFonts(second) != WithoutFonts(first) || Reread(second) != second) std::abort();
  return 0;
}
