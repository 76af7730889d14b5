// Independent measurements of a platform pose for the kinematics tests: leg
// lengths and joint angles computed here from the public geometry and
// buildTransform, not through the code under test.
#ifndef ZEPTA_TESTS_MOTION_PLATFORM_TEST_SUPPORT_H
#define ZEPTA_TESTS_MOTION_PLATFORM_TEST_SUPPORT_H

#include <random>
#include <vector>

#include "motion/stewart_platform.h"

namespace zepta_motion_test {

using Pose = StewartPlatform::Pose;

std::vector<double> LegLengths(const StewartPlatform& p, const Pose& pose,
                               StewartPlatform::CoordinateSystem system);
double LargestJointAngle(const StewartPlatform& p, const Pose& pose,
                         StewartPlatform::CoordinateSystem system);
// Within the stroke and (with the angle check on) within the joint limit.
bool Acceptable(const StewartPlatform& p, const Pose& pose, StewartPlatform::CoordinateSystem system);
// The normalised values of a pose, without any limit.
std::vector<double> ValuesOf(const StewartPlatform& p, const Pose& pose);
Pose Scaled(const Pose& pose, double factor);
// Translations within +-t mm, rotations within +-r degrees.
Pose RandomPose(std::mt19937& rng, double t, double r);

}  // namespace zepta_motion_test

#endif
