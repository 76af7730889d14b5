#include "trace_writer.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <string_view>

#include "cli_errors.h"

namespace zepta_cli {

const char kTraceHeader[] = "time,roll,pitch,yaw,heave,sway,surge,axis1,axis2,axis3,axis4,axis5,axis6";

int TraceFirstAxisColumn()
{
    const std::string_view header(kTraceHeader);
    const std::string_view before = header.substr(0, header.find("axis1"));
    return static_cast<int>(std::count(before.begin(), before.end(), ',')) + 1;
}

TraceWriter::TraceWriter(const std::string& tracePath) : path(tracePath), file(std::fopen(tracePath.c_str(), "w"))
{
    if (file == nullptr) throw UsageError("cannot write the trace " + tracePath + ": " + std::strerror(errno));
    std::fprintf(file, "%s\n", kTraceHeader);
}

TraceWriter::~TraceWriter() { std::fclose(file); }

void TraceWriter::Add(std::chrono::steady_clock::time_point at, const _korve_data_packet& requested,
                      const _korve_data_packet& converted)
{
    const std::chrono::duration<double> seconds = at.time_since_epoch();
    const _korve_data_packet& r = requested;
    const _korve_data_packet& c = converted;
    const int written = std::fprintf(file, "%.6f,%.6f,%.6f,%.6f,%.6f,%.6f,%.6f,%.4f,%.4f,%.4f,%.4f,%.4f,%.4f\n",
                                     seconds.count(), r.roll, r.pitch, r.yaw, r.heave, r.sway, r.surge, c.axis1,
                                     c.axis2, c.axis3, c.axis4, c.axis5, c.axis6);
    if (written < 0 || std::fflush(file) != 0) {
        throw DeviceTrouble("cannot write the trace " + path + ": " + std::strerror(errno));
    }
}

}  // namespace zepta_cli
