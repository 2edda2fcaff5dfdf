// SPDX-License-Identifier: MIT
//
// The two directions between keyed settings and an XML tree, as visitors of the key table, and the files
// around them. For the settings object and the profiles only.
#pragma once

#include <algorithm>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "doc/settings.h"
#include "doc/settings_values.h"
#include "doc/xml_document.h"

namespace melorin {

/// Entries of a list that are read even when the file does not have them: a count in a foreign file must not
/// decide how much is allocated. A longer list is limited by the attributes that are really there.
inline constexpr size_t kMaxMissingEntries = 1024;

/// Appends sections to a root and sets their attributes. Throws std::bad_alloc only.
class SettingsWriter {
 public:
  explicit SettingsWriter(XmlElement& root) : root_(root) {}
  bool Section(std::string_view name);

  template <class Value>
  void operator()(std::string_view key, const Value& value) {
    Set(key, FormatSetting(value));
  }
  template <class Value>
  void operator()(std::string_view key, const std::vector<Value>& list) {
    Set(std::string(key) + "_Count", std::to_string(list.size()));
    for (size_t i = 0; i < list.size(); ++i)
      Add(std::string(key) + "_" + std::to_string(i), FormatSetting(list[i]));
  }

 private:
  void Set(std::string_view key, std::string_view text);
  void Add(std::string_view new_key, std::string_view text);

  XmlElement& root_;
  XmlElement* section_ = nullptr;
};

/// Takes settings from the sections of a root. Whatever is missing, empty or malformed is left as it is.
/// Throws std::bad_alloc only.
class SettingsReader {
 public:
  explicit SettingsReader(const XmlElement& root) : root_(root) {}
  bool Section(std::string_view name);

  template <class Value>
  void operator()(std::string_view key, Value& value) {
    const std::string_view text = Text(key);
    if (!ParseSetting(text, &value) && !text.empty()) malformed_.push_back(std::string(key));
  }
  void operator()(std::string_view key, int32_t& value) {
    const std::string_view text = Text(key);
    if (ParseSetting(text, &value) && !HasNumber(text)) malformed_.push_back(std::string(key));
  }
  template <class Value>
  void operator()(std::string_view key, std::vector<Value>& list) {
    int32_t count = 0;
    (*this)(std::string(key) + "_Count", count);
    if (count < 1) return;
    list.assign(
        std::min(static_cast<size_t>(count), std::max(kMaxMissingEntries, CountFrom(std::string(key) + "_"))),
        Value());
    for (size_t i = 0; i < list.size(); ++i)
      (*this)(std::string(key) + "_" + std::to_string(i), list[i]);
  }

  /// Of the section last begun: keys whose value did not parse or, for a number, had no digits, in the order
  /// of the table.
  const std::vector<std::string>& Malformed() const { return malformed_; }
  /// Of the section last begun: attributes that no visit asked for, in the order of their names.
  std::vector<std::string_view> Unasked() const;

 private:
  struct Entry {
    std::string_view key;
    std::string_view text;
    bool asked = false;
  };
  std::string_view Text(std::string_view key);
  size_t CountFrom(std::string_view prefix) const;  ///< Attributes whose names begin so.

  const XmlElement& root_;
  std::vector<Entry> entries_;  // By key: an element of a foreign file may have any number.
  std::vector<std::string> malformed_;
};

/// Root names that a reader takes beside its own.
inline constexpr std::string_view kAnyConfigRoot = "melorin_config";

/// Writes a document with that root, filled by `fill`, as all settings files are written. False when anything
/// fails; the old file is then as it was.
bool WriteSettingsFile(const std::string& path_gbk, std::string_view root_name, std::string_view version,
                       const std::function<void(XmlElement& root)>& fill);
/// Calls `take` with the file's root when it has that name or the general one.
LoadResult ReadSettingsFile(const std::string& path_gbk, std::string_view root_name,
                            const std::function<void(const XmlElement& root)>& take);

}  // namespace melorin
