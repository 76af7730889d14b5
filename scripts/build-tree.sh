#!/usr/bin/env bash
# Configures and builds one build tree, through ccache when it is installed.
#
#   scripts/build-tree.sh BUILD_DIR [cmake options...]
set -euo pipefail
cd "$(dirname "$0")/.."

build="$1"
shift
launcher=()
if command -v ccache >/dev/null; then
  launcher=(-DCMAKE_C_COMPILER_LAUNCHER=ccache -DCMAKE_CXX_COMPILER_LAUNCHER=ccache)
fi
cmake -S . -B "$build" "${launcher[@]}" "$@" >/dev/null
cmake --build "$build" -j"$(nproc)"
