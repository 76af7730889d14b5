// Kept apart from the tests, so that the compiler never sees our operator
// new and the standard library's frees in one unit and warns of a mismatch
// that is none (both sides use malloc and free).
#include "allocation_count.h"

#include <cstdlib>
#include <new>

namespace {
thread_local bool counting = false;
thread_local std::size_t allocations = 0;
}  // namespace

namespace zepta_test {

void StartCountingAllocations()
{
    allocations = 0;
    counting = true;
}

std::size_t StopCountingAllocations()
{
    counting = false;
    return allocations;
}

}  // namespace zepta_test

void* operator new(std::size_t size)
{
    if (counting) ++allocations;
    if (void* p = std::malloc(size == 0 ? 1 : size)) return p;
    throw std::bad_alloc();
}
void operator delete(void* p) noexcept { std::free(p); }
void operator delete(void* p, std::size_t) noexcept { std::free(p); }
