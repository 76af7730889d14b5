#include "telemetry/frame_math.h"

#include <algorithm>
#include <cmath>

namespace zepta_ride {

namespace {

constexpr double kUnitTolerance = 0.1;

}  // namespace

Vec3 operator+(Vec3 a, Vec3 b) { return {a.x + b.x, a.y + b.y, a.z + b.z}; }
Vec3 operator-(Vec3 a, Vec3 b) { return {a.x - b.x, a.y - b.y, a.z - b.z}; }
Vec3 operator*(double s, Vec3 v) { return {s * v.x, s * v.y, s * v.z}; }
double Dot(Vec3 a, Vec3 b) { return a.x * b.x + a.y * b.y + a.z * b.z; }
double Length(Vec3 v) { return std::sqrt(Dot(v, v)); }

Vec3 Cross(Vec3 a, Vec3 b)
{
    return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}

bool IsFinite(Vec3 v) { return std::isfinite(v.x) && std::isfinite(v.y) && std::isfinite(v.z); }

bool IsUnit(Vec3 v) { return std::fabs(Length(v) - 1.0) <= kUnitTolerance; }

BodyAxes AxesFromAttitude(const Attitude& a)
{
    const double cr = std::cos(a.roll), sr = std::sin(a.roll);
    const double cp = std::cos(a.pitch), sp = std::sin(a.pitch);
    const double cy = std::cos(a.yaw), sy = std::sin(a.yaw);
    // The columns of Rz(yaw) * Ry(pitch) * Rx(roll).
    return {{cy * cp, sy * cp, -sp},
            {cy * sp * sr - sy * cr, sy * sp * sr + cy * cr, cp * sr},
            {cy * sp * cr + sy * sr, sy * sp * cr - cy * sr, cp * cr}};
}

Attitude AttitudeFromAxes(const BodyAxes& axes)
{
    const double sinPitch = std::clamp(-axes.fwd.z / Length(axes.fwd), -1.0, 1.0);
    return {std::atan2(axes.left.z, axes.up.z), std::asin(sinPitch), std::atan2(axes.fwd.y, axes.fwd.x)};
}

BodyAxes AxesFromForwardRight(Vec3 fwd, Vec3 right)
{
    const Vec3 left = -1.0 * right;
    return {fwd, left, Cross(fwd, left)};
}

BodyAxes AxesFromHeadingPitchRoll(double heading, double pitchUp, double roll)
{
    const double ch = std::cos(heading), sh = std::sin(heading);
    const double cp = std::cos(pitchUp), sp = std::sin(pitchUp);
    const double cr = std::cos(roll), sr = std::sin(roll);
    // Columns of Rz(heading) * Rx(pitchUp) * Ry(roll) with x right, y forward.
    const Vec3 right{ch * cr - sh * sp * sr, sh * cr + ch * sp * sr, -cp * sr};
    const Vec3 fwd{-sh * cp, ch * cp, sp};
    const Vec3 up{ch * sr + sh * sp * cr, sh * sr - ch * sp * cr, cp * cr};
    return {fwd, -1.0 * right, up};
}

Vec3 ToBody(const BodyAxes& axes, Vec3 world)
{
    return {Dot(world, axes.fwd), Dot(world, axes.left), Dot(world, axes.up)};
}

Vec3 ToWorld(const BodyAxes& axes, Vec3 body)
{
    return body.x * axes.fwd + body.y * axes.left + body.z * axes.up;
}

Vec3 FromYUpWorld(Vec3 v) { return {v.z, v.x, v.y}; }
Vec3 ToYUpWorld(Vec3 v) { return {v.y, v.z, v.x}; }

}  // namespace zepta_ride
