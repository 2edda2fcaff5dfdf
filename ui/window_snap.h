// SPDX-License-Identifier: MIT
//
// How windows lie side by side: edges that snap together, windows that hang together, places that are brought
// back onto the screens. Rectangles are pixels of the screen. Pure functions. Thread: any.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "skin/skin_description.h"
#include "ui/window_view.h"

namespace melorin {

/// How near edges must come to snap, pixels of a screen of scale 1.
inline constexpr int32_t kSnapReach = 10;

struct WindowOffset {
  int32_t dx = 0;
  int32_t dy = 0;
  bool operator==(const WindowOffset&) const = default;
};

/// How the rectangles, moved together, are to be moved further so that one of their edges meets one of
/// `others` (from outside, or in line with it where the two touch) or of the work areas (from inside).
/// Nothing where no edge is within `reach`. The two directions are independent.
WindowOffset SnapMove(std::span<const SkinRect> moving, std::span<const SkinRect> others,
                      std::span<const SkinRect> areas, int32_t reach);

/// The same for the edges that `part` moves; the other edges stay.
SkinRect SnapResize(const SkinRect& place, WindowPart part, std::span<const SkinRect> others,
                    std::span<const SkinRect> areas, int32_t reach);

/// Whether two windows touch along an edge, or overlap by no more than `slack` pixels, or are as little
/// apart.
bool AreTouching(const SkinRect& a, const SkinRect& b, int32_t slack);

/// Which of the rectangles hang together with that at `first`, by way of others too; itself included. Empty
/// rectangles are not there.
std::vector<bool> AttachedTo(std::span<const SkinRect> places, size_t first, int32_t slack);

/// The rectangle moved by as little as makes its title, the upper edge, be reached with the mouse: enough of
/// it lies in one of the work areas. Unchanged when it is, or when there are no areas.
SkinRect BroughtOntoScreens(const SkinRect& place, std::span<const SkinRect> areas, int32_t scale);

/// Where windows are that nobody has placed: as the skin has them around the player window, all together in
/// the middle of the work area. `wanted`: places seen from the player window's left top corner, the player's
/// own among them; empty ones stay empty.
std::vector<SkinRect> DefaultPlaces(std::span<const SkinRect> wanted, const SkinRect& area);

inline SkinRect Moved(const SkinRect& rect, int32_t dx, int32_t dy) {
  return {rect.left + dx, rect.top + dy, rect.right + dx, rect.bottom + dy};
}

/// Which edges a part of the window's frame moves.
constexpr bool MovesLeft(WindowPart part) {
  return part == WindowPart::kLeft || part == WindowPart::kTopLeft || part == WindowPart::kBottomLeft;
}
constexpr bool MovesRight(WindowPart part) {
  return part == WindowPart::kRight || part == WindowPart::kTopRight || part == WindowPart::kBottomRight;
}
constexpr bool MovesTop(WindowPart part) {
  return part == WindowPart::kTop || part == WindowPart::kTopLeft || part == WindowPart::kTopRight;
}
constexpr bool MovesBottom(WindowPart part) {
  return part == WindowPart::kBottom || part == WindowPart::kBottomLeft || part == WindowPart::kBottomRight;
}

}  // namespace melorin
