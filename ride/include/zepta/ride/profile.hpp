// Every tunable of the ride stages in one value: how the vehicle's motion is
// cued, how the safety stage guards the rig, and how poses become packets.
// The defaults are built in; a JSON document overrides any subset of them.
#ifndef ZEPTA_RIDE_PROFILE_HPP
#define ZEPTA_RIDE_PROFILE_HPP

#include <stdexcept>
#include <string>

#include <zepta/export.h>

namespace zepta_ride {

// A translational channel (surge, sway, heave): the vehicle's acceleration
// times gain through a second-order high-pass and a first-order return to
// centre, integrated to a seat displacement in metres.
struct TranslationCueing {
    double gain = 0.5;
    double cutoffHz = 1.0;        // corner of the second-order high-pass
    double damping = 1.0;
    double returnHz = 0.2;        // corner of the first-order return to centre
    double fullScaleMetres = 0.1; // displacement that gives 1.0
};

// A rotational channel (roll, pitch, yaw): the vehicle's angular velocity
// times gain through a second-order high-pass, integrated to an angle. The
// full scale also normalises the tilt and attitude added to roll and pitch.
struct RotationCueing {
    double gain = 0.5;
    double cutoffHz = 1.0;
    double damping = 1.0;
    double fullScaleDegrees = 15.0;
};

// Tilt coordination: the low-passed longitudinal and lateral acceleration
// tilts the seat so that gravity gives the sustained push, slower than the
// rate at which the occupant would notice the rotation.
struct TiltCueing {
    double gain = 1.0;
    double cutoffHz = 0.5;        // corner of the second-order low-pass
    double damping = 1.0;
    double maxRateDegPerSec = 3.0;
    double limitDegrees = 10.0;
};

// The vehicle's own roll and pitch, low-passed, added to the pose.
struct AttitudeCueing {
    bool enabled = false;
    double gain = 0.5;
    double cutoffHz = 0.5;        // corner of the first-order low-pass
};

struct CueingProfile {
    TranslationCueing surge;
    TranslationCueing sway;
    TranslationCueing heave;
    RotationCueing roll;
    RotationCueing pitch;
    RotationCueing yaw;
    TiltCueing tilt;
    AttitudeCueing attitude;
};

// What the safety stage allows one channel: its largest magnitude and its
// largest change per second.
struct ChannelSafety {
    double limit = 1.0;
    double slewPerSecond = 4.0;
};

struct SafetyProfile {
    double rampInSeconds = 2.0;   // from neutral to the cue on start and when the stream returns
    double staleSeconds = 0.25;   // a sample older than this counts as a lost stream
    double holdSeconds = 0.5;     // the last pose is kept this long before easing out
    double rampOutSeconds = 2.0;  // from the held pose to neutral
    double stopSeconds = 2.0;     // from the current pose to neutral on a stop request
    double masterGain = 1.0;
    ChannelSafety roll;
    ChannelSafety pitch;
    ChannelSafety yaw;
    ChannelSafety heave;
    ChannelSafety sway;
    ChannelSafety surge;
};

// How one pose channel goes into the packet.
struct ChannelOutput {
    double gain = 1.0;
    bool invert = false;
};

struct OutputProfile {
    ChannelOutput roll;
    ChannelOutput pitch;
    ChannelOutput yaw;
    ChannelOutput heave;
    ChannelOutput sway;
    ChannelOutput surge;
    double speed = 0.667;         // actuator speed, 0..1
    double accel = 0.5;           // actuator acceleration, 0..1
};

struct Profile {
    CueingProfile cueing;
    SafetyProfile safety;
    OutputProfile output;
    double rateHz = 100;          // output frames per second
};

// A profile value that cannot be used; what() starts with the key path,
// e.g. "cueing.surge.gain: must be a number from 0 to 10".
class ZEPTA_API ProfileError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

ZEPTA_API Profile DefaultProfile();

// Reads a JSON object; keys not given keep their defaults. An unknown key, a
// wrong type or a value out of its range throws ProfileError.
ZEPTA_API Profile ParseProfile(const std::string& json);

// Every key with its value, indented, in a fixed order.
ZEPTA_API std::string ProfileToJson(const Profile& profile);

// Throws ProfileError for the first value out of its range; the stages check
// the sections they are given this way, so a profile built in code is held
// to the same ranges as one read from JSON.
ZEPTA_API void ValidateProfile(const Profile& profile);
ZEPTA_API void ValidateCueing(const CueingProfile& cueing, double rateHz);
ZEPTA_API void ValidateSafety(const SafetyProfile& safety, double rateHz);
ZEPTA_API void ValidateOutput(const OutputProfile& output);

}  // namespace zepta_ride

#endif
