// SPDX-License-Identifier: MIT
//
// Gives the texts of a page their access keys, "(&A)" behind the text as Chinese programs have them, so that
// no page has to see to it that two do not share one.
#pragma once

#include <string>
#include <string_view>

namespace melorin {

class AccessKeys {
 public:
  /// `taken`: letters that other controls beside the page have.
  explicit AccessKeys(std::u16string_view taken) : taken_(taken) {}

  /// "间隔:" becomes "间隔(&A):", "浏览..." "浏览(&B)...". A text that has a key keeps it; when all letters
  /// are given away, a text stays as it is.
  std::u16string Give(std::u16string_view text);

 private:
  std::u16string taken_;
};

}  // namespace melorin
