// The last word before a pose reaches the rig: whatever the cueing or the
// game does, the pose that leaves here is finite, within each channel's
// limit and moves no faster than each channel's slew allows. It eases in
// when motion starts, holds and eases out when the stream stalls or the game
// pauses, and eases to neutral on a stop request.
#ifndef ZEPTA_RIDE_SAFETY_STAGE_HPP
#define ZEPTA_RIDE_SAFETY_STAGE_HPP

#include <array>
#include <cstddef>
#include <cstdint>

#include <zepta/export.h>

#include "zepta/ride/motion_sample.hpp"
#include "zepta/ride/profile.hpp"

namespace zepta_ride {

enum class SafetyState {
    RampIn,    // easing from where the rig stands to the cue
    Live,      // following the cue
    Hold,      // the stream stalled or the game paused: keeping the last pose
    RampOut,   // easing from the held pose to neutral
    Parked,    // at neutral, waiting for the stream
    Stopping   // easing to neutral for good
};

// "ramp-in", "live", "hold", "ramp-out", "parked", "stopping".
ZEPTA_API const char* SafetyStateName(SafetyState state);

class ZEPTA_API SafetyStage {
public:
    // Starts parked at neutral. Throws ProfileError when a value is out of
    // its range.
    SafetyStage(const SafetyProfile& profile, double rateHz);

    // One output frame. `cue` is the cueing output, `sampleAge` the seconds
    // since the last valid sample (infinity when none yet), `live` the
    // game's flag. A cue channel that is not finite counts as neutral.
    RigPose Step(const RigPose& cue, double sampleAge, bool live);

    // Eases to neutral from wherever the rig is; nothing brings it back.
    void RequestStop();
    // Neutral reached after RequestStop.
    bool Stopped() const;
    SafetyState State() const { return state; }

    // Steps whose cue had a channel that is not finite, or whose sample age
    // was negative or not a number.
    std::uint64_t BadInputs() const { return badInputs; }

    static constexpr std::size_t kChannels = 6;
    using Channels = std::array<double, kChannels>;

private:
    void Advance(bool fresh);
    void Enter(SafetyState next);
    Channels Target(const Channels& wanted) const;
    Channels Wanted(const RigPose& cue, double sampleAge);
    double Progress(std::int64_t length) const;

    Channels limit;
    Channels slewPerFrame;
    double masterGain;
    double staleSeconds;
    std::int64_t rampInFrames;
    std::int64_t holdFrames;
    std::int64_t rampOutFrames;
    std::int64_t stopFrames;

    SafetyState state = SafetyState::Parked;
    std::int64_t frames = 0;  // frames since the state was entered
    Channels anchor{};        // the output when the state was entered
    Channels output{};
    std::uint64_t badInputs = 0;
};

}  // namespace zepta_ride

#endif
