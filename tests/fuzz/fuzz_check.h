// Properties that the fuzz targets assert. A violated property prints what
// broke and aborts, which libFuzzer reports as a crash and keeps the input;
// the corpus replay in the test suite fails the same way.
#ifndef ZEPTA_TESTS_FUZZ_FUZZ_CHECK_H
#define ZEPTA_TESTS_FUZZ_FUZZ_CHECK_H

#include <cstdio>
#include <cstdlib>
#include <string>

#include "common/sandbox_check.h"

namespace zepta_fuzz {

inline void Require(bool holds, const std::string& what)
{
    if (holds) return;
    std::fprintf(stderr, "property violated: %s\n", what.c_str());
    std::abort();
}

// For the targets that open sockets: the library broadcasts its discovery
// ping, so they run only inside the test sandbox.
inline void RequireSandbox()
{
    Require(zepta_tools::InSandbox(), "running inside the test sandbox (scripts/sandbox.sh)");
}

}  // namespace zepta_fuzz

#endif
