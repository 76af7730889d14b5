// The two six-actuator platforms the library drives, by device kind code.
#ifndef ZEPTA_MOTION_PLATFORM_GEOMETRY_H
#define ZEPTA_MOTION_PLATFORM_GEOMETRY_H

#include "motion/stewart_platform.h"
#include "zepta/zepta.h"

namespace ZEPTASDK {

// The Grande QX and the Grande 500QX.
bool IsPlatformKind(int deviceKind);

// The Grande 500QX gets the large geometry; every other kind the compact one,
// which is also what a session starts with before it knows its device.
StewartPlatform MakePlatformForKind(int deviceKind);

// How far a normalised pose channel moves the platform of this kind:
// millimetres for surge, sway and heave, degrees for roll, pitch and yaw.
struct PlatformPoseScale {
    double translation;
    double rotation;
};
PlatformPoseScale PoseScaleForKind(int deviceKind);

}  // namespace ZEPTASDK

#endif
