// SPDX-License-Identifier: MIT
//
// The properties of an entry's file: where and how large it is, what is in it, and its tags; to be looked at
// and copied, not changed.
#pragma once

#include <windows.h>

#include "playlist/play_list_item.h"
#include "sound/sound_library.h"

namespace melorin {

/// Shows what is known at once and what the file says when a worker has read it. Ctrl+C copies what is
/// selected. Thread: the UI thread.
void ShowFileInfo(HWND owner, const SoundLibrary& library, const ItemRef& item);

}  // namespace melorin
