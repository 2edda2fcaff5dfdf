// SPDX-License-Identifier: MIT
#include "app/demo_tune.h"

#include <algorithm>
#include <cstdint>
#include <span>

#include "app/resource.h"
#include "platform/file.h"
#include "platform/text.h"

namespace melorin {

std::u16string WriteDemoTune(HINSTANCE instance) {
  const HRSRC place = FindResourceW(instance, MAKEINTRESOURCEW(IDR_DEMO_TUNE), RT_RCDATA);
  const HGLOBAL loaded = place ? LoadResource(instance, place) : nullptr;
  const auto* data = loaded ? static_cast<const uint8_t*>(LockResource(loaded)) : nullptr;
  if (!data) return {};
  const std::span<const uint8_t> tune(data, SizeofResource(instance, place));
  const std::string path = JoinPath(TempDirectory(), "melorin-demo.mp3");
  {
    MappedFile there;
    if (there.Open(path) && std::ranges::equal(there.Bytes(), tune)) return Utf16FromGbk(path);
  }
  return WriteFileSafely(path, tune) ? Utf16FromGbk(path) : std::u16string();
}

}  // namespace melorin
