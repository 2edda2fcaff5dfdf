# A private place to run the player in: a display, a sound server whose sink can be recorded, and a Wine session of
# its own. Sourced, after which the caller does
#
#   audio_session_start [--rate HZ] [--format FMT]   everything private: Xvfb, PulseAudio null sink, Wine session
#   recorder_start FILE.wav                          records the sink until recorder_stop
#   session_wine PROGRAM …                           runs a Windows program in the session
#   recorder_stop
#   recording_peak FILE.wav                          prints "peak_dbfs seconds_sounding seconds"
#   session_unmanaged                                tells Wine that no window manager runs
#   audio_session_stop                               ends all of it; also runs by itself when the shell exits
#
# Parts can be started one by one (session_display, session_sound, session_prefix) when the machine has the others.
# Any number of sessions can run side by side: the display is a free one, the sound server listens on a socket in a
# private folder, and the Wine prefix is a view of the project's own with its own registry and its own server, so
# that named objects, windows and sound of two sessions never meet.
#
# Before it: session_unmanaged and session_density, which change what the session's programs find.
#
# norewinds and disable-shm: without the first the null sink loses the start of what is played, without the second
# the daemon has been seen to abort.

. "$(dirname "${BASH_SOURCE[0]}")/lib.sh"

SESSION_DIR=
SESSION_SINK=melorin
SESSION_RATE=44100
SESSION_FORMAT=s16le
SESSION_REGISTRY=
SESSION_SOUND_PID=
session_pids=()
recorder_pid=

session_make_dir() {
  [ -z "$SESSION_DIR" ] || return 0
  SESSION_DIR=$(mktemp -d "${TMPDIR:-/tmp}/melorin-session.XXXXXX")
  trap audio_session_stop EXIT
  trap 'exit 130' INT
  trap 'exit 143' TERM HUP
}

# Xvfb on a display that is free, by its own choice; SESSION_SCREEN is its size.
session_display() {
  session_make_dir
  local number=$SESSION_DIR/display i
  Xvfb -displayfd 6 -screen 0 "${SESSION_SCREEN:-1024x768}x24" -nolisten tcp -noreset 6>"$number" >"$SESSION_DIR/xvfb.log" 2>&1 </dev/null &
  session_pids+=($!)
  for i in $(seq 100); do
    [ ! -s "$number" ] || break
    sleep 0.1
  done
  [ -s "$number" ] || die "Xvfb does not start: $(tail -3 "$SESSION_DIR/xvfb.log")"
  DISPLAY=:$(cat "$number")
  export DISPLAY
  unset WAYLAND_DISPLAY
}

session_sound() {
  session_make_dir
  local socket=$SESSION_DIR/pulse.sock i
  mkdir -p "$SESSION_DIR/pulse-run" "$SESSION_DIR/pulse-state"
  PULSE_RUNTIME_PATH=$SESSION_DIR/pulse-run PULSE_STATE_PATH=$SESSION_DIR/pulse-state \
    pulseaudio -n --daemonize=no --exit-idle-time=-1 --disallow-exit --disable-shm=yes --use-pid-file=no \
    -L "module-native-protocol-unix auth-anonymous=1 socket=$socket" \
    -L "module-null-sink sink_name=$SESSION_SINK rate=$SESSION_RATE format=$SESSION_FORMAT channels=2 norewinds=1" \
    >"$SESSION_DIR/pulse.log" 2>&1 </dev/null &
  SESSION_SOUND_PID=$!
  session_pids+=("$SESSION_SOUND_PID")
  export PULSE_SERVER=unix:$socket PULSE_COOKIE=$SESSION_DIR/pulse-state/cookie
  for i in $(seq 100); do
    ! pactl info >/dev/null 2>&1 || return 0
    sleep 0.1
  done
  die "PulseAudio does not start: $(tail -3 "$SESSION_DIR/pulse.log")"
}

