#!/usr/bin/env bash
# Installs the library into a temporary prefix, builds examples/c_host and examples/cpp_host
# against the installed tree (with find_package, and again with pkg-config only), starts the
# simulated controller with `vaxo sim` and runs all four hosts against it.
#   scripts/examples.sh [build-dir]      (default: build; it must hold a configured build)
set -euo pipefail
ROOT="$(cd "$(dirname "$0")/.." && pwd)"
BUILD="$(cd "${1:-$ROOT/build}" && pwd)"
WORK="$(mktemp -d)"
SIM_PID=""
cleanup() {
    if [[ -n "$SIM_PID" ]]; then kill "$SIM_PID" 2>/dev/null || true; wait "$SIM_PID" 2>/dev/null || true; fi
    rm -rf "$WORK"
}
trap cleanup EXIT

cmake --build "$BUILD" --target Vaxo_Ubrix_TCP vaxo -j"$(nproc)" >/dev/null
PREFIX="$WORK/prefix"
cmake --install "$BUILD" --prefix "$PREFIX" >/dev/null
PC_DIR="$(dirname "$(find "$PREFIX" -name vaxo-ubrix-tcp.pc | head -n1)")"
LIB_DIR="$(dirname "$(find "$PREFIX" -name 'libVaxo_Ubrix_TCP.so*' | head -n1)")"
echo "installed into $PREFIX"

for host in c_host cpp_host; do
    echo "== $host: find_package"
    cmake -S "$ROOT/examples/$host" -B "$WORK/$host-cmake" -DCMAKE_PREFIX_PATH="$PREFIX" >/dev/null
    cmake --build "$WORK/$host-cmake" >/dev/null
    echo "== $host: pkg-config"
    mkdir -p "$WORK/$host-pc"
    PKG_CONFIG_PATH="$PC_DIR" make --no-print-directory -s -C "$WORK/$host-pc" -f "$ROOT/examples/$host/Makefile" \
        VPATH="$ROOT/examples/$host" PKG_CONFIG="pkg-config --define-prefix" >/dev/null
done

"$BUILD/tools/vaxo" sim --port 0 --file-port 0 --port-file "$WORK/ports" >/dev/null &
SIM_PID=$!
for _ in $(seq 100); do [[ -s "$WORK/ports" ]] && break; sleep 0.1; done
read -r PORT FILE_PORT <"$WORK/ports"
echo "vaxo sim on 127.0.0.1:$PORT (file transfer $FILE_PORT)"

for exe in "$WORK/c_host-cmake/c_host" "$WORK/c_host-pc/c_host" "$WORK/cpp_host-cmake/cpp_host" \
           "$WORK/cpp_host-pc/cpp_host"; do
    echo "== ${exe#"$WORK"/}"
    LD_LIBRARY_PATH="$LIB_DIR${LD_LIBRARY_PATH:+:$LD_LIBRARY_PATH}" "$exe" 127.0.0.1 "$PORT"
done
echo "examples: all hosts ran"
