#!/usr/bin/env bash
# Runs the tests of the windows in a private display, sound server and Wine session:
#   tests/ui/run.sh BIN [unittest arguments…]      BIN: build/windows/bin
# All of them unless some are named (test_playing, test_lists.Editing.test_find_as_you_type). With
# MELORIN_UI_KEEP=FOLDER set, what the screen showed at a failure is kept there.

here=$(cd "$(dirname "$0")" && pwd)
. "$here/../../scripts/audio-session.sh"

bin=$(cd "${1:?usage: tests/ui/run.sh BIN [unittest arguments…]}" && pwd)
shift
SESSION_SCREEN=1600x1000
session_unmanaged
audio_session_start
# A copy, so that skins can be laid beside the program.
mkdir -p "$SESSION_DIR/bin/Skin"
cp "$bin/melorin.exe" "$SESSION_DIR/bin/"
export MELORIN_BIN=$SESSION_DIR/bin MELORIN_SINK=$SESSION_SINK MELORIN_SESSION_DIR=$SESSION_DIR
export MELORIN_SKIN=$bin/../skin/default/default_skin.zip
[ -z "${MELORIN_UI_KEEP:-}" ] || MELORIN_UI_KEEP=$(realpath -m "$MELORIN_UI_KEEP")
cd "$here"
# The system's own interpreter has the packages of setup.sh.
if [ $# -eq 0 ]; then set -- test_*.py; fi
/usr/bin/python3 -B -m unittest -v "$@"
