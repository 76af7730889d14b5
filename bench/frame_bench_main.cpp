// zepta_bench_frame: measures the frame path from the application's Write to
// the emulated device, prints the report table and writes it as JSON.
//
//   zepta_bench_frame [--motion MOTION.json] [--ride RIDE.json] [--json OUT.json]
//
// MOTION.json and RIDE.json are zepta_bench_motion's and zepta_bench_ride's
// output (--benchmark_out_format=json); their figures join the report. Runs
// inside scripts/sandbox.sh only, since it opens sessions, pseudo-terminals
// and sockets. scripts/bench.sh runs all three.
#include <sys/prctl.h>
#include <unistd.h>

#include <climits>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <iostream>
#include <string>

#include "support/allocation_counter.h"
#include "common/sandbox_check.h"
#include "frame_bench.h"
#include "ride_measures.h"

namespace {

using namespace zepta_bench;

const char kUsage[] = "usage: zepta_bench_frame [--motion MOTION.json] [--ride RIDE.json] [--json OUT.json]\n";
const char kDefaultJson[] = "out/bench.json";

struct Options {
    std::string motionJson;
    std::string rideJson;
    std::string json = kDefaultJson;
};

bool Parse(int argc, char** argv, Options& options)
{
    for (int i = 1; i < argc; ++i) {
        const std::string arg = argv[i];
        if (i + 1 >= argc) return false;
        if (arg == "--motion") {
            options.motionJson = argv[++i];
        } else if (arg == "--ride") {
            options.rideJson = argv[++i];
        } else if (arg == "--json") {
            options.json = argv[++i];
        } else {
            return false;
        }
    }
    return true;
}

std::string SelfPath()
{
    char path[PATH_MAX] = {};
    const ssize_t length = readlink("/proc/self/exe", path, sizeof path - 1);
    return length > 0 ? std::string(path, static_cast<std::size_t>(length)) : std::string();
}

// The allocation count relies on our operator new; make sure it is the one
// the standard library calls.
bool AllocationCountWorks()
{
    zepta_test::CountAllocationsOnThisThread();
    zepta_test::StartCountingAllocations();
    std::string text(100, 'x');
    const bool counted = zepta_test::StopCountingAllocations() > 0;
    return counted && !text.empty();
}

void Section(const char* title) { std::cerr << "== " << title << std::endl; }

void MeasureAll(Report& report)
{
    Section("Reference costs of this machine");
    MeasureReferenceCosts(report);
    Section("Write without a device");
    MeasureWriteWithoutDevice(report);
    for (const UsbCase* usbCase : {&FourAxisSeatManual(), &SixAxisSeatDerived()}) {
        Section(("Paced frames, " + usbCase->label).c_str());
        MeasurePacedFrames(report, *usbCase);
        Section(("Frames back to back, " + usbCase->label).c_str());
        MeasureFrameStream(report, *usbCase);
        Section(("Frames at 115200 baud, " + usbCase->label).c_str());
        MeasureWireBoundRate(report, *usbCase);
    }
    Section("LAN pacing");
    MeasureLanPacing(report);
    Section("Resident memory");
    MeasureMemory(report, SelfPath());
    Section("Ride");
    MeasureRideReceivePath(report);
    MeasureRideAllocations(report);
    MeasureRideCpu(report);
}

}  // namespace

int main(int argc, char** argv)
{
    if (argc == 3 && std::strcmp(argv[1], kSessionsChildOption) == 0) {
        return RunSessionsAndReportResidentMemory(std::atoi(argv[2]));
    }
    Options options;
    if (!Parse(argc, argv, options)) {
        std::cerr << kUsage;
        return 2;
    }
    if (!zepta_tools::InSandbox()) {
        std::cerr << "zepta_bench_frame: opens sessions and sockets; run it inside scripts/sandbox.sh\n";
        return 2;
    }
    // Threads inherit their creator's timer slack. With the default 50 us the
    // emulated device would send its timed replies up to 50 us late, and the
    // wire model would charge that to the library.
    prctl(PR_SET_TIMERSLACK, 1UL, 0UL, 0UL, 0UL);
    if (!AllocationCountWorks()) {
        std::cerr << "zepta_bench_frame: the allocation counter sees no allocations\n";
        return 1;
    }
    const Machine machine = DescribeMachine();
    Report report;
    try {
        MeasureAll(report);
        if (!options.motionJson.empty() && !report.AddMotionResults(options.motionJson)) {
            std::cerr << "zepta_bench_frame: cannot read " << options.motionJson << "\n";
            return 1;
        }
        if (!options.rideJson.empty() && !AddRideResults(report, options.rideJson)) {
            std::cerr << "zepta_bench_frame: cannot read " << options.rideJson << "\n";
            return 1;
        }
    } catch (const std::exception& e) {
        std::cerr << "zepta_bench_frame: " << e.what() << "\n";
        return 1;
    }
    report.PrintTable(std::cout, machine);
    if (!report.WriteJson(options.json, machine)) {
        std::cerr << "zepta_bench_frame: cannot write " << options.json << "\n";
        return 1;
    }
    std::cout << "\nJSON: " << options.json << "\n";
    return 0;
}
