// The per-kind mixing of the requested pose into actuator values, for every
// device kind that does not go through the platform kinematics.
#ifndef ZEPTA_MOTION_KIND_FORMULAS_H
#define ZEPTA_MOTION_KIND_FORMULAS_H

#include "zepta/zepta.h"

namespace ZEPTASDK {

// The clamped request of one frame, read before anything is written back.
struct PoseRequest {
    float roll;
    float pitch;
    float yaw;
    float heave;
    float sway;
    float surge;
    float rotationRatio;  // rotMR
    float gravityRatio;   // graMR
};

PoseRequest ReadPoseRequest(const _korve_data_packet& packet);

struct KindConversion {
    // Gain of the speed derivation for this kind.
    float speedGain;
    // Six-actuator platform: the axes come from the pose filter and the
    // kinematics, not from the formula.
    bool usesPlatform;
    // Writes the mixed pose back to the packet and, when deriveAxes is set,
    // the axis values.
    void (*apply)(_korve_data_packet& packet, const PoseRequest& request, bool deriveAxes);
};

// The row for a device kind; unknown kinds get the idle row (all axes 0.5).
const KindConversion& ConversionForKind(int deviceKind);

}  // namespace ZEPTASDK

#endif
