// Steady frames convert without touching the heap, for every device kind in
// every axis and speed mode, the platforms' kinematics included.
#include <gtest/gtest.h>

#include <chrono>

#include "motion/axis_converter.h"
#include "motion/platform_geometry.h"
#include "support/allocation_counter.h"
#include "zepta/ZEPTA.hpp"

namespace {

// A pose request about an offset pivot, with axes written beyond the stroke so
// that a joint of either platform bends too far and the manual mode runs the
// whole pull-back.
_korve_data_packet BendingFrame()
{
    _korve_data_packet p = ZEPTASDK::DefaultZEPTAPacket();
    p.roll = 0.3f, p.pitch = -0.2f, p.yaw = 0.1f, p.heave = 0.2f, p.sway = 0.1f, p.surge = -0.4f;
    p.poseOffset1 = 20.0f, p.poseOffset2 = -10.0f, p.poseOffset3 = 5.0f;
    p.axis1 = -0.5f, p.axis2 = 1.5f, p.axis3 = 1.5f, p.axis4 = -0.5f, p.axis5 = -0.5f, p.axis6 = 1.5f;
    return p;
}

TEST(ConversionAllocation, EveryKindAndModeConvertsWithoutHeapAllocation)
{
    const std::chrono::system_clock::time_point now{std::chrono::hours(480000)};
    const int kinds[] = {ZEPTA_DEVICE_NONE, ZEPTA_DEVICE_KORVE_2DOF, ZEPTA_DEVICE_KORVE_4DOF, ZEPTA_DEVICE_KORVE_6DOF,
                         ZEPTA_DEVICE_MOSSPOD, ZEPTA_DEVICE_GRANDE_QX, ZEPTA_DEVICE_GRANDE_500QX, ZEPTA_DEVICE_NEBULO_2DOF,
                         ZEPTA_DEVICE_KICKBOARD_QX, ZEPTA_DEVICE_GRANDE, ZEPTA_DEVICE_TRAXEL, ZEPTA_DEVICE_PLIX};
    zepta_test::CountAllocationsOnThisThread();
    for (int kind : kinds) {
        for (int axisMode : {ZEPTA_AXIS_MANUAL, ZEPTA_AXIS_BASE, ZEPTA_AXIS_PLATFORM}) {
            for (int speedMode : {ZEPTA_SPEED_DEFAULT, ZEPTA_SPEED_FROM_MOTION, ZEPTA_SPEED_AS_WRITTEN}) {
                ZEPTASDK::AxisConverter converter;
                converter.PrepareForDevice(kind);
                zepta_test::StartCountingAllocations();
                bool pulledBack = true;
                for (int second : {0, 4, 5}) {
                    _korve_data_packet p = BendingFrame();
                    converter.Convert(p, second == 0, {kind, axisMode, speedMode}, now + std::chrono::seconds(second));
                    pulledBack = pulledBack && converter.DerivedAxes();
                }
                EXPECT_EQ(zepta_test::StopCountingAllocations(), 0u) << "kind " << kind << " axis mode " << axisMode << " speed mode " << speedMode;
                if (ZEPTASDK::IsPlatformKind(kind) && axisMode == ZEPTA_AXIS_MANUAL) {
                    EXPECT_TRUE(pulledBack) << "kind " << kind << " speed mode " << speedMode;
                }
            }
        }
    }
}

}  // namespace
