// SPDX-License-Identifier: MIT
//
// The shape of a window as the platform's region.
#pragma once

#include "app/gdi.h"
#include "ui/window_view.h"

namespace melorin {

/// None when the window has no shape but its rectangle, or memory runs out.
GdiObject<HRGN> ShapeOf(WindowView& view);

}  // namespace melorin
