// SPDX-License-Identifier: MIT
//
// How a reader's description, "label(*.a;*.b)", becomes what files are matched with and what the open dialog
// shows. Pure functions.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace melorin {

struct ReaderPatterns {
  std::u16string label;     ///< The text before "(".
  std::u16string patterns;  ///< The text between the brackets, as written.
};

/// Nothing for a description without both brackets. Thread: any.
std::optional<ReaderPatterns> ParseDescription(std::u16string_view description);

/// ";" + patterns + ";" with ASCII letters lowered.
std::u16string ExtensionList(std::u16string_view patterns);

/// Paths whose extension has this many characters or more are nobody's.
inline constexpr size_t kMaxExtension = 260;

/// The text after the path's last "."; nothing when there is none. It may be empty or, for a name without a
/// dot in a folder with one, hold separators; such an extension matches no list.
std::optional<std::u16string_view> ExtensionOf(std::u16string_view path);

/// ";*." + extension + ";" with ASCII letters lowered: what must stand in a reader's extension list.
std::u16string ExtensionPattern(std::u16string_view extension);

}  // namespace melorin
