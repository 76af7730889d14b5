#!/usr/bin/env bash
# Builds small C and C++ applications against the installed package (CMake and pkg-config) and runs them.
set -euo pipefail
consumer="$1/tests/package/consumer"
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cmake --install "$2" --prefix "$work/prefix" >/dev/null
export LD_LIBRARY_PATH=$(dirname "$(find "$work/prefix" -name libzepta.so.5)")
export PKG_CONFIG_PATH="$LD_LIBRARY_PATH/pkgconfig"
cmake -S "$consumer" -B "$work/cmake" -DCMAKE_PREFIX_PATH="$work/prefix" >/dev/null
cmake --build "$work/cmake" >/dev/null
cc -std=c99 -o "$work/consumer_pc" "$consumer/consumer.c" $(pkg-config --cflags --libs zepta)
"$work/cmake/consumer_c"
"$work/cmake/consumer_cpp"
"$work/consumer_pc"
