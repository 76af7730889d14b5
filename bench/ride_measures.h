// The ride's figures in the frame benchmark: the receive path of `zepta ride`
// from a datagram to Write, its heap use in steady state, the CPU share of
// the real program, and the per-call rows of zepta_bench_ride. The first
// three open sessions and sockets, so they run inside the sandbox only.
#ifndef ZEPTA_BENCH_RIDE_MEASURES_H
#define ZEPTA_BENCH_RIDE_MEASURES_H

#include <string>

#include "report.h"

namespace zepta_bench {

// From a datagram sent on loopback to Write returning: the stream of
// `zepta ride` receives and decodes it, then one output frame turns it into
// a packet for a session on the emulated six-axis seat.
void MeasureRideReceivePath(Report& report);
// Heap allocations per datagram taken by the stream and per output frame.
void MeasureRideAllocations(Report& report);
// CPU share of `zepta ride` fed by the game emulator at 60 Hz, dry run and
// on the emulated six-axis seat.
void MeasureRideCpu(Report& report);

// Adds the rows of zepta_bench_ride's JSON output (Google Benchmark), each
// against its "target_ns" counter; false when the file cannot be read.
bool AddRideResults(Report& report, const std::string& path);

}  // namespace zepta_bench

#endif
