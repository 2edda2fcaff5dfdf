// SPDX-License-Identifier: MIT
//
// The text list format. The first byte chooses the encoding, whether files exist and sheets are read.
#include "fuzz/list_fuzz.h"
#include "playlist/m3u.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using namespace melorin;
  if (size == 0) return 0;
  const M3uText text = (data[0] & 1) != 0 ? M3uText::kUtf8 : M3uText::kGbk;
  const RelativeBase base("D:\\lists\\l.m3u");
  CheckRoundTrip(
      {reinterpret_cast<const char*>(data + 1), size - 1}, data[0],
      [text](std::span<const uint8_t> bytes, const ListReading& reading, Playlist& list) {
        return ReadM3u(bytes, text, reading, list);
      },
      [text, &base](const Playlist& list) { return WriteM3u(list, text, base); });
  return 0;
}
