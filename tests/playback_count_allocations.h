// SPDX-License-Identifier: MIT
//
// Counts what this thread allocates, libraries included. Works under the address sanitizer; elsewhere
// CanCountAllocations() is false.
#pragma once

#include <cstddef>
#include <cstdint>

#if defined(__has_feature)
#if __has_feature(address_sanitizer)
#define MELORIN_ALLOCATION_HOOK
#endif
#endif
#if defined(__SANITIZE_ADDRESS__)
#define MELORIN_ALLOCATION_HOOK
#endif

#if defined(MELORIN_ALLOCATION_HOOK)
extern "C" int __sanitizer_install_malloc_and_free_hooks(void (*malloc_hook)(const volatile void*, size_t),
                                                         void (*free_hook)(const volatile void*));
#endif

namespace melorin {

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

}  // namespace melorin
