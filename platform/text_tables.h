// SPDX-License-Identifier: MIT
//
// The tables behind text.h. For the text module only.
//
// Inside the player text is code page 936, extended by GB18030: what 936 assigns, it decides; every other
// two-byte code and all four-byte codes are GB18030's. So each Unicode character has exactly one form (the
// euro sign is 0x80, as 936 has it; GB18030's A2 E3 is read too), private characters included.
#pragma once

#include <bitset>
#include <cstdint>
#include <string>
#include <string_view>

namespace melorin {

/// The platform's half: any code page to UTF-16. Sets *lossy (when given) to true if something was malformed
/// or unassigned; leaves it alone otherwise.
std::u16string Utf16FromCodePage(int code_page, std::string_view bytes, bool* lossy);

/// Code page 936 as the platform has it, read once, with what GB18030 adds to the two-byte codes.
class GbTables {
 public:
  static constexpr int kLeads = 126;
  static constexpr int kTrails = 190;
  static constexpr int kPairs = kLeads * kTrails;

  /// Read from the platform at the first use. Thread: any.
  static const GbTables& Get();

  /// -1 when the bytes are no two-byte code.
  static int PairIndex(unsigned char lead, unsigned char trail) {
    if (lead < 0x81 || lead == 0xFF || trail < 0x40 || trail == 0x7F || trail == 0xFF) return -1;
    return (lead - 0x81) * kTrails + trail - 0x40 - (trail > 0x7F ? 1 : 0);
  }
  /// `lead` from 0x80; 0: no character. No arithmetic and no test of the bytes: this is the hot way.
  char16_t Unit(unsigned char lead, unsigned char trail) const { return units_[(lead & 0x7F) << 8 | trail]; }
  /// By code page 936 itself.
  bool IsPlain(unsigned char lead, unsigned char trail) const {
    // The hanzi of GB2312 have no gaps but at the end of row D7. Most text is nothing else: without tables.
    if (trail >= 0xA1 && trail != 0xFF && lead >= 0xB0 && lead <= 0xF7 && lead != 0xD7) return true;
    const int pair = PairIndex(lead, trail);
    return pair >= 0 && Unit(lead, trail) != 0 && !added_[static_cast<size_t>(pair)];
  }
  /// One byte (below 0x100) or two, lead first; 0 for a character that has neither.
  uint16_t Code(char16_t unit) const { return codes_[unit]; }

 private:
  GbTables();
  void ReadCodePage();
  void Enter(int pair_index, char16_t unit);

  char16_t units_[0x8000] = {};
  uint16_t codes_[0x10000] = {};
  std::bitset<kPairs> added_;
};

constexpr uint32_t kNoGbFour = 0xFFFFFFFF;
/// The index of a character's four-byte code, counted from 81 30 81 30; kNoGbFour when it has none.
uint32_t GbFourIndex(char32_t c);
/// The character of a four-byte code; 0 when the code is unassigned.
char32_t CharacterOfGbFour(uint32_t index);

}  // namespace melorin
