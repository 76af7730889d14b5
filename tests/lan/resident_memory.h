// The resident memory of this process, to check that hostile peers leave no
// growing footprint. Margins must be generous: allocators and the sanitizers'
// shadow memory keep pages of their own.
#ifndef ZEPTA_TESTS_HOSTILE_RESIDENT_MEMORY_H
#define ZEPTA_TESTS_HOSTILE_RESIDENT_MEMORY_H

#include <unistd.h>

#include <cstddef>
#include <fstream>

namespace zepta_test {

// Resident set size in bytes, from /proc/self/statm; 0 if it cannot be read.
inline std::size_t ResidentBytes()
{
    std::ifstream statm("/proc/self/statm");
    std::size_t sizePages = 0, residentPages = 0;
    if (!(statm >> sizePages >> residentPages)) return 0;
    return residentPages * static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
}

constexpr std::size_t kMegabyte = 1024 * 1024;

}  // namespace zepta_test

#endif