# Registry text: menus, tips and dialogs of the system's in the font that 微软雅黑 stands for. Wine's own choice has no
# hanzi and borrows them without grey steps, which nobody can read. The values are LOGFONT structures: 12 pixels high,
# weight 400, default character set, and the face in UTF-16.
session_fonts() {
  local face name hex=f4,ff,ff,ff,00,00,00,00,00,00,00,00,00,00,00,00,90,01,00,00,00,00,00,01,00,00,00,00
  face=$(printf 'WenQuanYi Micro Hei' | iconv -t UTF-16LE | od -An -v -tx1 | tr -d ' \n')
  while [ ${#face} -lt 128 ]; do face+=00; done
  printf '\n%s\n' '[Control Panel\\Desktop\\WindowMetrics]'
  for name in CaptionFont MenuFont MessageFont SmCaptionFont StatusFont; do
    printf '"%s"=hex:%s%s\n' $name "$hex" "$(sed 's/../,&/g' <<<"$face")"
  done
}

# Where no window manager runs Wine waits two seconds for one at every window of the task bar that it hides.
session_unmanaged() { SESSION_REGISTRY+=$'\n[Software\\\\Wine\\\\X11 Driver]\n"Managed"="N"\n'; }

# session_density DPI: 96 is ordinary.
session_density() {
  SESSION_REGISTRY+=$'\n[Control Panel\\\\Desktop]\n"LogPixels"=dword:'$(printf %08x "$1")$'\n'
}

# session_prefix [FOLDER]: a Wine prefix that shares the files of the project's prefix and has its own registry and
# server. Wine decides once a session whether there is a display, so a session that began without one shows no
# windows later; this one begins with the display of the caller.
session_prefix() {
  local base=$MELORIN_CACHE/wineprefix folder=${1:-}
  # The project's prefix itself, made when it is not there.
  MELORIN_WINEPREFIX= WINEPREFIX=$base "$MELORIN_ROOT/scripts/wine-session.sh"
  if [ -z "$folder" ]; then
    session_make_dir
    folder=$SESSION_DIR/prefix
  fi
  if [ ! -e "$folder/melorin-ready" ]; then
    mkdir -p "$folder"
    ln -sfn "$base/drive_c" "$folder/drive_c"
    cp -a "$base/dosdevices" "$folder/"
    cp -a "$base"/*.reg "$base/.update-timestamp" "$folder/"
    session_fonts >>"$folder/user.reg"
    printf '%s' "$SESSION_REGISTRY" >>"$folder/user.reg"
    : >"$folder/melorin-ready"
  fi
  export WINEPREFIX=$folder LC_ALL=zh_CN.UTF-8
  # First program of the session with its streams away from any pipe: its services keep them open.
  timeout 60 wine cmd /c exit >"$folder/session.log" 2>&1 </dev/null || true
}

# Runs a Windows program in the session, at most MELORIN_WINE_TIMEOUT seconds (300).
session_wine() { timeout -k 5 "${MELORIN_WINE_TIMEOUT:-300}" wine "$@"; }

audio_session_start() {
  while [ $# -gt 0 ]; do
    case $1 in
      --rate) SESSION_RATE=$2; shift 2 ;;
      --format) SESSION_FORMAT=$2; shift 2 ;;
      *) die "audio_session_start: unknown option $1" ;;
    esac
  done
  session_display
  session_sound
  session_prefix
}

# recorder_start FILE.wav [SOURCE]: 16 bit unless the sink's format is wider; at the sink's rate.
recorder_start() {
  local file=$1 source=${2:-$SESSION_SINK.monitor}
  session_make_dir
  rm -f "$file"
  parec -d "$source" --format="$SESSION_FORMAT" --rate="$SESSION_RATE" --channels=2 --latency-msec=50 \
    --file-format=wav "$file" >"$SESSION_DIR/parec.log" 2>&1 </dev/null &
  recorder_pid=$!
  session_pids+=($recorder_pid)
  # What plays before the recorder listens is lost.
  local i
  for i in $(seq 50); do
    [ ! -s "$file" ] || break
    sleep 0.1
  done
  sleep 0.3
}

recorder_stop() {
  [ -n "$recorder_pid" ] || return 0
  sleep 0.3
  kill -INT "$recorder_pid" 2>/dev/null || true
  wait "$recorder_pid" 2>/dev/null || true
  recorder_pid=
}

recording_peak() {
  python3 - "$1" <<'PYTHON'
import array, math, sys, wave
with wave.open(sys.argv[1]) as w:
    width, rate, channels = w.getsampwidth(), w.getframerate(), w.getnchannels()
    data = w.readframes(w.getnframes())
if width not in (2, 4):
    sys.exit("recording_peak: %d-byte samples" % width)
samples = array.array("h" if width == 2 else "i", data)
full = float(1 << (8 * width - 1))
block = rate // 10 * channels
peaks = [max(map(abs, samples[i:i + block])) / full for i in range(0, len(samples), block)]
peak = max(peaks, default=0.0)
# Louder than -60 dBFS counts as sounding.
print("%.2f %.1f %.1f" % (20 * math.log10(peak) if peak else -200.0,
                          sum(p > 1e-3 for p in peaks) / 10.0, len(samples) / channels / rate))
PYTHON
}

audio_session_stop() {
  local status=$? pid
  trap - EXIT
  recorder_stop
  if [ -n "$SESSION_DIR" ] && [ "$WINEPREFIX" = "$SESSION_DIR/prefix" ] && [ -d "$WINEPREFIX" ]; then
    timeout 20 wineserver -k 2>/dev/null || true
    timeout 20 wineserver -w 2>/dev/null || true
  fi
  for pid in ${session_pids[@]+"${session_pids[@]}"}; do
    kill "$pid" 2>/dev/null || true
  done
  for pid in ${session_pids[@]+"${session_pids[@]}"}; do
    wait "$pid" 2>/dev/null || true
  done
  session_pids=()
  case $SESSION_DIR in
    */melorin-session.*) rm -rf "$SESSION_DIR" ;;
  esac
  SESSION_DIR=
  return $status
}
