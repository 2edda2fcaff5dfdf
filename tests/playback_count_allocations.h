// SPDX-License-Identifier: MIT
//
// Counts what a thread allocates, libraries included: by the sanitizers' hooks, and in the Windows build by
// what stands in front of the C library (win32/playback_count_allocations_test.cpp). Elsewhere
// CanCountAllocations() is false.
#pragma once

#include <cstddef>
#include <cstdint>

#if defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define MELORIN_ALLOCATION_HOOK
#endif
#endif
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define MELORIN_ALLOCATION_HOOK
#endif

#if defined(MELORIN_ALLOCATION_HOOK)
extern "C" int __sanitizer_install_malloc_and_free_hooks(void (*malloc_hook)(const volatile void*, size_t),
                                                         void (*free_hook)(const volatile void*));
#endif

namespace melorin {

#if defined(_WIN32)

/// One number a thread, in a slot of the system's: a thread_local variable is itself got from the heap.
class ThreadCount {
 public:
  operator uint32_t() const;
  void operator=(uint32_t count);
};
inline ThreadCount t_allocations;

/// Counts from the first call on.
bool CanCountAllocations();

#else

inline thread_local uint32_t t_allocations = 0;

/// Installs the hook at the first call.
inline bool CanCountAllocations() {
#if defined(MELORIN_ALLOCATION_HOOK)
  static const int installed = __sanitizer_install_malloc_and_free_hooks(
      [](const volatile void*, size_t) { ++t_allocations; }, [](const volatile void*) {});
  return installed != 0;
#else
  return false;
#endif
}

#endif

}  // namespace melorin
