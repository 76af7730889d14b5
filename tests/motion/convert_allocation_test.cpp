// The formula kinds convert without touching the heap.
#include <gtest/gtest.h>

#include <chrono>

#include "motion/axis_converter.h"
#include "support/allocation_counter.h"
#include "zepta/ZEPTA.hpp"

namespace {

TEST(ConversionAllocation, FormulaKindsConvertWithoutHeapAllocation)
{
    const std::chrono::system_clock::time_point now{std::chrono::hours(480000)};
    zepta_test::CountAllocationsOnThisThread();
    for (int kind : {0, 1, 2, 3, 4, 100, 101, 102, 103, 104}) {
        for (int axisMode : {0, 1, 2}) {
            for (int speedMode : {0, 1, 2}) {
                ZEPTASDK::AxisConverter converter;
                _korve_data_packet p = ZEPTASDK::DefaultZEPTAPacket();
                p.roll = 0.3f;
                p.surge = -0.4f;
                const ZEPTASDK::ConversionModes modes{kind, axisMode, speedMode};
                zepta_test::StartCountingAllocations();
                converter.Convert(p, true, modes, now);
                converter.Convert(p, false, modes, now + std::chrono::seconds(4));
                converter.Convert(p, false, modes, now + std::chrono::seconds(5));
                EXPECT_EQ(zepta_test::StopCountingAllocations(), 0u) << "kind " << kind << " modes " << axisMode << speedMode;
            }
        }
    }
}

}  // namespace
