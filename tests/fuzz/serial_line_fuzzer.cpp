// Arbitrary byte streams from a device through SerialPort::ReadLine, compared
// with a model of the line discipline: a line ends at its line feed and loses
// its first carriage return and that line feed; a line that reaches the cap
// is handed over as it is; bytes that end in silence are dropped, and the
// read reports no line.
//
// The descriptor is a memory file rather than a pty: the terminal settings
// do not apply to it, and its end reads as immediate silence, so every input
// runs deterministically and without waiting for a read time-out. The port
// takes the file in blocks, so lines and their ends also straddle two reads.
#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "fuzz_support.h"
#include "io/serial_port.h"
#include "usb/messages.h"

namespace {

using ZEPTASDK::IO::SerialPort;
using zepta_fuzz::Require;

// Clearing the port as the bridge does writes the ";" that ends a half-sent
// command; it lands on a placeholder ";" at the start of the file, so reading
// starts right after.
const std::string& kClearText = ZEPTASDK::Message::CommandEnd;

void TrimFirst(std::string& line, char c)
{
    const std::size_t at = line.find(c);
    if (at != std::string::npos) line.erase(at, 1);
}

std::vector<std::string> ExpectedLines(const std::uint8_t* data, std::size_t size)
{
    std::vector<std::string> lines;
    std::string line;
    for (std::size_t i = 0; i < size; ++i) {
        line.push_back(static_cast<char>(data[i]));
        if (data[i] == '\n') {
            TrimFirst(line, '\r');
            TrimFirst(line, '\n');
            lines.push_back(line);
            line.clear();
        } else if (line.size() == SerialPort::kMaxLineLength) {
            lines.push_back(line);
            line.clear();
        }
    }
    return lines;
}

// A memory file holding the placeholder and the device's bytes, reachable by
// path like a device node.
std::wstring DeviceFile(const std::uint8_t* data, std::size_t size)
{
    static const int fd = memfd_create("zepta-serial-fuzz", MFD_CLOEXEC);
    Require(fd >= 0, "a memory file can be created");
    std::string bytes = kClearText;
    bytes.append(reinterpret_cast<const char*>(data), size);
    Require(ftruncate(fd, 0) == 0, "the memory file can be emptied");
    Require(pwrite(fd, bytes.data(), bytes.size(), 0) == static_cast<ssize_t>(bytes.size()), "the bytes are stored");
    const std::string path = "/proc/self/fd/" + std::to_string(fd);
    return std::wstring(path.begin(), path.end());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::vector<std::string> expected = ExpectedLines(data, size);
    SerialPort port(DeviceFile(data, size), false);
    Require(port.IsEnable(), "the device file opens");
    port.ClearBuffer(kClearText);
    // Reads that never wait: a line's deadline depends on the machine's load,
    // which must not decide a fuzz input's outcome.
    port.SetTimeout(0);
    for (std::size_t i = 0; i < expected.size(); ++i) {
        std::string line;
        Require(port.ReadLine(line), "line " + std::to_string(i) + " is complete");
        Require(line == expected[i], "line " + std::to_string(i) + " reads as the line discipline says");
        Require(line.size() <= SerialPort::kMaxLineLength, "a line is at most the cap");
    }
    std::string rest;
    Require(!port.ReadLine(rest) && rest.empty(), "the end of the stream reads as no line");
    return 0;
}
