// SPDX-License-Identifier: MIT
//
// How a stream starts its threads; tests replace it to count threads or to fail.
#pragma once

#include <functional>

#include "platform/thread.h"

namespace melorin {

/// Starts the body on the thread; false when the thread cannot be started.
using ThreadStarter = std::function<bool(Thread& thread, std::function<void()> body)>;

}  // namespace melorin
