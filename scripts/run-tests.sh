#!/usr/bin/env bash
# Builds everything and runs the whole test suite: first every unit and widget test under
# AddressSanitizer and UndefinedBehaviorSanitizer, then the checks of the installed package
# (consumer project, model conformance) on a plain build.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/install-deps.sh
jobs="$(nproc)"
export QT_QPA_PLATFORM=offscreen
export CCACHE_DIR="${CCACHE_DIR:-$HOME/.cache/ccache}"
# Hits across clones in other folders: paths are hashed relative to the checkout.
export CCACHE_BASEDIR="$PWD"
export CCACHE_NOHASHDIR=1

cmake -S . -B build-ci -G Ninja -DCMAKE_BUILD_TYPE=Debug -DZK_SANITIZE=ON -DZK_BUILD_BENCH=ON
cmake --build build-ci -j"$jobs"
ctest --test-dir build-ci --output-on-failure -j"$jobs"

cmake -S . -B build-install -G Ninja -DCMAKE_BUILD_TYPE=Release -DZK_UNIT_TESTS=OFF -DZK_BUILD_BENCH=OFF -DZK_BUILD_APP=ON
cmake --build build-install -j"$jobs"
ctest --test-dir build-install --output-on-failure
