#!/usr/bin/env bash
# Builds in release mode, runs every benchmark side by side in one run, counts the library's
# instructions per command under callgrind, and prints one table; the table and a chart go to
# docs/bench/. Takes a few minutes. Not part of CI.
# Usage: scripts/bench.sh [repetitions, default 5]
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/setup.sh
reps=${1:-5}
build=build-release
out=$build/bench-results
jobs=$(( $(nproc) < 2 ? $(nproc) : 2 ))
cmake -S . -B $build -DCMAKE_BUILD_TYPE=Release -DVAXO_BENCH=ON -DVAXO_TESTS=OFF -DVAXO_TOOLS=OFF >/dev/null
targets=()
for src in bench/*.cpp; do targets+=("bench_$(basename "$src" .cpp)"); done
cmake --build $build -j"$jobs" --target "${targets[@]}" >/dev/null
rm -rf "$out" && mkdir -p "$out"
cut -d' ' -f1-3 /proc/loadavg >"$out/loadavg-start.txt"

# Every run of the wire and parameter-block benchmarks is repeated and the repetitions are
# shuffled, so that the rows compared in one ratio meet the same load; the table takes medians.
for b in WireBench ParamBlockBench; do
  echo "== $b" >&2
  "$build/bench/bench_$b" --benchmark_repetitions="$reps" --benchmark_enable_random_interleaving=true \
    --benchmark_out_format=json --benchmark_out="$out/$b.json" >/dev/null
done
for b in AllocBench FileTransferBench; do
  [ -x "$build/bench/bench_$b" ] || continue
  echo "== $b" >&2
  "$build/bench/bench_$b" --benchmark_out_format=json --benchmark_out="$out/$b.json" >/dev/null
done

# Instructions per command: N and 2N commands under callgrind; the difference over N is one
# command's cost without the open, the close and the process start.
echo "== instructions per command (callgrind)" >&2
n=2000
count() {
  local tag=$1 cmds=$2 pid
  pid=$(valgrind --tool=callgrind --callgrind-out-file="$out/callgrind.$tag.%p" \
        "$build/bench/bench_CommandCostDriver" "$cmds" 2>/dev/null | sed -n 's/.*pid \([0-9]*\).*/\1/p')
  sed -n 's/^totals: *//p' "$out/callgrind.$tag.$pid"
}
{ echo "n $n"; echo "ir_n $(count n $n)"; echo "ir_2n $(count 2n $((2 * n)))"; } >"$out/callgrind.txt"

python3 bench/report.py "$out" docs/bench README.md
