// SPDX-License-Identifier: MIT
//
// Profiles: small files of their own that keep one group of settings, so that the user can have several and
// change between them: the equalizer's curve, the lyric window's look and the playlist's. They hold the
// section and keys that the settings file has for them. Thread: the UI thread.
//
//   LyricLook look = settings.lyric;  // a profile starts from the settings in use …
//   LoadProfile(path, &look);
//   static_cast<LyricLook&>(settings.lyric) = look;  // … and goes back into them
#pragma once

#include <string>

#include "doc/settings.h"

namespace melorin {

/// Group is EqualizerCurve, LyricLook or PlayListLook. As Settings::Load; the root "melorin_config" is taken
/// as well and its other sections are ignored.
template <class Group>
LoadResult LoadProfile(const std::string& path_gbk, Group* group);
/// As Settings::Save, without a version. Makes the file's folder when it is not there.
template <class Group>
bool SaveProfile(const std::string& path_gbk, const Group& group);

/// Without the dot: "mzeq_cfg", "mzlr_cfg", "mzpl_cfg".
template <class Group>
const char* ProfileExtension();
/// The first profile of a kind, named "1", in the folder "Profile" of the data folder.
template <class Group>
std::string FirstProfilePath(const std::string& data_folder_gbk);

}  // namespace melorin
