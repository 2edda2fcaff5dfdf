#!/usr/bin/env bash
# Draws the windows of the default skin for the docs: docs/images/skin-*.png, at 2x.

. "$(dirname "$0")/lib.sh"
cd "$MELORIN_ROOT"

cmake --preset host >/dev/null
cmake --build --preset host --target melorin-cli -- -j"$(jobs_count)"
for window in player mini lyric equalizer playlist; do
  say "skin-$window.png"
  build/host/bin/melorin-cli skin-preview '<DEFAULT_SKIN>' "docs/images/skin-$window.png" --window "$window" --scale 2
done
