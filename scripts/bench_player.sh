#!/usr/bin/env bash
# Does one measurement of bench_player.py in a session of its own (display, sound server, Wine):
#
#   scripts/bench_player.sh MEASUREMENT FOLDER RESULT.json

. "$(dirname "$0")/audio-session.sh"
cd "$MELORIN_ROOT"

SESSION_SCREEN=1600x1000
session_display
export MELORIN_DISPLAY_PID=${session_pids[-1]}
session_sound
export MELORIN_PULSE_PID=${session_pids[-1]} MELORIN_SESSION_DIR=$SESSION_DIR MELORIN_SINK=$SESSION_SINK
session_prefix
# Where there is Windows, it runs already; Wine's services go with the last program.
wine "$MELORIN_BENCH_BIN/process_probe.exe" stay >"$SESSION_DIR/stay.log" 2>&1 </dev/null &
session_pids+=($!)
sleep 2
# Nothing of the player under the mouse: Wine looks for it then.
xdotool mousemove 1599 999
# Players keep settings; none shall meet those of the machine.
export XDG_CONFIG_HOME=$SESSION_DIR/config
mkdir -p "$XDG_CONFIG_HOME"
PYTHONPATH=$MELORIN_ROOT/tests MELORIN_BIN=$MELORIN_BENCH_BIN python3 -B scripts/bench_player.py --one "$@"
