// SPDX-License-Identifier: MIT
#include "app/demo_tune.h"

#include <algorithm>
#include <cstdint>
#include <span>

#include "app/resource.h"
#include "platform/file.h"
#include "platform/text.h"

namespace melorin {

namespace {

/// Empty when that fails.
std::string WriteResource(HINSTANCE instance, int resource, const char* name) {
  const HRSRC place = FindResourceW(instance, MAKEINTRESOURCEW(resource), RT_RCDATA);
  const HGLOBAL loaded = place ? LoadResource(instance, place) : nullptr;
  const auto* data = loaded ? static_cast<const uint8_t*>(LockResource(loaded)) : nullptr;
  if (!data) return {};
  const std::span<const uint8_t> bytes(data, SizeofResource(instance, place));
  const std::string path = JoinPath(TempDirectory(), name);
  {
    MappedFile there;
    if (there.Open(path) && std::ranges::equal(there.Bytes(), bytes)) return path;
  }
  return WriteFileSafely(path, bytes) ? path : std::string();
}

}  // namespace

std::u16string WriteDemoTune(HINSTANCE instance) {
  // The tune is worth hearing without it.
  (void)WriteResource(instance, IDR_DEMO_LYRIC, "melorin-demo.lrc");
  return Utf16FromGbk(WriteResource(instance, IDR_DEMO_TUNE, "melorin-demo.mp3"));
}

}  // namespace melorin
