// A recorded motion for `zepta play`: CSV text with a header line naming the
// columns, then one row per sample:
//
//   time,roll,pitch,yaw,heave,sway,surge
//   12.000,0.10,-0.05,0,0.20,0,0
//
// time (seconds, any origin, never decreasing) is required; each pose column
// (-1..1) is optional and reads 0 when absent; other columns are ignored, so
// the demo's pose files and the traces of `zepta play` replay as they are.
#ifndef ZEPTA_CLI_MOTION_RECORDING_H
#define ZEPTA_CLI_MOTION_RECORDING_H

#include <array>
#include <istream>
#include <string>
#include <vector>

namespace zepta_cli {

constexpr std::size_t kPoseChannels = 6;
// roll, pitch, yaw, heave, sway, surge
using Pose = std::array<float, kPoseChannels>;
extern const std::array<const char*, kPoseChannels> kPoseColumns;

struct MotionSample {
    double time;   // seconds from the first sample
    Pose pose;
};

struct MotionRecording {
    std::vector<MotionSample> samples;
    std::vector<std::string> ignoredColumns;

    double Duration() const { return samples.empty() ? 0.0 : samples.back().time; }
    // The pose at time, interpolated linearly between the samples around it
    // and held beyond the ends.
    Pose PoseAt(double time) const;
};

// Throws UsageError naming the line for anything malformed: a missing time
// column, a row with another field count, a field that is not a finite
// number, time going backwards, or no sample at all.
MotionRecording ReadMotionRecording(std::istream& in, const std::string& name);

}  // namespace zepta_cli

#endif
