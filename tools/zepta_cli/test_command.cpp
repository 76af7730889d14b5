// zepta test: connects, runs a gentle test motion with a live status line,
// returns the device to its origin and closes.
#include <cstdio>
#include <memory>
#include <string>
#include <thread>

#include "cli_errors.h"
#include "cli_session.h"
#include "commands.h"
#include "stop_signal.h"
#include "test_patterns.h"

namespace zepta_cli {

namespace {

constexpr double kDefaultSeconds = 10.0;
constexpr double kMinSeconds = 1.0;
constexpr double kMaxSeconds = 3600.0;
constexpr int kFramesPerSecond = 50;
// The status line and the log are refreshed every this many frames.
constexpr int kFramesPerStatus = 5;

struct TestOptions {
    SessionOptions session;
    std::string pattern = "sine";
    double seconds = kDefaultSeconds;
};

void SetPose(_korve_data_packet& packet, const Pose& pose)
{
    packet.roll = pose[0];
    packet.pitch = pose[1];
    packet.yaw = pose[2];
    packet.heave = pose[3];
    packet.sway = pose[4];
    packet.surge = pose[5];
}

std::string StatusText(CliSession& session, const _korve_data_packet& p, double elapsed, double seconds)
{
    char text[256];
    std::snprintf(text, sizeof text,
                  "state %d | %3.0f frames/s | last: roll %+.2f pitch %+.2f yaw %+.2f heave %+.2f sway %+.2f "
                  "surge %+.2f | %.1f of %.1f s",
                  session.State(), session.FramesPerSecond(), p.roll, p.pitch, p.yaw, p.heave, p.sway, p.surge,
                  elapsed, seconds);
    return text;
}

// Streams the pattern until its end or a stop signal; false when stopped.
bool RunMotion(CliSession& session, Console& console, TestPattern pattern, double seconds)
{
    using Clock = std::chrono::steady_clock;
    _korve_data_packet packet = CliSession::NeutralPacket();
    const Clock::time_point start = Clock::now();
    for (long frame = 0;; ++frame) {
        const double elapsed = static_cast<double>(frame) / kFramesPerSecond;
        if (elapsed > seconds) return true;
        std::this_thread::sleep_until(start + std::chrono::duration<double>(elapsed));
        if (StopRequested()) return false;
        if (session.Ended()) throw session.Trouble("the session ended during the test");
        SetPose(packet, TestPatternPose(pattern, elapsed, seconds));
        session.Write(packet);
        if (frame % kFramesPerStatus == 0) {
            session.PumpLog();
            console.Status(StatusText(session, packet, elapsed, seconds));
        }
    }
}

int RunTest(const TestOptions& options)
{
    const TestPattern pattern = TestPatternNamed(options.pattern);
    CatchStopSignals();
    Console console;
    long frames = 0;
    const bool completed = RunParkedSession(console, options.session, [&](CliSession& session) {
        char moving[128];
        std::snprintf(moving, sizeof moving, "moving: pattern %s for %.1f s (Ctrl-C returns to origin and stops)",
                      options.pattern.c_str(), options.seconds);
        console.Line(moving);
        const bool ranToEnd = RunMotion(session, console, pattern, options.seconds);
        frames = session.FramesSent();
        return ranToEnd;
    });
    std::printf("%s: %ld frames sent; returned to origin (parked) and closed the session\n",
                completed ? "test done" : "interrupted", frames);
    return kExitSuccess;
}

}  // namespace

void AddTestCommand(CLI::App& app, Action& run)
{
    CLI::App* command = app.add_subcommand(
        "test", "Connect to the device (USB first, else a discovery broadcast on the local network), run a gentle "
                "test motion, return to origin and close");
    auto options = std::make_shared<TestOptions>();
    command->add_option("--pattern", options->pattern, "Test motion: park (hold still), sine or sweep")
        ->check(CLI::IsMember(TestPatternNames()))
        ->default_val(options->pattern);
    command->add_option("--seconds", options->seconds, "Length of the test motion")
        ->check(CLI::Range(kMinSeconds, kMaxSeconds))
        ->default_val(kDefaultSeconds);
    AddSessionOptions(*command, options->session);
    command->callback([&run, options] { run = [options] { return RunTest(*options); }; });
}

}  // namespace zepta_cli
