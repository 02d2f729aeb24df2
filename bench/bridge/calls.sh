#!/usr/bin/env bash
# Calls per second from LISP: a guarded module function against a plain LISP function of the same
# arity, each over an empty loop of the same length, in one run (CPU time, the least of
# KV_BENCH_RUNS runs, 5 by default). Usage: bench/bridge/calls.sh BUILD
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
empty=; plain=; module=
for ((r = 0; r < runs; ++r)); do
  e=$(once "(repeat $n T)")
  p=$(once "(defun plain-flag (f) nil) (repeat $n (plain-flag T))")
  m=$(once "(repeat $n (kv_hvac-setDoDocumentActivated T))")
  [[ -z $empty || $e -lt $empty ]] && empty=$e
  [[ -z $plain || $p -lt $plain ]] && plain=$p
  [[ -z $module || $m -lt $module ]] && module=$m
done

awk -v n="$n" -v e="$empty" -v p="$plain" -v m="$module" 'BEGIN {
  pc = (p - e) / n; mc = (m - e) / n;
  if (pc <= 0) pc = 1; if (mc <= 0) mc = 1;
  printf "calls: %d\n", n;
  printf "plain LISP function:   %8.0f ns/call  %10.0f calls/s\n", pc, 1e9 / pc;
  printf "guarded module call:   %8.0f ns/call  %10.0f calls/s\n", mc, 1e9 / mc;
  printf "module / plain:        %8.2f\n", mc / pc;
}'
