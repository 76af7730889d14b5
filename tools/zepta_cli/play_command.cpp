// zepta play: replays a recorded motion through a session at its timestamps,
// with a progress bar, and traces every frame the session sent.
//
// Frames go out in step with the session: each packet is handed over once the
// previous one has been sent (the update callback counts the frames), so each
// trace row is exactly one frame. When the device takes frames more slowly
// than the recording asks, samples whose time has passed are skipped, as a
// game's frames would be.
#include <cmath>
#include <cstdio>
#include <fstream>
#include <memory>
#include <optional>
#include <string>
#include <thread>

#include "cli_errors.h"
#include "cli_session.h"
#include "commands.h"
#include "motion/frame_converter.h"
#include "motion_recording.h"
#include "stop_signal.h"
#include "trace_writer.h"

namespace zepta_cli {

namespace {

constexpr double kMinRate = 1.0;
constexpr double kMaxRate = 1000.0;
constexpr int kBarWidth = 30;
constexpr auto kStatusInterval = std::chrono::milliseconds(100);
constexpr auto kFrameTimeout = std::chrono::seconds(3);
constexpr auto kPollInterval = std::chrono::milliseconds(20);

struct PlayOptions {
    std::string file;
    std::optional<double> rate;
    std::string trace;
    SessionOptions session;
};

// The frame times: every sample's own, or a fixed rate over the recording.
class Schedule {
public:
    Schedule(const MotionRecording& played, std::optional<double> frameRate) : recording(played), rate(frameRate) {}

    std::size_t Count() const
    {
        if (!rate) return recording.samples.size();
        return static_cast<std::size_t>(std::floor(recording.Duration() * *rate)) + 1;
    }
    double Time(std::size_t frame) const
    {
        return rate ? static_cast<double>(frame) / *rate : recording.samples[frame].time;
    }
    Pose PoseOf(std::size_t frame) const
    {
        return rate ? recording.PoseAt(Time(frame)) : recording.samples[frame].pose;
    }
    // The latest frame due at elapsed, but never before next.
    std::size_t Due(std::size_t next, double elapsed) const
    {
        while (next + 1 < Count() && Time(next + 1) <= elapsed) ++next;
        return next;
    }

private:
    const MotionRecording& recording;
    std::optional<double> rate;
};

MotionRecording LoadRecording(const std::string& path)
{
    std::ifstream in(path);
    if (!in) throw UsageError("cannot read " + path);
    return ReadMotionRecording(in, path);
}

std::string ProgressText(CliSession& session, double elapsed, double duration, long skipped)
{
    const double share = duration > 0.0 ? std::min(elapsed / duration, 1.0) : 1.0;
    const int filled = static_cast<int>(share * kBarWidth);
    char text[256];
    std::snprintf(text, sizeof text, "[%s%s] %3.0f%% %.1f/%.1f s ETA %.1f s | state %d | %.0f frames/s | %ld skipped",
                  std::string(static_cast<std::size_t>(filled), '#').c_str(),
                  std::string(static_cast<std::size_t>(kBarWidth - filled), '-').c_str(), share * 100.0, elapsed,
                  duration, std::max(duration - elapsed, 0.0), session.State(), session.FramesPerSecond(), skipped);
    return text;
}

class Player {
public:
    Player(const MotionRecording& recording, std::optional<double> rate, std::unique_ptr<TraceWriter> frameTrace,
           Console& out, CliSession& connected)
        : schedule(recording, rate),
          duration(recording.Duration()),
          console(out),
          session(connected),
          converter(connected.DeviceKind()),
          trace(std::move(frameTrace))
    {
        // The session converted the neutral packet while it connected.
        _korve_data_packet neutral = CliSession::NeutralPacket();
        Convert(neutral);
    }

    // Plays to the end or until a stop signal; false when stopped.
    bool Run()
    {
        start = std::chrono::steady_clock::now();
        for (std::size_t frame = 0; frame < schedule.Count(); ++frame) {
            if (!WaitUntil(schedule.Time(frame))) return false;
            const std::size_t due = schedule.Due(frame, Elapsed());
            skipped += static_cast<long>(due - frame);
            frame = due;
            SendFrame(schedule.PoseOf(frame));
        }
        ShowProgress();
        return true;
    }

    long Frames() const { return frames; }
    long Skipped() const { return skipped; }

private:
    double Elapsed() const
    {
        return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    }

