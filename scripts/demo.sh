#!/usr/bin/env bash
# The main job: builds the library, starts an emulated device inside the test
# sandbox and runs the example application against it, as a game would.
# Results land in out/: the library's log, the requested pose and the positions
# on the wire as CSV, and a plot of both (out/motion-demo.png).
#
#   scripts/demo.sh [--lan] [--seconds N]
#   scripts/demo.sh --ride [--seconds N] [--format forza|codemasters]
#
# Without --lan the device is a six-axis seat on a USB serial port; with --lan
# it is a six-actuator Stewart platform on the network, so the inverse
# kinematics path is shown too. With --ride an emulated game drives laps and
# `zepta ride` moves the six-axis seat with its telemetry (out/ride-demo.png).
set -euo pipefail
cd "$(dirname "$0")/.."

bash scripts/install-deps.sh
cmake -S . -B build -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
mkdir -p out
if [ "${1:-}" = --ride ]; then
  shift
  cmake --build build -j"$(nproc)" --target zepta_cli zepta-usb-emulator zepta-game-emulator
  scripts/sandbox.sh bash scripts/run-ride-demo.sh "$@"
else
  cmake --build build -j"$(nproc)" --target zepta-motion-demo zepta-usb-emulator zepta-lan-emulator
  scripts/sandbox.sh bash scripts/run-demo.sh "$@"
fi
