// SPDX-License-Identifier: MIT
//
// Virtual key codes that the player knows by name, as the platform numbers them. Letters and digits are their
// ASCII characters. ui/key_text.cpp has what users call all keys.
#pragma once

#include <cstdint>

namespace melorin {

enum Key : uint16_t {
  kKeyBack = 0x08,
  kKeyTab = 0x09,
  kKeyReturn = 0x0D,
  kKeyEscape = 0x1B,
  kKeySpace = 0x20,
  kKeyPageUp = 0x21,
  kKeyPageDown = 0x22,
  kKeyEnd = 0x23,
  kKeyHome = 0x24,
  kKeyLeft = 0x25,
  kKeyUp = 0x26,
  kKeyRight = 0x27,
  kKeyDown = 0x28,
  kKeyInsert = 0x2D,
  kKeyDelete = 0x2E,
  kKeyApps = 0x5D,
  kKeyF2 = 0x71,
  kKeyF3 = 0x72,
  kKeyF5 = 0x74,
  kKeyF6 = 0x75,
  kKeyF10 = 0x79,
  kKeyMediaNext = 0xB0,
  kKeyMediaPrevious = 0xB1,
  kKeyMediaStop = 0xB2,
  kKeyMediaPlayPause = 0xB3,
  kKeyOpenBracket = 0xDB,
  kKeyCloseBracket = 0xDD,
};

}  // namespace melorin
