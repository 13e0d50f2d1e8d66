#!/usr/bin/env bash
# Builds the libFuzzer targets with clang, replays the kept corpora (every crash found so far is
# kept there as a regression input), then fuzzes each target for a bounded time.
# Usage: scripts/fuzz.sh [seconds per target, default 20]   (a long offline run: scripts/fuzz.sh 3600)
# Build directory: $VAXO_FUZZ_BUILD (default build-fuzz). Prints "fuzz <Target> <executions>"
# per target and "fuzz_total <executions>"; with $VAXO_SUMMARY_FILE set, appends
# "fuzz_execs:<Target> <executions>" and "fuzz_execs <executions>" lines per target to it (the
# CI summary sums values per key).
set -euo pipefail
cd "$(dirname "$0")/.."
secs=${1:-20}
build=${VAXO_FUZZ_BUILD:-build-fuzz}
targets=$(cd tests/fuzz && ls Fuzz*.cpp | sed 's/\.cpp$//')
cmake -S . -B "$build" -DCMAKE_C_COMPILER=clang-14 -DCMAKE_CXX_COMPILER=clang++-14 -DVAXO_FUZZ=ON \
      -DVAXO_TESTS=OFF -DVAXO_TOOLS=OFF -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
cmake --build "$build" -j"$(nproc)" --target $targets
declare -A execs
total=0
for name in $targets; do
  corpus=tests/fuzz/corpus/$name
  mkdir -p "$corpus"
  work=$(mktemp -d)
  log=$(mktemp)
  cp -r "$corpus"/. "$work"/ 2>/dev/null || true
  echo "== $name: replay $(ls "$corpus" | wc -l) kept inputs"
  if ! "$build/tests/fuzz/$name" -runs=0 "$corpus" >"$log" 2>&1; then
    tail -40 "$log"; echo "FUZZ FAILURE in $name: a kept input fails"; exit 1
  fi
  if ! "$build/tests/fuzz/$name" -max_total_time="$secs" -print_final_stats=1 -artifact_prefix="$corpus/crash-" \
       -max_len=4096 "$work" >"$log" 2>&1; then
    tail -40 "$log"; echo "FUZZ FAILURE in $name (input kept in $corpus)"; exit 1
  fi
  n=$(grep -o 'stat::number_of_executed_units: *[0-9]*' "$log" | grep -o '[0-9]*$' || true)
  execs[$name]=${n:-0}
  total=$((total + ${n:-0}))
  rm -rf "$work" "$log"
done
echo "== fuzzing summary (${secs}s per target)"
for name in $targets; do
  echo "fuzz $name ${execs[$name]}"
  if [ -n "${VAXO_SUMMARY_FILE:-}" ]; then
    printf 'fuzz_execs:%s %s\nfuzz_execs %s\n' "$name" "${execs[$name]}" "${execs[$name]}" >>"$VAXO_SUMMARY_FILE"
  fi
done
echo "fuzz_total $total"
