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
    const int kinds[] = {ZEPTA_DEVICE_NONE, ZEPTA_DEVICE_KORVE_2DOF, ZEPTA_DEVICE_KORVE_4DOF, ZEPTA_DEVICE_KORVE_6DOF,
                         ZEPTA_DEVICE_MOSSPOD, ZEPTA_DEVICE_NEBULO_2DOF, ZEPTA_DEVICE_KICKBOARD_QX,
                         ZEPTA_DEVICE_GRANDE, ZEPTA_DEVICE_TRAXEL, ZEPTA_DEVICE_PLIX};
    zepta_test::CountAllocationsOnThisThread();
    for (int kind : kinds) {
        for (int modes = 0; modes < 9; ++modes) {  // axis modes by speed modes
            ZEPTASDK::AxisConverter converter;
            _korve_data_packet p = ZEPTASDK::DefaultZEPTAPacket();
            p.roll = 0.3f, p.surge = -0.4f;
            zepta_test::StartCountingAllocations();
            for (int second : {0, 4, 5}) converter.Convert(p, second == 0, {kind, modes / 3, modes % 3}, now + std::chrono::seconds(second));
            EXPECT_EQ(zepta_test::StopCountingAllocations(), 0u) << "kind " << kind << " modes " << modes;
        }
    }
}

}  // namespace
