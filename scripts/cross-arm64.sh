#!/usr/bin/env bash
# Cross-builds the library and its tests for 64-bit Arm Linux with Debian's
# cross toolchain (GoogleTest built from Debian's sources for the target), and
# runs the tests under qemu-user inside the test sandbox.
#
#   scripts/cross-arm64.sh [BUILD_DIR] [--build-only | --test-only]
#                                      (as root; default build-arm64)
#
# Not run under emulation: the tests that drive the programs from Python (the
# host's interpreter cannot load an Arm library) and the package check (it
# builds its consumers with the host's compiler).
set -euo pipefail
cd "$(dirname "$0")/.."

build="${1:-build-arm64}"
phase="${2:-}"

if [ "$phase" != --test-only ]; then
  bash scripts/build-tree.sh "$build" -DCMAKE_TOOLCHAIN_FILE=cmake/aarch64-linux-gnu.cmake \
    -DZEPTA_GTEST_FROM_SOURCE=ON -DZEPTA_BUILD_BENCH=OFF -DZEPTA_BUILD_EXAMPLES=OFF
  library=$(find "$build" -maxdepth 1 -name 'libzepta.so.*.*' | head -n 1)
  readelf -h "$library" | grep -q 'Machine:.*AArch64' || {
    echo "cross-arm64.sh: $library is not a 64-bit Arm library" >&2
    exit 1
  }
  echo "cross-arm64.sh: $library is a 64-bit Arm library"
fi
[ "$phase" = --build-only ] && exit 0

# Under emulation every program runs many times slower, and a test against
# the protocol's own short time-outs (discovery listens for 3 x 333 ms) can
# miss one when the machine is busy: a failed test gets one more run.
scripts/sandbox.sh ctest --test-dir "$build" --output-on-failure -j"$(nproc)" --repeat until-pass:2 \
  -E '^(cli_end_to_end|python_binding_end_to_end|ride_command_end_to_end|package_consumer)$'
