// SPDX-License-Identifier: MIT
//
// The settings object: its larger defaults, loading, saving and what is said of files that are not its own.
#include "doc/settings.h"
#include "doc/keys.h"

#include <new>
#include <set>

#include "doc/command_id.h"
#include "doc/settings_keys.h"
#include "doc/settings_serial.h"
#include "platform/file.h"

namespace melorin {
namespace {

constexpr size_t kMaxFindings = 1000;
constexpr int kMaxKeptAside = 999;

constexpr uint16_t kAlt = 1;
constexpr uint16_t kCtrl = 2;
constexpr uint16_t kShift = 4;

struct DefaultKey {
  CommandId command;
  KeyStroke application;
  KeyStroke global;
};
constexpr DefaultKey kDefaultKeys[] = {
    {CommandId::kPlayPause, {0, kKeySpace}, {0, kKeyMediaPlayPause}},
    {CommandId::kStop, {kCtrl, kKeySpace}, {0, kKeyMediaStop}},
    {CommandId::kPrevious, {kCtrl, kKeyLeft}, {0, kKeyMediaPrevious}},
    {CommandId::kNext, {kCtrl, kKeyRight}, {0, kKeyMediaNext}},
    {CommandId::kSeekForward, {0, kKeyRight}, {}},
    {CommandId::kSeekBackward, {0, kKeyLeft}, {}},
    {CommandId::kVolumeUp, {0, kKeyUp}, {}},
    {CommandId::kVolumeDown, {0, kKeyDown}, {}},
    {CommandId::kMute, {kCtrl, 'M'}, {}},
    {CommandId::kOpenFile, {kCtrl, 'O'}, {}},
    {CommandId::kOpenFolder, {kCtrl | kShift, 'O'}, {}},
    {CommandId::kShowPlayList, {kCtrl, '1'}, {}},
    {CommandId::kShowLyric, {kCtrl, '2'}, {}},
    {CommandId::kShowEqualizer, {kCtrl, '3'}, {}},
    {CommandId::kMiniMode, {kCtrl, '0'}, {}},
    {CommandId::kTopMost, {kCtrl, 'T'}, {}},
    {CommandId::kOptions, {0, kKeyF5}, {}},
    {CommandId::kFileProperties, {kAlt, kKeyReturn}, {}},
    {CommandId::kLocateInList, {kCtrl, 'J'}, {}},
    {CommandId::kFindInList, {kCtrl, 'F'}, {}},
    {CommandId::kShowHide, {}, {}},
    {CommandId::kExit, {}, {}},
    {CommandId::kModeNext, {kCtrl, 'R'}, {}},
    {CommandId::kAddFiles, {0, kKeyInsert}, {}},
    {CommandId::kNewList, {kCtrl, 'N'}, {}},
    {CommandId::kSaveList, {kCtrl, 'S'}, {}},
    {CommandId::kRenameList, {0, kKeyF2}, {}},
    {CommandId::kNextList, {kCtrl, kKeyTab}, {}},
    {CommandId::kPreviousList, {kCtrl | kShift, kKeyTab}, {}},
    {CommandId::kFindNext, {0, kKeyF3}, {}},
    {CommandId::kUndo, {kCtrl, 'Z'}, {}},
    {CommandId::kRedo, {kCtrl, 'Y'}, {}},
    {CommandId::kCut, {kCtrl, 'X'}, {}},
    {CommandId::kCopy, {kCtrl, 'C'}, {}},
    {CommandId::kPaste, {kCtrl, 'V'}, {}},
    {CommandId::kSelectAll, {kCtrl, 'A'}, {}},
    {CommandId::kSelectInverse, {kCtrl | kShift, 'A'}, {}},
    {CommandId::kMoveSelectedUp, {kAlt, kKeyUp}, {}},
    {CommandId::kMoveSelectedDown, {kAlt, kKeyDown}, {}},
    {CommandId::kRemoveSelected, {0, kKeyDelete}, {}},
    {CommandId::kDeleteFiles, {kShift, kKeyDelete}, {}},
    {CommandId::kLyricEdit, {kCtrl, 'E'}, {}},
    {CommandId::kLyricEarlier, {kCtrl, kKeyOpenBracket}, {}},
    {CommandId::kLyricLater, {kCtrl, kKeyCloseBracket}, {}},
};

/// Gathers findings up to the limit.
class Findings {
 public:
  void Add(std::string_view where, std::string_view key, std::string_view what) {
    if (lines_.size() >= kMaxFindings) return;
    std::string line(where);
    if (!key.empty()) line.append(".").append(key);
    lines_.push_back(line.append(": ").append(what));
  }
  std::vector<std::string> Take() { return std::move(lines_); }

