#!/usr/bin/env bash
# The shared library exports the twenty C functions and the classes it
# documents, and nothing else: no standard-library instantiations and no
# internal helpers (the tools' port probe, LAN listing and frame converter
# come from the static library).
set -euo pipefail
lib="$1"

soname=$(objdump -p "$lib" | awk '/SONAME/ {print $2}')
[ "$soname" = "libzepta.so.5" ] || { echo "SONAME is '$soname', expected libzepta.so.5"; exit 1; }

symbols=$(nm -D --defined-only "$lib" | awk '{print $3}' | grep -v '^$' | c++filt)

functions="zeptaOpen zeptaOpenSerialAssign zeptaClose zeptaWrite zeptaSetOriginMode zeptaGetOriginMode
zeptaSetAxisProcessingMode zeptaGetAxisProcessingMode zeptaSetSpeedGainMode zeptaGetSpeedGainMode
zeptaGetAppCode zeptaGetSerialNumber zeptaGetState zeptaGetSystemStatus zeptaGetDevice
zeptaGetStatusEXT4 zeptaGetVersion zeptaIsRunning zeptaGetBackLog zeptaBackLogDataAvailable"
for f in $functions; do
  grep -qx "$f" <<<"$symbols" || { echo "missing export: $f"; exit 1; }
done
c_count=$(grep -c '^zepta' <<<"$symbols")
[ "$c_count" = 20 ] || { echo "expected 20 C functions, found $c_count"; exit 1; }

classes='ZEPTA|Debug|Controller|Bridge|DeviceBridge|ControllerLAN|IO'
allowed="^(zepta[A-Za-z0-9]*$|ZEPTASDK::(($classes|Utility)::|DefaultZEPTAPacket\()|StewartPlatform::|(typeinfo|typeinfo name|vtable) for (ZEPTASDK::($classes)\b|StewartPlatform)|ZEPTA_5|LIBZEPTA)"
unexpected=$(grep -Ev "$allowed" <<<"$symbols" || true)
if [ -n "$unexpected" ]; then
  echo "unexpected exports:"
  echo "$unexpected"
  exit 1
fi
echo "exports ok: $(wc -l <<<"$symbols") symbols"
