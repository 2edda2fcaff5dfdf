// SPDX-License-Identifier: MIT
//
// Choices that more than one page offers.
#pragma once

#include <vector>

#include "app/options/bound_controls.h"

namespace melorin {

/// Of a thread, as the platform numbers them.
std::vector<ChoiceItem> PriorityChoices();
/// Of a sample; 0: the source's own.
std::vector<ChoiceItem> BitsChoices();
/// Hz; 0: the source's own.
std::vector<ChoiceItem> RateChoices();

}  // namespace melorin
