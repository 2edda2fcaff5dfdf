// SPDX-License-Identifier: MIT
//
// SkinDescription: what "Skin.xml" of a skin says, as plain data. skin_reader.h reads it, docs/skins.md
// explains it to authors. Positions are pixels of the 1x artwork, seen from the window's top left corner.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

namespace melorin {

struct SkinRect {
  int32_t left = 0;
  int32_t top = 0;
  int32_t right = 0;
  int32_t bottom = 0;
  int32_t Width() const { return right - left; }
  int32_t Height() const { return bottom - top; }
  bool IsEmpty() const { return right <= left || bottom <= top; }
  bool operator==(const SkinRect&) const = default;
};

/// Red + green * 256 + blue * 65536; kNoColour: none.
using SkinColour = int32_t;
inline constexpr SkinColour kNoColour = -1;

/// A horizontal part (1 to 3) and a vertical one (16 to 48), added. 0 in a part: left, top.
enum SkinAlign : int32_t {
  kAlignLeft = 1,
  kAlignCentre = 2,
  kAlignRight = 3,
  kAlignHorizontalMask = 15,
  kAlignTop = 16,
  kAlignVCentre = 32,
  kAlignBottom = 48,
  kAlignVerticalMask = 240,
};

// An element that the file does not have is nothing (std::nullopt) in its window. File names are GBK, empty:
// that part is not drawn from a bitmap.

/// `align`, here and below for controls of resizable windows: the edges that the control keeps its distance
/// to; kAlignRight moves it with the right edge, kAlignCentre widens it with the window, and so on downwards.
struct SkinButton {
  SkinRect position;
  std::string image;
  int32_t align = kAlignLeft | kAlignTop;
};
struct SkinSlider {
  SkinRect position;
  std::string thumb_image;
  std::string bar_image;
  std::string fill_image;
  bool vertical = false;
};
/// The display of digits.
struct SkinLed {
  SkinRect position;
  std::string image;
  int32_t align = kAlignRight | kAlignTop;  ///< Of the digits in the position.
};
struct SkinText {
  SkinRect position;
  SkinColour colour = 0;
  SkinColour background = kNoColour;  ///< Of the field; none: the window shows through.
  int32_t font_size = 12;             ///< Height of the characters in pixels.
  std::string font;                   ///< Face name, GBK; empty: the player's own choice.
  int32_t align = kAlignLeft | kAlignVCentre;
};
struct SkinArea {
  SkinRect position;
};
/// The window's caption: an image, or a text in the window's caption area.
struct SkinTitle {
  SkinText text;
  std::string image;  ///< Instead of the text when there is one.
};
struct SkinToolbar {
  SkinRect position;
  std::string image;
  int32_t align = kAlignLeft | kAlignTop;
};
struct SkinScrollBar {
  std::string buttons_image;
  std::string thumb_image;
  std::string bar_image;
  int32_t thumb_resize_center = 0;  ///< Pixels in the middle of the thumb that grow with it.
  int32_t thumb_resize_tile = 0;    ///< Not 0: they are repeated instead of stretched.
};

enum class SkinPlayerButton {
  kPlay,
  kPause,
  kStop,
  kPrev,
  kNext,
  kMute,
  kOpen,
  kLyric,
  kEqualizer,
  kPlaylist,
  kExit,
  kMinimize,
  kMinimode,
};
inline constexpr size_t kSkinPlayerButtons = 13;
/// "play" … "minimode", in the order of the enumeration.
inline constexpr std::array<const char*, kSkinPlayerButtons> kSkinPlayerButtonNames = {
    "play",  "pause",     "stop",     "prev", "next",     "mute",    "open",
    "lyric", "equalizer", "playlist", "exit", "minimize", "minimode"};

/// The player window, and the mini player, which may have the same controls.
struct SkinPlayerWindow {
  std::string image;
  std::array<std::optional<SkinButton>, kSkinPlayerButtons> buttons;
  std::optional<SkinSlider> progress;
  std::optional<SkinSlider> volume;
  std::optional<SkinLed> led;
  std::optional<SkinArea> visual;
  std::optional<SkinArea> icon;
  /// The mini player's "lyric" element is a button or, without an image, the area that shows the current
  /// line.
  std::optional<SkinArea> lyric;
  std::optional<SkinText> info;
  std::optional<SkinText> stereo;
  std::optional<SkinText> status;

  const std::optional<SkinButton>& Button(SkinPlayerButton button) const {
    return buttons[static_cast<size_t>(button)];
  }
};

/// What the other three windows share.
struct SkinToolWindow {
  SkinRect position;  ///< On the screen, seen from the player window, until the user moves it.
  /// Of the window's bitmap: the middle that grows. Empty: the window cannot be resized.
  SkinRect resize_rect;
  int32_t resize_tile = 0;  ///< Not 0: the middle is repeated instead of stretched.
  std::string image;
  std::optional<SkinTitle> title;
  std::optional<SkinButton> close;
};
struct SkinLyricWindow : SkinToolWindow {
  std::optional<SkinButton> ontop;
  std::optional<SkinArea> lyric;
};
struct SkinEqualizerWindow : SkinToolWindow {
  /// Pixels between the sliders of two bands: the next begins their width and this further right.
  int32_t eq_interval = 0;
  std::optional<SkinButton> enabled;
  std::optional<SkinButton> profile;
  std::optional<SkinButton> reset;
  std::optional<SkinSlider> balance;
  std::optional<SkinSlider> surround;
  std::optional<SkinSlider> preamp;
  std::optional<SkinSlider> eqfactor;  ///< The lowest band's; the others follow to the right.
};
struct SkinPlaylistWindow : SkinToolWindow {
  std::optional<SkinToolbar> toolbar;
  std::optional<SkinScrollBar> scrollbar;
  std::optional<SkinArea> playlist;
};

struct SkinDescription {
  static constexpr int32_t kVersion = 2;

  int32_t version = 0;
  std::string name_gbk;
  std::string author_gbk;
  std::string email_gbk;  ///< Without "mailto:".
  std::string url_gbk;
  SkinColour transparent_colour = kNoColour;

  // A window that the file does not have is drawn by the player itself, from the system's colours.
  std::optional<SkinPlayerWindow> player_window;
  std::optional<SkinPlayerWindow> mini_window;
  std::optional<SkinLyricWindow> lyric_window;
  std::optional<SkinEqualizerWindow> equalizer_window;
  std::optional<SkinPlaylistWindow> playlist_window;
};

}  // namespace melorin
