// A USB CDC-ACM device as a raw 115200-baud 8N1 tty that carries short text
// commands down and line-terminated replies up.
#ifndef ZEPTA_IO_SERIAL_PORT_H
#define ZEPTA_IO_SERIAL_PORT_H

#include <sys/types.h>

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

    // Opens portName for exclusive use and configures it with a 500 ms read
    // time-out. The object stays disabled when another SerialPort of this
    // process holds the path, or when open fails (logged only with logError).
    SerialPort(std::wstring portName, bool logError);
    ~SerialPort();
    SerialPort(const SerialPort&) = delete;
    SerialPort& operator=(const SerialPort&) = delete;

    bool IsEnable() const;
    // One write of the bytes as they are; the system's result is passed back.
    ssize_t Write(std::string data);
    // The next line without its line end, or Message::TimeOut after a silence
    // of the read time-out, or when the line is not complete one read time-out
    // after its first byte (the bytes collected so far are dropped then).
    std::string Read();
    // The same, stored into line; its storage is reused, so a caller that
    // keeps line reads without touching the heap.
    void ReadLine(std::string& line);
    // Drops pending input and output, then ends any half-sent command with ";".
    void ClearBuffer();
    // The speed is fixed at 115200 and applied by SetTimeout.
    void SetBaudRate();
    // Re-applies every line setting with a read time-out of milliseconds / 100
    // tenths of a second (one byte wide: 30000 ms becomes 4.4 s). Returns the
    // result of tcsetattr.
    int SetTimeout(int milliseconds);

private:
    bool Register(const std::wstring& name);
    void Unregister();

    bool enabled;
    int fd;
    std::wstring portName;
    // The read time-out as the line discipline applies it (zero: reads do not
    // wait); a line must be complete within it from its first byte.
    std::chrono::milliseconds lineTimeout;
};

// The /dev/ttyACM* devices in the order the directory lists them, unprobed.
ZEPTA_API std::vector<std::wstring> GetPortNames();

}  // namespace IO
}  // namespace ZEPTASDK

#endif
