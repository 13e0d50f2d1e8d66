#!/usr/bin/env bash
# Installs the Debian packages the build, the tests and the tools need, if missing.
set -euo pipefail
pkgs=(build-essential cmake zlib1g-dev libgtest-dev libgmock-dev libbenchmark-dev libcli11-dev libmodbus-dev gnuplot-nox
      python3 python3-pytest python3-crcmod clang-14 libclang-rt-14-dev valgrind)
missing=()
for p in "${pkgs[@]}"; do
  dpkg -s "$p" >/dev/null 2>&1 || missing+=("$p")
done
if [ ${#missing[@]} -gt 0 ]; then
  echo "Installing: ${missing[*]}"
  SUDO=""; [ "$(id -u)" -ne 0 ] && SUDO="sudo"
  $SUDO apt-get install -y "${missing[@]}" >/dev/null || { $SUDO apt-get update >/dev/null && $SUDO apt-get install -y "${missing[@]}" >/dev/null; }
fi
