// The live status line of `zepta ride`: the format and datagrams per second,
// the dropped datagrams by reason, the age of the last sample, the safety
// state, and the six output channels as small bars.
#ifndef ZEPTA_CLI_RIDE_STATUS_H
#define ZEPTA_CLI_RIDE_STATUS_H

#include <string>

#include "ride_stream.h"
#include "zepta/ride/safety_stage.hpp"

namespace zepta_cli {

// A channel in -1..1 as a bar around a centre mark, e.g. "[    |##  ]" for
// 0.5; values beyond the range fill the bar, a value that is not finite
// shows as "[    ?    ]".
std::string ChannelBar(double value);

class RideStatus {
public:
    // The line, valid until the next call.
    const std::string& Text(const StreamSnapshot& stream, RideClock::time_point now,
                            zepta_ride::SafetyState state, const zepta_ride::RigPose& pose);

private:
    double DatagramsPerSecond(const StreamSnapshot& stream, RideClock::time_point now);

    RideClock::time_point markAt{};
    std::uint64_t markReceived = 0;
    double rate = 0.0;
    std::string line;
};

}  // namespace zepta_cli

#endif
