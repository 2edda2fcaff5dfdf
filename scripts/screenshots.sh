#!/usr/bin/env bash
# Makes docs/images/window-*.png and desktop.png: starts the player on a private display with songs and lyrics made
# for it, and takes pictures of its windows, menus and dialogs.
#
#   scripts/screenshots.sh [BIN [FOLDER]]     build/windows/bin and docs/images unless given

. "$(dirname "$0")/audio-session.sh"

bin=$(cd "${1:-$MELORIN_ROOT/build/windows/bin}" && pwd)
folder=${2:-$MELORIN_ROOT/docs/images}
mkdir -p "$folder"
SESSION_SCREEN=1280x800
audio_session_start
export MELORIN_BIN=$bin MELORIN_SINK=$SESSION_SINK MELORIN_SESSION_DIR=$SESSION_DIR
export MELORIN_SKIN=$bin/../skin/default/default_skin.zip
# The system's own interpreter has the packages of setup.sh.
PYTHONPATH=$MELORIN_ROOT/tests/ui:$MELORIN_ROOT/tests /usr/bin/python3 -B "$MELORIN_ROOT/scripts/screenshots.py" "$folder"
