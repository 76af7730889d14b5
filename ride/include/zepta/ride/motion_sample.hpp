// The plain data that passes between the ride stages: one vehicle-motion
// sample decoded from a game's telemetry, and one pose for the rig.
#ifndef ZEPTA_RIDE_MOTION_SAMPLE_HPP
#define ZEPTA_RIDE_MOTION_SAMPLE_HPP

namespace zepta_ride {

// The vehicle's motion in one frame for every game: x forward, y left, z up,
// SI units. Roll is positive when the right side goes down, pitch when the
// nose goes down, yaw when the nose goes left; rates likewise.
struct MotionSample {
    double accelFwd = 0.0;   // acceleration without gravity, m/s^2
    double accelLeft = 0.0;
    double accelUp = 0.0;
    double rollRate = 0.0;   // angular velocity, rad/s
    double pitchRate = 0.0;
    double yawRate = 0.0;
    double roll = 0.0;       // attitude, rad
    double pitch = 0.0;
    double yaw = 0.0;
    double speed = 0.0;      // m/s
    bool live = false;       // the game runs a session, not paused or in a menu
};

// A pose for the rig, each channel normalised to -1..1: surge + moves the seat
// forward, sway + to the left, heave + up; roll + lowers the right side,
// pitch + lowers the front, yaw + turns the front to the left.
struct RigPose {
    double roll = 0.0;
    double pitch = 0.0;
    double yaw = 0.0;
    double heave = 0.0;
    double sway = 0.0;
    double surge = 0.0;
};

}  // namespace zepta_ride

#endif
