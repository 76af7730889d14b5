// Leg lengths and joint angles of a pose, measured from the public geometry
// and buildTransform rather than through the code under test.
#ifndef ZEPTA_TESTS_MOTION_PLATFORM_TEST_SUPPORT_H
#define ZEPTA_TESTS_MOTION_PLATFORM_TEST_SUPPORT_H

#include <algorithm>
#include <cmath>
#include <vector>

#include "motion/platform_geometry.h"

namespace zepta_motion_test {

using Pose = StewartPlatform::Pose;
constexpr auto kBase = StewartPlatform::Base;
constexpr auto kPlatform = StewartPlatform::Platform;

struct Measured {
    std::vector<double> lengths;
    double largestAngle = 0.0;  // degrees between a leg and its home direction
};

inline Measured Measure(const StewartPlatform& p, const Pose& pose, StewartPlatform::CoordinateSystem system = kBase)
{
    const auto t = p.buildTransform(pose, system);
    Measured m;
    for (std::size_t i = 0; i < 6; ++i) {
        double leg[3], dot = 0.0;
        for (std::size_t r = 0; r < 3; ++r) {
            const auto& a = p.platformAnchors[i];
            leg[r] = t[r][0] * a[0] + t[r][1] * a[1] + t[r][2] * a[2] + t[r][3] - p.baseAnchors[i][r];
            dot += leg[r] * p.homeDirections[i][r];
        }
        m.lengths.push_back(std::sqrt(leg[0] * leg[0] + leg[1] * leg[1] + leg[2] * leg[2]));
        m.largestAngle = std::max(m.largestAngle, std::acos(std::clamp(dot / m.lengths[i], -1.0, 1.0)) * 180.0 / M_PI);
    }
    return m;
}

inline Pose Scaled(const Pose& p, double f) { return {p.x * f, p.y * f, p.z * f, p.roll * f, p.pitch * f, p.yaw * f}; }

}  // namespace zepta_motion_test

#endif