    // Sleeps until the frame time, keeping the log and the progress bar
    // moving; false on a stop signal.
    bool WaitUntil(double time)
    {
        for (;;) {
            if (StopRequested()) return false;
            const auto now = std::chrono::steady_clock::now();
            if (now - lastStatus >= kStatusInterval) ShowProgress();
            const auto due = start + std::chrono::duration_cast<std::chrono::steady_clock::duration>(
                                          std::chrono::duration<double>(time));
            if (now >= due) return true;
            std::this_thread::sleep_until(std::min(due, now + kPollInterval));
        }
    }

    void SendFrame(const Pose& pose)
    {
        _korve_data_packet packet = CliSession::NeutralPacket();
        packet.roll = pose[0];
        packet.pitch = pose[1];
        packet.yaw = pose[2];
        packet.heave = pose[3];
        packet.sway = pose[4];
        packet.surge = pose[5];
        const long before = session.FramesSent();
        const auto handedOver = std::chrono::steady_clock::now();
        session.Write(packet);
        if (!session.WaitForFramesAbove(before, kFrameTimeout)) {
            throw session.Trouble(session.Ended() ? "the session ended during the replay"
                                                    : "the device stopped taking frames");
        }
        ++frames;
        _korve_data_packet converted = packet;
        Convert(converted);
        if (trace) trace->Add(handedOver, packet, converted);
    }

    void Convert(_korve_data_packet& packet)
    {
        // The session resets its speed derivation while the device calibrates.
        converter.Convert(packet, ZEPTA_AXIS_BASE, ZEPTA_SPEED_DEFAULT, session.Calibrating());
    }

    void ShowProgress()
    {
        lastStatus = std::chrono::steady_clock::now();
        session.PumpLog();
        console.Status(ProgressText(session, std::min(Elapsed(), duration), duration, skipped));
    }

    Schedule schedule;
    double duration;
    Console& console;
    CliSession& session;
    ZEPTASDK::FrameConverter converter;
    std::unique_ptr<TraceWriter> trace;
    std::chrono::steady_clock::time_point start;
    std::chrono::steady_clock::time_point lastStatus{};
    long frames = 0;
    long skipped = 0;
};

int RunPlay(const PlayOptions& options)
{
    const MotionRecording recording = LoadRecording(options.file);
    // Created before the session opens, so that a bad path costs no search.
    std::unique_ptr<TraceWriter> trace;
    if (!options.trace.empty()) trace = std::make_unique<TraceWriter>(options.trace);
    CatchStopSignals();
    Console console;
    if (!recording.ignoredColumns.empty()) {
        std::string names;
        for (const std::string& name : recording.ignoredColumns) names += (names.empty() ? "" : ", ") + name;
        console.Line("ignoring columns: " + names);
    }
    long frames = 0;
    long skipped = 0;
    const bool completed = RunParkedSession(console, options.session, [&](CliSession& session) {
        Player player(recording, options.rate, std::move(trace), console, session);
        const bool ranToEnd = player.Run();
        frames = player.Frames();
        skipped = player.Skipped();
        return ranToEnd;
    });
    std::printf("%s: %ld frames sent, %ld samples skipped%s; returned to origin (parked) and closed the session\n",
                completed ? "replay done" : "interrupted", frames, skipped,
                options.trace.empty() ? "" : ("; trace in " + options.trace).c_str());
    return kExitSuccess;
}

}  // namespace

void AddPlayCommand(CLI::App& app, Action& run)
{
    CLI::App* command = app.add_subcommand(
        "play", "Replay a recorded motion (CSV: time,roll,pitch,yaw,heave,sway,surge) through a session (USB "
                "first, else a discovery broadcast on the local network)");
    auto options = std::make_shared<PlayOptions>();
    command->add_option("file", options->file, "The recording, a CSV file with a header line")->required();
    command->add_option("--rate", options->rate, "Frames per second, interpolated between samples "
                                                 "(default: one frame per sample, at its time)")
        ->check(CLI::Range(kMinRate, kMaxRate));
    command->add_option("--trace", options->trace, "Write every frame sent to this CSV file");
    AddSessionOptions(*command, options->session);
    command->callback([&run, options] { run = [options] { return RunPlay(*options); }; });
}

}  // namespace zepta_cli
