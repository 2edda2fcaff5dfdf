#!/usr/bin/env bash
# Makes docs/images/desktop.png and docs/images/window-*.png: starts the player on private displays, one of them of
# twice the density, with songs and lyrics made for it, and takes pictures of its windows, menus and options.
#
#   scripts/screenshots.sh [BIN [FOLDER]]     build/windows/bin and docs/images unless given
#   scripts/screenshots.sh BIN FOLDER all     every menu and every page of the options, to be looked at

root=$(cd "$(dirname "$0")/.." && pwd)
bin=$(cd "${1:-$root/build/windows/bin}" && pwd) || exit 1
folder=${2:-$root/docs/images}
mkdir -p "$folder"

# take_pictures SCALE [all]: each in a session of its own, as Wine decides at its start how dense a screen is.
take_pictures() (
  . "$root/scripts/audio-session.sh"
  SESSION_SCREEN=2400x1600
  session_unmanaged
  session_density $((96 * $1))
  audio_session_start
  export MELORIN_BIN=$bin MELORIN_SINK=$SESSION_SINK MELORIN_SESSION_DIR=$SESSION_DIR
  export MELORIN_SKIN=$bin/../skin/default/default_skin.zip
  # The system's own interpreter has the packages of setup.sh.
  PYTHONPATH=$root/tests/ui:$root/tests /usr/bin/python3 -B "$root/scripts/screenshots.py" "$folder" "$@"
)

set -e
take_pictures 1 "${3:-}"
take_pictures 2
