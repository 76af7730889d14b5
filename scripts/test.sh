#!/usr/bin/env bash
# Builds the library and runs every test:
#   1. the whole suite inside the test sandbox, plain;
#   2. again with AddressSanitizer + UndefinedBehaviorSanitizer (leaks
#      detected), built with clang so that the same tree also holds the fuzz
#      targets, which then run for a bounded time each (scripts/fuzz.sh);
#   3. again with ThreadSanitizer;
#   4. the 64-bit Arm cross build, its tests under qemu-user (scripts/cross-arm64.sh).
# A suite's tests mostly wait on devices and time-outs, so each runs in the
# background (in a sandbox of its own) while the next tree compiles; the
# compiler runs at a lower priority so that the tests keep their timing.
# Compilations go through ccache, so a second run on the same machine
# rebuilds only what changed.
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

mkdir -p out
started=$SECONDS
stage() { echo "== $1 (at $((SECONDS - started)) s) =="; }

# Runs a built tree's suite in the background; finish_suite waits for it and
# prints its log.
declare -A suite_pids
trap 'kill $(jobs -p) 2>/dev/null || true' EXIT
start_suite() {
  local build="$1"
  shift
  scripts/sandbox.sh ctest --test-dir "$build" --output-on-failure -j"$(nproc)" "$@" \
    > "out/test-$build.log" 2>&1 &
  suite_pids[$build]=$!
}
finish_suite() {
  local build="$1" status=0
  wait "${suite_pids[$build]}" || status=$?
  stage "results of $build"
  cat "out/test-$build.log"
  return "$status"
}

lean=(-DCMAKE_BUILD_TYPE=RelWithDebInfo -DZEPTA_BUILD_BENCH=OFF -DZEPTA_BUILD_EXAMPLES=OFF)

stage "plain build"
nice -n 10 bash scripts/build-tree.sh build -DCMAKE_BUILD_TYPE=RelWithDebInfo
start_suite build

# The sanitizer trees skip the benchmarks and examples: the suite runs neither.
stage "AddressSanitizer + UndefinedBehaviorSanitizer build (clang, with the fuzz targets)"
nice -n 10 bash scripts/build-tree.sh build-asan "${lean[@]}" -DZEPTA_SANITIZE=address -DZEPTA_FUZZ=ON \
  -DCMAKE_C_COMPILER=clang-14 -DCMAKE_CXX_COMPILER=clang++-14
finish_suite build
start_suite build-asan

stage "ThreadSanitizer build"
nice -n 10 bash scripts/build-tree.sh build-tsan "${lean[@]}" -DZEPTA_SANITIZE=thread
finish_suite build-asan

stage "fuzz targets"
bash scripts/fuzz.sh build-asan 30
start_suite build-tsan

stage "64-bit Arm build"
nice -n 10 bash scripts/cross-arm64.sh build-arm64 --build-only
finish_suite build-tsan
stage "64-bit Arm tests"
bash scripts/cross-arm64.sh build-arm64 --test-only
stage "done"
