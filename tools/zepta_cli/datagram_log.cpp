#include "datagram_log.h"

#include <cerrno>
#include <cstring>
#include <fstream>
#include <iterator>

#include "cli_errors.h"

namespace zepta_cli {

namespace {

const char kMagic[] = "ZRIDEDGM";
constexpr std::size_t kMagicSize = sizeof kMagic - 1;
constexpr std::uint32_t kVersion = 1;
constexpr std::size_t kVersionSize = 4;
// A datagram's record header: arrival u64, port u16, length u16.
constexpr std::size_t kArrivalSize = 8;
constexpr std::size_t kPortSize = 2;
constexpr std::size_t kLengthSize = 2;
constexpr std::size_t kPortOffset = kArrivalSize;
constexpr std::size_t kLengthOffset = kPortOffset + kPortSize;
constexpr std::size_t kRecordHeaderSize = kLengthOffset + kLengthSize;

std::uint64_t ReadLittle(const std::uint8_t* at, std::size_t size)
{
    std::uint64_t value = 0;
    for (std::size_t i = size; i-- > 0;) value = value << 8 | at[i];
    return value;
}

void WriteLittle(std::uint8_t* at, std::uint64_t value, std::size_t size)
{
    for (std::size_t i = 0; i < size; ++i, value >>= 8) at[i] = static_cast<std::uint8_t>(value);
}

UsageError Refusal(const std::string& path, std::size_t offset, const std::string& what)
{
    return UsageError(path + ": " + what + " at offset " + std::to_string(offset));
}

void CheckHeader(const std::string& path, const std::vector<std::uint8_t>& file)
{
    if (file.size() < kMagicSize || std::memcmp(file.data(), kMagic, kMagicSize) != 0) {
        throw Refusal(path, 0, "not a datagram recording of zepta ride --record (no magic)");
    }
    if (file.size() < kMagicSize + kVersionSize) throw Refusal(path, kMagicSize, "truncated version");
    const std::uint64_t version = ReadLittle(file.data() + kMagicSize, kVersionSize);
    if (version != kVersion) throw Refusal(path, kMagicSize, "unknown version " + std::to_string(version));
}

}  // namespace

DatagramLog ReadDatagramLog(const std::string& path)
{
    std::ifstream in(path, std::ios::binary);
    if (!in) throw UsageError("cannot read " + path);
    const std::vector<std::uint8_t> file((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    CheckHeader(path, file);
    DatagramLog log;
    std::uint64_t previous = 0;
    for (std::size_t offset = kMagicSize + kVersionSize; offset < file.size();) {
        if (file.size() - offset < kRecordHeaderSize) throw Refusal(path, offset, "truncated datagram header");
        const std::uint8_t* record = file.data() + offset;
        LoggedDatagram datagram{ReadLittle(record, kArrivalSize),
                                static_cast<std::uint16_t>(ReadLittle(record + kPortOffset, kPortSize)),
                                log.bytes.size(),
                                static_cast<std::uint16_t>(ReadLittle(record + kLengthOffset, kLengthSize))};
        if (datagram.arrivalNs < previous) throw Refusal(path, offset, "arrival time goes backwards");
        if (file.size() - offset - kRecordHeaderSize < datagram.length) {
            throw Refusal(path, offset, "truncated datagram of " + std::to_string(datagram.length) + " bytes");
        }
        log.bytes.insert(log.bytes.end(), record + kRecordHeaderSize, record + kRecordHeaderSize + datagram.length);
        log.datagrams.push_back(datagram);
        previous = datagram.arrivalNs;
        offset += kRecordHeaderSize + datagram.length;
    }
    return log;
}

DatagramLogWriter::DatagramLogWriter(const std::string& path) : file(std::fopen(path.c_str(), "wb"))
{
    if (file == nullptr) throw UsageError("cannot write the recording " + path + ": " + std::strerror(errno));
    std::uint8_t version[kVersionSize];
    WriteLittle(version, kVersion, kVersionSize);
    if (std::fwrite(kMagic, 1, kMagicSize, file) != kMagicSize ||
        std::fwrite(version, 1, kVersionSize, file) != kVersionSize) {
        ++failed;
    }
}

DatagramLogWriter::~DatagramLogWriter() { std::fclose(file); }

bool DatagramLogWriter::Add(std::uint64_t arrivalNs, std::uint16_t port, const std::uint8_t* data, std::uint16_t length)
{
    std::uint8_t header[kRecordHeaderSize];
    WriteLittle(header, arrivalNs, kArrivalSize);
    WriteLittle(header + kPortOffset, port, kPortSize);
    WriteLittle(header + kLengthOffset, length, kLengthSize);
    const bool written = std::fwrite(header, 1, sizeof header, file) == sizeof header &&
                         std::fwrite(data, 1, length, file) == length;
    if (!written) ++failed;
    return written;
}

}  // namespace zepta_cli
