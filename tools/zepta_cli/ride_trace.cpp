#include "ride_trace.h"

#include <cerrno>
#include <cstring>

#include "cli_errors.h"

namespace zepta_cli {

const char kRideTraceHeader[] =
    "time,accel_fwd,accel_left,accel_up,roll_rate,pitch_rate,yaw_rate,roll,pitch,yaw,speed,live,"
    "out_roll,out_pitch,out_yaw,out_heave,out_sway,out_surge,safety";

RideTraceWriter::RideTraceWriter(const std::string& path) : path(path), file(std::fopen(path.c_str(), "w"))
{
    if (file == nullptr) throw UsageError("cannot write the trace " + path + ": " + std::strerror(errno));
    std::fprintf(file, "%s\n", kRideTraceHeader);
}

RideTraceWriter::~RideTraceWriter() { std::fclose(file); }

void RideTraceWriter::Add(double time, const zepta_ride::MotionSample& s, const zepta_ride::RigPose& p,
                          zepta_ride::SafetyState state)
{
    const int written = std::fprintf(
        file, "%.4f,%.4f,%.4f,%.4f,%.4f,%.4f,%.4f,%.4f,%.4f,%.4f,%.3f,%d,%.4f,%.4f,%.4f,%.4f,%.4f,%.4f,%s\n", time,
        s.accelFwd, s.accelLeft, s.accelUp, s.rollRate, s.pitchRate, s.yawRate, s.roll, s.pitch, s.yaw, s.speed,
        s.live ? 1 : 0, p.roll, p.pitch, p.yaw, p.heave, p.sway, p.surge, zepta_ride::SafetyStateName(state));
    if (written < 0) throw DeviceTrouble("cannot write the trace " + path + ": " + std::strerror(errno));
}

}  // namespace zepta_cli
