// The trace of `zepta ride --trace`: one CSV row per output frame,
//
//   time,accel_fwd,accel_left,accel_up,roll_rate,pitch_rate,yaw_rate,roll,pitch,yaw,speed,live,
//   out_roll,out_pitch,out_yaw,out_heave,out_sway,out_surge,safety
//
// time is seconds since the ride started; accel_fwd..live is the latest
// sample the game sent (SI units, x forward, y left, z up; live 1 or 0);
// out_roll..out_surge is the pose the safety stage let through (-1..1); and
// safety the state it was in (ramp-in, live, hold, ramp-out, parked,
// stopping). `zepta plot` draws it with scripts/plot-ride.gp.
#ifndef ZEPTA_CLI_RIDE_TRACE_H
#define ZEPTA_CLI_RIDE_TRACE_H

#include <cstdio>
#include <string>

#include "zepta/ride/motion_sample.hpp"
#include "zepta/ride/safety_stage.hpp"

namespace zepta_cli {

extern const char kRideTraceHeader[];

class RideTraceWriter {
public:
    // Creates (truncates) the file and writes the header; throws UsageError
    // when it cannot be created.
    explicit RideTraceWriter(const std::string& path);
    ~RideTraceWriter();
    RideTraceWriter(const RideTraceWriter&) = delete;
    RideTraceWriter& operator=(const RideTraceWriter&) = delete;

    // Buffered; throws DeviceTrouble when the row cannot be written.
    void Add(double time, const zepta_ride::MotionSample& sample, const zepta_ride::RigPose& pose,
             zepta_ride::SafetyState state);

private:
    std::string path;
    std::FILE* file;
};

}  // namespace zepta_cli

#endif
