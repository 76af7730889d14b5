#!/usr/bin/env bash
# Installs, from Debian's packages, what building, testing and the demo need.
# Packages already present are not fetched again, so repeated runs are quick.
#
#   scripts/install-deps.sh [extra-package...]
set -euo pipefail

packages=(
  cmake make g++ pkg-config binutils        # build and the export check
  googletest libgtest-dev libgmock-dev       # tests
  libbenchmark-dev                           # benchmarks
  picojson-dev                               # LAN update objects
  iproute2 util-linux                        # the test sandbox (ip, unshare)
  gnuplot-nox                                # the demo's plot and zepta plot
  libcli11-dev                               # the zepta tool's command line
  python3 python3-setuptools python3-wheel   # the Python binding, its tests and pip install
  python3-pip python3-venv
  clang-14 libclang-rt-14-dev                # the sanitizer tree and libFuzzer
  ccache                                     # rebuilds only what changed
  g++-aarch64-linux-gnu libc6-dev-arm64-cross qemu-user   # the 64-bit Arm build and its tests
  "$@"
)

missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done

if [ ${#missing[@]} -gt 0 ]; then
  if [ "$(id -u)" != "0" ]; then
    echo "install-deps.sh: missing packages (${missing[*]}); run as root to install them" >&2
    exit 1
  fi
  apt-get update
  DEBIAN_FRONTEND=noninteractive apt-get install -y --no-install-recommends "${missing[@]}"
fi
