// SPDX-License-Identifier: MIT
//
// Binding: one setting as a control of the options dialog is given it, for the values in use and for the
// defaults alike.
//
//   page.CheckBox(u"窗口自动吸附", kGeneralPart(&GeneralSettings::snap_windows));
#pragma once

#include <functional>

#include "app/options/options_host.h"

namespace melorin {

template <class T>
struct Binding {
  SettingsPart part;
  std::function<T&(Settings&)> field;
};

/// Makes bindings of a section's members.
template <class Section>
struct BindingMaker {
  SettingsPart part;
  Section Settings::*section;

  /// Base: the section, or the part of it that profiles hold.
  template <class T, class Base>
  Binding<T> operator()(T Base::*member) const {
    return {part, [section = section, member](Settings& s) -> T& { return s.*section.*member; }};
  }
};

inline constexpr BindingMaker<PlayerSettings> kPlayerPart{SettingsPart::kPlayer, &Settings::player};
inline constexpr BindingMaker<GeneralSettings> kGeneralPart{SettingsPart::kGeneral, &Settings::general};
inline constexpr BindingMaker<PlaybackOptions> kPlaybackPart{SettingsPart::kPlayback, &Settings::playback};
inline constexpr BindingMaker<DeviceSettings> kDevicePart{SettingsPart::kDevice, &Settings::device};
inline constexpr BindingMaker<HotKeySettings> kHotKeyPart{SettingsPart::kHotKey, &Settings::hot_key};
inline constexpr BindingMaker<VisualSettings> kVisualPart{SettingsPart::kVisual, &Settings::visual};
inline constexpr BindingMaker<LyricSettings> kLyricPart{SettingsPart::kLyric, &Settings::lyric};
inline constexpr BindingMaker<PlayListSettings> kPlayListPart{SettingsPart::kPlayList, &Settings::play_list};
inline constexpr BindingMaker<ConvertSettings> kConvertPart{SettingsPart::kConvert, &Settings::convert};
inline constexpr BindingMaker<PluginSettings> kPluginPart{SettingsPart::kPlugin, &Settings::plugin};

}  // namespace melorin
