#!/usr/bin/env bash
# The application layer's load calculation of 500 rooms for 12 months and 24 hours.
set -euo pipefail
python3 "$(dirname "$0")/bench_loadcalc.py" "${1:-build}"
