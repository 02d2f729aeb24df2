#!/usr/bin/env bash
# Peak memory of saving and of opening a drawing, each size in a process of its own (a process's
# peak only grows, so sizes must not share one). Usage: bench/db/saveopen_memory.sh BUILD_DIR
set -euo pipefail
build=${1:-build}
for size in 10000 100000; do
  for what in Save Open; do
    "$build/bench_db" --benchmark_filter="BM_${what}/${size}\$" --benchmark_min_time=0.01 2>/dev/null | grep "BM_${what}/" || true
  done
done
