// SPDX-License-Identifier: MIT
//
// The component runtime for code that does not know which thread it runs on.
#pragma once

namespace melorin {

/// Makes the component runtime answer on every thread of the process from now on, also on threads that never
/// initialise it: those take part in the process's multithreaded apartment, which this keeps alive until the
/// program ends. A thread that has an apartment of its own keeps it.
///
/// Whoever creates an object of the runtime calls this first: sources are opened and used by the decode
/// thread and by callers of the library that may all be without an apartment, and an object must outlive the
/// call that made it. False when there is no memory for the thread that holds the apartment. Thread: any.
/// Cost: one thread that sleeps, at the first call; a check afterwards.
bool KeepComponentRuntime();

}  // namespace melorin