 private:
  std::vector<std::string> lines_;
};

/// Reads as SettingsReader does and takes down, section by section, what that leaves out.
class CheckingReader {
 public:
  CheckingReader(const XmlElement& root, Findings& findings) : reader_(root), findings_(findings) {}
  ~CheckingReader() { EndSection(); }
  CheckingReader(const CheckingReader&) = delete;
  CheckingReader& operator=(const CheckingReader&) = delete;

  bool Section(std::string_view name) {
    EndSection();
    section_ = name;
    known_.insert(name);
    return reader_.Section(name);
  }
  template <class Value>
  void operator()(std::string_view key, Value& value) {
    reader_(key, value);
  }
  bool Knows(std::string_view section) const { return known_.contains(section); }

 private:
  void EndSection() {
    if (section_.empty()) return;
    std::set<std::string_view> told;  // Two settings may share a key.
    for (const std::string& key : reader_.Malformed())
      if (told.insert(key).second) findings_.Add(section_, key, "the value is malformed");
    for (const std::string_view key : reader_.Unasked())
      findings_.Add(section_, key, "no such key");
    section_ = {};
  }

  SettingsReader reader_;
  Findings& findings_;
  std::string_view section_;
  std::set<std::string_view> known_;
};

}  // namespace

std::vector<KeyBinding> DefaultKeyMap() {
  std::vector<KeyBinding> map;
  for (const DefaultKey& key : kDefaultKeys)
    map.push_back({static_cast<int32_t>(key.command), key.application, key.global});
  return map;
}

FontRecord DefaultFont(int32_t height) {
  constexpr uint8_t kSimplifiedChinese = 134;
  constexpr uint8_t kSmoothed = 5;
  FontRecord font;
  font.height = height;
  font.char_set = kSimplifiedChinese;
  font.quality = kSmoothed;
  font.SetFaceGbk("\xCE\xA2\xC8\xED\xD1\xC5\xBA\xDA");
  return font;
}

Settings::Settings(const RegistryProbe& probe) {
  if (probe) registry_writable = probe(kRegistryKey);
}

LoadResult Settings::Load(const std::string& path_gbk) {
  return ReadSettingsFile(path_gbk, kName, [this](const XmlElement& root) {
    Settings read = *this;
    SettingsReader reader(root);
    VisitSettings(reader, read);
    *this = std::move(read);
  });
}

bool Settings::Save(const std::string& path_gbk, std::string_view version) const {
  return WriteSettingsFile(path_gbk, kName, version, [this](XmlElement& root) {
    SettingsWriter writer(root);
    VisitSettings(writer, *this);
  });
}

bool Settings::Serialize(XmlElement& root, bool writing) try {
  if (writing) {
    SettingsWriter writer(root);
    VisitSettings(writer, *this);
  } else {
    SettingsReader reader(root);
    VisitSettings(reader, *this);
  }
  return true;
} catch (const std::bad_alloc&) {
  return false;
}

std::vector<std::string> NotUnderstood(const XmlElement& root) {
  Findings findings;
  Settings scratch;
  CheckingReader reader(root, findings);
  VisitSettings(reader, scratch);
  reader.Section({});
  std::set<std::string_view> seen;
  for (const XmlElement* section = root.FirstChildElement(); section != nullptr;
       section = section->NextSiblingElement()) {
    if (!reader.Knows(section->Name()))
      findings.Add(section->Name(), {}, "no such section");
    else if (!seen.insert(section->Name()).second)
      findings.Add(section->Name(), {}, "a second section of that name");
    else if (const XmlElement* inner = section->FirstChildElement())
      findings.Add(section->Name(), inner->Name(), "sections hold no elements");
  }
  return findings.Take();
}

std::string KeepAside(const std::string& path_gbk) {
  for (int number = 1; number <= kMaxKeptAside; ++number) {
    const std::string aside = path_gbk + ".bad" + (number == 1 ? std::string() : std::to_string(number));
    if (FileExists(aside) || DirectoryExists(aside)) continue;
    return ReplaceFileAt(path_gbk, aside) ? aside : std::string();
  }
  return {};
}

}  // namespace melorin
