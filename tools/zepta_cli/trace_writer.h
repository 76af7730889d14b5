// The trace of `zepta play`: one CSV row per frame the session sent,
//
//   time,roll,pitch,yaw,heave,sway,surge,axis1,axis2,axis3,axis4,axis5,axis6
//
// time is CLOCK_MONOTONIC seconds when the packet was handed to the session
// (the clock of the demo's files and of the emulators' records); roll..surge
// is the pose the packet requested; axis1..axis6 are the actuator positions
// (0..1) the library's converter gives that packet for the connected device
// kind. The session converts its own copy the same way before sending it;
// a device with fewer actuators receives only the first ones.
#ifndef ZEPTA_CLI_TRACE_WRITER_H
#define ZEPTA_CLI_TRACE_WRITER_H

#include <chrono>
#include <cstdio>
#include <string>

#include "zepta/zepta.h"

namespace zepta_cli {

extern const char kTraceHeader[];
// Column (counted from 1, as gnuplot does) of axis1 in a trace.
int TraceFirstAxisColumn();

class TraceWriter {
public:
    // Creates (truncates) the file and writes the header; throws UsageError
    // when it cannot be created.
    explicit TraceWriter(const std::string& tracePath);
    ~TraceWriter();
    TraceWriter(const TraceWriter&) = delete;
    TraceWriter& operator=(const TraceWriter&) = delete;

    // Throws DeviceTrouble when the row cannot be written (disk full).
    void Add(std::chrono::steady_clock::time_point at, const _korve_data_packet& requested,
             const _korve_data_packet& converted);

private:
    std::string path;
    std::FILE* file;
};

}  // namespace zepta_cli

#endif
