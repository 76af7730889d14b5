// The formula kinds convert without touching the heap: this binary counts
// every allocation the test thread makes while counting is on.
#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <new>

#include "motion/axis_converter.h"
#include "zepta/ZEPTA.hpp"

namespace {
thread_local bool counting = false;
thread_local std::size_t allocations = 0;
}  // namespace

void* operator new(std::size_t size)
{
    if (counting) ++allocations;
    if (void* p = std::malloc(size == 0 ? 1 : size)) return p;
    throw std::bad_alloc();
}
void operator delete(void* p) noexcept { std::free(p); }
void operator delete(void* p, std::size_t) noexcept { std::free(p); }

namespace {

TEST(ConversionAllocation, FormulaKindsConvertWithoutHeapAllocation)
{
    const std::chrono::system_clock::time_point now{std::chrono::hours(480000)};
    for (int kind : {0, 1, 2, 3, 4, 100, 101, 102, 103, 104}) {
        for (int axisMode : {0, 1, 2}) {
            for (int speedMode : {0, 1, 2}) {
                ZEPTASDK::AxisConverter converter;
                _korve_data_packet p = ZEPTASDK::DefaultZEPTAPacket();
                p.roll = 0.3f;
                p.surge = -0.4f;
                const ZEPTASDK::ConversionModes modes{kind, axisMode, speedMode};
                allocations = 0;
                counting = true;
                converter.Convert(p, true, modes, now);
                converter.Convert(p, false, modes, now + std::chrono::seconds(4));
                converter.Convert(p, false, modes, now + std::chrono::seconds(5));
                counting = false;
                EXPECT_EQ(allocations, 0u) << "kind " << kind << " modes " << axisMode << speedMode;
            }
        }
    }
}

}  // namespace
