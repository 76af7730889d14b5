// The commands of a steady USB frame and the status lines they are answered
// with leave the heap alone: only allocations on the test thread count (the
// emulated device's thread is not counted).
#include <gtest/gtest.h>

#include "support/allocation_counter.h"
#include "support/sandbox.h"
#include "usb/controller.h"
#include "usb/device_bridge.h"
#include "usb_emulator/usb_device_emulator.h"

namespace {

class UsbFrameAllocation : public zepta_test::SandboxedTest {};

TEST_F(UsbFrameAllocation, SteadyFramesOfFourAndSixAxisDevicesLeaveTheHeapAlone)
{
    for (const char* identity : {"KORVE-DEVICE", "KORVE6-DEVICE"}) {
        zepta_tools::UsbDeviceEmulator device("/dev/ttyACMalloc");
        device.SetIdentity(identity);
        auto bridge = std::make_shared<ZEPTASDK::DeviceBridge>();
        ZEPTASDK::Controller controller(bridge, "A");
        ASSERT_EQ(controller.GetState(), ZEPTA_STATE_RUNNING);
        // What the session sends per frame: a position with four or six fields,
        // then either speed command. The first frame gives the reply line its length.
        for (int frame = 0; frame <= 50; ++frame) {
            if (frame == 1) {
                zepta_test::CountAllocationsOnThisThread();
                zepta_test::StartCountingAllocations();
            }
            const float v = 0.01f * static_cast<float>(frame);
            if (controller.GetZEPTA() == ZEPTA_DEVICE_KORVE_6DOF) {
                controller.SendPositionZEPTA(v, v, v, v, v, v);
            } else {
                controller.SendPositionZEPTA(v, v, v, v);
            }
            controller.SendSpeedAccelZEPTA(v, 0.5f);
            controller.SendSpeedZEPTA(v, v, v, v, v, v, 0.5f);
        }
        EXPECT_EQ(zepta_test::StopCountingAllocations(), 0u) << identity;
        EXPECT_EQ(controller.GetState(), ZEPTA_STATE_RUNNING) << identity;
    }
}

}  // namespace
