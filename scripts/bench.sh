#!/usr/bin/env bash
# Measures Melorin beside what does the same, in one run on one machine.
#
#   scripts/bench.sh             everything, in the native and in the Windows build; writes docs/benchmarks.md and
#                                docs/benchmarks-sound.md
#   scripts/bench.sh sound       only what is done to sound, and playing; writes docs/benchmarks-sound.md
#   scripts/bench.sh player      only the player with its windows; writes its section of docs/benchmarks.md
#   scripts/bench.sh NAME…       only bench/NAME_bench.cpp, or whole programs: "processes", "effects" (equalizer and
#                                resampling), "playing"; prints instead of writing
#
# MELORIN_BENCH_REPETITIONS (5) is how often each measurement is made; the median counts.

. "$(dirname "$0")/lib.sh"
cd "$MELORIN_ROOT"

scripts/setup.sh bench
scripts/deps.sh bench

repetitions=${MELORIN_BENCH_REPETITIONS:-5}
results=$MELORIN_ROOT/build/bench-results
rm -rf "$results"
mkdir -p "$results"

# The other work of the machine while it was measured.
note_load() { cat /proc/loadavg >>"$results/load"; }

build() {
  local preset=$1 directory=build/bench-$1
  say "building $directory"
  # Optimised as the product is, so that what is measured is what people run.
  cmake --preset "$preset" -B "$directory" -DMELORIN_BENCH=ON -DBUILD_TESTING=OFF \
    >"$results/build-$preset.log" 2>&1 \
    && cmake --build "$directory" >>"$results/build-$preset.log" 2>&1 \
    || { tail -40 "$results/build-$preset.log" >&2; die "$directory cannot be built"; }
}

wanted() {
  local name
  [ $# -gt 1 ] || return 0
  for name in "${@:2}"; do
    if [ "$name" = "$1" ]; then return 0; fi
  done
  return 1
}

# run_programs BUILD WRAPPER… : every benchmark program of a build, one result file each.
run_programs() {
  local build=$1 source name program
  shift
  for source in bench/*_bench.cpp; do
    [ -e "$source" ] || continue
    name=$(basename "$source" _bench.cpp)
    wanted "$name" ${selection[@]+"${selection[@]}"} || continue
    program=build/bench-$build/bin/${name}_bench
    if [ -e "$program.exe" ]; then program=$program.exe; fi
    say "$program"
    note_load
    # Interleaving spreads a slow spell of the machine over all that is compared.
    "$@" "$program" --benchmark_repetitions="$repetitions" --benchmark_enable_random_interleaving=true \
      --benchmark_report_aggregates_only=true --benchmark_out_format=json \
      --benchmark_out="$results/$build-$name.json" >"$results/$build-$name.log" 2>&1 \
      || { tail -20 "$results/$build-$name.log" >&2; die "$program failed"; }
  done
}

# A stage of whole programs: run_whole NAME SCRIPT REPETITIONS
run_whole() {
  wanted "$1" ${selection[@]+"${selection[@]}"} || return 0
  say "$1"
  note_load
  python3 -B "$2" "$3" "$results/$1.json"
  note_load
}

# write_page PAGE [REPORT ARGUMENTS…]
write_page() {
  mkdir -p docs
  python3 -B scripts/bench_report.py "$results" "${@:2}" >"$results/page.md"
  mv "$results/page.md" "$1"
  say "$1 is written"
}

selection=("$@")
if [ "$*" = sound ]; then selection=(equalizer resampler chain effects playing); fi
build host
build windows
# A minute of noise and tones as bench/decode_bench.cpp wants it.
export MELORIN_BENCH_MP3=$results/minute.mp3
sox -n -r 44100 -c 2 -b 16 "$results/minute.wav" synth 60 pinknoise mix sine 220 synth 60 sine amod 3 gain -8
lame --quiet -b 192 "$results/minute.wav" "$MELORIN_BENCH_MP3"
export MELORIN_WINE_TIMEOUT=${MELORIN_WINE_TIMEOUT:-1800}
run_programs host
run_programs windows scripts/wine.sh
run_whole processes scripts/bench_processes.py "$repetitions"
run_whole effects scripts/bench_effects.py "$repetitions"
# A minute each: three are enough.
run_whole playing scripts/bench_playing.py $((repetitions < 3 ? repetitions : 3))
run_whole player scripts/bench_player.py $((repetitions < 3 ? repetitions : 3))
case "$*" in
  "")
    write_page docs/benchmarks.md
    write_page docs/benchmarks-sound.md sound
    ;;
  sound) write_page docs/benchmarks-sound.md sound ;;
  player) write_page docs/benchmarks.md player docs/benchmarks.md ;;
  *)
    python3 -B scripts/bench_report.py "$results"
    python3 -B scripts/bench_report.py "$results" sound
    ;;
esac
