#include "zepta/ride/safety_stage.hpp"

#include <algorithm>
#include <cmath>

namespace zepta_ride {

namespace {

using Channels = SafetyStage::Channels;

// The pose channels in the order of the profile's and the arrays' channels.
constexpr double RigPose::*kPoseChannels[SafetyStage::kChannels] = {
    &RigPose::roll, &RigPose::pitch, &RigPose::yaw, &RigPose::heave, &RigPose::sway, &RigPose::surge};

const SafetyProfile& Checked(const SafetyProfile& profile, double rateHz)
{
    ValidateSafety(profile, rateHz);
    return profile;
}

std::array<const ChannelSafety*, SafetyStage::kChannels> ChannelsOf(const SafetyProfile& profile)
{
    return {&profile.roll, &profile.pitch, &profile.yaw, &profile.heave, &profile.sway, &profile.surge};
}

std::int64_t Frames(double seconds, double rateHz) { return std::llround(seconds * rateHz); }

// 0 at the start, 1 at the end, with no jump in speed at either end.
double Ease(double progress)
{
    const double u = std::clamp(progress, 0.0, 1.0);
    return u * u * (3.0 - 2.0 * u);
}

}  // namespace

const char* SafetyStateName(SafetyState state)
{
    switch (state) {
    case SafetyState::RampIn: return "ramp-in";
    case SafetyState::Live: return "live";
    case SafetyState::Hold: return "hold";
    case SafetyState::RampOut: return "ramp-out";
    case SafetyState::Parked: return "parked";
    case SafetyState::Stopping: return "stopping";
    }
    return "unknown";
}

SafetyStage::SafetyStage(const SafetyProfile& profile, double rateHz)
    : masterGain(Checked(profile, rateHz).masterGain),
      staleSeconds(profile.staleSeconds),
      rampInFrames(Frames(profile.rampInSeconds, rateHz)),
      holdFrames(Frames(profile.holdSeconds, rateHz)),
      rampOutFrames(Frames(profile.rampOutSeconds, rateHz)),
      stopFrames(Frames(profile.stopSeconds, rateHz))
{
    const auto channels = ChannelsOf(profile);
    for (std::size_t i = 0; i < kChannels; ++i) {
        limit[i] = channels[i]->limit;
        slewPerFrame[i] = channels[i]->slewPerSecond / rateHz;
    }
}

RigPose SafetyStage::Step(const RigPose& cue, double sampleAge, bool live)
{
    // A NaN age fails both comparisons and counts as a lost stream.
    Advance(live && sampleAge >= 0.0 && sampleAge <= staleSeconds);
    const Channels target = Target(Wanted(cue, sampleAge));
    RigPose pose;
    for (std::size_t i = 0; i < kChannels; ++i) {
        const double step = std::clamp(target[i] - output[i], -slewPerFrame[i], slewPerFrame[i]);
        output[i] = std::clamp(output[i] + step, -limit[i], limit[i]);
        pose.*kPoseChannels[i] = output[i];
    }
    return pose;
}

void SafetyStage::RequestStop()
{
    if (state != SafetyState::Stopping) Enter(SafetyState::Stopping);
}

bool SafetyStage::Stopped() const
{
    return state == SafetyState::Stopping && frames >= stopFrames &&
           std::all_of(output.begin(), output.end(), [](double value) { return value == 0.0; });
}

void SafetyStage::Advance(bool fresh)
{
    ++frames;
    switch (state) {
    case SafetyState::Parked:
        if (fresh) Enter(SafetyState::RampIn);
        break;
    case SafetyState::RampIn:
        if (!fresh) {
            Enter(SafetyState::Hold);
        } else if (frames >= rampInFrames) {
            Enter(SafetyState::Live);
        }
        break;
    case SafetyState::Live:
        if (!fresh) Enter(SafetyState::Hold);
        break;
    case SafetyState::Hold:
        if (fresh) {
            Enter(SafetyState::RampIn);
        } else if (frames >= holdFrames) {
            Enter(SafetyState::RampOut);
        }
        break;
    case SafetyState::RampOut:
        if (fresh) {
            Enter(SafetyState::RampIn);
        } else if (frames >= rampOutFrames) {
            Enter(SafetyState::Parked);
        }
        break;
    case SafetyState::Stopping:
        break;
    }
}

// Every state change starts from where the rig stands, so no change of
// state moves it by itself.
void SafetyStage::Enter(SafetyState next)
{
    state = next;
    frames = 0;
    anchor = output;
}

SafetyStage::Channels SafetyStage::Wanted(const RigPose& cue, double sampleAge)
{
    bool bad = std::isnan(sampleAge) || sampleAge < 0.0;
    Channels wanted;
    for (std::size_t i = 0; i < kChannels; ++i) {
        double value = cue.*kPoseChannels[i];
        if (!std::isfinite(value)) {
            bad = true;
            value = 0.0;
        }
        wanted[i] = std::clamp(masterGain * value, -limit[i], limit[i]);
    }
    if (bad) ++badInputs;
    return wanted;
}

double SafetyStage::Progress(std::int64_t length) const
{
    return length > 0 ? Ease(static_cast<double>(frames) / static_cast<double>(length)) : 1.0;
}

SafetyStage::Channels SafetyStage::Target(const Channels& wanted) const
{
    Channels target{};
    for (std::size_t i = 0; i < kChannels; ++i) {
        switch (state) {
        case SafetyState::RampIn: target[i] = anchor[i] + (wanted[i] - anchor[i]) * Progress(rampInFrames); break;
        case SafetyState::Live: target[i] = wanted[i]; break;
        case SafetyState::Hold: target[i] = anchor[i]; break;
        case SafetyState::RampOut: target[i] = anchor[i] * (1.0 - Progress(rampOutFrames)); break;
        case SafetyState::Stopping: target[i] = anchor[i] * (1.0 - Progress(stopFrames)); break;
        case SafetyState::Parked: break;
        }
    }
    return target;
}

}  // namespace zepta_ride
