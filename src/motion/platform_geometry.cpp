#include "motion/platform_geometry.h"

#include <vector>

namespace ZEPTASDK {

namespace {

struct PlatformGeometry {
    double baseDiameter;
    double platformDiameter;
    double homeHeight;
    double minLength;
    double maxLength;
    double maxJointAngle;
    double jointAngleMargin;
    PlatformPoseScale poseScale;
};

constexpr PlatformGeometry kCompactGeometry{1225.6, 670.4, 480.8, 580.8, 780.8, 25.0, 2.0,
                                            {90.0, 20.0}};
constexpr PlatformGeometry kLargeGeometry{2009.4, 1061.5, 821.6, 911.9, 1411.9, 30.0, 2.0,
                                          {225.0, 25.0}};

// Joint angles in degrees, actuator order; both platforms share them.
const std::vector<double> kBaseAngles{117.0, 243.0, 357.0, 123.0, 237.0, 3.0};
const std::vector<double> kTopAngles{65.5, 294.5, 305.5, 174.5, 185.5, 54.5};

const PlatformGeometry& GeometryForKind(int deviceKind)
{
    return deviceKind == ZEPTA_DEVICE_GRANDE_500QX ? kLargeGeometry : kCompactGeometry;
}

}  // namespace

bool IsPlatformKind(int deviceKind)
{
    return deviceKind == ZEPTA_DEVICE_GRANDE_QX || deviceKind == ZEPTA_DEVICE_GRANDE_500QX;
}

StewartPlatform MakePlatformForKind(int deviceKind)
{
    const PlatformGeometry& g = GeometryForKind(deviceKind);
    StewartPlatform platform(g.baseDiameter, g.platformDiameter, g.homeHeight, g.minLength,
                             g.maxLength, kBaseAngles, kTopAngles);
    platform.maxJointAngle = g.maxJointAngle;
    platform.jointAngleMargin = g.jointAngleMargin;
    return platform;
}

PlatformPoseScale PoseScaleForKind(int deviceKind)
{
    return GeometryForKind(deviceKind).poseScale;
}

}  // namespace ZEPTASDK
