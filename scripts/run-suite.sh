#!/usr/bin/env bash
# Configures and builds one build tree, then runs its whole CTest suite inside
# the test sandbox.
#
#   scripts/run-suite.sh BUILD_DIR [cmake options...]
set -euo pipefail
cd "$(dirname "$0")/.."

build="$1"
shift
jobs=$(nproc)

launcher=()
if command -v ccache >/dev/null; then
  launcher=(-DCMAKE_C_COMPILER_LAUNCHER=ccache -DCMAKE_CXX_COMPILER_LAUNCHER=ccache)
fi
cmake -S . -B "$build" "${launcher[@]}" "$@"
cmake --build "$build" -j"$jobs"
scripts/sandbox.sh ctest --test-dir "$build" --output-on-failure -j"$jobs"
