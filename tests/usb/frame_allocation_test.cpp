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

// What the session sends per frame: a position, then either speed command.
// The first frame gives the reply line its length.
TEST_F(UsbFrameAllocation, SteadyFramesLeaveTheHeapAlone)
{
    zepta_tools::UsbDeviceEmulator device("/dev/ttyACMalloc");
    device.SetIdentity("KORVE6-DEVICE");
    const auto bridge = std::make_shared<ZEPTASDK::DeviceBridge>();
    ZEPTASDK::Controller controller(bridge, "A");
    ASSERT_EQ(controller.GetState(), ZEPTA_STATE_RUNNING);
    for (int frame = 0; frame <= 50; ++frame) {
        if (frame == 1) {
            zepta_test::CountAllocationsOnThisThread();
            zepta_test::StartCountingAllocations();
        }
        const float v = 0.01f * static_cast<float>(frame);
        controller.SendPositionZEPTA(v, v, v, v, v, v);
        controller.SendSpeedAccelZEPTA(v, 0.5f);
        controller.SendSpeedZEPTA(v, v, v, v, v, v, 0.5f);
    }
    EXPECT_EQ(zepta_test::StopCountingAllocations(), 0u);
    EXPECT_EQ(controller.GetState(), ZEPTA_STATE_RUNNING);
}

}  // namespace
