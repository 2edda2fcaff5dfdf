// SPDX-License-Identifier: MIT
//
// The Wave reader on arbitrary bytes: opening, format, seeks, reads.
#include "fuzz/memory_stream.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using namespace melorin;
  if (const auto source = FuzzSource(CreateWaveReader(), {data, size}, 0)) {
    WAVEFORMATEX* format = nullptr;
    source->GetFormat(&format);
    CoTaskMemFree(format);
  }
  return 0;
}
