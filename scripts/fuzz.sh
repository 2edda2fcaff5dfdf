#!/usr/bin/env bash
# Runs one fuzz target from its seeds.
#
#   scripts/fuzz.sh NAME [SECONDS [PROGRAM]]     NAME as in fuzz/NAME_fuzz.cpp; 600 seconds unless given
#
# What it finds is left in build/fuzz/NAME/, together with the grown corpus.

. "$(dirname "$0")/lib.sh"

name=${1:?usage: scripts/fuzz.sh NAME [SECONDS [PROGRAM]]}
seconds=${2:-600}
program=${3:-$MELORIN_ROOT/build/asan/bin/${name}_fuzz}
out=$MELORIN_ROOT/build/fuzz/$name
mkdir -p "$out/corpus"
seeds=()
[ -d "$MELORIN_ROOT/fuzz/seeds/$name" ] && seeds+=("$MELORIN_ROOT/fuzz/seeds/$name")
dictionary=$MELORIN_ROOT/fuzz/$name.dict
options=(-max_total_time="$seconds" -timeout=10 -rss_limit_mb=1024 -max_len=70000 -artifact_prefix="$out/"
         -print_final_stats=1)
[ -e "$dictionary" ] && options+=(-dict="$dictionary")
exec "$program" "${options[@]}" "$out/corpus" "${seeds[@]}"
