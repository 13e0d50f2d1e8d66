#!/usr/bin/env bash
# Builds everything and runs every test. Usage: scripts/test.sh [build-dir] [extra cmake args...]
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/setup.sh
dir=${1:-build}; shift || true
cmake -S . -B "$dir" "$@" >/dev/null
cmake --build "$dir" -j"$(nproc)"
cd "$dir"
ctest --output-on-failure -j"$(nproc)" --timeout 600
