#!/usr/bin/env bash
# The result path from LISP: the twelve-month glass curve (288 pairs, 1,440 result cells) per call,
# net of an empty loop of the same length (CPU time, the least of KV_BENCH_RUNS runs, 5 by
# default). Usage: bench/bridge/results.sh BUILD
set -euo pipefail
build=${1:-build}
kvhost="$build/kvhost"
n=${KV_BENCH_CALLS:-20000}
runs=${KV_BENCH_RUNS:-5}

once() {
  local TIMEFORMAT='%3U %3S' t
  t=$( { time "$kvhost" -e "$1" >/dev/null 2>&1; } 2>&1 )
  awk -v t="$t" 'BEGIN { split(t, a, " "); printf "%.0f\n", (a[1] + a[2]) * 1e9 }'
}

empty=; glass=
for ((r = 0; r < runs; ++r)); do
  e=$(once "(repeat $n (setq x T))")
  g=$(once "(repeat $n (kv_hvac-getGlassCLTDDxf 40 \"B\" \"SSE\" 0 1 2 3 4 5 6 7 8 9 10 11))")
  [[ -z $empty || $e -lt $empty ]] && empty=$e
  [[ -z $glass || $g -lt $glass ]] && glass=$g
done

awk -v n="$n" -v e="$empty" -v g="$glass" 'BEGIN {
  gc = (g - e) / n; if (gc <= 0) gc = 1;
  printf "calls: %d\n", n;
  printf "glass curve, 12 months:  %8.1f us/call  %8.0f calls/s\n", gc / 1000, 1e9 / gc;
}'
