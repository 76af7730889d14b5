#!/usr/bin/env bash
# Builds the fuzz targets (tests/fuzz) with clang and libFuzzer, with
# AddressSanitizer and UndefinedBehaviorSanitizer, and runs each one for a
# bounded time inside the test sandbox, starting from its kept corpus.
#
#   scripts/fuzz.sh [BUILD_DIR] [SECONDS_PER_TARGET]     (as root; default build-fuzz, 30)
#
# Inputs that widen coverage collect in BUILD_DIR/corpus/<target>, outside the
# repository. A crash ends the run with the crashing input in
# BUILD_DIR/crashes/<target>/: keep it as tests/fuzz/corpus/<target>/regression_<what>
# together with the fix, and the test suite replays it from then on.
set -euo pipefail
cd "$(dirname "$0")/.."

build="${1:-build-fuzz}"
seconds="${2:-30}"
targets=(controller_replies serial_line wire_safety lan_discovery lan_acknowledgement)

cmake -S tests/fuzz -B "$build" -DCMAKE_C_COMPILER=clang-14 -DCMAKE_CXX_COMPILER=clang++-14 >/dev/null
cmake --build "$build" -j"$(nproc)"

for target in "${targets[@]}"; do
  mkdir -p "$build/corpus/$target" "$build/crashes/$target"
  echo "fuzzing $target for ${seconds}s"
  # -timeout turns an input that hangs into a reported crash.
  scripts/sandbox.sh "$build/${target}_fuzzer" \
    -max_total_time="$seconds" -timeout=10 -print_final_stats=1 \
    -artifact_prefix="$build/crashes/$target/" \
    "$build/corpus/$target" "tests/fuzz/corpus/$target" 2>"$build/$target.log" || {
      tail -n 60 "$build/$target.log" >&2
      echo "fuzz.sh: $target found a crash; the input is in $build/crashes/$target/" >&2
      exit 1
    }
  grep -E "^(Done|stat::number_of_executed_units|stat::peak_rss_mb)" "$build/$target.log" || true
done
