# Cross-compiling for 64-bit Arm Linux with Debian's cross toolchain
# (packages g++-aarch64-linux-gnu and libc6-dev-arm64-cross). Programs built
# here, the test discovery included, run under qemu-user with the target's
# libraries from /usr/aarch64-linux-gnu.
#   cmake -S . -B build-arm64 -DCMAKE_TOOLCHAIN_FILE=cmake/aarch64-linux-gnu.cmake
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR aarch64)

set(ZEPTA_ARM64_SYSROOT /usr/aarch64-linux-gnu)
set(CMAKE_C_COMPILER aarch64-linux-gnu-gcc)
set(CMAKE_CXX_COMPILER aarch64-linux-gnu-g++)
set(CMAKE_CROSSCOMPILING_EMULATOR qemu-aarch64 -L ${ZEPTA_ARM64_SYSROOT})

# Libraries only from the target, programs only from the host.
set(CMAKE_FIND_ROOT_PATH ${ZEPTA_ARM64_SYSROOT})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)

# The header-only dependencies (picojson, CLI11) are installed among the
# host's headers. The compiler searches /usr/include after its own system
# directories, never before, so the target's C library headers always win;
# being a system directory now, it is not passed again as -I or -isystem.
set(CMAKE_C_FLAGS_INIT "-idirafter /usr/include")
set(CMAKE_CXX_FLAGS_INIT "-idirafter /usr/include")
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE BOTH)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE BOTH)
