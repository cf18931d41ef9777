#!/bin/sh
# Builds the fuzzers with clang in build-fuzz and runs each for N seconds (default 60), both at
# once, one core each. Inputs that crash land in fuzz/crashes/<target>-crash-<hash>; new inputs
# found along the way stay in build-fuzz/corpus-<target> and never touch the seed corpus.
#
#   fuzz/run.sh [seconds] [target...]      targets: project transfer (default both)
set -eu

here=$(cd "$(dirname "$0")" && pwd)
root=$(dirname "$here")
seconds=${1:-60}
[ $# -gt 0 ] && shift
targets=${*:-project transfer}
build=${ZK_FUZZ_BUILD_DIR:-$root/build-fuzz}

cmake -S "$root" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Debug \
    -DCMAKE_C_COMPILER=clang -DCMAKE_CXX_COMPILER=clang++ \
    -DZK_FUZZ=ON -DZK_BUILD_TESTS=OFF -DZK_BUILD_APP=OFF -DZK_BUILD_BENCH=OFF >/dev/null
for target in $targets; do
    ninja -C "$build" -j2 "fuzz_$target"
done

mkdir -p "$here/crashes"
pids=""
for target in $targets; do
    work="$build/corpus-$target"
    mkdir -p "$work"
    # Leak checks stay off: the toolkit keeps caches alive on purpose; ASan and UBSan stay strict.
    QT_QPA_PLATFORM=offscreen \
    ASAN_OPTIONS=detect_leaks=0:abort_on_error=1:symbolize=1 \
    UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1 \
        "$build/fuzz/fuzz_$target" \
        -max_total_time="$seconds" -timeout=10 -rss_limit_mb=4096 -print_final_stats=1 \
        -dict="$here/$target.dict" -artifact_prefix="$here/crashes/$target-" \
        "$work" "$here/corpus/$target" >"$build/fuzz-$target.log" 2>&1 &
    pids="$pids $!"
done

status=0
for pid in $pids; do
    wait "$pid" || status=1
done
for target in $targets; do
    echo "== fuzz_$target"
    grep -E '^(stat::|#[0-9]+ +DONE|==[0-9]+==ERROR|SUMMARY|.*runtime error)' "$build/fuzz-$target.log" || true
done
echo "== inputs kept in fuzz/crashes"
ls "$here/crashes" | grep -v "\.md$" || true
exit $status
