// A USB CDC-ACM device as a raw 115200-baud 8N1 tty that carries short text
// commands down and line-terminated replies up.
#ifndef ZEPTA_IO_SERIAL_PORT_H
#define ZEPTA_IO_SERIAL_PORT_H

#include <sys/types.h>

#include <array>
#include <chrono>
#include <cstddef>
#include <string>
#include <vector>

#include "zepta/export.h"

namespace ZEPTASDK {
namespace IO {

class ZEPTA_API SerialPort {
public:
    // Longest reply line Read collects; a device that streams bytes without a
    // line feed gets its first kMaxLineLength bytes back as one line.
    static constexpr std::size_t kMaxLineLength = 4096;

    // Opens name for exclusive use and configures it with a 500 ms read
    // time-out. The object stays disabled when another SerialPort of this
    // process holds the path, or when open fails (logged only with logError).
    SerialPort(std::wstring name, bool logError);
    ~SerialPort();
    SerialPort(const SerialPort&) = delete;
    SerialPort& operator=(const SerialPort&) = delete;

    bool IsEnable() const;
    // One write of the bytes as they are; the system's result is passed back.
    ssize_t Write(std::string data);
    // Stores the next line without its line end into line and returns true.
    // Returns false with line empty when no complete line came: after a
    // silence of the read time-out, or when the line is not complete one read
    // time-out after its first byte. Bytes that arrived after the line stay
    // for the next call. line's storage is reused, so a caller that keeps it
    // reads without touching the heap.
    bool ReadLine(std::string& line);
    // Drops pending input and output, the bytes kept for the next line
    // included, then writes commandEnd, which makes the device discard any
    // half-sent command.
    void ClearBuffer(const std::string& commandEnd);
    // Applies every line setting (115200 baud, 8N1, raw) with a read time-out of milliseconds / 100
    // tenths of a second (one byte wide: 30000 ms becomes 4.4 s). Returns the
    // result of tcsetattr; asking again for the time-out in force applies
    // nothing and returns 0.
    int SetTimeout(int milliseconds);

private:
    using Clock = std::chrono::steady_clock;

    // One read takes up to this many bytes; a status reply fits many times.
    static constexpr std::size_t kReadBlockSize = 512;
    static constexpr int kNothingApplied = -1;

    bool Register(const std::wstring& name);
    void Unregister();
    // Refills the kept bytes with one read; false on silence or error.
    bool ReadBlock();
    // The end of the time a line that starts now has to complete.
    Clock::time_point LineDeadline() const;
    // Whether the line in progress has run out of time when its next byte is
    // not the line feed that completes it; that byte is then consumed.
    bool ContinuationIsLate(Clock::time_point deadline);
    // Moves kept bytes into line up to its line feed or the length cap;
    // true when the line is finished.
    bool TakeKeptBytes(std::string& line);

    bool enabled;
    int fd;
    std::wstring portName;
    // The read time-out as the line discipline applies it (zero: reads do not
    // wait); a line must be complete within it from its first byte.
    std::chrono::milliseconds lineTimeout;
    // The VTIME of the settings in force, or kNothingApplied before they
    // were applied (or when applying them failed).
    int appliedVtime;
    // Bytes read from the device and not handed out yet: block[keptBegin,
    // keptEnd).
    std::array<char, kReadBlockSize> block;
    std::size_t keptBegin;
    std::size_t keptEnd;
};

// The /dev/ttyACM* devices in the order the directory lists them, unprobed.
ZEPTA_API std::vector<std::wstring> GetPortNames();

}  // namespace IO
}  // namespace ZEPTASDK

#endif
