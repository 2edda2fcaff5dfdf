#!/usr/bin/env bash
# Runs a test program under Wine: scripts/wine-gtest.sh PROGRAM.EXE [arguments…]. Fails as the program does, and also
# when it ends without a result: Wine at times answers 0 for a process that crashed.

output=$(mktemp)
trap 'rm -f "$output"' EXIT
"$(dirname "$0")/wine.sh" "$@" >"$output" 2>&1
code=$?
cat "$output"
[ $code -eq 0 ] || exit $code
grep -q '^\[  PASSED  \]' "$output" || { echo "the program ended without a result"; exit 1; }
