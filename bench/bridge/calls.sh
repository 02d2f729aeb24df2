#!/usr/bin/env bash
# Calls per second from LISP: a guarded module function against a plain LISP function of the same
# arity, then the result path of the twelve-month glass curve (288 pairs, 1,440 result cells, a
# hundredth as many calls), each over an empty loop of the same length, in one run (CPU time, the
# least of KV_BENCH_RUNS runs, 5 by default). Usage: bench/bridge/calls.sh BUILD
set -euo pipefail
build=${1:-build}
kvhost="$build/kvhost"
n=${KV_BENCH_CALLS:-2000000}

runs=${KV_BENCH_RUNS:-5}

# CPU time (user + system) of one kvhost run, in nanoseconds: steadier than wall time on a
# machine shared with builds.
once() {
  local TIMEFORMAT='%3U %3S' t
  t=$( { time "$kvhost" -e "$1" >/dev/null 2>&1; } 2>&1 )
  awk -v t="$t" 'BEGIN { split(t, a, " "); printf "%.0f\n", (a[1] + a[2]) * 1e9 }'
}

# The least of several runs: what other work on the machine adds only ever lengthens a run.
curves=$((n / 100))
empty=; plain=; module=; emptyCurves=; glass=
for ((r = 0; r < runs; ++r)); do
  e=$(once "(repeat $n T)")
  p=$(once "(defun plain-flag (f) nil) (repeat $n (plain-flag T))")
  m=$(once "(repeat $n (kv_hvac-setDoDocumentActivated T))")
  ec=$(once "(repeat $curves T)")
  g=$(once "(repeat $curves (kv_hvac-getGlassCLTDDxf 40 \"B\" \"SSE\" 0 1 2 3 4 5 6 7 8 9 10 11))")
  [[ -z $empty || $e -lt $empty ]] && empty=$e
  [[ -z $plain || $p -lt $plain ]] && plain=$p
  [[ -z $module || $m -lt $module ]] && module=$m
  [[ -z $emptyCurves || $ec -lt $emptyCurves ]] && emptyCurves=$ec
  [[ -z $glass || $g -lt $glass ]] && glass=$g
done

awk -v n="$n" -v e="$empty" -v p="$plain" -v m="$module" -v c="$curves" -v ec="$emptyCurves" -v g="$glass" 'BEGIN {
  pc = (p - e) / n; mc = (m - e) / n;
  if (pc <= 0) pc = 1; if (mc <= 0) mc = 1;
  printf "calls: %d\n", n;
  printf "plain LISP function:   %8.0f ns/call  %10.0f calls/s\n", pc, 1e9 / pc;
  printf "guarded module call:   %8.0f ns/call  %10.0f calls/s\n", mc, 1e9 / mc;
  printf "module / plain:        %8.2f\n", mc / pc;
  gc = (g - ec) / c; if (gc <= 0) gc = 1;
  printf "glass curve, 12 months: %7.1f us/call (%d calls)\n", gc / 1000, c;
}'
