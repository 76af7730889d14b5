#include "telemetry/motion_differentiator.h"

namespace zepta_ride {

namespace {

// Closer datagrams amplify quantisation into noise; a longer gap is a pause
// or a restart, across which no derivative means anything.
constexpr double kMinStep = 1.0e-3;
constexpr double kMaxStep = 0.5;

}  // namespace

MotionDifferentiator::Derived MotionDifferentiator::Step(double time, const BodyAxes& axes,
                                                         Vec3 worldVelocity)
{
    const double dt = time - previousTime;
    // A datagram too close to the last one repeats the last derivative and
    // waits for a longer baseline.
    if (primed && dt > 0.0 && dt < kMinStep) return {last.rates, last.accelUp, true};
    Derived derived{{0.0, 0.0, 0.0}, 0.0, primed && dt != 0.0};
    if (primed && dt >= kMinStep && dt <= kMaxStep) {
        // For a body turning at w, d(axis)/dt = w x axis, so the component of
        // each axis' change along the next axis is the rate about the third.
        // Projecting on the axes halfway through the step keeps the error
        // second order.
        const BodyAxes mid{0.5 * (axes.fwd + previousAxes.fwd), 0.5 * (axes.left + previousAxes.left),
                           0.5 * (axes.up + previousAxes.up)};
        const double perSecond = 1.0 / dt;
        derived.rates = perSecond * Vec3{Dot(axes.left - previousAxes.left, mid.up),
                                         Dot(axes.up - previousAxes.up, mid.fwd),
                                         Dot(axes.fwd - previousAxes.fwd, mid.left)};
        derived.accelUp = perSecond * Dot(worldVelocity - previousVelocity, mid.up);
    }
    previousAxes = axes;
    previousVelocity = worldVelocity;
    previousTime = time;
    primed = true;
    last = derived;
    return derived;
}

}  // namespace zepta_ride
