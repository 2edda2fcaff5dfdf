// SPDX-License-Identifier: MIT
//
// The names of a skin description: which windows it may have, which elements each of them, and which
// attributes each element. The one table that reading, checking and printing go by.
//
// A visitor of attributes has Rect, Image, Align, Flag, Colour, Integer and Text, each called with the
// attribute's name, the field and, where the player cannot do without it, kNeeded. A visitor of elements has
// Element, called with the name, the optional element and kNeeded where users would miss it. Fields are const
// where the element is.
#pragma once

#include <optional>
#include <string_view>
#include <type_traits>

#include "skin/skin_description.h"

namespace melorin {

inline constexpr std::string_view kSkinRoot = "skin";

enum class SkinNeed { kOptional, kNeeded };

/// `Type`, const or not.
template <class Element, class Type>
concept SkinElementOf = std::is_same_v<std::remove_const_t<Element>, Type>;

template <SkinElementOf<SkinDescription> Element, class Visitor>
void VisitSkinAttributes(Element& skin, Visitor& visitor) {
  visitor.Integer("version", skin.version);
  visitor.Text("name", skin.name_gbk);
  visitor.Text("author", skin.author_gbk);
  visitor.Text("email", skin.email_gbk);
  visitor.Text("url", skin.url_gbk);
  visitor.Colour("transparent_color", skin.transparent_colour);
}

template <SkinElementOf<SkinButton> Element, class Visitor>
void VisitSkinAttributes(Element& button, Visitor& visitor) {
  visitor.Rect("position", button.position, SkinNeed::kNeeded);
  visitor.Image("image", button.image, SkinNeed::kNeeded);
  visitor.Align("align", button.align);
}

template <SkinElementOf<SkinSlider> Element, class Visitor>
void VisitSkinAttributes(Element& slider, Visitor& visitor) {
  visitor.Rect("position", slider.position, SkinNeed::kNeeded);
  visitor.Image("thumb_image", slider.thumb_image, SkinNeed::kNeeded);
  visitor.Image("bar_image", slider.bar_image, SkinNeed::kOptional);
  visitor.Image("fill_image", slider.fill_image, SkinNeed::kOptional);
  visitor.Flag("vertical", slider.vertical);
}

template <SkinElementOf<SkinLed> Element, class Visitor>
void VisitSkinAttributes(Element& led, Visitor& visitor) {
  visitor.Rect("position", led.position, SkinNeed::kNeeded);
  visitor.Image("image", led.image, SkinNeed::kNeeded);
  visitor.Align("align", led.align);
}

template <SkinElementOf<SkinText> Element, class Visitor>
void VisitSkinAttributes(Element& text, Visitor& visitor) {
  visitor.Rect("position", text.position, SkinNeed::kNeeded);
  visitor.Colour("color", text.colour);
  visitor.Colour("bkgnd", text.background);
  visitor.Integer("font_size", text.font_size);
  visitor.Text("font", text.font);
  visitor.Align("align", text.align);
}

template <SkinElementOf<SkinArea> Element, class Visitor>
void VisitSkinAttributes(Element& area, Visitor& visitor) {
  visitor.Rect("position", area.position, SkinNeed::kNeeded);
}

template <SkinElementOf<SkinTitle> Element, class Visitor>
void VisitSkinAttributes(Element& title, Visitor& visitor) {
  VisitSkinAttributes(title.text, visitor);
  visitor.Image("image", title.image, SkinNeed::kOptional);
}

template <SkinElementOf<SkinToolbar> Element, class Visitor>
void VisitSkinAttributes(Element& toolbar, Visitor& visitor) {
  visitor.Rect("position", toolbar.position, SkinNeed::kNeeded);
  visitor.Image("image", toolbar.image, SkinNeed::kNeeded);
  visitor.Align("align", toolbar.align);
}

template <SkinElementOf<SkinScrollBar> Element, class Visitor>
void VisitSkinAttributes(Element& bar, Visitor& visitor) {
  visitor.Image("buttons_image", bar.buttons_image, SkinNeed::kOptional);
  visitor.Image("thumb_image", bar.thumb_image, SkinNeed::kNeeded);
  visitor.Image("bar_image", bar.bar_image, SkinNeed::kOptional);
  visitor.Integer("thumb_resize_center", bar.thumb_resize_center);
  visitor.Integer("thumb_resize_tile", bar.thumb_resize_tile);
}

template <SkinElementOf<SkinPlayerWindow> Window, class Visitor>
void VisitSkinAttributes(Window& window, Visitor& visitor) {
  visitor.Image("image", window.image, SkinNeed::kNeeded);
}

template <SkinElementOf<SkinEqualizerWindow> Window, class Visitor>
void VisitSkinAttributes(Window& window, Visitor& visitor) {
  visitor.Rect("position", window.position, SkinNeed::kNeeded);
  visitor.Image("image", window.image, SkinNeed::kNeeded);
  visitor.Integer("eq_interval", window.eq_interval);
}

template <class Window, class Visitor>
requires SkinElementOf<Window, SkinLyricWindow> || SkinElementOf<Window, SkinPlaylistWindow>
void VisitSkinAttributes(Window& window, Visitor& visitor) {
  visitor.Rect("position", window.position, SkinNeed::kNeeded);
  visitor.Rect("resize_rect", window.resize_rect, SkinNeed::kOptional);
  visitor.Integer("resize_tile", window.resize_tile);
  visitor.Image("image", window.image, SkinNeed::kNeeded);
}

/// The player window's and, with `mini`, the mini player's. "lyric" comes twice: as a button and as an area.
template <SkinElementOf<SkinPlayerWindow> Window, class Visitor>
void VisitSkinElements(Window& window, bool mini, Visitor& visitor) {
  // A mini player may be as small as its author likes, as long as there is a way back.
  const SkinNeed need = mini ? SkinNeed::kOptional : SkinNeed::kNeeded;
  for (size_t i = 0; i < kSkinPlayerButtons; ++i) {
    const auto button = static_cast<SkinPlayerButton>(i);
    const bool always = button == SkinPlayerButton::kMinimode;
    const bool never = button == SkinPlayerButton::kMute;
    visitor.Element(kSkinPlayerButtonNames[i], window.buttons[i],
                    always  ? SkinNeed::kNeeded
                    : never ? SkinNeed::kOptional
                            : need);
  }
  visitor.Element("progress", window.progress, need);
  visitor.Element("volume", window.volume, need);
  visitor.Element("led", window.led, need);
  visitor.Element("visual", window.visual, SkinNeed::kOptional);
  visitor.Element("icon", window.icon, SkinNeed::kOptional);
  visitor.Element("lyric", window.lyric, SkinNeed::kOptional);
  visitor.Element("info", window.info, need);
  visitor.Element("stereo", window.stereo, SkinNeed::kOptional);
  visitor.Element("status", window.status, SkinNeed::kOptional);
}

template <SkinElementOf<SkinLyricWindow> Window, class Visitor>
void VisitSkinElements(Window& window, bool, Visitor& visitor) {
  visitor.Element("title", window.title, SkinNeed::kOptional);
  visitor.Element("close", window.close, SkinNeed::kNeeded);
  visitor.Element("ontop", window.ontop, SkinNeed::kOptional);
  visitor.Element("lyric", window.lyric, SkinNeed::kNeeded);
}

template <SkinElementOf<SkinEqualizerWindow> Window, class Visitor>
void VisitSkinElements(Window& window, bool, Visitor& visitor) {
  visitor.Element("title", window.title, SkinNeed::kOptional);
  visitor.Element("close", window.close, SkinNeed::kNeeded);
  visitor.Element("enabled", window.enabled, SkinNeed::kNeeded);
  visitor.Element("profile", window.profile, SkinNeed::kNeeded);
  visitor.Element("reset", window.reset, SkinNeed::kNeeded);
  visitor.Element("balance", window.balance, SkinNeed::kNeeded);
  visitor.Element("surround", window.surround, SkinNeed::kNeeded);
  visitor.Element("preamp", window.preamp, SkinNeed::kNeeded);
  visitor.Element("eqfactor", window.eqfactor, SkinNeed::kNeeded);
}

template <SkinElementOf<SkinPlaylistWindow> Window, class Visitor>
void VisitSkinElements(Window& window, bool, Visitor& visitor) {
  visitor.Element("title", window.title, SkinNeed::kOptional);
  visitor.Element("close", window.close, SkinNeed::kNeeded);
  visitor.Element("toolbar", window.toolbar, SkinNeed::kNeeded);
  visitor.Element("scrollbar", window.scrollbar, SkinNeed::kNeeded);
  visitor.Element("playlist", window.playlist, SkinNeed::kNeeded);
}

/// Calls `visit(name, optional window, mini)` for each.
template <SkinElementOf<SkinDescription> Description, class Visit>
void VisitSkinWindows(Description& skin, Visit&& visit) {
  visit("player_window", skin.player_window, false);
  visit("mini_window", skin.mini_window, true);
  visit("lyric_window", skin.lyric_window, false);
  visit("equalizer_window", skin.equalizer_window, false);
  visit("playlist_window", skin.playlist_window, false);
}

}  // namespace melorin
