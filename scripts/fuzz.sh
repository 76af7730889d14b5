#!/usr/bin/env bash
# Runs every fuzz target (tests/fuzz) for a bounded time inside the test
# sandbox, starting from its kept corpus. The targets are libFuzzer programs
# built with AddressSanitizer and UndefinedBehaviorSanitizer in a clang tree
# configured with -DZEPTA_FUZZ=ON -DZEPTA_SANITIZE=address (scripts/test.sh
# makes its sanitizer tree that way); the targets run side by side.
#
#   scripts/fuzz.sh BUILD_DIR [SECONDS]     (as root; default 30 seconds)
#
# Inputs that widen coverage collect in BUILD_DIR/corpus/<target>, outside the
# repository. A crash ends the run with the crashing input in
# BUILD_DIR/crashes/<target>/: keep it as tests/fuzz/corpus/<target>/regression_<what>
# together with the fix, and the test suite replays it from then on.
set -euo pipefail
cd "$(dirname "$0")/.."

build="$1"
seconds="${2:-30}"
targets=(controller_replies serial_line wire_safety lan_discovery lan_acknowledgement safety_stage)

cmake --build "$build" -j"$(nproc)" --target "${targets[@]/%/_fuzzer}"

run_target() {
  local target="$1"
  mkdir -p "$build/corpus/$target" "$build/crashes/$target"
  # -timeout turns an input that hangs into a reported crash.
  "$build/tests/fuzz/${target}_fuzzer" \
    -max_total_time="$seconds" -timeout=10 -print_final_stats=1 \
    -artifact_prefix="$build/crashes/$target/" \
    "$build/corpus/$target" "tests/fuzz/corpus/$target" 2>"$build/$target.log"
}
export -f run_target
export build seconds

echo "fuzzing ${targets[*]} for ${seconds}s"
failed=0
for target in "${targets[@]}"; do
  scripts/sandbox.sh bash -c 'run_target "$0"' "$target" &
done
for job in $(jobs -p); do wait "$job" || failed=1; done

for target in "${targets[@]}"; do
  if grep -q -E "^==[0-9]+==|property violated|Test unit written" "$build/$target.log"; then
    tail -n 60 "$build/$target.log" >&2
    echo "fuzz.sh: $target found a crash; the input is in $build/crashes/$target/" >&2
    failed=1
  fi
  echo "$target: $(grep -E '^stat::number_of_executed_units' "$build/$target.log" || echo 'no stats')"
done
exit "$failed"
