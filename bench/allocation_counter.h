// Counts heap allocations made on chosen threads. The benchmark binary
// replaces the global operator new with a counting one; only threads that
// asked to be counted are, so that the emulated devices running in the same
// process stay out of the figures.
#ifndef ZEPTA_BENCH_ALLOCATION_COUNTER_H
#define ZEPTA_BENCH_ALLOCATION_COUNTER_H

#include <cstdint>

namespace zepta_bench {

// From now on allocations on the calling thread count while counting is on.
void CountAllocationsOnThisThread();
// Starts counting from zero.
void StartCountingAllocations();
// Stops counting and returns the number of allocations since the start.
std::uint64_t StopCountingAllocations();

}  // namespace zepta_bench

#endif
