// SPDX-License-Identifier: MIT
#include "ui/window_snap.h"

#include <algorithm>
#include <cstdlib>
#include <limits>

namespace melorin {
namespace {

/// How much of a window's upper edge must be in view, pixels of scale 1.
constexpr int32_t kTitleWidth = 64;
constexpr int32_t kTitleHeight = 20;

/// The smallest of the offsets that were offered.
class Nearest {
 public:
  explicit Nearest(int32_t reach) : reach_(reach) {}
  void Offer(int32_t from, int32_t to) {
    const int64_t offset = static_cast<int64_t>(to) - from;
    if (std::abs(offset) > reach_) return;
    if (found_ && std::abs(offset) >= std::abs(offset_)) return;
    found_ = true;
    offset_ = static_cast<int32_t>(offset);
  }
  int32_t Offset() const { return found_ ? offset_ : 0; }

 private:
  int32_t reach_;
  bool found_ = false;
  int32_t offset_ = 0;
};

/// Whether the ranges meet, or nearly do.
bool Meet(int32_t a_first, int32_t a_last, int32_t b_first, int32_t b_last, int32_t slack) {
  return a_first <= b_last + slack && b_first <= a_last + slack;
}

/// Common pixels of the ranges; negative: the distance.
int32_t Overlap(int32_t a_first, int32_t a_last, int32_t b_first, int32_t b_last) {
  return std::min(a_last, b_last) - std::max(a_first, b_first);
}

}  // namespace

WindowOffset SnapMove(std::span<const SkinRect> moving, std::span<const SkinRect> others,
                      std::span<const SkinRect> areas, int32_t reach) {
  Nearest across(reach);
  Nearest down(reach);
  for (const SkinRect& rect : moving) {
    if (rect.IsEmpty()) continue;
    for (const SkinRect& other : others) {
      if (other.IsEmpty()) continue;
      if (Meet(rect.top, rect.bottom, other.top, other.bottom, reach)) {
        across.Offer(rect.left, other.right);
        across.Offer(rect.right, other.left);
        across.Offer(rect.left, other.left);
        across.Offer(rect.right, other.right);
      }
      if (Meet(rect.left, rect.right, other.left, other.right, reach)) {
        down.Offer(rect.top, other.bottom);
        down.Offer(rect.bottom, other.top);
        down.Offer(rect.top, other.top);
        down.Offer(rect.bottom, other.bottom);
      }
    }
    for (const SkinRect& area : areas) {
      if (Meet(rect.top, rect.bottom, area.top, area.bottom, 0)) {
        across.Offer(rect.left, area.left);
        across.Offer(rect.right, area.right);
      }
      if (Meet(rect.left, rect.right, area.left, area.right, 0)) {
        down.Offer(rect.top, area.top);
        down.Offer(rect.bottom, area.bottom);
      }
    }
  }
  return {across.Offset(), down.Offset()};
}

SkinRect SnapResize(const SkinRect& place, WindowPart part, std::span<const SkinRect> others,
                    std::span<const SkinRect> areas, int32_t reach) {
  Nearest left(reach);
  Nearest right(reach);
  Nearest top(reach);
  Nearest bottom(reach);
  const auto offer = [&](const SkinRect& other, int32_t slack) {
    if (other.IsEmpty()) return;
    if (Meet(place.top, place.bottom, other.top, other.bottom, slack)) {
      for (const int32_t edge : {other.left, other.right}) {
        left.Offer(place.left, edge);
        right.Offer(place.right, edge);
      }
    }
    if (Meet(place.left, place.right, other.left, other.right, slack)) {
      for (const int32_t edge : {other.top, other.bottom}) {
        top.Offer(place.top, edge);
        bottom.Offer(place.bottom, edge);
      }
    }
  };
  for (const SkinRect& other : others)
    offer(other, reach);
  for (const SkinRect& area : areas)
    offer(area, 0);
  SkinRect snapped = place;
  if (MovesLeft(part)) snapped.left += left.Offset();
  if (MovesRight(part)) snapped.right += right.Offset();
  if (MovesTop(part)) snapped.top += top.Offset();
  if (MovesBottom(part)) snapped.bottom += bottom.Offset();
  return snapped.IsEmpty() ? place : snapped;
}

bool AreTouching(const SkinRect& a, const SkinRect& b, int32_t slack) {
  if (a.IsEmpty() || b.IsEmpty()) return false;
  const int32_t across = Overlap(a.left, a.right, b.left, b.right);
  const int32_t down = Overlap(a.top, a.bottom, b.top, b.bottom);
  // Side by side along more than a corner.
  return (std::abs(across) <= slack && down > slack) || (std::abs(down) <= slack && across > slack);
}

std::vector<bool> AttachedTo(std::span<const SkinRect> places, size_t first, int32_t slack) {
  std::vector<bool> attached(places.size());
  if (first >= places.size() || places[first].IsEmpty()) return attached;
  attached[first] = true;
  for (bool more = true; more;) {
    more = false;
    for (size_t i = 0; i < places.size(); ++i) {
      if (attached[i]) continue;
      for (size_t j = 0; j < places.size() && !attached[i]; ++j)
        attached[i] = attached[j] && AreTouching(places[i], places[j], slack);
      more = more || attached[i];
    }
  }
  return attached;
}

SkinRect BroughtOntoScreens(const SkinRect& place, std::span<const SkinRect> areas, int32_t scale) {
  const int32_t title = std::min(kTitleHeight * scale, place.Height());
  const int32_t enough = std::min(kTitleWidth * scale, place.Width());
  int64_t least_way = std::numeric_limits<int64_t>::max();
  SkinRect nearest = place;
  for (const SkinRect& area : areas) {
    if (area.IsEmpty()) continue;
    if (place.top >= area.top && place.top + title <= area.bottom &&
        Overlap(place.left, place.right, area.left, area.right) >= enough)
      return place;
    // Whole onto the screen where it fits, else at its left top corner.
    const int32_t left = std::clamp(place.left, area.left, std::max(area.left, area.right - place.Width()));
    const int32_t top = std::clamp(place.top, area.top, std::max(area.top, area.bottom - place.Height()));
    const int64_t way =
        std::abs(static_cast<int64_t>(left) - place.left) + std::abs(static_cast<int64_t>(top) - place.top);
    if (way >= least_way) continue;
    least_way = way;
    nearest = {left, top, left + place.Width(), top + place.Height()};
  }
  return nearest;
}

std::vector<SkinRect> DefaultPlaces(std::span<const SkinRect> wanted, const SkinRect& area) {
  SkinRect all;
  for (const SkinRect& rect : wanted) {
    if (rect.IsEmpty()) continue;
    if (all.IsEmpty()) {
      all = rect;
      continue;
    }
    all = {std::min(all.left, rect.left), std::min(all.top, rect.top), std::max(all.right, rect.right),
           std::max(all.bottom, rect.bottom)};
  }
  // The title of the uppermost stays in view on a screen that is too small for all.
  const int32_t dx = area.left + std::max(0, (area.Width() - all.Width()) / 2) - all.left;
  const int32_t dy = area.top + std::max(0, (area.Height() - all.Height()) / 2) - all.top;
  std::vector<SkinRect> places;
  for (const SkinRect& rect : wanted)
    places.push_back(rect.IsEmpty() ? SkinRect{} : Moved(rect, dx, dy));
  return places;
}

}  // namespace melorin
