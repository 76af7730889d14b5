#!/usr/bin/env bash
# The main job: builds the library, starts an emulated device inside the test
# sandbox and runs the example application against it, as a game would.
# Results land in out/: the library's log, the requested pose and the positions
# on the wire as CSV, and a plot of both (out/motion-demo.png).
#
#   scripts/demo.sh [--lan] [--seconds N]
#
# Without --lan the device is a six-axis seat on a USB serial port; with --lan
# it is a six-actuator Stewart platform on the network, so the inverse
# kinematics path is shown too.
set -euo pipefail
cd "$(dirname "$0")/.."

bash scripts/install-deps.sh
cmake -S . -B build -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
cmake --build build -j"$(nproc)" --target zepta-motion-demo zepta-usb-emulator zepta-lan-emulator
mkdir -p out
scripts/sandbox.sh bash scripts/run-demo.sh "$@"
