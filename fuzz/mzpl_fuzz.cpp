// SPDX-License-Identifier: MIT
//
// The XML list format. The first byte chooses whether files exist.
#include "fuzz/list_fuzz.h"
#include "playlist/mzpl.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using namespace melorin;
  if (size == 0) return 0;
  const RelativeBase base("D:\\lists\\l.mzpl");
  CheckRoundTrip(
      {reinterpret_cast<const char*>(data + 1), size - 1}, data[0],
      [](std::span<const uint8_t> bytes, const ListReading& reading, Playlist& list) {
        return ReadMzpl(bytes, reading, list);
      },
      [&base](const Playlist& list) { return WriteMzpl(list, base, true); });
  return 0;
}
