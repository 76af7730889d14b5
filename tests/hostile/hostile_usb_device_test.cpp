// A session whose device streams a line without end, at full speed or byte by
// byte, instead of answering: the status wait must end, the session must reach
// state 4 and Close must return, with memory bounded by the line cap.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "resident_memory.h"
#include "session/session_test_support.h"
#include "usb_emulator/usb_device_emulator.h"

namespace {

using namespace zepta_test;
using zepta_tools::UsbDeviceEmulator;

class HostileUsbDevice : public SessionTest {};

TEST_F(HostileUsbDevice, FloodingOrTricklingDeviceIsShutDownAndClosesPromptly)
{
    const struct {
        const char* pattern;
        std::chrono::milliseconds interval;
        const char* reason;
    } devices[] = {{"x", 0ms, "Connection lost."}, {"KORVE-STATUS-15", 50ms, "TimeOut"}};
    for (const auto& hostile : devices) {
        UsbDeviceEmulator device;
        handle_ = zeptaOpen("TEST");
        ASSERT_TRUE(WaitConnected(handle_)) << DrainLog();
        DrainLog();
        const std::size_t before = ResidentBytes();
        device.BabbleInsteadOfNextStatus(hostile.pattern, hostile.interval);
        const _korve_data_packet packet = NeutralPacket();
        ASSERT_TRUE(WaitUntil([&] {
            zeptaWrite(handle_, &packet);
            return zeptaGetSystemStatus(handle_) == 0;
        }, 20s)) << hostile.pattern << DrainLog();
        EXPECT_LT(ResidentBytes(), before + 64 * kMegabyte);
        EXPECT_EQ(zeptaGetState(handle_), ZEPTA_STATE_SHUT_DOWN);
        EXPECT_THAT(SplitLines(DrainLog()), ::testing::IsSupersetOf({std::string(hostile.reason),
                    std::string("Actuator shut down."), std::string("ZEPTA thread terminated.")})) << hostile.pattern;
        EXPECT_EQ(zeptaClose(handle_), handle_);
    }
}

}  // namespace
