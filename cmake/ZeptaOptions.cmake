# Compiler flags shared by the library, the tools and the tests.
add_library(zepta_build_flags INTERFACE)
# No contraction of a * b + c into one fused multiply-add: compilers for
# 64-bit Arm do it by default, x86-64 cannot without newer instructions, and
# the same packet must give the same bytes on the wire on both.
target_compile_options(zepta_build_flags INTERFACE -Wall -Wextra -ffp-contract=off)

if(ZEPTA_SANITIZE STREQUAL "address")
  set(_zepta_san -fsanitize=address,undefined -fno-sanitize-recover=all -fno-omit-frame-pointer)
elseif(ZEPTA_SANITIZE STREQUAL "thread")
  set(_zepta_san -fsanitize=thread -fno-omit-frame-pointer)
elseif(NOT ZEPTA_SANITIZE STREQUAL "")
  message(FATAL_ERROR "ZEPTA_SANITIZE must be empty, 'address' or 'thread'")
endif()
if(_zepta_san)
  target_compile_options(zepta_build_flags INTERFACE ${_zepta_san})
  target_link_options(zepta_build_flags INTERFACE ${_zepta_san})
  # clang links the C++ half of the sanitizer runtime only into C++ programs;
  # a C program calls into the C++ library and needs it too.
  if(CMAKE_C_COMPILER_ID STREQUAL "Clang")
    target_link_options(zepta_build_flags INTERFACE
      $<$<LINK_LANGUAGE:C>:-fsanitize-link-c++-runtime -lstdc++>)
  endif()
endif()

# Coverage instrumentation for libFuzzer everywhere, so that the fuzz targets
# can be linked in the same tree as the sanitizer suite (clang only).
option(ZEPTA_FUZZ "Also build the fuzz targets as libFuzzer programs (clang)" OFF)
if(ZEPTA_FUZZ)
  if(NOT CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
    message(FATAL_ERROR "ZEPTA_FUZZ needs clang")
  endif()
  target_compile_options(zepta_build_flags INTERFACE -fsanitize=fuzzer-no-link)
endif()
