#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Writes lyrics/hanzi_tables.h: which character stands for which when names are compared.

    python3 tools/make_hanzi_tables.py > lyrics/hanzi_tables.h

Sources: the Unihan database (UAX #38) as Debian's package unicode-data has it, and Python's unicodedata for
letters. Only characters of the first plane, on both sides.

Simplified: kSimplifiedVariant. Of several the first that is not the character itself. A character that lists
itself and is in GB 2312 is in use in simplified text (著, 乾, 覆): it is folded for comparison, and left alone
when text is shown.
Variants: a character outside GB 2312 and Big5's first level without a simplified form, whose
kSemanticVariant, kZVariant or kSpecializedSemanticVariant leads to exactly one character of GB 2312, itself or
by its simplified form (裏, 説, 爲). For comparison only.
Traditional: the inverse and kTraditionalVariant. Of several the most frequent by kFrequency, then the one in
Big5's first level, then the one taught first (kGradeLevel); when that is the character itself, it stays.
"""
import bz2
import sys
import unicodedata

FOLDER = "/usr/share/unicode/Unihan_"
FIELDS = {
    "Variants": ["kSimplifiedVariant", "kTraditionalVariant", "kSemanticVariant", "kZVariant",
                 "kSpecializedSemanticVariant"],
    "DictionaryLikeData": ["kFrequency", "kGradeLevel"],
    "OtherMappings": ["kGB0", "kBigFive"],
}
# Frequent in songs, and unrelated or ambiguous for Unihan.
OWN_VARIANTS = {"妳": "你", "気": "气", "豔": "艳"}
# Where frequency decides wrongly.
OWN_TRADITIONAL = {"只": "只"}
# Letters that decompose into nothing; those of two letters are the code's business.
OWN_LETTERS = {"ø": "o", "đ": "d", "ð": "d", "ł": "l", "ħ": "h", "ı": "i", "ŧ": "t", "ς": "σ"}


def read():
    data = {}
    for name, fields in FIELDS.items():
        with bz2.open(FOLDER + name + ".txt.bz2", "rt", encoding="utf-8") as lines:
            for line in lines:
                parts = line.rstrip("\n").split("\t")
                if len(parts) == 3 and parts[1] in fields:
                    data.setdefault(parts[1], {})[int(parts[0][2:], 16)] = parts[2]
    return data


def variants(data, field):
    """Character → its variants of the first plane, in the order of the database."""
    out = {}
    for code, value in data[field].items():
        found = [int(one.split("<")[0][2:], 16) for one in value.split()]
        found = [one for one in found if one < 0x10000]
        if code < 0x10000 and found:
            out[code] = found
    return out


def table(name, comment, pairs):
    out = [f"/// {comment}", f"inline constexpr char16_t {name}[] ="]
    text = "".join(chr(a) + chr(b) for a, b in sorted(pairs.items()))
    width = 48
    lines = [f'    u"{text[i:i + width]}"' for i in range(0, len(text), width)]
    return "\n".join(out + ["    // clang-format off"] + lines[:-1] + [lines[-1] + ";", "// clang-format on"])


def main():
    data = read()
    simplified = variants(data, "kSimplifiedVariant")
    traditional = variants(data, "kTraditionalVariant")
    gb = data["kGB0"]
    level_one = {code for code, value in data["kBigFive"].items() if int(value.split()[0], 16) <= 0xC67E}

    to_simplified, kept = {}, {}
    for code, found in simplified.items():
        others = [one for one in found if one != code]
        if not others:
            continue
        (kept if code in found and code in gb else to_simplified)[code] = others[0]

    merged = {}
    for code, found in simplified.items():
        for one in found:
            merged.setdefault(one, set()).add(code)
    for code, found in traditional.items():
        merged.setdefault(code, set()).update(found)

    def rank(code):
        return (int(data["kFrequency"].get(code, "6")), code not in level_one,
                int(data["kGradeLevel"].get(code, "7")), code)

    to_traditional = {}
    for code, found in merged.items():
        best = ord(OWN_TRADITIONAL.get(chr(code), chr(min(found, key=rank))))
        if best != code and code not in to_simplified:
            to_traditional[code] = best

    to_common = {ord(a): ord(b) for a, b in OWN_VARIANTS.items()}
    links = {}
    for field in ("kSemanticVariant", "kZVariant", "kSpecializedSemanticVariant"):
        for code, found in variants(data, field).items():
            links.setdefault(code, set()).update(found)
            for one in found:
                links.setdefault(one, set()).add(code)
    for code, found in links.items():
        if code in gb or code in level_one or code in to_simplified or code in kept or code in to_common:
            continue
        goals = {to_simplified.get(one, one) for one in found}
        goals = {one for one in goals if one in gb}
        if len(goals) == 1:
            to_common[code] = goals.pop()

    letters = {ord(a): ord(b) for a, b in OWN_LETTERS.items()}
    ranges = [(0xC0, 0x250), (0x370, 0x530), (0x1E00, 0x2000), (0xFF66, 0xFF9E)]
    for code in (code for first, end in ranges for code in range(first, end)):
        base = [c for c in unicodedata.normalize("NFKD", chr(code)) if not unicodedata.combining(c)]
        lowered = "".join(base).lower()
        lowered = OWN_LETTERS.get(lowered, lowered)
        if len(lowered) == 1 and ord(lowered) != code and ord(lowered) > 0x20:
            letters[code] = ord(lowered)

    for pairs in (to_simplified, kept, to_traditional, to_common, letters):
        assert all(0x60 < a < 0x10000 and 0x20 < b < 0x10000 for a, b in pairs.items())
    # One step is enough: what stands on the right never stands on the left of what is applied after it.
    folded = to_common | to_simplified | kept
    for code in folded:
        seen = {code}
        while folded[code] in folded:
            folded[code] = folded[folded[code]]
            assert folded[code] not in seen
            seen.add(folded[code])

    print(f"""// SPDX-License-Identifier: MIT
//
// Variants of Chinese characters and letters, from the Unicode Character Database (Unihan). Written by
// tools/make_hanzi_tables.py, which says by what rules; do not edit. Every table is pairs, a character and
// what it becomes, sorted by the first.
#pragma once

namespace melorin {{

{table("kHanziFolded", f"For comparing: {len(folded)} traditional characters and variants.", folded)}

{table("kHanziSimplified", f"For showing: {len(to_simplified)} traditional characters.", to_simplified)}

{table("kHanziTraditional", f"For showing: {len(to_traditional)} simplified characters.", to_traditional)}

{table("kLettersFolded", f"For comparing: {len(letters)} letters without case and marks, half-width kana.", letters)}

}}  // namespace melorin""")


if __name__ == "__main__":
    sys.exit(main())
