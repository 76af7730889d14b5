#!/usr/bin/env bash
# Installs the build tree into a scratch prefix and builds two small
# applications against it, once through the CMake package and once through
# pkg-config, then runs them.
set -euo pipefail
source_dir="$1"
build_dir="$2"
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

cmake --install "$build_dir" --prefix "$work/prefix" >/dev/null
libdir=$(find "$work/prefix" -name 'libzepta.so.5' -printf '%h\n' | head -n 1)
export LD_LIBRARY_PATH="$libdir"

cmake -S "$source_dir/tests/package/consumer" -B "$work/cmake" -DCMAKE_PREFIX_PATH="$work/prefix" >/dev/null
cmake --build "$work/cmake" >/dev/null
"$work/cmake/consumer_c"
"$work/cmake/consumer_cpp"

export PKG_CONFIG_PATH="$libdir/pkgconfig"
cc -std=c99 -o "$work/consumer_pc" "$source_dir/tests/package/consumer/consumer.c" $(pkg-config --cflags --libs zepta)
"$work/consumer_pc"
echo "package ok"
