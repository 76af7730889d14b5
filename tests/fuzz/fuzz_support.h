// What the fuzz targets share: the properties they assert, and the split of
// an input into lines. A violated property prints what broke and aborts,
// which libFuzzer reports as a crash and keeps the input; the corpus replay
// in the test suite fails the same way.
#ifndef ZEPTA_TESTS_FUZZ_FUZZ_SUPPORT_H
#define ZEPTA_TESTS_FUZZ_FUZZ_SUPPORT_H

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "common/sandbox_check.h"
#include "zepta/Debug.hpp"

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

// Empties the process-wide log, which every input writes to.
inline void DrainLog()
{
    char buffer[4096];
    while (ZEPTASDK::Debug::GetBackLogData(buffer, sizeof buffer) > 0) {
    }
}

// The input cut at every "\n"; there is always at least one line, maybe empty.
inline std::vector<std::string> InputLines(const std::uint8_t* data, std::size_t size)
{
    std::vector<std::string> lines(1);
    for (std::size_t i = 0; i < size; ++i) {
        if (data[i] == '\n') {
            lines.emplace_back();
        } else {
            lines.back().push_back(static_cast<char>(data[i]));
        }
    }
    return lines;
}

}  // namespace zepta_fuzz

#endif
