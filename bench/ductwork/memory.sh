#!/usr/bin/env bash
# Peak memory per duct of saving, opening and plotting, each size in a process of its own (a
# process's peak only grows). Usage: bench/ductwork/memory.sh BUILD_DIR
set -euo pipefail
build=${1:-build}
for size in 1000 100000; do
  for what in Save Open Plot; do
    "$build/bench_ductwork" --benchmark_filter="BM_Duct${what}/${size}\$" --benchmark_min_time=0.01 2>/dev/null | grep "BM_Duct${what}/" || true
  done
done
