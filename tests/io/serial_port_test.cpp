// The serial port over a real pseudo-terminal: line settings, line framing,
// time-outs and the process-wide ownership of a path.
#include <fcntl.h>
#include <poll.h>
#include <termios.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <string>
#include <thread>

#include "common/pseudo_terminal.h"
#include "io/serial_port.h"
#include "support/sandbox.h"
#include "zepta/Debug.hpp"

namespace {

using namespace std::chrono_literals;
using ZEPTASDK::IO::SerialPort;
using zepta_tools::PseudoTerminal;

// Not a ttyACM name, so that the device search of other tests never meets
// it, and named after the process, so that parallel cases never share it.
const std::string kPath = "/dev/zepta-serial-test-" + std::to_string(getpid());
const std::wstring kWidePath(kPath.begin(), kPath.end());
const std::string kNoLine = "(no line)";

class SerialPortTest : public zepta_test::SandboxedTest {
protected:
    void SetUp() override
    {
        SandboxedTest::SetUp();
        pty = std::make_unique<PseudoTerminal>(kPath);
        port = std::make_unique<SerialPort>(kWidePath, false);
        ASSERT_TRUE(port->IsEnable());
    }
    void TearDown() override
    {
        stop = true;
        if (device.joinable()) device.join();
    }
    void DeviceSends(const std::string& bytes) { ASSERT_EQ(write(pty->MasterFd(), bytes.data(), bytes.size()), static_cast<ssize_t>(bytes.size())); }
    // Sends bytes one by one, interval apart, over and over until the test ends.
    void Trickle(const std::string& bytes, std::chrono::milliseconds interval, bool repeat)
    {
        device = std::thread([this, bytes, interval, repeat] {
            for (std::size_t i = 0; !stop && (repeat || i < bytes.size()); ++i) {
                if (write(pty->MasterFd(), &bytes[i % bytes.size()], 1) != 1) return;
                std::this_thread::sleep_for(interval);
            }
        });
    }
    std::string Read()
    {
        std::string line = "stale";
        return port->ReadLine(line) ? line : (line.empty() ? kNoLine : "dirty: " + line);
    }
    std::string DeviceReceived()
    {
        pollfd fd{pty->MasterFd(), POLLIN, 0};
        char buffer[256];
        const ssize_t count = poll(&fd, 1, 5000) > 0 ? read(pty->MasterFd(), buffer, sizeof buffer) : 0;
        return std::string(buffer, static_cast<std::size_t>(count > 0 ? count : 0));
    }
    termios LineSettings() const
    {
        const int fd = open(pty->SlavePath().c_str(), O_RDWR | O_NOCTTY);
        termios t{};
        tcgetattr(fd, &t);
        close(fd);
        return t;
    }

