// SPDX-License-Identifier: MIT
//
// Reading and writing keyed settings.
#include "doc/settings_serial.h"

#include <algorithm>
#include <new>

#include "platform/file.h"

namespace melorin {

bool SettingsWriter::Section(std::string_view name) {
  section_ = root_.AddElement(name);
  if (section_ == nullptr) throw std::bad_alloc();
  return true;
}

void SettingsWriter::Set(std::string_view key, std::string_view text) {
  if (!section_->SetAttribute(key, text)) throw std::bad_alloc();
}

void SettingsWriter::Add(std::string_view new_key, std::string_view text) {
  if (!section_->AddAttribute(new_key, text)) throw std::bad_alloc();
}

bool SettingsReader::Section(std::string_view name) {
  entries_.clear();
  malformed_.clear();
  const XmlElement* element = root_.FirstChildElement(name);
  if (element == nullptr) return false;
  for (const XmlAttribute* attribute = element->FirstAttribute(); attribute != nullptr;
       attribute = element->NextAttribute(*attribute))
    entries_.push_back({attribute->Name(), attribute->Value()});
  // Stable: of several attributes of one name the first counts.
  std::stable_sort(entries_.begin(), entries_.end(),
                   [](const Entry& a, const Entry& b) { return a.key < b.key; });
  return true;
}

std::string_view SettingsReader::Text(std::string_view key) {
  const auto found =
      std::lower_bound(entries_.begin(), entries_.end(), key,
                       [](const Entry& entry, std::string_view wanted) { return entry.key < wanted; });
  if (found == entries_.end() || found->key != key) return {};
  found->asked = true;
  return found->text;
}

size_t SettingsReader::CountFrom(std::string_view prefix) const {
  const auto begin = std::partition_point(entries_.begin(), entries_.end(),
                                          [prefix](const Entry& e) { return e.key < prefix; });
  const auto end = std::partition_point(begin, entries_.end(),
                                        [prefix](const Entry& e) { return e.key.starts_with(prefix); });
  return static_cast<size_t>(end - begin);
}

std::vector<std::string_view> SettingsReader::Unasked() const {
  std::vector<std::string_view> keys;
  for (const Entry& entry : entries_)
    if (!entry.asked) keys.push_back(entry.key);
  return keys;
}

bool WriteSettingsFile(const std::string& path_gbk, std::string_view root_name, std::string_view version,
                       const std::function<void(XmlElement& root)>& fill) try {
  XmlDocument document;
  auto declaration = NewXmlDeclaration("1.0", "UTF-8", "yes");
  if (declaration == nullptr) return false;
  document.LinkEndChild(std::move(declaration));
  XmlElement* root = document.AddElement(root_name);
  if (root == nullptr) return false;
  if (!version.empty() && !root->SetAttribute("version", version)) return false;
  fill(*root);
  return document.SaveFileSafely(path_gbk, true);
} catch (const std::bad_alloc&) {
  return false;
}

LoadResult ReadSettingsFile(const std::string& path_gbk, std::string_view root_name,
                            const std::function<void(const XmlElement& root)>& take) try {
  XmlDocument document;
  if (!document.LoadFile(path_gbk, XmlDocument::kCodePageFromDeclaration)) {
    return document.Error() == XmlError::kOpenFile && !FileExists(path_gbk) ? LoadResult::kMissing
                                                                            : LoadResult::kForeignOrDamaged;
  }
  const XmlElement* root = document.RootElement();
  if (root == nullptr || (root->Name() != root_name && root->Name() != kAnyConfigRoot))
    return LoadResult::kForeignOrDamaged;
  take(*root);
  return LoadResult::kLoaded;
} catch (const std::bad_alloc&) {
  return LoadResult::kForeignOrDamaged;
}

}  // namespace melorin
