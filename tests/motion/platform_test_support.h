// Independent measurements of a platform pose for the kinematics tests: leg
// lengths and joint angles from the public geometry and buildTransform, not
// through the code under test.
#ifndef ZEPTA_TESTS_MOTION_PLATFORM_TEST_SUPPORT_H
#define ZEPTA_TESTS_MOTION_PLATFORM_TEST_SUPPORT_H

#include <algorithm>
#include <cmath>
#include <vector>

#include "motion/stewart_platform.h"

namespace zepta_motion_test {

using Pose = StewartPlatform::Pose;

inline std::vector<StewartPlatform::Vec3> Legs(const StewartPlatform& p, const Pose& pose,
                                               StewartPlatform::CoordinateSystem system)
{
    const auto t = p.buildTransform(pose, system);
    std::vector<StewartPlatform::Vec3> legs(6);
    for (std::size_t i = 0; i < 6; ++i) {
        const auto& a = p.platformAnchors[i];
        for (std::size_t r = 0; r < 3; ++r) {
            legs[i][r] = t[r][0] * a[0] + t[r][1] * a[1] + t[r][2] * a[2] + t[r][3] - p.baseAnchors[i][r];
        }
    }
    return legs;
}

inline double Length(const StewartPlatform::Vec3& v) { return std::sqrt(v[0] * v[0] + v[1] * v[1] + v[2] * v[2]); }

inline std::vector<double> LegLengths(const StewartPlatform& p, const Pose& pose,
                                      StewartPlatform::CoordinateSystem system = StewartPlatform::Base)
{
    std::vector<double> lengths;
    for (const auto& leg : Legs(p, pose, system)) lengths.push_back(Length(leg));
    return lengths;
}

inline double LargestJointAngle(const StewartPlatform& p, const Pose& pose,
                                StewartPlatform::CoordinateSystem system = StewartPlatform::Base)
{
    double largest = 0.0;
    const auto legs = Legs(p, pose, system);
    for (std::size_t i = 0; i < 6; ++i) {
        const auto& home = p.homeDirections[i];
        const double c = (legs[i][0] * home[0] + legs[i][1] * home[1] + legs[i][2] * home[2]) / Length(legs[i]);
        largest = std::max(largest, std::acos(std::clamp(c, -1.0, 1.0)) * 180.0 / 3.141592653589793);
    }
    return largest;
}

inline double AngleLimit(const StewartPlatform& p) { return p.maxJointAngle - p.jointAngleMargin; }

inline Pose Scaled(const Pose& p, double f) { return {p.x * f, p.y * f, p.z * f, p.roll * f, p.pitch * f, p.yaw * f}; }

}  // namespace zepta_motion_test

#endif