    std::unique_ptr<PseudoTerminal> pty;
    std::unique_ptr<SerialPort> port;
    std::thread device;
    std::atomic<bool> stop{false};
};

TEST_F(SerialPortTest, LineIsRaw115200With8N1AndATimeoutInTenthsOfOneByte)
{
    termios t = LineSettings();
    EXPECT_EQ(t.c_cc[VTIME], 5);
    EXPECT_EQ(t.c_cc[VMIN], 0);
    EXPECT_EQ(cfgetispeed(&t), static_cast<speed_t>(B115200));
    EXPECT_EQ(cfgetospeed(&t), static_cast<speed_t>(B115200));
    EXPECT_EQ(t.c_cflag & (CSIZE | CSTOPB | PARENB | CRTSCTS | CREAD | CLOCAL), static_cast<tcflag_t>(CS8 | CREAD | CLOCAL));
    EXPECT_EQ(t.c_lflag & (ISIG | ICANON | ECHO | ECHONL | IEXTEN), 0u);
    EXPECT_EQ(t.c_iflag & (IGNBRK | BRKINT | PARMRK | ISTRIP | INLCR | IGNCR | ICRNL | IXON), 0u);
    EXPECT_EQ(t.c_oflag & OPOST, 0u);
    for (const auto& c : std::vector<std::pair<int, int>>{{50, 0}, {30000, 44}, {300, 3}, {199, 1}}) {
        EXPECT_EQ(port->SetTimeout(c.first), 0);
        EXPECT_EQ(LineSettings().c_cc[VTIME], c.second) << c.first;
    }
}

TEST_F(SerialPortTest, LinesLoseOneCarriageReturnAndTheLineFeedOrStopAtTheCap)
{
    const std::string binary("\x00\xff\x11\x13\x03\x7f", 6);
    const std::string capped(SerialPort::kMaxLineLength, 'x');
    DeviceSends("ABC\r\nDEF\n\r\nG\r\r\n" + binary + "\n" + std::string(SerialPort::kMaxLineLength - 1, 'y') + "\n");
    for (const std::string& expected : {std::string("ABC"), std::string("DEF"), std::string(), std::string("G\r"), binary,
                                       std::string(SerialPort::kMaxLineLength - 1, 'y')}) {
        EXPECT_EQ(Read(), expected);
    }
    port->SetTimeout(100);
    DeviceSends(capped + "zz");
    EXPECT_EQ(Read(), capped);
    EXPECT_EQ(Read(), kNoLine);
}

// A partial line is dropped at the silence; so is pending input at a clear,
// which then writes the given text.
TEST_F(SerialPortTest, SilenceAndClearingDropWhatCameBefore)
{
    port->SetTimeout(100);
    EXPECT_EQ(Read(), kNoLine);
    DeviceSends("KORVE-REA");
    EXPECT_EQ(Read(), kNoLine);
    DeviceSends("DY\r\n");
    EXPECT_EQ(Read(), "DY");

    DeviceSends("STALE\r\n");
    port->ClearBuffer("x;");
    EXPECT_EQ(DeviceReceived(), "x;");
    EXPECT_EQ(Read(), kNoLine);
}

// Every byte comes within the read time-out, so only the deadline for the
// whole line (from its first byte) ends an endless trickle, long before the cap.
TEST_F(SerialPortTest, LineMustBeCompleteWithinOneTimeoutOfItsFirstByte)
{
    port->SetTimeout(2000);
    Trickle("KORVE-READY\r\n", 10ms, false);
    EXPECT_EQ(Read(), "KORVE-READY");
    device.join();

    port->SetTimeout(300);
    Trickle("KORVE-STATUS-15", 20ms, true);
    EXPECT_EQ(Read(), kNoLine);
}

TEST_F(SerialPortTest, PathIsHeldByOnePortUntilReleasedAndRefusalsAreQuiet)
{
    char drained[4096];
    while (ZEPTASDK::Debug::GetBackLogData(drained, sizeof drained) > 0) {
    }
    {
        SerialPort refused(kWidePath, true);
        EXPECT_FALSE(refused.IsEnable());
        EXPECT_EQ(refused.Write("d;"), -1);
        EXPECT_EQ(refused.SetTimeout(500), -1);
    }
    EXPECT_EQ(ZEPTASDK::Debug::GetBackLogDataAvailable(), 0);
    EXPECT_FALSE(SerialPort(kWidePath, false).IsEnable()) << "a refused port releases nothing";
    port.reset();
    EXPECT_TRUE(SerialPort(kWidePath, false).IsEnable());

    EXPECT_FALSE(SerialPort(L"/dev/zepta-no-such-port", false).IsEnable());
    EXPECT_EQ(ZEPTASDK::Debug::GetBackLogDataAvailable(), 0);
    EXPECT_FALSE(SerialPort(L"/dev/zepta-no-such-port", true).IsEnable());
    const int count = ZEPTASDK::Debug::GetBackLogData(drained, sizeof drained);
    EXPECT_EQ(std::string(drained, static_cast<std::size_t>(count)),
              "[/dev/zepta-no-such-port] is already in use or access is not permitted.\n");
    // A failed open reserves nothing.
    PseudoTerminal late("/dev/zepta-no-such-port");
    EXPECT_TRUE(SerialPort(L"/dev/zepta-no-such-port", false).IsEnable());
}

TEST_F(SerialPortTest, VanishedDeviceGivesNoLine)
{
    pty.reset();
    EXPECT_EQ(Read(), kNoLine);
    EXPECT_LT(port->Write("n;"), 0);
}

}  // namespace
