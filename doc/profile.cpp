// SPDX-License-Identifier: MIT
//
// Profiles, over the key table of the settings.
#include "doc/profile.h"

#include "doc/settings_keys.h"
#include "doc/settings_serial.h"
#include "platform/file.h"

namespace melorin {
namespace {

constexpr char kFolder[] = "Profile";

/// Names and keys of a kind.
template <class Group>
struct Kind;

template <>
struct Kind<EqualizerCurve> {
  static constexpr char kExtension[] = "mzeq_cfg";
  static constexpr char kRoot[] = "melorin_eq";
  static constexpr char kSection[] = "Equalizer";
  static void Visit(auto& visitor, auto& group) { VisitEqualizerCurve(visitor, group); }
};
template <>
struct Kind<LyricLook> {
  static constexpr char kExtension[] = "mzlr_cfg";
  static constexpr char kRoot[] = "melorin_lyric";
  static constexpr char kSection[] = "Lyric";
  static void Visit(auto& visitor, auto& group) { VisitLyricLook(visitor, group); }
};
template <>
struct Kind<PlayListLook> {
  static constexpr char kExtension[] = "mzpl_cfg";
  static constexpr char kRoot[] = "melorin_playlist";
  static constexpr char kSection[] = "PlayList";
  static void Visit(auto& visitor, auto& group) { VisitPlayListLook(visitor, group); }
};

}  // namespace

template <class Group>
LoadResult LoadProfile(const std::string& path_gbk, Group* group) {
  return ReadSettingsFile(path_gbk, Kind<Group>::kRoot, [group](const XmlElement& root) {
    Group read = *group;
    SettingsReader reader(root);
    if (reader.Section(Kind<Group>::kSection)) Kind<Group>::Visit(reader, read);
    *group = read;
  });
}

template <class Group>
bool SaveProfile(const std::string& path_gbk, const Group& group) {
  return WriteSettingsFile(path_gbk, Kind<Group>::kRoot, {}, [&](XmlElement& root) {
    // The first profile is saved before there is a folder for it; if making it fails, so does the file.
    MakeDirectory(std::string(PathDirectory(path_gbk)));
    SettingsWriter writer(root);
    writer.Section(Kind<Group>::kSection);
    Kind<Group>::Visit(writer, group);
  });
}

template <class Group>
const char* ProfileExtension() {
  return Kind<Group>::kExtension;
}

template <class Group>
std::string FirstProfilePath(const std::string& data_folder_gbk) {
  return JoinPath(JoinPath(data_folder_gbk, kFolder), std::string("1.") + Kind<Group>::kExtension);
}

#define MELORIN_PROFILE(Group)                                                 \
  template LoadResult LoadProfile<Group>(const std::string& path_gbk, Group*); \
  template bool SaveProfile<Group>(const std::string& path_gbk, const Group&); \
  template const char* ProfileExtension<Group>();                              \
  template std::string FirstProfilePath<Group>(const std::string& data_folder_gbk);
MELORIN_PROFILE(EqualizerCurve)
MELORIN_PROFILE(LyricLook)
MELORIN_PROFILE(PlayListLook)
#undef MELORIN_PROFILE

}  // namespace melorin
