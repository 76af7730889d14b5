#include "allocation_counter.h"

#include <atomic>
#include <cstdlib>
#include <new>

namespace zepta_test {

namespace {

thread_local bool t_counted = false;
std::atomic<bool> g_counting{false};
std::atomic<std::uint64_t> g_allocations{0};

void NoteAllocation()
{
    if (t_counted && g_counting.load(std::memory_order_relaxed)) {
        g_allocations.fetch_add(1, std::memory_order_relaxed);
    }
}

}  // namespace

void CountAllocationsOnThisThread() { t_counted = true; }

void StartCountingAllocations()
{
    g_allocations = 0;
    g_counting = true;
}

std::uint64_t StopCountingAllocations()
{
    g_counting = false;
    return g_allocations.load();
}

}  // namespace zepta_test

// The replaceable allocation functions. The array and nothrow forms of the
// standard library call these two, and every form of delete frees with free().
void* operator new(std::size_t size)
{
    zepta_test::NoteAllocation();
    if (void* p = std::malloc(size == 0 ? 1 : size)) return p;
    throw std::bad_alloc();
}

void* operator new(std::size_t size, std::align_val_t alignment)
{
    zepta_test::NoteAllocation();
    const auto align = static_cast<std::size_t>(alignment);
    // aligned_alloc wants a size that is a multiple of the alignment.
    const std::size_t rounded = (size + align - 1) / align * align;
    if (void* p = std::aligned_alloc(align, rounded == 0 ? align : rounded)) return p;
    throw std::bad_alloc();
}

void operator delete(void* p) noexcept { std::free(p); }
void operator delete(void* p, std::size_t) noexcept { std::free(p); }
void operator delete(void* p, std::align_val_t) noexcept { std::free(p); }
void operator delete(void* p, std::size_t, std::align_val_t) noexcept { std::free(p); }
