#!/usr/bin/env bash
# Calls per second from LISP of the loads functions: a twelve-month glass curve and a 20-pair room
# store, each over an empty loop of the same length, in one run (CPU time). Usage: bench/loads/lisp_calls.sh BUILD
set -euo pipefail
build=${1:-build}
kvhost="$build/kvhost"
n=${KV_BENCH_CALLS:-20000}

# CPU time (user + system) of one kvhost run, in nanoseconds, the least of KV_BENCH_RUNS runs (3
# by default): other work on a shared machine only ever lengthens a run, and wall time counts it.
runs=${KV_BENCH_RUNS:-3}
run() {
  local TIMEFORMAT='%3U %3S' t best= ns
  for ((r = 0; r < runs; ++r)); do
    t=$( { time "$kvhost" -e "$1" >/dev/null 2>&1; } 2>&1 )
    ns=$(awk -v t="$t" 'BEGIN { split(t, a, " "); printf "%.0f\n", (a[1] + a[2]) * 1e9 }')
    [[ -z $best || $ns -lt $best ]] && best=$ns
  done
  echo "$best"
}

pairs='"dRoof" 1.5 "dWall" 2.5 "dGlass" 3.5 "dDoor" 1 "dFloor" 2 "dLights" 3 "dPeopleSensible" 4
"dPeopleLatent" 5 "iCoolingCFM" 10.9 "iOSACFM" 3 "dInfiltrationSensible" 1 "dInfiltrationLatent" 2
"dEquipmentSensible" 3 "dEquipmentLatent" 4 "dRoomTotal" 5 "dArea" 6 "dPeople" 7 "dPeopleRatio" 8
"dSystemTotal" 9 "dPlenumTotal" 10'
empty=$(run "(repeat $n (setq x T))")
glass=$(run "(repeat $n (kv_hvac-getGlassCLTDDxf 40 \"B\" \"SSE\" 0 1 2 3 4 5 6 7 8 9 10 11))")
store=$(run "(repeat $n (kv_hvac-loads-storeRoomData 3 2 1 $pairs))")

awk -v n="$n" -v e="$empty" -v g="$glass" -v s="$store" 'BEGIN {
  gc = (g - e) / n; sc = (s - e) / n;
  if (gc <= 0) gc = 1; if (sc <= 0) sc = 1;
  printf "calls: %d\n", n;
  printf "getGlassCLTDDxf, 12 months:  %8.0f ns/call  %10.0f calls/s\n", gc, 1e9 / gc;
  printf "storeRoomData, 20 pairs:     %8.0f ns/call  %10.0f calls/s\n", sc, 1e9 / sc;
  printf "glass / store:               %8.2f\n", gc / sc;
}'
