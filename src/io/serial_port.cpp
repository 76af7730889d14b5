#include "io/serial_port.h"

#include <fcntl.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

#include <algorithm>
#include <mutex>

#include "io/text_conversion.h"
#include "log/log_messages.h"
#include "zepta/Debug.hpp"

namespace ZEPTASDK {
namespace IO {

namespace {

constexpr int kInitialTimeoutMs = 500;
constexpr int kMsPerVtimeUnit = 100;
constexpr char kLineFeed = '\n';
constexpr char kCarriageReturn = '\r';

// Paths of the ports this process holds (or is opening right now), so that
// two sessions never share one device. Sessions build ports on their own
// update threads, hence the lock.
std::mutex openPortNamesMutex;
std::vector<std::wstring> openPortNames;  // guarded by openPortNamesMutex

// Raw bytes both ways, 115200 baud, 8 data bits, 1 stop bit, no parity, no
// flow control, modem lines ignored; a read returns after one byte or after
// vtime tenths of a second of silence.
void MakeRawLine(termios& t, cc_t vtime)
{
    cfmakeraw(&t);
    cfsetispeed(&t, B115200);
    cfsetospeed(&t, B115200);
    t.c_cc[VMIN] = 0;
    t.c_iflag &= ~static_cast<tcflag_t>(IGNBRK | BRKINT | PARMRK | ISTRIP | INLCR | IGNCR | ICRNL | IXON);
    t.c_oflag &= ~static_cast<tcflag_t>(OPOST);
    t.c_cflag &= ~static_cast<tcflag_t>(CSIZE | CSTOPB | PARENB | CRTSCTS);
    t.c_cflag |= CS8 | CREAD | CLOCAL;
    t.c_lflag &= ~static_cast<tcflag_t>(ISIG | ICANON | ECHO | ECHONL | IEXTEN);
    t.c_cc[VTIME] = vtime;
}

// Removes the first carriage return and then the first line feed, one each.
void TrimLineEnd(std::string& line)
{
    for (char end : {kCarriageReturn, kLineFeed}) {
        const std::size_t at = line.find(end);
        if (at != std::string::npos) line.erase(at, 1);
    }
}

// The deadline starts with the line's first byte; without a read time-out
// reads never wait, so there is nothing to bound.
bool PastLineDeadline(std::chrono::milliseconds lineTimeout, std::size_t length,
                      std::chrono::steady_clock::time_point& deadline)
{
    if (lineTimeout.count() == 0) return false;
    const auto now = std::chrono::steady_clock::now();
    if (length == 1) deadline = now + lineTimeout;
    return now > deadline;
}

}  // namespace

SerialPort::SerialPort(std::wstring name, bool logError) : enabled(false), fd(-1), lineTimeout(0)
{
    if (!Register(name)) return;
    const std::string path = WideToUtf8(name);
    fd = open(path.c_str(), O_RDWR | O_NOCTTY);
    if (fd < 0) {
        Unregister();
        if (logError) Debug::Log(Message::Log::ComUsedLinux(path));
        return;
    }
    // Other processes get EBUSY from now on; within this process the list of
    // open names does the same job.
    ioctl(fd, TIOCEXCL);
    portName = name;
    SetTimeout(kInitialTimeoutMs);
    enabled = true;
}

SerialPort::~SerialPort()
{
    if (fd >= 0) {
        close(fd);
        Unregister();
    }
}

bool SerialPort::Register(const std::wstring& name)
{
    std::lock_guard<std::mutex> lock(openPortNamesMutex);
    if (std::find(openPortNames.begin(), openPortNames.end(), name) != openPortNames.end()) return false;
    openPortNames.push_back(name);
    portName = name;
    return true;
}

void SerialPort::Unregister()
{
    {
        std::lock_guard<std::mutex> lock(openPortNamesMutex);
        openPortNames.erase(std::remove(openPortNames.begin(), openPortNames.end(), portName),
                              openPortNames.end());
    }
    portName.clear();
}

bool SerialPort::IsEnable() const { return enabled; }

ssize_t SerialPort::Write(std::string data) { return write(fd, data.data(), data.size()); }

// Reads one byte per call so that we never consume the next reply line. A
// device that trickles bytes without ever ending its line would otherwise
// hold the reader for as long as it likes: each byte arrives within the read
// time-out, so only a deadline for the whole line ends the wait.
bool SerialPort::ReadLine(std::string& line)
{
    line.clear();
    std::chrono::steady_clock::time_point deadline;
    for (;;) {
        char byte = 0;
        const ssize_t count = read(fd, &byte, 1);
        line.push_back(byte);
        if (byte == kLineFeed) break;
        if (count < 1 || PastLineDeadline(lineTimeout, line.size(), deadline)) {
            line.clear();
            return false;
        }
        if (line.size() >= kMaxLineLength) return true;
    }
    TrimLineEnd(line);
    return true;
}

void SerialPort::ClearBuffer(const std::string& commandEnd)
{
    tcflush(fd, TCIOFLUSH);
    Write(commandEnd);
}

int SerialPort::SetTimeout(int milliseconds)
{
    termios t{};
    tcgetattr(fd, &t);
    // The control character is one byte wide: only the low 8 bits count.
    const auto vtime = static_cast<cc_t>(milliseconds / kMsPerVtimeUnit);
    MakeRawLine(t, vtime);
    lineTimeout = std::chrono::milliseconds(vtime * kMsPerVtimeUnit);
    return tcsetattr(fd, TCSANOW, &t);
}

}  // namespace IO
}  // namespace ZEPTASDK
