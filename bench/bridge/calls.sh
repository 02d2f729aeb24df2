#!/usr/bin/env bash
# Calls per second from LISP: a guarded module function against a plain LISP function of the same
# arity, each over an empty loop of the same length, in one run (CPU time). Usage: bench/bridge/calls.sh BUILD
set -euo pipefail
build=${1:-build}
kvhost="$build/kvhost"
n=${KV_BENCH_CALLS:-2000000}

# CPU time (user + system) of one kvhost run, in nanoseconds: steadier than wall time on a
# machine shared with builds.
run() {
  local TIMEFORMAT='%3U %3S' t
  t=$( { time "$kvhost" -e "$1" >/dev/null 2>&1; } 2>&1 )
  awk -v t="$t" 'BEGIN { split(t, a, " "); printf "%.0f\n", (a[1] + a[2]) * 1e9 }'
}

empty=$(run "(repeat $n T)")
plain=$(run "(defun plain-flag (f) nil) (repeat $n (plain-flag T))")
module=$(run "(repeat $n (kv_hvac-setDoDocumentActivated T))")

awk -v n="$n" -v e="$empty" -v p="$plain" -v m="$module" 'BEGIN {
  pc = (p - e) / n; mc = (m - e) / n;
  if (pc <= 0) pc = 1; if (mc <= 0) mc = 1;
  printf "calls: %d\n", n;
  printf "plain LISP function:   %8.0f ns/call  %10.0f calls/s\n", pc, 1e9 / pc;
  printf "guarded module call:   %8.0f ns/call  %10.0f calls/s\n", mc, 1e9 / mc;
  printf "module / plain:        %8.2f\n", mc / pc;
}'
