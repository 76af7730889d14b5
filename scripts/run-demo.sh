#!/usr/bin/env bash
# The demo's inside: runs in the sandbox (scripts/demo.sh puts it there).
set -euo pipefail

transport=usb
seconds=5
while [ $# -gt 0 ]; do
  case "$1" in
    --lan) transport=lan ;;
    --seconds) seconds="$2"; shift ;;
    *) echo "usage: scripts/demo.sh [--lan] [--seconds N]" >&2; exit 2 ;;
  esac
  shift
done

build="${ZEPTA_BUILD_DIR:-build}"
mkdir -p out
wire=out/wire.csv
rm -f "$wire" out/motion-demo.png

if [ "$transport" = usb ]; then
  echo "== Emulated six-axis seat on /dev/ttyACM0 (USB serial) =="
  "$build/tools/usb_emulator/zepta-usb-emulator" --device /dev/ttyACM0 --identity KORVE6-DEVICE \
    --serial SEAT0006 --record "$wire" > out/emulator.log 2>&1 &
  ready() { [ -e /dev/ttyACM0 ]; }
else
  echo "== Emulated Stewart platform KORVEGRANDE500QX on the sandbox network (LAN) =="
  "$build/tools/lan_emulator/zepta-lan-emulator" --model KORVEGRANDE500QX --serial QX500DEMO \
    --record "$wire" > out/emulator.log 2>&1 &
  ready() { [ -s "$wire" ]; }
fi
emulator=$!
trap 'kill "$emulator" 2>/dev/null || true' EXIT
for _ in $(seq 100); do ready && break; sleep 0.05; done

"$build/examples/zepta-motion-demo" --seconds "$seconds" --csv out/pose.csv --wire-log "$wire" | tee out/demo.log

kill "$emulator" 2>/dev/null || true
wait "$emulator" 2>/dev/null || true
gnuplot -e "pose='out/pose.csv'; wire='$wire'; out='out/motion-demo.png'" scripts/plot-motion.gp
echo "== Plot of requested pose against actuator positions: out/motion-demo.png (data: out/pose.csv, $wire) =="
