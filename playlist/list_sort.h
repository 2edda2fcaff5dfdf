// SPDX-License-Identifier: MIT
//
// Sorting a list, and the two reorderings that are offered beside it. list_edit.h says what to do with the
// result.
#pragma once

#include <functional>
#include <string>
#include <string_view>

#include "playlist/list_edit.h"
#include "playlist/play_order.h"

namespace melorin {

enum class SortKey { kTitle, kArtist, kAlbum, kPath, kDuration, kTrackNumber };

/// How an entry is shown, for sorting by title: the title formatter with its settings.
using ShownTitle = std::function<std::u16string(const PlayListItem&)>;

/// Ascending; entries that compare equal keep their order, and entries without a value (no tag, duration not
/// known, number 0) come last. Texts compare as NaturalKey says. Without `shown_title` the title is the
/// item's own, or the file's name when it has none. 100,000 entries take some 100 ms.
ListEdit SortList(Playlist& list, SortKey key, const ShownTitle& shown_title = {});

ListEdit ReverseList(Playlist& list);
/// "随机乱序(&S)": shuffles the entries themselves; every order is equally likely.
ListEdit ShuffleList(Playlist& list, const RandomSource& random);

/// Appends bytes that compare (as unsigned bytes, the shorter first) as texts are to be sorted: runs of
/// digits by their value, ASCII letters without case, full-width forms like their ASCII characters,
/// everything else by its GBK bytes, which is the order of the pinyin for the 3,755 usual characters and of
/// the radicals for the next.
void AppendNaturalKey(std::string_view gbk, std::string& out);

}  // namespace melorin
