// SPDX-License-Identifier: MIT
//
// The kinds of value that settings have beside numbers and texts. Plain data; windows turn them into the
// platform's own records.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>

namespace melorin {

/// Pixels on the screen; left == right means that the window has not been placed yet.
struct SettingsRect {
  int32_t left = 0;
  int32_t top = 0;
  int32_t right = 0;
  int32_t bottom = 0;
  bool operator==(const SettingsRect&) const = default;
};

/// 0x00BBGGRR, as the platform's drawing functions take it.
struct SettingsColour {
  uint32_t value = 0;
  bool operator==(const SettingsColour&) const = default;
};

/// Milliseconds: play, pause, seek, stop.
using FadeTimes = std::array<int32_t, 4>;

/// A font as the platform's record for ANSI programs has it, 60 bytes in the same order.
struct FontRecord {
  static constexpr size_t kFaceBytes = 32;

  int32_t height = 0;  ///< Pixels; negative: of the characters without their leading.
  int32_t width = 0;   ///< 0: by the height.
  int32_t escapement = 0;
  int32_t orientation = 0;
  int32_t weight = 400;  ///< 400 normal, 700 bold.
  uint8_t italic = 0;
  uint8_t underline = 0;
  uint8_t strike_out = 0;
  uint8_t char_set = 1;  ///< 1: the system's default.
  uint8_t out_precision = 0;
  uint8_t clip_precision = 0;
  uint8_t quality = 0;
  uint8_t pitch_and_family = 0;
  std::array<char, kFaceBytes> face_gbk = {};  ///< Zero bytes follow a shorter name; a full one has none.

  /// The name without the zero bytes; valid as long as the record.
  std::string_view FaceGbk() const;
  /// Cut to 32 bytes, never within a character.
  void SetFaceGbk(std::string_view name_gbk);
  bool operator==(const FontRecord&) const = default;
};
static_assert(sizeof(FontRecord) == 60);

/// A key with its modifiers; key 0: none.
struct KeyStroke {
  uint16_t modifiers = 0;  ///< A sum: 1 Alt, 2 Ctrl, 4 Shift, 8 Windows; as hot keys are registered.
  uint16_t key = 0;        ///< Virtual key code.
  bool operator==(const KeyStroke&) const = default;
};
/// The keys of one command: in the player's own windows, and wherever the user is.
struct KeyBinding {
  int32_t command = 0;  ///< A CommandId.
  KeyStroke application;
  KeyStroke global;
  bool operator==(const KeyBinding&) const = default;
};

/// Ten bands from the lowest up, then the preamplifier; dB, -12 to 12 have an effect.
struct EqualizerBands {
  static constexpr size_t kBands = 10;
  static constexpr size_t kPreamp = 10;
  std::array<int32_t, kBands + 1> values = {};
  bool operator==(const EqualizerBands&) const = default;
};

}  // namespace melorin
