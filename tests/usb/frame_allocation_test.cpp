// The commands of a steady USB frame and the status lines they are answered
// with leave the heap alone: only allocations on the test thread count (the
// emulated device's thread is not counted).
#include <gtest/gtest.h>

#include <memory>

#include "support/allocation_counter.h"
#include "support/sandbox.h"
#include "usb/controller.h"
#include "usb/device_bridge.h"
#include "usb_emulator/usb_device_emulator.h"

namespace {

using ZEPTASDK::Controller;
using ZEPTASDK::DeviceBridge;
using zepta_tools::UsbDeviceEmulator;

class UsbFrameAllocation : public zepta_test::SandboxedTest {};

// What the session sends per frame: a position command with four or six
// fields, then either speed command (they alternate here, so both are sent).
void SendFrame(Controller& controller, int frame)
{
    const float v = 0.01f * static_cast<float>(frame % 100);
    if (controller.GetZEPTA() == ZEPTA_DEVICE_KORVE_6DOF) {
        controller.SendPositionZEPTA(v, v, v, v, v, v);
    } else {
        controller.SendPositionZEPTA(v, v, v, v);
    }
    controller.SendSpeedAccelZEPTA(v, 0.5f);
    controller.SendSpeedZEPTA(v, v, v, v, v, v, 0.5f);
}

TEST_F(UsbFrameAllocation, SteadyFramesOfFourAndSixAxisDevicesLeaveTheHeapAlone)
{
    for (const char* identity : {"KORVE-DEVICE", "KORVE6-DEVICE"}) {
        SCOPED_TRACE(identity);
        UsbDeviceEmulator device("/dev/ttyACMalloc");
        device.SetIdentity(identity);
        auto bridge = std::make_shared<DeviceBridge>();
        Controller controller(bridge, "A");
        ASSERT_EQ(controller.GetState(), ZEPTA_STATE_RUNNING);
        // The first frame gives the reply line its length once.
        SendFrame(controller, 0);

        zepta_test::CountAllocationsOnThisThread();
        zepta_test::StartCountingAllocations();
        for (int frame = 1; frame <= 50; ++frame) SendFrame(controller, frame);
        EXPECT_EQ(zepta_test::StopCountingAllocations(), 0u);
        EXPECT_EQ(controller.GetState(), ZEPTA_STATE_RUNNING);
    }
}

}  // namespace
