// SPDX-License-Identifier: MIT
//
// Faults inside a guarded call end the call and nothing else.
#include "sound/fault_guard.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <thread>

namespace melorin {
namespace {

void* const kNowhere = reinterpret_cast<void*>(uintptr_t{16});
void WriteNowhere(void* place) {
  *static_cast<volatile int*>(place) = 1;
}
void DivideByZero(void* zero) {
  *static_cast<volatile int*>(zero) = 1000 / *static_cast<volatile int*>(zero);
}

TEST(FaultGuard, FaultsEndTheCallOnly) {
  int zero = 0;
  for (int round = 0; round < 100; ++round) {
    EXPECT_FALSE(CallGuarded(&WriteNowhere, kNowhere));
    EXPECT_FALSE(CallGuarded(&DivideByZero, &zero));
    int done = 0;
    EXPECT_TRUE(CallGuarded([](void* count) { ++*static_cast<int*>(count); }, &done));
    EXPECT_EQ(done, 1);
  }
}

TEST(FaultGuard, CallsNestAndThreadsAreApart) {
  const auto nested = [](void* outer_done) {
    EXPECT_FALSE(CallGuarded(&WriteNowhere, kNowhere));
    *static_cast<bool*>(outer_done) = true;
  };
  bool outer_done = false;
  EXPECT_TRUE(CallGuarded(nested, &outer_done));
  EXPECT_TRUE(outer_done);
  std::thread other([] { EXPECT_FALSE(CallGuarded(&WriteNowhere, kNowhere)); });
  other.join();
  EXPECT_TRUE(CallGuarded([](void*) {}, nullptr));
}

}  // namespace
}  // namespace melorin
