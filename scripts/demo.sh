#!/usr/bin/env bash
# Builds the library and the command-line tool, then runs the demo against the embedded
# simulated controller.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/setup.sh
cmake -S . -B build -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
cmake --build build -j"$(nproc)"
./build/tools/vaxo demo
