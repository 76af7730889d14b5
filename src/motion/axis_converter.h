// Turns one frame's requested pose into the actuator values and speeds of the
// connected device kind. The session owns one converter and forwards to it.
#ifndef ZEPTA_MOTION_AXIS_CONVERTER_H
#define ZEPTA_MOTION_AXIS_CONVERTER_H

#include <chrono>

#include "motion/pose_filter.h"
#include "motion/speed_deriver.h"
#include "motion/stewart_platform.h"
#include "zepta/zepta.h"

namespace ZEPTASDK {

struct ConversionModes {
    int deviceKind;
    int axisMode;   // ZEPTAAxisMode
    int speedMode;  // ZEPTASpeedGain
};

// Not thread-safe: used by the session's update thread only.
class AxisConverter {
public:
    // The platform starts with the Grande QX geometry, all other state zero.
    AxisConverter();

    // One frame: rewrites the packet in place. A true reset restarts the
    // start period of the speed derivation.
    void Convert(_korve_data_packet& packet, bool reset, const ConversionModes& modes,
                 std::chrono::system_clock::time_point now);

    // Whether the last Convert took its axes from the kinematics or the angle limit.
    bool DerivedAxes() const { return derivedAxes; }

    // After a device is connected: the two platforms get their own geometry
    // and the filter presets; any other kind keeps the current platform.
    void PrepareForDevice(int deviceKind);

private:
    bool DeriveOnPlatform(_korve_data_packet& packet, const ConversionModes& modes);
    PoseFilter::Values PoseChannels(const _korve_data_packet& packet, int speedMode);

    StewartPlatform platform;
    PoseFilter filter;
    SpeedDeriver speeds;
    bool derivedAxes = false;
};

}  // namespace ZEPTASDK

#endif
