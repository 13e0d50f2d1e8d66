#!/usr/bin/env bash
# Builds in release mode and runs every benchmark, side by side in one run.
# Usage: scripts/bench.sh [benchmark filter regex]
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/setup.sh
cmake -S . -B build-release -DCMAKE_BUILD_TYPE=Release -DVAXO_BENCH=ON -DVAXO_TESTS=OFF >/dev/null
cmake --build build-release -j"$(nproc)"
filter=${1:-.}
for b in build-release/bench/bench_*; do
  echo "== $(basename "$b")"
  "$b" --benchmark_filter="$filter" --benchmark_counters_tabular=true
done
