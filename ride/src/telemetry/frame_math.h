// Small vector geometry for moving game values into the common frame: a
// right-handed world with z up, and the vehicle's body axes forward, left and
// up in it.
#ifndef ZEPTA_RIDE_TELEMETRY_FRAME_MATH_H
#define ZEPTA_RIDE_TELEMETRY_FRAME_MATH_H

namespace zepta_ride {

struct Vec3 {
    double x;
    double y;
    double z;
};

Vec3 operator+(Vec3 a, Vec3 b);
Vec3 operator-(Vec3 a, Vec3 b);
Vec3 operator*(double s, Vec3 v);
double Dot(Vec3 a, Vec3 b);
Vec3 Cross(Vec3 a, Vec3 b);
double Length(Vec3 v);
bool IsFinite(Vec3 v);
// Within the tolerance that game direction vectors keep.
bool IsUnit(Vec3 v);

// Unit vectors of the vehicle's axes in the world.
struct BodyAxes {
    Vec3 fwd;
    Vec3 left;
    Vec3 up;
};

// Roll + right side down, pitch + nose down, yaw + nose left, applied yaw,
// then pitch, then roll.
struct Attitude {
    double roll;
    double pitch;
    double yaw;
};

BodyAxes AxesFromAttitude(const Attitude& attitude);
Attitude AttitudeFromAxes(const BodyAxes& axes);
// Axes from forward and right unit vectors, as games that send both give them.
BodyAxes AxesFromForwardRight(Vec3 fwd, Vec3 right);
// Heading + nose left, then pitch + nose up about the right axis, then roll
// + right side down about the forward axis.
BodyAxes AxesFromHeadingPitchRoll(double heading, double pitchUp, double roll);
// A world vector in body components (forward, left, up) and back.
Vec3 ToBody(const BodyAxes& axes, Vec3 world);
Vec3 ToWorld(const BodyAxes& axes, Vec3 body);

// The world of the Codemasters engine (legacy stream and F1): Y up,
// right-handed, heading measured from +Z toward +X.
Vec3 FromYUpWorld(Vec3 v);
Vec3 ToYUpWorld(Vec3 v);

}  // namespace zepta_ride

#endif
