// SPDX-License-Identifier: MIT
//
// Entries of lists on the system's clipboard: as files, for whoever takes files, and in a form of our own
// that keeps tracks of a file apart. Thread: the UI thread.
#pragma once

#include <windows.h>

#include <span>
#include <string>
#include <vector>

#include "playlist/play_list_item.h"

namespace melorin {

/// As entries, as files, and as `text` for programs that take nothing else. False when another program holds
/// the clipboard.
bool PutOnClipboard(HWND owner, std::span<const ItemRef> items, const std::u16string& text);

/// What there is to be pasted; one of the two.
struct ClipboardEntries {
  std::vector<ItemRef> items;
  std::vector<std::u16string> paths;
  bool IsEmpty() const { return items.empty() && paths.empty(); }
};
ClipboardEntries TakeFromClipboard(HWND owner);
/// Asks without opening the clipboard.
bool ClipboardHasEntries();

/// The form of our own: "MZLE", a version, the number of entries; for each the subtrack, the duration and the
/// path's length (32 bits each, little endian), then the path (GBK).
std::vector<uint8_t> PackEntries(std::span<const ItemRef> items);
/// Empty for anything else.
std::vector<ItemRef> UnpackEntries(std::span<const uint8_t> bytes);

}  // namespace melorin
