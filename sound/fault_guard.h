// SPDX-License-Identifier: MIT
//
// Keeps a fault inside foreign code from ending the player.
#pragma once

namespace melorin {

/// Calls body(context). False when the call was cut short by a fault of the processor (access violation,
/// illegal instruction, division by zero, failed page-in): whatever the body worked on is then in an unknown
/// state and must be given up, and its destructors have not run. A stack overflow is not contained.
///
/// Only Windows can do that; on the host a fault is a finding for the sanitizers and ends the program.
/// Thread: any; calls may nest. Cost: saving a few registers.
bool CallGuarded(void (*body)(void* context), void* context);

}  // namespace melorin
