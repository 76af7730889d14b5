#!/usr/bin/env bash
# Builds the library and runs the whole test suite inside the test sandbox.
#
#   scripts/test.sh            (as root, from the repository root or anywhere)
set -euo pipefail
cd "$(dirname "$0")/.."

bash scripts/install-deps.sh
jobs=$(nproc)

cmake -S . -B build -DCMAKE_BUILD_TYPE=RelWithDebInfo
cmake --build build -j"$jobs"
scripts/sandbox.sh ctest --test-dir build --output-on-failure -j"$jobs"
