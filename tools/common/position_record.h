// A CSV file of the actuator positions an emulated device received, one row
// per position command or update datagram:
//
//   time,command,axis1,axis2,axis3,axis4,axis5,axis6
//
// time is CLOCK_MONOTONIC in seconds (the clock an application's own frame
// times use on Linux), command names what carried the positions, and the axes
// are decoded to 0..1 (empty where the command carried fewer than six).
#ifndef ZEPTA_TOOLS_POSITION_RECORD_H
#define ZEPTA_TOOLS_POSITION_RECORD_H

#include <chrono>
#include <cstdio>
#include <mutex>
#include <string>
#include <vector>

namespace zepta_tools {

class PositionRecord {
public:
    // Creates (truncates) the file and writes the header; throws
    // std::runtime_error when it cannot be opened.
    explicit PositionRecord(const std::string& path);
    ~PositionRecord();
    PositionRecord(const PositionRecord&) = delete;
    PositionRecord& operator=(const PositionRecord&) = delete;

    void Add(std::chrono::steady_clock::time_point at, const std::string& command, const std::vector<double>& axes);

private:
    std::mutex lock;
    std::FILE* file;   // guarded by lock
};

}  // namespace zepta_tools

#endif
