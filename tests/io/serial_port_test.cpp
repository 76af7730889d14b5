// The serial port over a real pseudo-terminal: line settings, line framing,
// time-outs and the process-wide ownership of a path.
#include <fcntl.h>
#include <termios.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <memory>

#include "common/pseudo_terminal.h"
#include "io/serial_port.h"
#include "support/sandbox.h"
#include "zepta/Debug.hpp"

namespace {

using ZEPTASDK::IO::SerialPort;

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
        pty = std::make_unique<zepta_tools::PseudoTerminal>(kPath);
        port = std::make_unique<SerialPort>(kWidePath, false);
    }
    void DeviceSends(const std::string& bytes) { ASSERT_GT(write(pty->MasterFd(), bytes.data(), bytes.size()), 0); }
    std::string Read()
    {
        std::string line = "stale";
        return port->ReadLine(line) ? line : kNoLine + line;
    }
    termios LineSettings() const
    {
        const int fd = open(pty->SlavePath().c_str(), O_RDWR | O_NOCTTY);
        termios t{};
        tcgetattr(fd, &t);
        close(fd);
        return t;
    }

    std::unique_ptr<zepta_tools::PseudoTerminal> pty;
    std::unique_ptr<SerialPort> port;
};

TEST_F(SerialPortTest, LineIsRaw115200With8N1AndATimeoutInTenthsOfOneByte)
{
    termios t = LineSettings();
    EXPECT_EQ(std::make_pair(t.c_cc[VTIME], t.c_cc[VMIN]), std::make_pair(cc_t{5}, cc_t{0}));
    EXPECT_EQ(std::make_pair(cfgetispeed(&t), cfgetospeed(&t)), std::make_pair(speed_t{B115200}, speed_t{B115200}));
    EXPECT_EQ(t.c_cflag & (CSIZE | CSTOPB | PARENB | CRTSCTS | CREAD | CLOCAL), static_cast<tcflag_t>(CS8 | CREAD | CLOCAL));
    EXPECT_EQ(t.c_lflag & (ISIG | ICANON | ECHO | ECHONL | IEXTEN), 0u);
    EXPECT_EQ(t.c_iflag & (IGNBRK | BRKINT | PARMRK | ISTRIP | INLCR | IGNCR | ICRNL | IXON), 0u);
    EXPECT_EQ(t.c_oflag & OPOST, 0u);
    for (const auto& c : std::vector<std::pair<int, int>>{{50, 0}, {30000, 44}, {300, 3}, {199, 1}}) {
        EXPECT_EQ(port->SetTimeout(c.first), 0);
        EXPECT_EQ(LineSettings().c_cc[VTIME], c.second) << c.first;
    }
}

// A line that reaches the cap is handed over as it is; a partial line is
// dropped at the silence, and so is pending input at a clear, which then
// writes the given text.
TEST_F(SerialPortTest, LinesLoseOneCarriageReturnAndTheLineFeedOrStopAtTheCap)
{
    const std::string binary("\x00\xff\x11\x13\x03\x7f", 6), full(SerialPort::kMaxLineLength - 1, 'y');
    DeviceSends("ABC\r\nDEF\n\r\nG\r\r\n" + binary + "\n" + full + "\n");
    for (const std::string& expected : {std::string("ABC"), std::string("DEF"), std::string(), std::string("G\r"), binary, full}) {
        EXPECT_EQ(Read(), expected);
    }
    port->SetTimeout(100);
    DeviceSends(std::string(SerialPort::kMaxLineLength, 'x') + "KORVE-REA");
    EXPECT_EQ(Read(), std::string(SerialPort::kMaxLineLength, 'x'));
    EXPECT_EQ(Read(), kNoLine);
    DeviceSends("DY\r\nSTALE\r\n");
    EXPECT_EQ(Read(), "DY");
    port->ClearBuffer("x;");
    EXPECT_EQ(Read(), kNoLine);
    char received[8] = {};
    EXPECT_EQ(std::string(received, static_cast<std::size_t>(read(pty->MasterFd(), received, sizeof received))), "x;");
}

TEST_F(SerialPortTest, PathIsHeldByOnePortUntilReleasedAndRefusalsAreQuiet)
{
    const std::wstring missing = L"/dev/zepta-no-such-port";
    char log[256];
    while (ZEPTASDK::Debug::GetBackLogData(log, sizeof log) > 0) {
    }
    {
        SerialPort refused(kWidePath, true);
        EXPECT_EQ(std::make_tuple(refused.IsEnable(), refused.Write("d;"), refused.SetTimeout(500)),
                  std::make_tuple(false, ssize_t{-1}, -1));
    }
    EXPECT_FALSE(SerialPort(kWidePath, false).IsEnable()) << "a refused port releases nothing";
    EXPECT_EQ(ZEPTASDK::Debug::GetBackLogDataAvailable(), 0);
    EXPECT_FALSE(SerialPort(missing, true).IsEnable());
    EXPECT_EQ(std::string(log, static_cast<std::size_t>(ZEPTASDK::Debug::GetBackLogData(log, sizeof log))),
              "[/dev/zepta-no-such-port] is already in use or access is not permitted.\n");
    port.reset();
    EXPECT_TRUE(SerialPort(kWidePath, false).IsEnable());
    zepta_tools::PseudoTerminal late("/dev/zepta-no-such-port");
    EXPECT_TRUE(SerialPort(missing, false).IsEnable()) << "a failed open reserves nothing";
}

}  // namespace
