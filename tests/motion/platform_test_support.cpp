#include "platform_test_support.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace zepta_motion_test {

namespace {

std::array<double, 3> Leg(const StewartPlatform& p, const StewartPlatform::Transform& t, std::size_t i)
{
    const auto& a = p.platformAnchors[i];
    std::array<double, 3> leg{};
    for (std::size_t r = 0; r < 3; ++r) {
        leg[r] = t[r][0] * a[0] + t[r][1] * a[1] + t[r][2] * a[2] + t[r][3] - p.baseAnchors[i][r];
    }
    return leg;
}

double Length(const std::array<double, 3>& v) { return std::sqrt(v[0] * v[0] + v[1] * v[1] + v[2] * v[2]); }

}  // namespace

std::vector<double> LegLengths(const StewartPlatform& p, const Pose& pose,
                               StewartPlatform::CoordinateSystem system)
{
    const auto t = p.buildTransform(pose, system);
    std::vector<double> lengths;
    for (std::size_t i = 0; i < 6; ++i) lengths.push_back(Length(Leg(p, t, i)));
    return lengths;
}

double LargestJointAngle(const StewartPlatform& p, const Pose& pose,
                         StewartPlatform::CoordinateSystem system)
{
    const auto t = p.buildTransform(pose, system);
    double largest = 0.0;
    for (std::size_t i = 0; i < 6; ++i) {
        const auto leg = Leg(p, t, i);
        const auto& home = p.homeDirections[i];
        const double c = (leg[0] * home[0] + leg[1] * home[1] + leg[2] * home[2]) / Length(leg);
        largest = std::max(largest, std::acos(std::clamp(c, -1.0, 1.0)) * 180.0 / 3.141592653589793);
    }
    return largest;
}

bool Acceptable(const StewartPlatform& p, const Pose& pose, StewartPlatform::CoordinateSystem system)
{
    for (double l : LegLengths(p, pose, system)) {
        if (l < p.minLength || l > p.maxLength) return false;
    }
    return !p.angleCheckEnabled ||
           LargestJointAngle(p, pose, system) <= p.maxJointAngle - p.jointAngleMargin;
}

std::vector<double> ValuesOf(const StewartPlatform& p, const Pose& pose)
{
    std::vector<double> values;
    for (double l : LegLengths(p, pose, StewartPlatform::Base)) {
        values.push_back((l - p.minLength) / (p.maxLength - p.minLength));
    }
    return values;
}

Pose Scaled(const Pose& p, double f)
{
    return {p.x * f, p.y * f, p.z * f, p.roll * f, p.pitch * f, p.yaw * f};
}

Pose RandomPose(std::mt19937& rng, double t, double r)
{
    std::uniform_real_distribution<double> mm(-t, t), deg(-r, r);
    return {mm(rng), mm(rng), mm(rng), deg(rng), deg(rng), deg(rng)};
}

}  // namespace zepta_motion_test
