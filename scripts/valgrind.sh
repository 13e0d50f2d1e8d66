#!/usr/bin/env bash
# Memory check of a short end-to-end run under valgrind memcheck: engine tests that open links
# to the simulated controller, carry commands, meet controller errors and faults, and close
# again. The program must be built without sanitizers (valgrind cannot run those).
# Usage: scripts/valgrind.sh [build-dir]   (default: build; built here if missing)
# Prints one line, "valgrind: ok ..." or "valgrind: FAILED ...", and exits non-zero on any
# memcheck error, definite leak or failed test.
set -euo pipefail
cd "$(dirname "$0")/.."
dir=${1:-build}

if ! command -v valgrind >/dev/null; then
  echo "valgrind: FAILED (valgrind is not installed)"
  exit 1
fi
if [ -f "$dir/CMakeCache.txt" ] && grep -q '^VAXO_SANITIZE:STRING=.\+' "$dir/CMakeCache.txt"; then
  echo "valgrind: FAILED ($dir is a sanitizer build; use a plain one)"
  exit 1
fi
if [ ! -x "$dir/tests/test_engine" ]; then
  cmake -S . -B "$dir" >/dev/null
  cmake --build "$dir" -j2 --target test_engine >/dev/null
fi

# Short, and free of tight timeouts (everything runs many times slower under valgrind).
filter='Wire*:SimConnection.OpenSequenceAndReopen:SimConnection.ControllerErrorStatusBecomesControllerError'
filter+=':SimConnection.CloseWhileCommandsWaitFinishesThemWithDisconnected:SimConnection.PeerThatGoesAwayMakesTheNextCommandFailFast'
filter+=':FaultScenarios.ControllerErrorOnEveryOperation:FaultScenarios.BlockWriteWaitingForTheQueueWhenTheLinkGoes'
filter+=':FaultScenarios.GarbageAndWrongShapedReplies'

log=$(mktemp)
out=$(mktemp)
supp=$(mktemp)
trap 'rm -f "$log" "$out" "$supp"' EXIT
# Google Test prints the raw bytes of test parameters that have no printer, padding included.
cat >"$supp" <<'EOF'
{
   gtest-prints-parameter-padding
   Memcheck:Cond
   ...
   fun:_ZN7testing8internal20PrintBytesInObjectToEPKhmPSo
}
{
   gtest-prints-parameter-padding-value
   Memcheck:Value8
   ...
   fun:_ZN7testing8internal20PrintBytesInObjectToEPKhmPSo
}
EOF
started=$SECONDS
status=0
valgrind --tool=memcheck --error-exitcode=1 --leak-check=full --errors-for-leak-kinds=definite \
  --suppressions="$supp" --log-file="$log" "$dir/tests/test_engine" --gtest_filter="$filter" >"$out" 2>&1 || status=$?

errors=$(sed -n 's/.*ERROR SUMMARY: \([0-9]*\) errors.*/\1/p' "$log" | tail -1)
lost=$(sed -n 's/.*definitely lost: \([0-9,]*\) bytes.*/\1/p' "$log" | tail -1)
tests=$(sed -n 's/.*\[  PASSED  \] \([0-9]*\) test.*/\1/p' "$out" | tail -1)
summary="${tests:-0} tests passed, ${errors:-?} errors, ${lost:-0} bytes definitely lost, $((SECONDS - started)) s"
if [ "$status" -ne 0 ]; then
  grep -E '^\[  FAILED  \]|Failure' "$out" | head -20 || true
  grep -E '==[0-9]+== (Invalid|Conditional|Mismatched|Syscall|Source and destination)|definitely lost in' "$log" | head -20 || true
  echo "valgrind: FAILED ($summary)"
  exit 1
fi
echo "valgrind: ok ($summary)"
