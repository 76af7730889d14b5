#include "cli_session.h"

#include <atomic>
#include <cstdio>
#include <thread>

#include "commands.h"
#include "stop_signal.h"
#include "zepta/zepta.h"

namespace zepta_cli {

namespace {

const char kAppCode[] = "ZEPTACLI";
constexpr auto kConnectTimeout = std::chrono::seconds(60);
constexpr auto kPollInterval = std::chrono::milliseconds(20);
constexpr auto kRateWindow = std::chrono::seconds(1);
constexpr auto kParkTimeout = std::chrono::seconds(3);
const char kLogPrefix[] = "log: ";

// The update callback takes no argument, so the count is process-wide; the
// program runs one session at a time. Written by the session's update thread.
std::atomic<long> s_framesSent{0};

void CountFrame() { ++s_framesSent; }

}  // namespace

CliSession::CliSession(Console& out, const SessionOptions& options) : console(out), quiet(options.quiet)
{
    s_framesSent = 0;
    session.SetCallbackUpdateFunction(CountFrame);
    // Until the first frame of our own, the device gets the neutral pose.
    const _korve_data_packet neutral = NeutralPacket();
    session.Write(&neutral);
    session.Open(kAppCode, options.serial.c_str());
}

CliSession::~CliSession()
{
    if (open) session.Close();
}

_korve_data_packet CliSession::NeutralPacket()
{
    _korve_data_packet packet = ZEPTASDK::DefaultZEPTAPacket();
    packet.rotMR = 1.0f;
    packet.graMR = 1.0f;
    return packet;
}

void CliSession::Connect()
{
    const auto start = std::chrono::steady_clock::now();
    for (;;) {
        PumpLog();
        if (StopRequested()) throw DeviceTrouble("interrupted before a device connected");
        const int state = State();
        const int kind = DeviceKind();
        // The library lets a device settle for a moment before its first
        // frame; motion starts once that frame has gone out.
        if (state == ZEPTA_STATE_RUNNING && FramesSent() > 0) {
            console.Status("connected: device kind " + std::to_string(kind) + ", serial \"" +
                                Printable(session.GetZEPTASerialNumber()) + "\"",
                            true);
            console.EndStatus();
            return;
        }
        if (Ended()) throw Trouble("no device connected");
        const std::chrono::duration<double> waited = std::chrono::steady_clock::now() - start;
        if (waited > kConnectTimeout) {
            throw Trouble("the device did not connect within " + std::to_string(kConnectTimeout.count()) + " s");
        }
        ShowConnecting(state, kind, waited.count());
        std::this_thread::sleep_for(kPollInterval);
    }
}

// USB calibration runs inside the library's handshake, before the session
// shows a device; the log line it writes tells that phase.
void CliSession::ShowConnecting(int state, int kind, double seconds)
{
    std::string now = "searching for a device (USB, then a broadcast on the LAN)";
    if (state == ZEPTA_STATE_CALIBRATING) {
        now = "calibrating device kind " + std::to_string(kind);
    } else if (state == ZEPTA_STATE_RUNNING) {
        now = "device kind " + std::to_string(kind) + " connected, settling";
    } else if (kind != ZEPTA_DEVICE_NONE) {
        now = "found device kind " + std::to_string(kind) + ", waiting for its first answer";
    }
    char elapsed[32];
    std::snprintf(elapsed, sizeof elapsed, " | %.1f s", seconds);
    const bool newPhase = now != phase;
    phase = now;
    console.Status(now + " (state " + std::to_string(state) + ")" + elapsed +
                       (lastLogLine.empty() ? "" : " | " + lastLogLine),
                   newPhase);
}

void CliSession::Write(const _korve_data_packet& packet) { session.Write(&packet); }

long CliSession::FramesSent() const { return s_framesSent; }

bool CliSession::WaitForFramesAbove(long count, std::chrono::milliseconds timeout)
{
    const auto deadline = std::chrono::steady_clock::now() + timeout;
    while (s_framesSent <= count) {
        if (Ended() || std::chrono::steady_clock::now() >= deadline) return s_framesSent > count;
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
}

double CliSession::FramesPerSecond()
{
    const auto now = std::chrono::steady_clock::now();
    rateSamples.emplace_back(now, FramesSent());
    while (now - rateSamples.front().first > kRateWindow) rateSamples.pop_front();
    const std::chrono::duration<double> span = now - rateSamples.front().first;
    if (span.count() <= 0.0) return 0.0;
    return static_cast<double>(rateSamples.back().second - rateSamples.front().second) / span.count();
}

int CliSession::State() { return session.GetState(); }

bool CliSession::Calibrating() { return State() == ZEPTA_STATE_CALIBRATING; }

int CliSession::DeviceKind() { return session.GetZEPTADevice(); }

bool CliSession::Ended() { return !session.GetZEPTAStatus(); }

// The backlog is process-wide and bounded, so it is drained whether or not
// its lines are shown.
void CliSession::PumpLog()
{
    char buffer[512];
    int count;
    while ((count = zeptaGetBackLog(buffer, static_cast<int>(sizeof buffer))) > 0) {
        partialLogLine.append(buffer, static_cast<std::size_t>(count));
    }
    std::size_t end;
    while ((end = partialLogLine.find('\n')) != std::string::npos) {
        lastLogLine = Printable(partialLogLine.substr(0, end));
        partialLogLine.erase(0, end + 1);
        if (!quiet) console.Line(kLogPrefix + lastLogLine);
    }
}

void CliSession::ParkAndClose()
{
    bool parked = false;
    if (!Ended()) {
        // Setting origin mode wakes the session for a frame, but a frame that
        // was already running may not have seen it; the frame that the write
        // after it wakes carries the origin for certain.
        session.SetOriginMode(true);
        const long before = FramesSent();
        if (WaitForFramesAbove(before, kParkTimeout)) {
            const _korve_data_packet neutral = NeutralPacket();
            session.Write(&neutral);
            parked = WaitForFramesAbove(before + 1, kParkTimeout);
        }
    }
    session.Close();
    open = false;
    PumpLog();
    if (!parked) throw Trouble("the device did not take the origin position");
}

DeviceTrouble CliSession::Trouble(const std::string& what)
{
    PumpLog();
    std::string text = what + " (state " + std::to_string(State()) + ")";
    if (!lastLogLine.empty()) text += "; last log line: " + lastLogLine;
    return DeviceTrouble(text);
}

bool RunParkedSession(Console& console, const SessionOptions& options, const std::function<bool(CliSession&)>& motion)
{
    CliSession session(console, options);
    session.Connect();
    const bool completed = motion(session);
    console.EndStatus();
    session.ParkAndClose();
    return completed;
}

void AddSessionOptions(CLI::App& command, SessionOptions& options)
{
    command.add_option("--serial", options.serial, "Serial number of the LAN device to use (default: the first)");
    command.add_flag("--quiet", options.quiet, "Do not show the library's log as it comes");
}

}  // namespace zepta_cli
