#!/usr/bin/env bash
# Measures the sound of melorin-cli as it is built now, and writes docs/sound-quality.md with its plots. Fails
# when a figure misses its mark.
#
#   scripts/sound-quality.sh           measures and writes the page
#   scripts/sound-quality.sh --check   measures and prints, writes nothing

. "$(dirname "$0")/lib.sh"
cd "$MELORIN_ROOT"

scripts/setup.sh quality
say "building melorin-cli"
cmake --preset host -DBUILD_TESTING=OFF -B build/quality >/dev/null
cmake --build build/quality --target melorin-cli >/dev/null
# Debian's own, whose numpy and matplotlib were installed.
exec /usr/bin/python3 scripts/sound_quality.py build/quality/bin/melorin-cli "$@"
