// SPDX-License-Identifier: MIT
//
// Windows of a skin as they would look while a song plays: for the list of skins, for authors and for docs.
#pragma once

#include "skin/bitmap.h"
#include "skin/skin_description.h"
#include "skin/skin_images.h"
#include "skin/text_painter.h"

namespace melorin {

enum class SkinWindow { kPlayer, kMini, kLyric, kEqualizer, kPlaylist };

/// One window, in the settings' default colours where the skin says none; resizable windows in the size that
/// their description gives. Empty when the skin does not have it. `text` may be null.
Bitmap PreviewWindow(const SkinDescription& skin, SkinWindow window, SkinImages& images, TextPainter* text);
/// All five on one sheet, with space between them; those that the skin does not have are left out.
Bitmap PreviewSheet(const SkinDescription& skin, SkinImages& images, TextPainter* text);

}  // namespace melorin
