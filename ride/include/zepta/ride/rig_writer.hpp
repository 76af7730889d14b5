// Pose -> libzepta packet. The packet asks for the pose itself and leaves the
// actuator values to the session, which must run in the axis mode below.
#ifndef ZEPTA_RIDE_RIG_WRITER_HPP
#define ZEPTA_RIDE_RIG_WRITER_HPP

#include <zepta/ZEPTA.hpp>
#include <zepta/zepta.h>

#include "zepta/ride/motion_sample.hpp"
#include "zepta/ride/profile.hpp"

namespace zepta_ride {

class ZEPTA_API RigWriter {
public:
    // The session derives the actuators from the pose in base coordinates.
    static constexpr ZEPTAAxisMode kAxisMode = ZEPTA_AXIS_BASE;

    // Throws ProfileError when a value is out of its range.
    explicit RigWriter(const OutputProfile& profile);

    // The library's neutral packet with the profile's speeds and
    // acceleration, rotMR and graMR 1, and each pose channel times its gain,
    // negated when inverted, within -1..1 (a channel that is not finite
    // goes out as 0).
    void Fill(const RigPose& pose, _korve_data_packet& packet) const;

private:
    _korve_data_packet neutral;
    RigPose gains;  // the signed gain of each channel
};

}  // namespace zepta_ride

#endif
