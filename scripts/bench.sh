#!/usr/bin/env bash
# The benchmark suite: builds a Release tree, then runs the motion benchmarks
# and the frame-path measurements inside the test sandbox (they open sessions,
# pseudo-terminals and sockets). Prints one table of every figure with its
# target and writes it to out/bench.json; Google Benchmark's own output for
# the motion maths is kept in out/bench-motion.json.
#
#   bash scripts/bench.sh        (as root, from anywhere)
#
# ZEPTA_BUILD_DIR chooses the build tree (default build-release). Takes about
# two minutes; run it on an otherwise idle machine, the figures are latencies.
set -euo pipefail
cd "$(dirname "$0")/.."

build="${ZEPTA_BUILD_DIR:-build-release}"

bash scripts/install-deps.sh
cmake -S . -B "$build" -DCMAKE_BUILD_TYPE=Release >/dev/null
cmake --build "$build" -j"$(nproc)" --target zepta_bench_motion zepta_bench_frame
mkdir -p out
scripts/sandbox.sh "$build/bench/zepta_bench_motion" \
  --benchmark_out=out/bench-motion.json --benchmark_out_format=json
scripts/sandbox.sh "$build/bench/zepta_bench_frame" --motion out/bench-motion.json --json out/bench.json
