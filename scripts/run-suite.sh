#!/usr/bin/env bash
# Configures and builds one build tree, then runs its whole CTest suite inside
# the test sandbox.
#
#   scripts/run-suite.sh BUILD_DIR [cmake options...]
set -euo pipefail
cd "$(dirname "$0")/.."

bash scripts/build-tree.sh "$@"
scripts/sandbox.sh ctest --test-dir "$1" --output-on-failure -j"$(nproc)"
