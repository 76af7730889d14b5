// Actuator speeds derived from how far each axis moved since the last frame,
// with a start period after every reset in which the device moves gently.
#ifndef ZEPTA_MOTION_SPEED_DERIVER_H
#define ZEPTA_MOTION_SPEED_DERIVER_H

#include <array>
#include <chrono>

#include "motion/packet_access.h"
#include "zepta/zepta.h"

namespace ZEPTASDK {

class SpeedDeriver {
public:
    using TimePoint = std::chrono::system_clock::time_point;

    // Rewrites the packet's six speeds and its acceleration for this frame.
    // speedMode is a ZEPTASpeedGain value; derivedAxes tells whether the
    // kinematics produced this frame's axes.
    void Update(_korve_data_packet& packet, bool reset, int speedMode, bool derivedAxes,
                float speedGain, TimePoint now);

private:
    void Restart(_korve_data_packet& packet, TimePoint now);
    void HoldStartSpeeds(_korve_data_packet& packet);
    void TrackWithoutDeriving(const _korve_data_packet& packet, TimePoint now);
    void Derive(_korve_data_packet& packet, float speedGain, TimePoint now);

    TimePoint resetTime{};
    TimePoint lastSpeedTime{};
    AxisArray previous{};  // last axis values seen; negative: none yet
    AxisArray carry{};     // surplus above the speed ceiling, spent next frame
};

}  // namespace ZEPTASDK

#endif
