#!/usr/bin/env bash
# Runs a command inside the test sandbox: a private network namespace and a
# private /dev and /var/tmp. In the namespace, lo is up and a veth pair carries
# the default route, so a datagram to 255.255.255.255 is looped back to local
# sockets (the emulators) and can never reach a real network. The private /dev
# has its own devpts instance, where emulated devices appear as /dev/ttyACM<N>.
#
#   scripts/sandbox.sh COMMAND [ARG...]
set -euo pipefail

if [ "${ZEPTA_SANDBOX_INNER:-}" != "1" ]; then
  if [ "$(id -u)" != "0" ]; then
    echo "sandbox.sh: needs root to create network and mount namespaces" >&2
    exit 1
  fi
  exec env ZEPTA_SANDBOX_INNER=1 ZEPTA_OUTER_NETNS="$(readlink /proc/self/ns/net)" \
    unshare --net --mount --fork -- "$0" "$@"
fi

# From here on we are inside the new namespaces.
mount --make-rprivate /

ip link set lo up
ip link add v0 type veth peer name v1
ip addr add 169.254.51.1/24 dev v0
ip link set v0 up
ip link set v1 up
ip route add default dev v0

mount -t tmpfs -o mode=0755 zepta-dev /dev
mkdir /dev/pts /dev/shm
mount -t devpts -o newinstance,ptmxmode=0666,mode=0620 devpts /dev/pts
mount -t tmpfs -o mode=1777 zepta-shm /dev/shm
ln -s pts/ptmx /dev/ptmx
mknod -m 0666 /dev/null c 1 3
mknod -m 0666 /dev/zero c 1 5
mknod -m 0666 /dev/random c 1 8
mknod -m 0666 /dev/urandom c 1 9
mknod -m 0666 /dev/tty c 5 0
ln -s /proc/self/fd /dev/fd
ln -s /proc/self/fd/0 /dev/stdin
ln -s /proc/self/fd/1 /dev/stdout
ln -s /proc/self/fd/2 /dev/stderr

mount -t tmpfs -o mode=1777 zepta-vartmp /var/tmp

# The marker names the network namespace we left; tests compare it with their own.
echo "$ZEPTA_OUTER_NETNS" > /dev/.zepta-sandbox
export ZEPTA_SANDBOX=1
unset ZEPTA_SANDBOX_INNER ZEPTA_OUTER_NETNS
exec "$@"
