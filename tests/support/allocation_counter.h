// Counts heap allocations made on chosen threads. A test or benchmark binary
// that links it replaces the global operator new with a counting one; only
// threads that asked to be counted are, so that the emulated devices running
// in the same process stay out of the figures.
#ifndef ZEPTA_TESTS_SUPPORT_ALLOCATION_COUNTER_H
#define ZEPTA_TESTS_SUPPORT_ALLOCATION_COUNTER_H

#include <cstdint>

namespace zepta_test {

// From now on allocations on the calling thread count while counting is on.
void CountAllocationsOnThisThread();
// Starts counting from zero.
void StartCountingAllocations();
// Stops counting and returns the number of allocations since the start.
std::uint64_t StopCountingAllocations();

}  // namespace zepta_test

#endif
