// SPDX-License-Identifier: MIT
//
// Signals of the C library; on Windows it turns Ctrl+C into one and calls the handler on a thread of its own.
#include "cli/interrupt.h"

#include <atomic>
#include <csignal>

namespace melorin {
namespace {

constexpr int kSignals[] = {SIGINT, SIGTERM};

std::atomic<bool> g_interrupted{false};
static_assert(std::atomic<bool>::is_always_lock_free);

void Note(int signal_number) {
  g_interrupted = true;
  std::signal(signal_number, SIG_DFL);
}

}  // namespace

InterruptWatch::InterruptWatch() {
  g_interrupted = false;
  for (const int signal_number : kSignals) {
    // Whoever started the program may want it to go on, as a shell does in the background.
    if (std::signal(signal_number, Note) == SIG_IGN) std::signal(signal_number, SIG_IGN);
  }
}

InterruptWatch::~InterruptWatch() {
  for (const int signal_number : kSignals)
    if (std::signal(signal_number, SIG_DFL) == SIG_IGN) std::signal(signal_number, SIG_IGN);
}

bool InterruptWatch::Interrupted() const {
  return g_interrupted;
}

}  // namespace melorin
