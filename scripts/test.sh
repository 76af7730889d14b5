#!/usr/bin/env bash
# Builds the library and runs every test:
#   1. the whole suite inside the test sandbox three times: plain, with
#      AddressSanitizer + UndefinedBehaviorSanitizer (leaks detected), and
#      with ThreadSanitizer;
#   2. every fuzz target for a bounded time (scripts/fuzz.sh);
#   3. the 64-bit Arm cross build, its tests under qemu-user (scripts/cross-arm64.sh).
#
#   scripts/test.sh            (as root, from anywhere)
set -euo pipefail
cd "$(dirname "$0")/.."

bash scripts/install-deps.sh

# Any sanitizer report fails the test that caused it.
export ASAN_OPTIONS=detect_leaks=1
export UBSAN_OPTIONS=print_stacktrace=1
export TSAN_OPTIONS=second_deadlock_stack=1

bash scripts/run-suite.sh build -DCMAKE_BUILD_TYPE=RelWithDebInfo
# The suite does not run benchmarks or examples; the sanitizer trees skip them.
lean=(-DCMAKE_BUILD_TYPE=RelWithDebInfo -DZEPTA_BUILD_BENCH=OFF -DZEPTA_BUILD_EXAMPLES=OFF)
bash scripts/run-suite.sh build-asan "${lean[@]}" -DZEPTA_SANITIZE=address
bash scripts/run-suite.sh build-tsan "${lean[@]}" -DZEPTA_SANITIZE=thread

bash scripts/fuzz.sh build-fuzz 30
bash scripts/cross-arm64.sh build-arm64
