#!/usr/bin/env bash
# Builds the library and runs every test: the whole suite inside the test
# sandbox (plain build).
#
#   scripts/test.sh            (as root, from anywhere)
set -euo pipefail
cd "$(dirname "$0")/.."

bash scripts/install-deps.sh
bash scripts/run-suite.sh build -DCMAKE_BUILD_TYPE=RelWithDebInfo
