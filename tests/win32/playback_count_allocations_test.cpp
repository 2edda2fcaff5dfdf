// SPDX-License-Identifier: MIT
//
// Stands in front of the C library's heap for all that is linked into the program: the linker leads every
// call of malloc to __wrap_malloc.
#include "../playback_count_allocations.h"

#include <gtest/gtest.h>
#include <windows.h>

#include <atomic>
#include <cstdlib>
#include <vector>

namespace melorin {
namespace {

std::atomic<DWORD> g_slot{TLS_OUT_OF_INDEXES};

void Note() {
  if (g_slot == TLS_OUT_OF_INDEXES) return;
  const DWORD error = GetLastError();  // Which the slot clears.
  t_allocations = t_allocations + 1;
  SetLastError(error);
}

}  // namespace

ThreadCount::operator uint32_t() const {
  return static_cast<uint32_t>(reinterpret_cast<uintptr_t>(TlsGetValue(g_slot)));
}

void ThreadCount::operator=(uint32_t count) {
  TlsSetValue(g_slot, reinterpret_cast<void*>(uintptr_t{count}));
}

bool CanCountAllocations() {
  static const bool ready = [] {
    g_slot = TlsAlloc();
    return g_slot != TLS_OUT_OF_INDEXES;
  }();
  return ready;
}

TEST(CountAllocations, SeesEveryWayToTheHeap) {
  ASSERT_TRUE(CanCountAllocations());
  t_allocations = 0;
  void* volatile block = std::malloc(10);
  EXPECT_EQ(t_allocations, 1u);
  block = std::realloc(block, 1000);
  EXPECT_EQ(t_allocations, 2u);
  std::free(block);
  block = std::calloc(3, 5);
  std::free(block);
  EXPECT_EQ(t_allocations, 3u);
  const std::vector<int> numbers(100);
  EXPECT_EQ(t_allocations, 4u);
}

}  // namespace melorin

extern "C" {
void* __real_malloc(size_t size);
void* __real_calloc(size_t count, size_t size);
void* __real_realloc(void* block, size_t size);

void* __wrap_malloc(size_t size);
void* __wrap_calloc(size_t count, size_t size);
void* __wrap_realloc(void* block, size_t size);

void* __wrap_malloc(size_t size) {
  melorin::Note();
  return __real_malloc(size);
}
void* __wrap_calloc(size_t count, size_t size) {
  melorin::Note();
  return __real_calloc(count, size);
}
void* __wrap_realloc(void* block, size_t size) {
  melorin::Note();
  return __real_realloc(block, size);
}
}
