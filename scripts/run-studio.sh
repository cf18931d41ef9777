#!/usr/bin/env bash
# Builds the studio and starts it on the embedded sample project (or on a project file given).
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/install-deps.sh
cmake -S . -B build-studio -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DZK_BUILD_TESTS=OFF -DZK_BUILD_BENCH=OFF
cmake --build build-studio --target zkblockstudio -j"$(nproc)"
exec ./build-studio/app/zkblockstudio "$@"
