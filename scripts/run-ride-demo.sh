#!/usr/bin/env bash
# The ride demo's inside: runs in the sandbox. An emulated six-axis seat on
# /dev/ttyACM0 records what it receives, `zepta ride` moves it with an
# emulated game driving laps, and gnuplot draws the telemetry, the cues and
# the seat's actuators to out/ride-demo.png.
#
#   scripts/sandbox.sh scripts/run-ride-demo.sh [--seconds N] [--format forza|codemasters]
set -euo pipefail

seconds=30
format=forza
while [ $# -gt 0 ]; do
  case "$1" in
    --seconds) seconds="$2"; shift ;;
    --format) format="$2"; shift ;;
    *) echo "usage: scripts/run-ride-demo.sh [--seconds N] [--format forza|codemasters]" >&2; exit 2 ;;
  esac
  shift
done

build="${ZEPTA_BUILD_DIR:-build}"
zepta="$build/tools/zepta_cli/zepta"
mkdir -p out
wire=out/ride-wire.csv
trace=out/ride-trace.csv
rm -f "$wire" "$trace" out/ride-demo.png

echo "== Emulated six-axis seat on /dev/ttyACM0 (USB serial) =="
"$build/tools/usb_emulator/zepta-usb-emulator" --device /dev/ttyACM0 --identity KORVE6-DEVICE \
  --serial SEAT0006 --record "$wire" > out/ride-seat.log 2>&1 &
seat=$!
game=
trap 'kill $seat $game 2>/dev/null || true' EXIT
for _ in $(seq 100); do [ -e /dev/ttyACM0 ] && break; sleep 0.05; done

echo "== Emulated game: $format telemetry, scenario lap, to 127.0.0.1 =="
"$zepta" emulate game --format "$format" --scenario lap > out/ride-game.log 2>&1 &
game=$!

# The six-axis seat mixes surge and sway into its tilt with the opposite
# sense of the ride's seat translation, so its profile inverts them.
"$zepta" ride --profile ride/profiles/six-axis-seat.json --trace "$trace" --seconds "$seconds" --quiet \
  | tee out/ride.log

kill $game $seat 2>/dev/null || true
wait 2>/dev/null || true
start=$(sed -n 's/^ride started at CLOCK_MONOTONIC \([0-9.]*\) s.*/\1/p' out/ride.log)
gnuplot -e "ride='$trace'; wire='$wire'; ride_start=$start; six_axis_seat=1; out='out/ride-demo.png'" \
  scripts/plot-ride.gp
echo "== Telemetry, cues and the seat's actuators: out/ride-demo.png (data: $trace, $wire) =="
