// Arbitrary cue poses, sample ages, live flags and stop requests through a
// safety stage with an arbitrary valid profile. After every step the pose
// must be finite, each channel within its limit and no channel may have
// moved further than its slew allows in one frame; after a stop request the
// stage stays stopping, and once stopped it stays at neutral.
//
// Input: a profile header of kHeaderBytes (below), then frames of six cue
// channels and an age as raw little-endian doubles, a flags byte (bit 0 the
// game is live, bit 1 request a stop, bit 2 read each channel from its first
// byte as a small value instead) and a repeat count.
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "fuzz_support.h"
#include "zepta/ride/safety_stage.hpp"

namespace {

using zepta_fuzz::Require;
using zepta_ride::RigPose;
using zepta_ride::SafetyProfile;
using zepta_ride::SafetyStage;
using zepta_ride::SafetyState;

constexpr std::size_t kChannels = SafetyStage::kChannels;
constexpr std::size_t kHeaderBytes = 2 * kChannels + 7;
constexpr std::size_t kFrameBytes = 7 * sizeof(double) + 2;
constexpr int kMostSteps = 20000;
// One frame's sum may round past the slew by an ulp of values within -1..1.
constexpr double kRounding = 1e-12;
constexpr double kSmallScale = 1.0 / 64.0;
constexpr double RigPose::*kPoseChannels[kChannels] = {
    &RigPose::roll, &RigPose::pitch, &RigPose::yaw, &RigPose::heave, &RigPose::sway, &RigPose::surge};

double Fraction(std::uint8_t byte) { return byte / 255.0; }

struct Setup {
    SafetyProfile profile;
    double rateHz;
};

// Every value within its range: limit 0..1, slew 0.01..20 per second, ramps
// 0.1..3.1 s, hold 0..2 s, stale 0.01..1.01 s, master gain 0..1, 10..1000 Hz.
Setup SetupOf(const std::uint8_t* header)
{
    Setup setup{SafetyProfile{}, 10.0 + 990.0 * Fraction(header[2 * kChannels + 6])};
    SafetyProfile& p = setup.profile;
    zepta_ride::ChannelSafety* channels[kChannels] = {&p.roll, &p.pitch, &p.yaw, &p.heave, &p.sway, &p.surge};
    for (std::size_t i = 0; i < kChannels; ++i) {
        channels[i]->limit = Fraction(header[i]);
        channels[i]->slewPerSecond = 0.01 + 19.99 * Fraction(header[kChannels + i]);
    }
    const std::uint8_t* timing = header + 2 * kChannels;
    p.rampInSeconds = 0.1 + 3.0 * Fraction(timing[0]);
    p.rampOutSeconds = 0.1 + 3.0 * Fraction(timing[1]);
    p.stopSeconds = 0.1 + 3.0 * Fraction(timing[2]);
    p.holdSeconds = 2.0 * Fraction(timing[3]);
    p.staleSeconds = 0.01 + Fraction(timing[4]);
    p.masterGain = Fraction(timing[5]);
    return setup;
}

double DoubleAt(const std::uint8_t* bytes)
{
    double value;
    std::memcpy(&value, bytes, sizeof value);
    return value;
}

RigPose CueOf(const std::uint8_t* frame, bool small)
{
    RigPose cue;
    for (std::size_t i = 0; i < kChannels; ++i) {
        const std::uint8_t* bytes = frame + i * sizeof(double);
        cue.*kPoseChannels[i] = small ? static_cast<std::int8_t>(bytes[0]) * kSmallScale : DoubleAt(bytes);
    }
    return cue;
}

void CheckStep(const Setup& setup, const RigPose& previous, const RigPose& pose)
{
    const zepta_ride::ChannelSafety* channels[kChannels] = {&setup.profile.roll, &setup.profile.pitch,
                                                            &setup.profile.yaw,  &setup.profile.heave,
                                                            &setup.profile.sway, &setup.profile.surge};
    for (std::size_t i = 0; i < kChannels; ++i) {
        const double value = pose.*kPoseChannels[i];
        Require(std::isfinite(value), "every channel finite");
        Require(std::fabs(value) <= channels[i]->limit, "every channel within its limit");
        const double slew = channels[i]->slewPerSecond / setup.rateHz;
        Require(std::fabs(value - previous.*kPoseChannels[i]) <= slew + kRounding, "no step beyond the slew");
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size < kHeaderBytes) return 0;
    const Setup setup = SetupOf(data);
    SafetyStage stage(setup.profile, setup.rateHz);
    RigPose previous;
    bool stopRequested = false;
    int steps = 0;
    for (std::size_t at = kHeaderBytes; at + kFrameBytes <= size && steps < kMostSteps; at += kFrameBytes) {
        const std::uint8_t* frame = data + at;
        const std::uint8_t flags = frame[7 * sizeof(double)];
        const RigPose cue = CueOf(frame, (flags & 4) != 0);
        const double age = DoubleAt(frame + kChannels * sizeof(double));
        if (flags & 2) {
            stage.RequestStop();
            stopRequested = true;
        }
        for (int repeat = 0; repeat <= frame[7 * sizeof(double) + 1] && steps < kMostSteps; ++repeat, ++steps) {
            const bool wasStopped = stage.Stopped();
            const RigPose pose = stage.Step(cue, age, (flags & 1) != 0);
            CheckStep(setup, previous, pose);
            Require(!stopRequested || stage.State() == SafetyState::Stopping, "a stop request is final");
            Require(!wasStopped || stage.Stopped(), "stopped stays stopped");
            previous = pose;
        }
    }
    return 0;
}
