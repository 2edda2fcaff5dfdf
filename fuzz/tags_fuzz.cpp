// SPDX-License-Identifier: MIT
//
// The tag scan over hostile files. The first byte chooses kinds and priority; with its high bit, silence
// longer than the scan's windows is put into the middle of the file.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <vector>

#include "platform/text.h"
#include "tags/byte_source.h"
#include "tags/tag_scan.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using namespace melorin;
  if (size == 0) return 0;
  const uint8_t choice = data[0];
  std::vector<uint8_t> bytes(data + 1, data + size);
  if ((choice & 0x80) != 0)
    bytes.insert(bytes.begin() + static_cast<std::ptrdiff_t>(bytes.size() / 2), 9000, uint8_t{0x55});

  MemoryByteSource file(bytes);
  TagFields fields;
  const TagScan scan = ReadTags(file, choice & 0x0F, fields,
                                (choice & 0x10) != 0 ? TagPriority::kApeFirst : TagPriority::kId3v2First);
  if (scan.audio_start < 0 || scan.audio_start > scan.audio_end || scan.audio_end > file.Size()) std::abort();
  for (size_t i = 0; i < fields.size(); ++i)
    if (fields.name(i).empty() || !IsValidUtf8(fields.name(i)) || !IsValidUtf8(fields.value(i))) std::abort();
  return 0;
}
