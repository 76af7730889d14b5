// A device that trickles bytes without ever ending its line: every byte comes
// within the read time-out, so only the deadline for the whole line ends the
// read, in about one read time-out instead of one time-out per byte.
#include <gtest/gtest.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <string>
#include <thread>

#include "common/pseudo_terminal.h"
#include "io/serial_port.h"
#include "support/sandbox.h"

namespace {

using namespace std::chrono_literals;
using ZEPTASDK::IO::SerialPort;
using zepta_tools::PseudoTerminal;

// Named after the process, so that parallel test cases never share it.
const std::string kPath = "/dev/zepta-trickle-" + std::to_string(getpid());

class SerialTrickle : public zepta_test::SandboxedTest {
protected:
    void SetUp() override
    {
        SandboxedTest::SetUp();
        pty = std::make_unique<PseudoTerminal>(kPath);
        port = std::make_unique<SerialPort>(std::wstring(kPath.begin(), kPath.end()), false);
        ASSERT_TRUE(port->IsEnable());
    }

    void TearDown() override
    {
        stop = true;
        if (device.joinable()) device.join();
    }

    // Sends bytes one by one, interval apart, until the test ends.
    void Trickle(const std::string& bytes, std::chrono::milliseconds interval)
    {
        device = std::thread([this, bytes, interval] {
            for (std::size_t i = 0; !stop; i = (i + 1) % bytes.size()) {
                if (write(pty->MasterFd(), &bytes[i], 1) != 1) return;
                std::this_thread::sleep_for(interval);
            }
        });
    }

    std::unique_ptr<PseudoTerminal> pty;
    std::unique_ptr<SerialPort> port;
    std::thread device;
    std::atomic<bool> stop{false};
};

TEST_F(SerialTrickle, EndlessTrickleReadsAsTimeOutWithinAboutOneTimeout)
{
    port->SetTimeout(300);
    Trickle("KORVE-STATUS-15", 20ms);

    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(port->Read(), "TimeOut");
    // Without the deadline the read would end only at the length cap, after
    // 4096 bytes of 20 ms each (82 s).
    EXPECT_LT(std::chrono::steady_clock::now() - start, 10s);
}

TEST_F(SerialTrickle, SlowButWholeLineWithinTheTimeoutIsKept)
{
    port->SetTimeout(2000);
    device = std::thread([this] {
        for (char c : std::string("KORVE-READY\r\n")) {
            if (write(pty->MasterFd(), &c, 1) != 1) return;
            std::this_thread::sleep_for(10ms);
        }
    });

    EXPECT_EQ(port->Read(), "KORVE-READY");
}

}  // namespace
