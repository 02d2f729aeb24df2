#!/usr/bin/env bash
# The duct commands in kvhost, each figure the difference of two runs that differ only in the
# work measured, in one sitting so that the ratios compare like with like.
#  1. kvDuct landing on the end of an existing duct, in drawings of 1,000 and 100,000 ducts.
#  2. A 1,000-duct system drawn leg by leg with kvDuct, and the share of it that the rows take
#     (kvductforce, which writes the same row, less kv_hvac-addDuctToDwg, which writes none).
# Usage: bench/ductwork/ductcmds.sh BUILD
set -euo pipefail
build=${1:-build}
kvhost="$(cd "$build" && pwd)/kvhost"
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
calls=${KV_BENCH_CALLS:-2000}

# CPU time (user and system) in nanoseconds of one kvhost run of the expression in a new project.
# Each new row is a durable write, so wall time is mostly the disk's sync and jumps between runs;
# CPU time is what the ratios compare. The wall seconds of the last run are kept in $work/wall.
run() {
  local dir="$work/p$RANDOM$RANDOM"
  mkdir -p "$dir"
  TIMEFORMAT='%3R %3U %3S'
  { time "$kvhost" --project "$dir" --open "$dir/bench.dwg" -e "$1" >/dev/null 2>&1; } 2>"$work/t"
  awk '{ print $1 > "'"$work"'/wall"; printf "%.0f\n", ($2 + $3) * 1e9 }' "$work/t"
}

# N ducts of 10 units on a grid of 20, with no rows: only the search at a point is measured.
grid() {
  echo "(setq i 0) (repeat $1 (kv_hvac-addDuctToDwg 1 (list (* 20.0 (rem i 316)) (* 20.0 (/ i 316)) 0.0)
        (list (+ 10.0 (* 20.0 (rem i 316))) (* 20.0 (/ i 316)) 0.0)) (setq i (1+ i)))"
}
# CALLS new ducts, each from the end of one of the first 1,000 ducts of the grid, with the part being
# drawn on screen as a designer has it (off screen, each search first zooms out to the drawing's
# extents, which the host finds by walking the drawing; a point on the view's edge counts as off).
zoom='(command "_.ZOOM" "_W" (quote (-100.0 -100.0)) (quote (6400.0 300.0)))'
landings="$zoom (setq i 0) (repeat $calls (setq j (rem i 1000))
          (kvDuct (list (+ 10.0 (* 20.0 (rem j 316))) (* 20.0 (/ j 316)))
                  (list (+ 10.0 (* 20.0 (rem j 316))) (+ 5.0 (* 20.0 (/ j 316))))) (setq i (1+ i)))"
settings='(duct-setSettings (quote (("SHAPE" "RC") ("WIDTH" 14.0) ("DEPTH" 10.0) ("Z1" 108.0) ("AIRFLOW" "sa"))))'

for n in 1000 100000; do
  base=$(run "$(grid $n) $zoom")
  with=$(run "$(grid $n) $landings")
  awk -v n="$n" -v b="$base" -v w="$with" -v c="$calls" \
    'BEGIN { printf "kvDuct landing on a duct, %d ducts: %.0f us/call (CPU)\n", n, (w - b) / c / 1000 }'
done

system="$settings (setq i 0 p (list 0.0 0.0)) (repeat 1000 (setq q (list (+ (car p) (if (= 0 (rem i 2)) 50.0 0.0))
        (+ (cadr p) (if (= 0 (rem i 2)) 0.0 30.0)))) (kvDuct p q) (setq p q i (1+ i)))"
forced="(setq i 0) (repeat 1000 (kvductforce (list (* 50.0 i) 0.0 0.0) (list (* 50.0 i) 30.0 0.0) 0) (setq i (1+ i)))"
plain="(setq i 0) (repeat 1000 (kv_hvac-addDuctToDwg 0 (list (* 50.0 i) 0.0 0.0) (list (* 50.0 i) 30.0 0.0)) (setq i (1+ i)))"
empty=$(run "$settings"); wallEmpty=$(cat "$work/wall")
drawn=$(run "$system"); wallDrawn=$(cat "$work/wall")
rows=$(run "$forced")
ents=$(run "$plain")
awk -v e="$empty" -v d="$drawn" -v r="$rows" -v p="$ents" -v we="$wallEmpty" -v wd="$wallDrawn" 'BEGIN {
  total = (d - e) / 1e9; db = (r - p) / 1e9;
  printf "1,000-duct system by kvDuct: %.2f s CPU (%.2f s wall); rows (insert and copy): %.2f s CPU, %.0f %%\n",
         total, wd - we, db, 100 * db / total }'
