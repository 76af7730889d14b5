#include "test_patterns.h"

#include <algorithm>
#include <cmath>

#include "cli_errors.h"

namespace zepta_cli {

namespace {

constexpr double kTwoPi = 6.283185307179586;
// A quarter of the full range: enough to see and feel, gentle on the seat.
constexpr double kSineAmplitude = 0.25;
constexpr double kRollHz = 0.25;
constexpr double kPitchHz = 0.2;
constexpr double kPitchPhase = 1.0;
constexpr double kHeaveHz = 0.5;
constexpr double kSweepAmplitude = 0.4;
// The sine fades in and out over this share of the test, a second at most.
constexpr double kFadeShare = 0.25;
constexpr double kMaxFadeSeconds = 1.0;

// 0 at both ends of the test, 1 in between, with linear fades.
double Envelope(double time, double duration)
{
    const double fade = std::min(kMaxFadeSeconds, duration * kFadeShare);
    if (fade <= 0.0) return 0.0;
    return std::clamp(std::min(time, duration - time) / fade, 0.0, 1.0);
}

Pose SinePose(double time, double duration)
{
    const double gain = kSineAmplitude * Envelope(time, duration);
    Pose pose{};
    pose[0] = static_cast<float>(gain * std::sin(kTwoPi * kRollHz * time));
    pose[1] = static_cast<float>(gain * std::sin(kTwoPi * kPitchHz * time + kPitchPhase));
    pose[3] = static_cast<float>(gain * std::sin(kTwoPi * kHeaveHz * time));
    return pose;
}

// Each channel gets an equal slot with one full sine period, which starts and
// ends at zero.
Pose SweepPose(double time, double duration)
{
    Pose pose{};
    if (duration <= 0.0 || time < 0.0 || time >= duration) return pose;
    const double slot = duration / kPoseChannels;
    const auto channel = std::min(static_cast<std::size_t>(time / slot), kPoseChannels - 1);
    const double phase = (time - static_cast<double>(channel) * slot) / slot;
    pose[channel] = static_cast<float>(kSweepAmplitude * std::sin(kTwoPi * phase));
    return pose;
}

}  // namespace

const std::vector<std::string>& TestPatternNames()
{
    static const std::vector<std::string> kNames = {"park", "sine", "sweep"};
    return kNames;
}

TestPattern TestPatternNamed(const std::string& name)
{
    const std::vector<std::string>& names = TestPatternNames();
    const auto found = std::find(names.begin(), names.end(), name);
    if (found == names.end()) throw UsageError("unknown test pattern \"" + name + "\"");
    return static_cast<TestPattern>(found - names.begin());
}

Pose TestPatternPose(TestPattern pattern, double time, double duration)
{
    switch (pattern) {
    case TestPattern::Sine:
        return SinePose(time, duration);
    case TestPattern::Sweep:
        return SweepPose(time, duration);
    case TestPattern::Park:
        break;
    }
    return Pose{};
}

}  // namespace zepta_cli
