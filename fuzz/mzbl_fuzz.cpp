// SPDX-License-Identifier: MIT
//
// The binary list format. The first byte chooses whether files exist.
#include "fuzz/list_fuzz.h"
#include "playlist/mzbl.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using namespace melorin;
  if (size == 0) return 0;
  CheckRoundTrip(
      {reinterpret_cast<const char*>(data + 1), size - 1}, data[0],
      [](std::span<const uint8_t> bytes, const ListReading& reading, Playlist& list) {
        return ReadMzbl(bytes, reading, list);
      },
      [](const Playlist& list) {
        const std::vector<uint8_t> bytes = WriteMzbl(list, true);
        return std::string(bytes.begin(), bytes.end());
      });
  return 0;
}
