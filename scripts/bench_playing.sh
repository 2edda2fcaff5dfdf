#!/usr/bin/env bash
# Plays a file in a session of its own (display, sound server, Wine) and measures the CPU time of the player:
#
#   scripts/bench_playing.sh PLAYER FILE SECONDS RESULT.json     PLAYER: a key of PLAYERS in bench_playing.py

. "$(dirname "$0")/audio-session.sh"
cd "$MELORIN_ROOT"

player=$1
# The sink has the rate that is delivered, so that the sound server converts nothing.
case $player in melorin-on) SESSION_RATE=48000 ;; esac
session_display
session_sound
export MELORIN_PULSE_PID=${session_pids[-1]} MELORIN_SESSION_DIR=$SESSION_DIR
case $player in melorin-*) session_prefix ;; esac
# Players keep settings; none shall meet those of the machine.
export XDG_CONFIG_HOME=$SESSION_DIR/config
mkdir -p "$XDG_CONFIG_HOME"
python3 -B scripts/bench_playing.py --one "$@"
recorder_start "$SESSION_DIR/heard.wav"
sleep 2
recorder_stop
kill "$(cat "$SESSION_DIR/player.pid")" 2>/dev/null || die "$player ended before its time"
peak=$(recording_peak "$SESSION_DIR/heard.wav" | cut -d' ' -f1)
awk -v peak="$peak" 'BEGIN { exit !(peak > -40) }' || die "$player is not heard: $peak dBFS"
