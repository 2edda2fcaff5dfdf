#!/usr/bin/env bash
# Runs the end-to-end tests in a private display, sound server and Wine session:
#   tests/end_to_end.sh BIN [unittest arguments…]      BIN: build/windows/bin

. "$(dirname "$0")/../scripts/audio-session.sh"

bin=${1:?usage: tests/end_to_end.sh BIN [unittest arguments…]}
shift
audio_session_start
export MELORIN_BIN=$bin MELORIN_SINK=$SESSION_SINK MELORIN_SESSION_DIR=$SESSION_DIR \
  MELORIN_SOUND_PID=$SESSION_SOUND_PID
python3 -B "$(dirname "$0")/end_to_end.py" -v "$@"
