// SPDX-License-Identifier: MIT
//
// Where the player's windows are: what the settings remember of it, and what of that the screens there are
// allow.
#pragma once

#include <array>
#include <cstddef>
#include <vector>

#include "doc/settings.h"
#include "ui/window_view.h"

namespace melorin {

inline constexpr size_t kWindowCount = 5;
/// By SkinWindow.
using WindowViews = std::array<WindowView*, kWindowCount>;
using WindowRects = std::array<SkinRect, kWindowCount>;

constexpr size_t IndexOf(SkinWindow kind) {
  return static_cast<size_t>(kind);
}

/// What windows may cover of each screen, pixels; the main screen's first.
std::vector<SkinRect> WorkAreas();

/// The mini player and the lyrics beside it have places of their own.
SettingsRect& RememberedPlace(PlayerSettings& settings, SkinWindow kind);

/// Where the skin wants a window, seen from the player window, in pixels of the screen, in the size that the
/// view has now. Empty when it does not say.
SkinRect SkinPlace(const WindowView& view);

/// Where the windows belong: where they were; else as the skin has them around the player window, which is in
/// the middle of the first area unless it was elsewhere. Whatever cannot be reached with the mouse is brought
/// onto a screen, and what hangs on the player window comes with it. Pixels.
WindowRects WindowPlaces(const PlayerSettings& settings, const WindowViews& views,
                         const std::vector<SkinRect>& areas);

}  // namespace melorin
