// SPDX-License-Identifier: MIT
//
// Checks a skin's bitmaps against its description, for its author: what the description alone cannot tell.
#pragma once

#include <vector>

#include "skin/skin_description.h"
#include "skin/skin_package.h"
#include "skin/skin_reader.h"

namespace melorin {

/// The least contrast of a text and what is behind it: WCAG 2.2, success criterion 1.4.3.
inline constexpr double kLeastTextContrast = 4.5;

/// Contrast of two colours, 1 to 21: WCAG 2.2, "contrast ratio". Thread: any.
double ContrastRatio(SkinColour a, SkinColour b);

/// Appends to `findings`, up to kMostSkinFindings in all, window by window: images that are missing or cannot
/// be read, sizes that do not fit skin_layout.h, positions outside their window, texts that are hard to read.
/// Decodes every image once and holds two at most. Thread: one that may wait for files.
void CheckSkin(const SkinDescription& skin, SkinPackage& package, std::vector<SkinFinding>* findings);

}  // namespace melorin
