// SPDX-License-Identifier: MIT
//
// The component-object floor: result codes, GUID, IUnknown, IStream, WAVEFORMATEX and task memory. On Windows
// these are the platform's own; on the host the same names with the same layout and slot order, just as much
// of them as the core uses. Everything that speaks the component style includes this and nothing else.
#pragma once

#include <cstddef>
#include <cstdint>

#if defined(_WIN32)
#include "platform/win32/com_types.h"
#else
#include "platform/host/com_types.h"
#endif

namespace melorin {

/// A UTF-16 code unit as interfaces pass it: the platform's wchar_t on Windows, char16_t elsewhere. The core
/// itself works with char16_t; see `AsChar16` and `AsWide`.
using WideChar = WCHAR;
static_assert(sizeof(WideChar) == 2);

/// Result codes that the decoding and playback interfaces use; callers mostly test the sign with FAILED().
/// S_OK 0, S_FALSE 1 (nothing done, end of data), E_NOTIMPL, E_NOINTERFACE, E_POINTER, E_FAIL, E_INVALIDARG,
/// E_OUTOFMEMORY and E_UNEXPECTED have the platform's values on both builds.

inline const char16_t* AsChar16(const WideChar* text) {
  return reinterpret_cast<const char16_t*>(text);
}
inline const WideChar* AsWide(const char16_t* text) {
  return reinterpret_cast<const WideChar*>(text);
}

/// Size in bytes of a format record with its extension.
inline size_t FormatSize(const WAVEFORMATEX& format) {
  return sizeof(WAVEFORMATEX) + format.cbSize;
}
static_assert(sizeof(WAVEFORMATEX) == 18, "the record is packed on both builds");
static_assert(sizeof(GUID) == 16);

/// Copies a format record, extension included, into task memory (freed with CoTaskMemFree); null when memory
/// runs out.
WAVEFORMATEX* CopyFormat(const WAVEFORMATEX& format);

/// Copies a NUL-terminated text into task memory; null when memory runs out.
WideChar* CopyText(const char16_t* text);

inline bool SameGuid(const GUID& a, const GUID& b) {
  const auto* x = reinterpret_cast<const unsigned char*>(&a);
  const auto* y = reinterpret_cast<const unsigned char*>(&b);
  for (size_t i = 0; i < sizeof(GUID); ++i)
    if (x[i] != y[i]) return false;
  return true;
}

}  // namespace melorin
