// SPDX-License-Identifier: MIT
//
// How each kind of setting is written as an attribute's text and read from it. Reading takes what C's scanf
// takes: white space before a number, a sign, anything behind the last field. Texts are UTF-8; a zero byte
// ends them. A number too large for its type becomes the largest. Thread: any.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "doc/settings_types.h"
#include "platform/com.h"

namespace melorin {

/// Each returns false, and leaves `out` alone, when the text is empty or does not yield all fields. A number
/// without digits is 0, as C's atoi has it.
bool ParseSetting(std::string_view text, int32_t* out);
/// False for a text that is 0 only because it begins with no number.
bool HasNumber(std::string_view text);
/// Four numbers with commas.
bool ParseSetting(std::string_view text, SettingsRect* out);
bool ParseSetting(std::string_view text, FadeTimes* out);
/// "#rrggbb"; a field may have one digit.
bool ParseSetting(std::string_view text, SettingsColour* out);
/// Thirteen numbers and the face name up to white space, with commas; or "base64:" (in any case) and the
/// platform's record for ANSI (60 bytes) or wide (92 bytes) programs.
bool ParseSetting(std::string_view text, FontRecord* out);
/// Takes the GBK text.
bool ParseSetting(std::string_view text, std::string* out_gbk);
/// "{xxxxxxxx-xxxx-xxxx-xxxx-xxxxxxxxxxxx}" and nothing else; hexadecimal digits of either case.
bool ParseSetting(std::string_view text, GUID* out);
/// "command:a(modifiers,key),g(modifiers,key)"; numbers are cut to 16 bits.
bool ParseSetting(std::string_view text, KeyBinding* out);
/// "preamp:band,…,band".
bool ParseSetting(std::string_view text, EqualizerBands* out);

std::string FormatSetting(int32_t value);
std::string FormatSetting(const SettingsRect& value);
std::string FormatSetting(const FadeTimes& value);
std::string FormatSetting(const SettingsColour& value);
std::string FormatSetting(const FontRecord& value);
std::string FormatSetting(const std::string& value_gbk);
std::string FormatSetting(const GUID& value);
std::string FormatSetting(const KeyBinding& value);
std::string FormatSetting(const EqualizerBands& value);

}  // namespace melorin
