#!/usr/bin/env bash
# Builds the library and runs every test:
#   1. the whole suite inside the test sandbox, plain;
#   2. again with AddressSanitizer + UndefinedBehaviorSanitizer (leaks
#      detected), built with clang so that the same tree also holds the fuzz
#      targets, which then run for a bounded time each (scripts/fuzz.sh);
#   3. again with ThreadSanitizer;
#   4. the 64-bit Arm cross build, its tests under qemu-user (scripts/cross-arm64.sh).
# Compilations go through ccache when it is installed, so a second run on the
# same machine rebuilds only what changed.
#
#   scripts/test.sh            (as root, from anywhere)
set -euo pipefail
cd "$(dirname "$0")/.."

bash scripts/install-deps.sh

# Any sanitizer report fails the test that caused it.
export ASAN_OPTIONS=detect_leaks=1
export UBSAN_OPTIONS=print_stacktrace=1
export TSAN_OPTIONS=second_deadlock_stack=1

# Hits survive a checkout in another folder.
export CCACHE_BASEDIR="$PWD" CCACHE_NOHASHDIR=1

started=$SECONDS
stage() { echo "== $1 (at $((SECONDS - started)) s) =="; }

stage "plain suite"
bash scripts/run-suite.sh build -DCMAKE_BUILD_TYPE=RelWithDebInfo
# The sanitizer trees skip the benchmarks and examples: the suite runs neither.
lean=(-DCMAKE_BUILD_TYPE=RelWithDebInfo -DZEPTA_BUILD_BENCH=OFF -DZEPTA_BUILD_EXAMPLES=OFF)
stage "AddressSanitizer + UndefinedBehaviorSanitizer suite"
bash scripts/run-suite.sh build-asan "${lean[@]}" -DZEPTA_SANITIZE=address -DZEPTA_FUZZ=ON \
  -DCMAKE_C_COMPILER=clang-14 -DCMAKE_CXX_COMPILER=clang++-14
stage "fuzz targets"
bash scripts/fuzz.sh build-asan 30
stage "ThreadSanitizer suite"
bash scripts/run-suite.sh build-tsan "${lean[@]}" -DZEPTA_SANITIZE=thread
stage "64-bit Arm build"
bash scripts/cross-arm64.sh build-arm64
stage "done"
