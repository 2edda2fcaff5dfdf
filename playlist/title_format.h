// SPDX-License-Identifier: MIT
//
// Titles, captions and file names made from a pattern: "%(Artist) - %(Title)". "%(Name)" stands for a tag,
// the letters F E P C A T L G I Y D for parts of the file name, the codec and the usual tags.
#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <string_view>

#include "playlist/play_list_item.h"

namespace melorin {

struct PlayListSettings;

struct FormattedTitle {
  std::u16string text;
  size_t found = 0;  ///< Placeholders that had a value; 0: the text is made of defaults only.
};
/// Expands "%" with a letter of the table, matched in upper case only, and "%(Name)" with any tag's name.
/// What has no value gives its default: nothing for a part of the file name, "N/A" for the codec, "0" for the
/// track number, else "(未知…)" with the description or the name in brackets. "%" with any other character
/// gives that character, "%(" without a name or ")" behind it nothing, a "%" at the end itself. The extension
/// comes without its dot, the file name without folder and extension, the path whole. Thread: the UI thread.
FormattedTitle FormatTitle(std::u16string_view pattern, const PlayListItem& item);

struct TitlePlaceholder {
  char16_t letter;
  std::u16string_view field;
  std::u16string_view description;
};
/// In the order in which the options page shows them.
std::span<const TitlePlaceholder> TitlePlaceholders();

/// Patterns offered for naming files by their tags; "\" parts folders.
std::span<const std::u16string_view> FileNamePatterns();

/// The settings that decide how an entry is shown.
struct TitleSettings {
  std::u16string default_pattern = u"%(Artist) - %(Title)";  ///< "DefTitleFormat"
  std::u16string tag_pattern;                                ///< "TagTitleFormat"
  bool use_tag_pattern = false;                              ///< "TagFormat"
  bool number = true;                                        ///< "TitleNumber"
};
TitleSettings TitleSettingsFrom(const PlayListSettings& settings);

/// An entry's title as the list shows it, without the running number: the tag pattern's text when it is in
/// use and found a value, else the default pattern's when that found one, else the item's own title, else the
/// file name. So a list without tags shows names, not defaults. An empty pattern finds nothing.
std::u16string EntryTitle(const PlayListItem& item, const TitleSettings& settings);
/// The same with "12." in front when the settings ask for it. `index` counts from 0.
std::u16string NumberedTitle(const PlayListItem& item, size_t index, const TitleSettings& settings);

}  // namespace melorin
