// The commands of a steady USB frame and the status lines they are answered
// with leave the heap alone: this binary counts every allocation the test
// thread makes while counting is on (the emulated device's thread is not
// counted).
#include <gtest/gtest.h>

#include <cstdlib>
#include <memory>
#include <new>

#include "support/sandbox.h"
#include "usb/controller.h"
#include "usb/device_bridge.h"
#include "usb_emulator/usb_device_emulator.h"

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

using ZEPTASDK::Controller;
using ZEPTASDK::DeviceBridge;
using zepta_tools::UsbDeviceEmulator;

class UsbFrameAllocation : public zepta_test::SandboxedTest {};

// What the session sends per frame: a position command with four or six
// fields, then either speed command (they alternate here, so both are sent).
void SendFrame(Controller& controller, int frame)
{
    const float v = 0.01f * static_cast<float>(frame % 100);
    if (controller.GetZEPTA() == 3) {
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
        ASSERT_EQ(controller.GetState(), Controller::kStateRunning);
        // The first frame gives the reply line its length once.
        SendFrame(controller, 0);

        allocations = 0;
        counting = true;
        for (int frame = 1; frame <= 50; ++frame) SendFrame(controller, frame);
        counting = false;
        EXPECT_EQ(allocations, 0u);
        EXPECT_EQ(controller.GetState(), Controller::kStateRunning);
    }
}

}  // namespace
