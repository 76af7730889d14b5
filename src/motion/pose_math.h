// Small vector helpers shared by the inverse kinematics, the forward
// kinematics and the manual angle limit.
#ifndef ZEPTA_MOTION_POSE_MATH_H
#define ZEPTA_MOTION_POSE_MATH_H

#include <array>
#include <cmath>
#include <vector>

#include "motion/stewart_platform.h"

namespace ZEPTASDK {

constexpr double kPi = 3.141592653589793;
constexpr double kDegreesPerHalfTurn = 180.0;

inline double DegreesToRadians(double degrees)
{
    return degrees * kPi / kDegreesPerHalfTurn;
}

inline double RadiansToDegrees(double radians)
{
    return radians * kDegreesPerHalfTurn / kPi;
}

using PoseArray = std::array<double, StewartPlatform::kPoseComponents>;

inline PoseArray PoseToArray(const StewartPlatform::Pose& pose)
{
    return {pose.x, pose.y, pose.z, pose.roll, pose.pitch, pose.yaw};
}

inline std::vector<double> PoseToVector(const StewartPlatform::Pose& pose)
{
    return {pose.x, pose.y, pose.z, pose.roll, pose.pitch, pose.yaw};
}

inline StewartPlatform::Pose ArrayToPose(const PoseArray& a)
{
    return {a[0], a[1], a[2], a[3], a[4], a[5]};
}

inline StewartPlatform::Pose ScalePose(const StewartPlatform::Pose& pose, double factor)
{
    return {pose.x * factor,    pose.y * factor,     pose.z * factor,
            pose.roll * factor, pose.pitch * factor, pose.yaw * factor};
}

inline bool IsFinitePose(const StewartPlatform::Pose& pose)
{
    for (double component : PoseToArray(pose)) {
        if (!std::isfinite(component)) return false;
    }
    return true;
}

inline StewartPlatform::Vec3 Add(const StewartPlatform::Vec3& a, const StewartPlatform::Vec3& b)
{
    return {a[0] + b[0], a[1] + b[1], a[2] + b[2]};
}

inline StewartPlatform::Vec3 Subtract(const StewartPlatform::Vec3& a, const StewartPlatform::Vec3& b)
{
    return {a[0] - b[0], a[1] - b[1], a[2] - b[2]};
}

inline double Dot(const StewartPlatform::Vec3& a, const StewartPlatform::Vec3& b)
{
    return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
}

inline double Norm(const StewartPlatform::Vec3& v)
{
    return std::sqrt(Dot(v, v));
}

inline StewartPlatform::Vec3 Rotate(const std::array<StewartPlatform::Vec3, 3>& rows,
                                    const StewartPlatform::Vec3& v)
{
    return {Dot(rows[0], v), Dot(rows[1], v), Dot(rows[2], v)};
}

inline bool IsZero(const StewartPlatform::Vec3& v)
{
    return v[0] == 0.0 && v[1] == 0.0 && v[2] == 0.0;
}

}  // namespace ZEPTASDK

#endif
