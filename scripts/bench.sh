#!/usr/bin/env bash
# Measures Melorin beside what does the same, in one run on one machine, and writes docs/benchmarks.md.
#
#   scripts/bench.sh             everything, in the native and in the Windows build
#   scripts/bench.sh NAME…       only bench/NAME_bench.cpp ("processes": whole programs); prints instead of writing
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
    # Interleaving spreads a slow spell of the machine over all that is compared.
    "$@" "$program" --benchmark_repetitions="$repetitions" --benchmark_enable_random_interleaving=true \
      --benchmark_report_aggregates_only=true --benchmark_out_format=json \
      --benchmark_out="$results/$build-$name.json" >"$results/$build-$name.log" 2>&1 \
      || { tail -20 "$results/$build-$name.log" >&2; die "$program failed"; }
  done
}

selection=("$@")
build host
build windows
# A minute of noise and tones as bench/decode_bench.cpp wants it.
export MELORIN_BENCH_MP3=$results/minute.mp3
sox -n -r 44100 -c 2 -b 16 "$results/minute.wav" synth 60 pinknoise mix sine 220 synth 60 sine amod 3 gain -8
lame --quiet -b 192 "$results/minute.wav" "$MELORIN_BENCH_MP3"
run_programs host
export MELORIN_WINE_TIMEOUT=${MELORIN_WINE_TIMEOUT:-1800}
run_programs windows scripts/wine.sh
if wanted processes ${selection[@]+"${selection[@]}"}; then
  say "whole programs"
  python3 scripts/bench_processes.py "$repetitions" "$results/processes.json"
fi
if [ ${#selection[@]} -eq 0 ]; then
  mkdir -p docs
  python3 scripts/bench_report.py "$results" > "$results/benchmarks.md"
  mv "$results/benchmarks.md" docs/benchmarks.md
  say "docs/benchmarks.md is written"
else
  python3 scripts/bench_report.py "$results"
fi
