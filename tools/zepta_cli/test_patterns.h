// The gentle motions of `zepta test`, as poses over time. Every pattern starts
// and ends at the neutral pose and stays well inside -1..1.
#ifndef ZEPTA_CLI_TEST_PATTERNS_H
#define ZEPTA_CLI_TEST_PATTERNS_H

#include <string>
#include <vector>

#include "motion_recording.h"

namespace zepta_cli {

enum class TestPattern {
    Park,   // holds the neutral pose
    Sine,   // slow roll and pitch swells with a faster heave
    Sweep,  // one swing of each channel in turn: roll, pitch, yaw, heave, sway, surge
};

// The names the command line takes, in the order of the enumeration.
const std::vector<std::string>& TestPatternNames();
// Throws UsageError for a name not in that list.
TestPattern TestPatternNamed(const std::string& name);

// The pose at time seconds into a test of duration seconds.
Pose TestPatternPose(TestPattern pattern, double time, double duration);

}  // namespace zepta_cli

#endif
