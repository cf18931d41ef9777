#!/usr/bin/env bash
# Runs the randomized editing test over ever new seeds for as long as asked, and stops at the first
# failing seed with its log. A seed that failed belongs in the fixed rows of tst_RandomEditing.
#   bash scripts/random-editing.sh [minutes] [first seed] [steps per seed]
# Needs a build of the tests (scripts/run-tests.sh makes build-ci).
set -euo pipefail
cd "$(dirname "$0")/.."
minutes="${1:-10}"
seed="${2:-1000}"
steps="${3:-400}"
binary="${ZK_TEST_BINARY:-build-ci/tests/tst_editing}"
[ -x "$binary" ] || { echo "no test binary at $binary: build the tests first (bash scripts/run-tests.sh)" >&2; exit 2; }
export QT_QPA_PLATFORM=offscreen
export ZK_SOURCE_DIR="$PWD"
export ASAN_OPTIONS="${ASAN_OPTIONS:-detect_leaks=1:abort_on_error=0}"
export LSAN_OPTIONS="suppressions=$PWD/tests/lsan.supp:print_suppressions=0"
end=$(( $(date +%s) + minutes * 60 ))
tried=0
while [ "$(date +%s)" -lt "$end" ]; do
  log="$(mktemp)"
  if ! ZK_RANDOM_EDITING_SEEDS="$seed" ZK_RANDOM_EDITING_STEPS="$steps" "$binary" tst_RandomEditing >"$log" 2>&1; then
    echo "seed $seed failed after $tried good seeds ($steps steps each); its log:"
    cat "$log"
    echo "Add a row for seed $seed with $steps steps to tests/editing/tst_RandomEditing.cpp."
    rm -f "$log"
    exit 1
  fi
  rm -f "$log"
  tried=$((tried + 1))
  seed=$((seed + 1))
done
echo "$tried seeds of $steps steps passed (last seed $((seed - 1)))"
