// Classical washout: turns the vehicle's motion into a rig pose that gives
// the occupant the onset of every acceleration and rotation, lets the seat
// drift back to centre unnoticed, and holds sustained accelerations by
// tilting the seat so that gravity pushes instead.
#ifndef ZEPTA_RIDE_WASHOUT_FILTER_HPP
#define ZEPTA_RIDE_WASHOUT_FILTER_HPP

#include <cstdint>

#include <zepta/export.h>

#include "zepta/ride/biquad.hpp"
#include "zepta/ride/motion_sample.hpp"
#include "zepta/ride/profile.hpp"

namespace zepta_ride {

class ZEPTA_API WashoutFilter {
public:
    // Throws ProfileError when a value is out of its range.
    WashoutFilter(const CueingProfile& profile, double rateHz);

    // One output frame from the latest sample (the same sample may come
    // again when the game sends slower than the output rate). Every channel
    // of the result lies in -1..1.
    RigPose Step(const MotionSample& latest);

    // Back to rest, as if the vehicle had always stood still.
    void Reset();

    // Samples that carried a value that is not finite or beyond what a
    // vehicle can do; such a value is used as 0 or as its bound.
    std::uint64_t BadInputs() const { return badInputs; }

private:
    // Acceleration -> seat displacement in metres.
    struct Translation {
        Translation(const TranslationCueing& cue, double rateHz);
        double Step(double accel);
        void Reset();
        Biquad returnToCentre;
        Biquad displacement;
        double gain;
    };

    // Angular velocity -> seat angle in radians.
    struct Rotation {
        Rotation(const RotationCueing& cue, double rateHz);
        double Step(double rate);
        void Reset();
        Biquad angle;
        double gain;
    };

    // Sustained acceleration -> seat tilt in radians, rate-limited.
    struct Tilt {
        Tilt(const TiltCueing& cue, double rateHz);
        double Step(double accel);
        void Reset();
        Biquad lowPass;
        double gain;
        double largestSine;
        double largestStep;
        double angle = 0.0;
    };

    // The vehicle's own attitude -> seat angle in radians.
    struct Attitude {
        Attitude(const AttitudeCueing& cue, double rateHz);
        double Step(double vehicleAngle);
        void Reset();
        Biquad lowPass;
        double gain;
        bool enabled;
    };

    MotionSample Sanitised(const MotionSample& sample);

    Translation surge, sway, heave;
    Rotation roll, pitch, yaw;
    Tilt tiltRoll, tiltPitch;
    Attitude attitudeRoll, attitudePitch;
    double surgeScale, swayScale, heaveScale;  // metres of full scale
    double rollScale, pitchScale, yawScale;    // radians of full scale
    std::uint64_t badInputs = 0;
};

}  // namespace zepta_ride

#endif
