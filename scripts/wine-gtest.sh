#!/usr/bin/env bash
# Runs a test program under Wine: scripts/wine-gtest.sh [--windows] PROGRAM.EXE [arguments…]. Fails as the program
# does, and also when it ends without a result: Wine at times answers 0 for a process that crashed.
#
# --windows: the program shows windows, for which it gets a display and a Wine session of its own.

output=$(mktemp)
trap 'rm -f "$output"' EXIT
if [ "$1" = --windows ]; then
  shift
  (
    . "$(dirname "$0")/audio-session.sh"
    SESSION_SCREEN=1600x1000 session_display
    session_prefix
    session_wine "$@"
  ) >"$output" 2>&1 </dev/null
else
  "$(dirname "$0")/wine.sh" "$@" >"$output" 2>&1
fi
code=$?
cat "$output"
[ $code -eq 0 ] || exit $code
grep -q '^\[  PASSED  \]' "$output" || { echo "the program ended without a result"; exit 1; }
