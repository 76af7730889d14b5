// Resident memory of a process that holds sessions. The measured process is
// a fresh start of this program, so that the emulated devices (which run in
// this one) and everything measured before stay out of its figures.
#include <cstdio>
#include <fstream>
#include <memory>
#include <stdexcept>
#include <thread>

#include "frame_bench.h"
#include "session_rigs.h"
#include "zepta/zepta.h"

namespace zepta_bench {

namespace {

using namespace std::chrono_literals;

constexpr int kManySessions = 16;
constexpr auto kConnectTimeout = 120s;
// Long enough for every session to settle and run a few frames.
constexpr auto kRunningTime = 2s;
const std::string kResidentLabel = "VmRSS:";
const std::string kReportLabel = "VmRSS";

long ResidentKilobytes()
{
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);) {
        if (line.compare(0, kResidentLabel.size(), kResidentLabel) == 0) {
            return std::stol(line.substr(kResidentLabel.size()));
        }
    }
    return -1;
}

long ChildResidentKilobytes(const std::string& selfPath, int sessions)
{
    const std::string command = "'" + selfPath + "' " + kSessionsChildOption + " " + std::to_string(sessions);
    std::unique_ptr<FILE, int (*)(FILE*)> child(popen(command.c_str(), "r"), &pclose);
    if (!child) throw std::runtime_error("cannot start " + command);
    char label[16] = {};
    long kilobytes = -1;
    if (std::fscanf(child.get(), "%15s %ld", label, &kilobytes) != 2 || kReportLabel != label) {
        throw std::runtime_error(command + " reported no resident size");
    }
    return kilobytes;
}

Figure ResidentFigure(int sessions, long kilobytes)
{
    Figure f{"memory.rss." + std::to_string(sessions),
             "Resident memory, process with " + std::to_string(sessions) + " USB session" + (sessions == 1 ? "" : "s"),
             "KiB"};
    f.value = static_cast<double>(kilobytes);
    return f;
}

}  // namespace

const char kSessionsChildOption[] = "--resident-memory-with-sessions";

int RunSessionsAndReportResidentMemory(int sessions)
{
    std::vector<int> handles;
    for (int i = 0; i < sessions; ++i) handles.push_back(zeptaOpen("BENCH"));
    const bool running = WaitUntil(
        [&handles] {
            for (int h : handles) {
                if (zeptaGetState(h) != ZEPTA_STATE_RUNNING) return false;
            }
            return true;
        },
        kConnectTimeout, 10ms);
    const _korve_data_packet packet = SwayPacket(0);
    for (int h : handles) zeptaWrite(h, &packet);
    std::this_thread::sleep_for(kRunningTime);
    const long kilobytes = ResidentKilobytes();
    for (int h : handles) zeptaClose(h);
    if (!running) {
        std::fprintf(stderr, "not every session reached state 8\n");
        return 1;
    }
    std::printf("%s %ld\n", kReportLabel.c_str(), kilobytes);
    return 0;
}

void MeasureMemory(Report& report, const std::string& selfPath)
{
    std::vector<std::unique_ptr<zepta_tools::UsbDeviceEmulator>> devices;
    for (int i = 0; i < kManySessions; ++i) {
        devices.push_back(std::make_unique<zepta_tools::UsbDeviceEmulator>("/dev/ttyACM" + std::to_string(i)));
    }
    const long none = ChildResidentKilobytes(selfPath, 0);
    const long one = ChildResidentKilobytes(selfPath, 1);
    const long many = ChildResidentKilobytes(selfPath, kManySessions);
    report.Add(ResidentFigure(0, none));
    report.Add(ResidentFigure(1, one));
    report.Add(ResidentFigure(kManySessions, many));
    Figure growth{"memory.per_session", "Resident memory per additional USB session", "KiB"};
    growth.value = static_cast<double>(many - one) / (kManySessions - 1);
    growth.note = "(16 sessions - 1 session) / 15";
    report.Add(growth);
}

}  // namespace zepta_bench
