#include "ride_plot.h"

#include <cstdio>
#include <fstream>

#include "cli_errors.h"
#include "ride_trace.h"

namespace zepta_cli {

namespace {

// A gnuplot string literal: single quotes, with a quote written twice.
std::string Quoted(const std::string& text)
{
    std::string quoted = "'";
    for (const char c : text) quoted += c == '\'' ? std::string("''") : std::string(1, c);
    return quoted + "'";
}

}  // namespace

bool IsRideTrace(const std::string& path)
{
    std::ifstream in(path);
    std::string header;
    if (!std::getline(in, header)) return false;
    if (!header.empty() && header.back() == '\r') header.pop_back();
    return header == kRideTraceHeader;
}

std::string RidePlotVariables(const std::string& trace, const std::string& output, const std::string& wire,
                              std::optional<double> rideStart)
{
    std::ifstream in(trace);
    std::string line;
    if (!std::getline(in, line) || !std::getline(in, line)) throw UsageError(trace + " holds no frames");
    std::string variables = "ride=" + Quoted(trace) + "; out=" + Quoted(output);
    if (wire.empty()) return variables;
    if (!rideStart) throw UsageError("--wire needs --ride-start, the time zepta ride printed when it started");
    char start[64];
    std::snprintf(start, sizeof start, "%.6f", *rideStart);
    return variables + "; wire=" + Quoted(wire) + "; ride_start=" + start;
}

}  // namespace zepta_cli
