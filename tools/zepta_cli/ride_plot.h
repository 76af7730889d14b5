// What `zepta plot` needs for a trace of `zepta ride`: telling one from a
// trace of `zepta play`, and the variables of scripts/plot-ride.gp.
#ifndef ZEPTA_CLI_RIDE_PLOT_H
#define ZEPTA_CLI_RIDE_PLOT_H

#include <optional>
#include <string>

namespace zepta_cli {

// True when the file's first line is the header of a ride trace.
bool IsRideTrace(const std::string& path);

// The gnuplot variables that draw `trace` to `output`. With `wire`, a
// position record of a device emulator (CLOCK_MONOTONIC times), its actuator
// positions are drawn too, shifted by `rideStart` (the CLOCK_MONOTONIC
// seconds at the trace's time 0, which `zepta ride` prints when it starts);
// throws UsageError when the trace holds no frames or the wire is given
// without its start.
std::string RidePlotVariables(const std::string& trace, const std::string& output, const std::string& wire,
                              std::optional<double> rideStart);

}  // namespace zepta_cli

#endif
