// The measurements of the frame path, one function per group of figures.
// Each adds its figures to the report; all of them open sessions and
// sockets, so they run inside the sandbox only.
#ifndef ZEPTA_BENCH_FRAME_BENCH_H
#define ZEPTA_BENCH_FRAME_BENCH_H

#include <string>

#include "report.h"

namespace zepta_bench {

// A USB device family and the axis mode the application uses with it.
struct UsbCase {
    std::string label;      // "kind 2, mode 0", part of the titles
    std::string idSuffix;   // "kind2", part of the ids
    std::string identity;   // the device's answer to "d;"
    int axisMode;
    double frameRateTarget; // frames per second without a wire model; 0 for none
};

const UsbCase& FourAxisSeatManual();
const UsbCase& SixAxisSeatDerived();

// The cost of Write on the application's thread: median <= 0.5 us, p99 <= 2 us.
void ApplyWriteTarget(Figure& figure);

// Write on a session whose thread has ended for want of a device.
void MeasureWriteWithoutDevice(Report& report);
// Write while the update thread sleeps between paced frames, and from Write
// returning to the position command's last byte at the device.
void MeasurePacedFrames(Report& report, const UsbCase& usbCase);
// The application writes as fast as it can: frame rate, frame period, Write
// while frames run back to back, heap allocations per frame.
void MeasureFrameStream(Report& report, const UsbCase& usbCase);
// Frame rate behind a 115200-baud wire against what its bytes allow.
void MeasureWireBoundRate(Report& report, const UsbCase& usbCase);
// Datagrams per second and allocations per frame on the LAN.
void MeasureLanPacing(Report& report);
// What the machine charges for waking threads, pty round trips and timed
// wake-ups, and the serial-port steps the line discipline fixes.
void MeasureReferenceCosts(Report& report);
// Resident memory of a fresh process with 0, 1 and many sessions; the
// process is this program again, started with the option below.
void MeasureMemory(Report& report, const std::string& selfPath);

// The option that makes this program the measured process of MeasureMemory.
extern const char kSessionsChildOption[];
// Opens that many sessions, waits until all run, prints "VmRSS <kB>" and
// closes them again. Returns the process exit code.
int RunSessionsAndReportResidentMemory(int sessions);

}  // namespace zepta_bench

#endif
