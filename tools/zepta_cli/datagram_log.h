// The recording of `zepta ride --record`: every datagram the ride received,
// with when and where it arrived, so that a drive can be fed through the
// pipeline again (`zepta ride --replay`) to tune a profile offline.
//
// File layout, all numbers little-endian:
//
//   offset 0   8 bytes  magic "ZRIDEDGM"
//   offset 8   u32      version, 1
//   then per datagram, back to back until the end of the file:
//              u64      arrival time, ns since the ride started
//              u16      UDP port it arrived on
//              u16      length n
//              n bytes  the datagram as received
//
// Arrival times never go backwards. A file that ends inside a record, or
// that does not start with the magic and version, is refused with the
// offset where it went wrong.
#ifndef ZEPTA_CLI_DATAGRAM_LOG_H
#define ZEPTA_CLI_DATAGRAM_LOG_H

#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

namespace zepta_cli {

struct LoggedDatagram {
    std::uint64_t arrivalNs;
    std::uint16_t port;
    std::size_t offset;   // of its bytes in DatagramLog::bytes
    std::uint16_t length;
};

struct DatagramLog {
    std::vector<LoggedDatagram> datagrams;
    std::vector<std::uint8_t> bytes;
};

// Reads a whole recording; throws UsageError naming the file and the offset
// when it is truncated, foreign or out of order.
DatagramLog ReadDatagramLog(const std::string& path);

class DatagramLogWriter {
public:
    // Creates (truncates) the file and writes the magic and version; throws
    // UsageError when it cannot be created.
    explicit DatagramLogWriter(const std::string& path);
    ~DatagramLogWriter();
    DatagramLogWriter(const DatagramLogWriter&) = delete;
    DatagramLogWriter& operator=(const DatagramLogWriter&) = delete;

    // Buffered; false once a write has failed (disk full), which is counted.
    bool Add(std::uint64_t arrivalNs, std::uint16_t port, const std::uint8_t* data, std::uint16_t length);
    std::uint64_t Failed() const { return failed; }

private:
    std::FILE* file;
    std::uint64_t failed = 0;
};

}  // namespace zepta_cli

#endif
