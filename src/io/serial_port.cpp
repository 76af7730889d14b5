#include "io/serial_port.h"

#include <fcntl.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
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

}  // namespace

SerialPort::SerialPort(std::wstring name, bool logError)
    : enabled(false), fd(-1), lineTimeout(0), appliedVtime(kNothingApplied), block{}, keptBegin(0), keptEnd(0)
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

// Reads in blocks and keeps what follows a line for the next call, so that a
// waiting reply costs one system call. A device that trickles bytes without
// ever ending its line would otherwise hold the reader for as long as it
// likes: each byte arrives within the read time-out, so only a deadline for
// the whole line, counted from its first byte, ends the wait.
bool SerialPort::ReadLine(std::string& line)
{
    line.clear();
    Clock::time_point deadline;
    for (;;) {
        if (keptBegin == keptEnd && (!ReadBlock() || (!line.empty() && ContinuationIsLate(deadline)))) {
            line.clear();
            return false;
        }
        if (line.empty()) deadline = LineDeadline();
        if (TakeKeptBytes(line)) return true;
    }
}

bool SerialPort::ReadBlock()
{
    const ssize_t count = read(fd, block.data(), block.size());
    if (count < 1) return false;
    keptBegin = 0;
    keptEnd = static_cast<std::size_t>(count);
    return true;
}

// Without a read time-out reads never wait, so there is nothing to bound.
SerialPort::Clock::time_point SerialPort::LineDeadline() const
{
    return lineTimeout.count() == 0 ? Clock::time_point() : Clock::now() + lineTimeout;
}

// A line feed completes the line however late it comes; any other late byte
// is dropped with the line, and the next line starts after it.
bool SerialPort::ContinuationIsLate(Clock::time_point deadline)
{
    if (lineTimeout.count() == 0 || block[keptBegin] == kLineFeed || Clock::now() <= deadline) return false;
    ++keptBegin;
    return true;
}

// A line cut at the cap keeps its carriage return; only a completed line
// loses its line end.
bool SerialPort::TakeKeptBytes(std::string& line)
{
    const char* begin = block.data() + keptBegin;
    const std::size_t room = std::min(keptEnd - keptBegin, kMaxLineLength - line.size());
    const auto* lineFeed = static_cast<const char*>(std::memchr(begin, kLineFeed, room));
    const std::size_t taken = lineFeed != nullptr ? static_cast<std::size_t>(lineFeed - begin) + 1 : room;
    line.append(begin, taken);
    keptBegin += taken;
    if (lineFeed == nullptr) return line.size() >= kMaxLineLength;
    TrimLineEnd(line);
    return true;
}

void SerialPort::ClearBuffer(const std::string& commandEnd)
{
    tcflush(fd, TCIOFLUSH);
    keptBegin = 0;
    keptEnd = 0;
    Write(commandEnd);
}

// The bridge arms a command's time-out before every write and a frame almost
// always asks for the one in force: two system calls per frame saved.
int SerialPort::SetTimeout(int milliseconds)
{
    // The control character is one byte wide: only the low 8 bits count.
    const auto vtime = static_cast<cc_t>(milliseconds / kMsPerVtimeUnit);
    if (vtime == appliedVtime) return 0;
    termios t{};
    tcgetattr(fd, &t);
    MakeRawLine(t, vtime);
    lineTimeout = std::chrono::milliseconds(vtime * kMsPerVtimeUnit);
    const int result = tcsetattr(fd, TCSANOW, &t);
    appliedVtime = result == 0 ? vtime : kNothingApplied;
    return result;
}

}  // namespace IO
}  // namespace ZEPTASDK
