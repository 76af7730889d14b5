// Body rates and vertical acceleration from successive datagrams, for games
// that send attitude and world velocity but no angular velocity.
#ifndef ZEPTA_RIDE_TELEMETRY_MOTION_DIFFERENTIATOR_H
#define ZEPTA_RIDE_TELEMETRY_MOTION_DIFFERENTIATOR_H

#include "telemetry/frame_math.h"

namespace zepta_ride {

class MotionDifferentiator {
public:
    struct Derived {
        Vec3 rates;      // roll, pitch, yaw rate, rad/s
        double accelUp;  // m/s^2 along the body's up axis, gravity not included
        bool advanced;   // the game's clock moved since the previous datagram
    };

    // `time` is the game's clock in seconds; all inputs are finite.
    Derived Step(double time, const BodyAxes& axes, Vec3 worldVelocity);

private:
    BodyAxes previousAxes{};
    Vec3 previousVelocity{};
    double previousTime = 0.0;
    bool primed = false;
    Derived last{};
};

}  // namespace zepta_ride

#endif
