#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Writes platform/gb18030_tables.h: what GB18030 adds to code page 936.

    python3 tools/make_gb18030_tables.py > platform/gb18030_tables.h

The source is Python's own gb18030 codec; code page 936 is its gbk codec, plus the euro sign at 0x80. Before
writing, the script puts every Unicode character through the tables and back and stops if one is lost.
"""
import sys


def decode(data, codec):
    try:
        text = data.decode(codec)
        return ord(text) if len(text) == 1 else None
    except UnicodeDecodeError:
        return None


def pair_bytes(index):
    lead, trail = divmod(index, 190)
    return bytes([0x81 + lead, 0x40 + trail + (trail >= 0x3F)])


def four_index(data):
    a, b, c, d = data
    return ((a - 0x81) * 10 + b - 0x30) * 1260 + (c - 0x81) * 10 + d - 0x30


two_byte = []  # [index, unit, count]
plain = set()
for index in range(126 * 190):
    data = pair_bytes(index)
    if decode(data, "gbk") is not None:
        plain.add(decode(data, "gbk"))
        assert decode(data, "gbk") == decode(data, "gb18030")
        continue
    unit = decode(data, "gb18030")
    assert unit is not None
    last = two_byte[-1] if two_byte else None
    if last and last[0] + last[2] == index and last[1] + last[2] == unit:
        last[2] += 1
    else:
        two_byte.append([index, unit, 1])

four_byte = []  # [index, unit]; a range ends where the next begins
in_range = False
for unit in list(range(0x80, 0xD800)) + list(range(0xE000, 0x10000)):
    data = chr(unit).encode("gb18030")
    if len(data) == 4:
        index = four_index(data)
        if not in_range or index - four_byte[-1][0] != unit - four_byte[-1][1]:
            four_byte.append([index, unit])
        last_index = index
    in_range = len(data) == 4

# The proof: with these tables every character of the first plane has a form of its own.
by_two = {unit + i for _, unit, count in two_byte for i in range(count)}
by_four = set()
for (index, unit), following in zip(four_byte, four_byte[1:] + [[last_index + 1, None]]):
    by_four |= set(range(unit, unit + following[0] - index))
assert not by_four & (plain | by_two) and not plain & by_two
assert plain | by_two | by_four == set(range(0x80, 0xD800)) | set(range(0xE000, 0x10000))
for scalar in (0x10000, 0x1F600, 0x10FFFF):
    assert four_index(chr(scalar).encode("gb18030")) == four_index(b"\x90\x30\x81\x30") + scalar - 0x10000


def rows(entries):
    line = " "
    for entry in entries:
        item = " {" + ", ".join("%d" % v if i == 2 else "0x%04X" % v for i, v in enumerate(entry)) + "},"
        if len(line) + len(item) > 110:
            yield line
            line = " "
        line += item
    yield line


out = sys.stdout
out.write("""// SPDX-License-Identifier: MIT
//
// What GB18030 (2005) adds to code page 936. Written by tools/make_gb18030_tables.py; do not edit.
#pragma once

#include <cstdint>

namespace melorin {

/// Two-byte codes that code page 936 leaves unassigned: `count` codes from `index` on are the characters from
/// `unit` on. Index: (lead - 0x81) * 190 + the trail's rank among 0x40..0x7E, 0x80..0xFE.
struct GbTwoByteRun {
  uint16_t index;
  uint16_t unit;
  uint16_t count;
};
inline constexpr GbTwoByteRun kGbTwoByteRuns[] = {
    // clang-format off
""")
out.write("\n".join(rows(two_byte)))
out.write("""
    // clang-format on
};

/// Four-byte codes of the first plane: from `index` on the characters from `unit` on, up to the next range.
/// Index: the four digits to the bases 10, 126, 10, counted from 81 30 81 30.
struct GbFourByteRange {
  uint16_t index;
  uint16_t unit;
};
inline constexpr GbFourByteRange kGbFourByteRanges[] = {
    // clang-format off
""")
out.write("\n".join(rows(four_byte)))
out.write("""
    // clang-format on
};
/// One past the last index of the ranges.
inline constexpr uint32_t kGbFourByteEnd = %d;
/// 90 30 81 30, which is U+10000; the planes above the first are linear from there.
inline constexpr uint32_t kGbPlanesIndex = %d;

}  // namespace melorin
""" % (last_index + 1, four_index(b"\x90\x30\x81\x30")))
