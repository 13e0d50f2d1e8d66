#!/usr/bin/env bash
# Builds the libFuzzer targets with clang, replays the kept corpora (every crash found so far is
# kept there as a regression input), then fuzzes each target for a bounded time.
# Usage: scripts/fuzz.sh [seconds per target, default 20]   (a long offline run: scripts/fuzz.sh 3600)
set -euo pipefail
cd "$(dirname "$0")/.."
secs=${1:-20}
cmake -S . -B build-fuzz -DCMAKE_C_COMPILER=clang-14 -DCMAKE_CXX_COMPILER=clang++-14 -DVAXO_FUZZ=ON \
      -DVAXO_TESTS=OFF -DVAXO_TOOLS=OFF -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
cmake --build build-fuzz -j"$(nproc)" --target $(cd tests/fuzz && ls Fuzz*.cpp | sed 's/\.cpp//')
summary=""
for src in tests/fuzz/Fuzz*.cpp; do
  name=$(basename "$src" .cpp)
  corpus=tests/fuzz/corpus/$name
  mkdir -p "$corpus"
  work=$(mktemp -d)
  cp -r "$corpus"/. "$work"/ 2>/dev/null || true
  echo "== $name: replay $(ls "$corpus" | wc -l) kept inputs"
  "build-fuzz/tests/fuzz/$name" -runs=0 "$corpus" >/dev/null 2>&1
  log=$(mktemp)
  if ! "build-fuzz/tests/fuzz/$name" -max_total_time="$secs" -print_final_stats=1 -artifact_prefix="$corpus/crash-" \
       -max_len=4096 "$work" >"$log" 2>&1; then
    tail -40 "$log"; echo "FUZZ FAILURE in $name (input kept in $corpus)"; exit 1
  fi
  execs=$(grep -o 'stat::number_of_executed_units: *[0-9]*' "$log" | grep -o '[0-9]*$' || echo 0)
  summary+="$name: $execs executions in ${secs}s"$'\n'
  rm -rf "$work" "$log"
done
echo "== fuzzing summary"
printf '%s' "$summary"
