// SPDX-License-Identifier: MIT
#include "ui/icon_control.h"

#include <algorithm>
#include <utility>

#include "doc/keys.h"
#include "skin/bitmap_draw.h"
#include "skin/shrink.h"
#include "skin/skin_layout.h"
#include "ui/program_icon.h"

namespace melorin {

void IconControl::SetIcon(Bitmap icon) {
  icon_ = std::move(icon);
  fitting_ = {};
  Repaint();
}

void IconControl::Paint(const PaintContext& context) {
  const SkinRect place = ScaledPosition(Place(), context.scale);
  if (place.IsEmpty()) return;
  if (fitting_.IsEmpty())
    fitting_ = icon_.IsEmpty() ? ProgramIcon(std::min(place.Width(), place.Height()))
                               : ShrunkToFit(icon_, place.Width(), place.Height());
  const SkinRect drawn = CentredIn(place, fitting_.width, fitting_.height);
  DrawCell(context.target, place, drawn.left, drawn.top, fitting_, BitmapBounds(fitting_));
}

void IconControl::OnRelease(const Pointer& pointer) {
  if (std::exchange(held_, false) && Contains(Place(), pointer.x, pointer.y)) DoDefault();
}

bool IconControl::OnKey(const KeyPress& key) {
  if ((key.key != kKeyReturn && key.key != kKeySpace) || key.ctrl || key.shift || key.alt) return false;
  DoDefault();
  return true;
}

void IconControl::DoDefault() {
  // It may be the end of this control, and with it of the function.
  const std::function<void()> press = press_;
  if (press) press();
}

}  // namespace melorin
