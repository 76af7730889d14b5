// Heap allocations made on the calling thread while counting is on. The test
// binary that links allocation_count.cpp replaces the global operator new.
#ifndef ZEPTA_TESTS_USB_ALLOCATION_COUNT_H
#define ZEPTA_TESTS_USB_ALLOCATION_COUNT_H

#include <cstddef>

namespace zepta_test {

void StartCountingAllocations();
// Stops counting; the allocations since the start.
std::size_t StopCountingAllocations();

}  // namespace zepta_test

#endif
