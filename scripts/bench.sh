#!/usr/bin/env bash
# The benchmark suite: builds a Release tree, then runs the motion benchmarks
# and the frame-path measurements inside the test sandbox (they open sessions,
# pseudo-terminals and sockets). Prints one table of every figure with its
# target, writes it into bench/README.md between its markers and to
# out/bench.json; Google Benchmark's own output for the motion maths and the
# ride library is kept in out/bench-motion.json and out/bench-ride.json.
#
#   bash scripts/bench.sh        (as root, from anywhere)
#
# ZEPTA_BUILD_DIR chooses the build tree (default build-release). Takes about
# two minutes; run it on an otherwise idle machine, the figures are latencies.
set -euo pipefail
cd "$(dirname "$0")/.."

build="${ZEPTA_BUILD_DIR:-build-release}"

bash scripts/install-deps.sh
# Hits survive a checkout in another folder.
export CCACHE_BASEDIR="$PWD" CCACHE_NOHASHDIR=1
launcher=()
if command -v ccache >/dev/null; then
  launcher=(-DCMAKE_C_COMPILER_LAUNCHER=ccache -DCMAKE_CXX_COMPILER_LAUNCHER=ccache)
fi
cmake -S . -B "$build" "${launcher[@]}" -DCMAKE_BUILD_TYPE=Release >/dev/null
cmake --build "$build" -j"$(nproc)" --target zepta_bench_motion zepta_bench_ride zepta_bench_frame
mkdir -p out
scripts/sandbox.sh "$build/bench/zepta_bench_motion" \
  --benchmark_out=out/bench-motion.json --benchmark_out_format=json
scripts/sandbox.sh "$build/bench/zepta_bench_ride" \
  --benchmark_out=out/bench-ride.json --benchmark_out_format=json
scripts/sandbox.sh "$build/bench/zepta_bench_frame" --motion out/bench-motion.json --ride out/bench-ride.json \
  --json out/bench.json \
  | tee out/bench.txt

# The README names the machine by its size only.
machine="$(nproc)-core $(uname -m | tr _ -)"
if [ "$(systemd-detect-virt 2>/dev/null || echo none)" != none ] || grep -q hypervisor /proc/cpuinfo; then
  machine="$machine virtual machine"
else
  machine="$machine machine"
fi
{
  sed -n 's/^Machine: .*; \(load average.*\)$/Machine: '"$machine"'; \1/p' out/bench.txt
  echo
  grep '^|' out/bench.txt
} > out/bench-table.md
awk -v table=out/bench-table.md '
  /<!-- bench table end -->/ { while ((getline line < table) > 0) print line; skipping = 0 }
  !skipping { print }
  /<!-- bench table start -->/ { skipping = 1 }
' bench/README.md > out/bench-readme.md
mv out/bench-readme.md bench/README.md
echo "bench.sh: table written to bench/README.md"
