// zepta ride: moves the rig with a game. At the output rate the game's
// telemetry datagrams that have arrived are decoded, then one washout step
// and one safety step turn the latest sample into a pose, and the rig writer
// into a packet for the session. A stop (Ctrl-C, SIGTERM, the end of --seconds or
// of a replay) eases the rig to neutral before it parks at its origin.
#include <cmath>
#include <cstdio>
#include <fstream>
#include <limits>
#include <memory>
#include <optional>
#include <sstream>
#include <string>
#include <thread>

#include "cli_errors.h"
#include "cli_session.h"
#include "commands.h"
#include "datagram_log.h"
#include "ride_status.h"
#include "ride_stream.h"
#include "ride_trace.h"
#include "stop_signal.h"
#include "zepta/ride/profile.hpp"
#include "zepta/ride/rig_writer.hpp"
#include "zepta/ride/safety_stage.hpp"
#include "zepta/ride/washout_filter.hpp"

namespace zepta_cli {

namespace {

using zepta_ride::TelemetryFormat;

const char kAutoFormat[] = "auto";
// The ports the games send to unless told otherwise: codemasters and f1,
// forza, beamng and outsim, xplane.
const std::vector<std::uint16_t> kDefaultPorts = {20777, 5300, 4444, 49001};
constexpr double kMinRate = 10.0;
constexpr double kMaxRate = 1000.0;
constexpr double kMaxSeconds = 1e6;
constexpr auto kStatusInterval = std::chrono::milliseconds(250);

// CliSession leaves the session in its default axis mode, which derives
// the actuators from the pose in base coordinates as the rig writer needs.
static_assert(zepta_ride::RigWriter::kAxisMode == ZEPTA_AXIS_BASE, "the session's default axis mode");

struct RideOptions {
    std::string format = kAutoFormat;
    std::vector<int> ports;
    std::string profile;
    bool printProfile = false;
    std::optional<double> rate;
    std::string trace;
    std::string record;
    std::string replay;
    bool dryRun = false;
    std::optional<double> seconds;
    SessionOptions session;
};

std::vector<std::string> FormatChoices()
{
    std::vector<std::string> names{kAutoFormat};
    for (TelemetryFormat format : {TelemetryFormat::Codemasters, TelemetryFormat::Forza, TelemetryFormat::BeamNG,
                                   TelemetryFormat::OutSim, TelemetryFormat::XPlane, TelemetryFormat::F1}) {
        names.push_back(zepta_ride::FormatName(format));
    }
    return names;
}

zepta_ride::Profile LoadProfile(const RideOptions& options)
{
    zepta_ride::Profile profile = zepta_ride::DefaultProfile();
    if (!options.profile.empty()) {
        std::ifstream in(options.profile);
        if (!in) throw UsageError("cannot read the profile " + options.profile);
        std::ostringstream text;
        text << in.rdbuf();
        try {
            profile = zepta_ride::ParseProfile(text.str());
        } catch (const zepta_ride::ProfileError& error) {
            throw UsageError(options.profile + ": " + error.what());
        }
    }
    if (options.rate) profile.rateHz = *options.rate;
    try {
        zepta_ride::ValidateProfile(profile);
    } catch (const zepta_ride::ProfileError& error) {
        throw UsageError(error.what());
    }
    return profile;
}

std::optional<TelemetryFormat> OnlyFormat(const std::string& name)
{
    TelemetryFormat format{};
    if (name == kAutoFormat || !zepta_ride::ParseFormatName(name, format)) return std::nullopt;
    return format;
}

// The cueing, the safety stage and the rig writer, built from one profile.
struct Pipeline {
    explicit Pipeline(const zepta_ride::Profile& profile)
        : washout(profile.cueing, profile.rateHz),
          safety(profile.safety, profile.rateHz),
          writer(profile.output),
          staleSeconds(profile.safety.staleSeconds)
    {
    }

    zepta_ride::RigPose Step(const StreamSnapshot& stream, RideClock::time_point now)
    {
        const double age = stream.hasSample ? std::chrono::duration<double>(now - stream.sampleAt).count()
                                            : std::numeric_limits<double>::infinity();
        // A lost stream lets the cueing come to rest, so that a stream that
        // returns starts from rest rather than from a stale state.
        if (age > staleSeconds) washout.Reset();
        return safety.Step(washout.Step(stream.sample), age, stream.sample.live);
    }

    zepta_ride::WashoutFilter washout;
    zepta_ride::SafetyStage safety;
    zepta_ride::RigWriter writer;
    double staleSeconds;
};

// Everything one ride needs besides the session, made before anything opens
// so that a bad file or profile costs nothing.
struct RideSetup {
    explicit RideSetup(const RideOptions& options) : profile(LoadProfile(options)), pipeline(profile)
    {
        if (!options.replay.empty()) replay = ReadDatagramLog(options.replay);
        if (!options.trace.empty()) trace = std::make_unique<RideTraceWriter>(options.trace);
        if (!options.record.empty()) record = std::make_unique<DatagramLogWriter>(options.record);
    }

    zepta_ride::Profile profile;
    Pipeline pipeline;
    std::optional<DatagramLog> replay;
    std::unique_ptr<RideTraceWriter> trace;
    std::unique_ptr<DatagramLogWriter> record;
};

class Ride {
public:
    Ride(RideSetup& setup, const RideOptions& options, Console& console, CliSession* session)
        : setup(setup), options(options), console(console), session(session)
    {
    }

    // Runs frames until the safety stage has eased to neutral after a stop.
    void Run(LatestSample& stream, DatagramSource& source)
    {
        const double period = 1.0 / setup.profile.rateHz;
        _korve_data_packet packet = CliSession::NeutralPacket();
        zepta_ride::SafetyStage& safety = setup.pipeline.safety;
        for (long frame = 0; !safety.Stopped(); ++frame) {
            const double time = static_cast<double>(frame) * period;
            std::this_thread::sleep_until(start + std::chrono::duration_cast<RideClock::duration>(
                                                      std::chrono::duration<double>(time)));
            if (StopDue(time, source)) safety.RequestStop();
            const RideClock::time_point now = RideClock::now();
            source.TakeArrived(now);
            const StreamSnapshot& snapshot = stream.Snapshot();
            const zepta_ride::RigPose pose = setup.pipeline.Step(snapshot, now);
            setup.pipeline.writer.Fill(pose, packet);
            if (session != nullptr) Send(packet);
            if (setup.trace) setup.trace->Add(time, snapshot.sample, pose, safety.State());
            if (!options.session.quiet && now - lastStatus >= kStatusInterval) {
                lastStatus = now;
                console.Status(status.Text(snapshot, now, safety.State(), pose));
            }
            ++frames;
        }
        console.EndStatus();
    }

    RideClock::time_point Start() const { return start; }
    long Frames() const { return frames; }
    bool Interrupted() const { return interrupted; }

private:
    bool StopDue(double time, const DatagramSource& source)
    {
        if (StopRequested()) interrupted = true;
        return interrupted || (options.seconds && time >= *options.seconds) ||
               source.Finished();
    }

    void Send(const _korve_data_packet& packet)
    {
        if (session->Ended()) throw session->Trouble("the session ended during the ride");
        session->Write(packet);
        session->PumpLog();
    }

    RideSetup& setup;
    const RideOptions& options;
    Console& console;
    CliSession* session;
    RideStatus status;
    const RideClock::time_point start = RideClock::now();
    RideClock::time_point lastStatus{};
    long frames = 0;
    bool interrupted = false;
};

std::vector<std::uint16_t> Ports(const RideOptions& options)
{
    if (options.ports.empty()) return kDefaultPorts;
    return std::vector<std::uint16_t>(options.ports.begin(), options.ports.end());
}

std::string PortList(const std::vector<std::uint16_t>& ports)
{
    std::string text;
    for (const std::uint16_t port : ports) text += (text.empty() ? "" : ", ") + std::to_string(port);
    return text;
}

void RunFrames(RideSetup& setup, const RideOptions& options, Console& console, CliSession* session)
{
    Ride ride(setup, options, console, session);
    const double startSeconds = std::chrono::duration<double>(ride.Start().time_since_epoch()).count();
    char started[128];
    std::snprintf(started, sizeof started, "ride started at CLOCK_MONOTONIC %.6f s, %g frames/s%s", startSeconds,
                  setup.profile.rateHz, session == nullptr ? " (dry run: no session)" : "");
    console.Line(started);
    LatestSample stream(OnlyFormat(options.format), setup.record.get(), ride.Start());
    if (setup.replay) {
        DatagramReplayer replayer(*setup.replay, stream, ride.Start());
        console.Line("replaying " + std::to_string(setup.replay->datagrams.size()) + " datagrams from " +
                     options.replay);
        ride.Run(stream, replayer);
    } else {
        const std::vector<std::uint16_t> ports = Ports(options);
        UdpReceiver receiver(ports, stream);
        console.Line("listening for game telemetry on UDP port(s) " + PortList(ports));
        ride.Run(stream, receiver);
    }
    const StreamSnapshot& last = stream.Snapshot();
    std::printf("%s: %ld frames, %llu datagrams received, %llu decoded; eased to neutral\n",
                ride.Interrupted() ? "interrupted" : "ride done", ride.Frames(),
                static_cast<unsigned long long>(last.received), static_cast<unsigned long long>(last.decoded));
}

int RunRide(const RideOptions& options)
{
    if (options.printProfile) {
        std::printf("%s\n", zepta_ride::ProfileToJson(LoadProfile(options)).c_str());
        return kExitSuccess;
    }
    RideSetup setup(options);
    CatchStopSignals();
    Console console;
    if (options.dryRun) {
        RunFrames(setup, options, console, nullptr);
        return kExitSuccess;
    }
    CliSession session(console, options.session);
    session.Connect();
    RunFrames(setup, options, console, &session);
    session.ParkAndClose();
    std::printf("returned to origin (parked) and closed the session\n");
    return kExitSuccess;
}

}  // namespace

void AddRideCommand(CLI::App& app, Action& run)
{
    CLI::App* command = app.add_subcommand(
        "ride", "Move the rig with a game: decode its UDP telemetry, cue the motion, and send it through a "
                "session with a safety stage that eases in, holds, eases out and parks");
    auto options = std::make_shared<RideOptions>();
    command->add_option("--format", options->format, "Telemetry format (auto: recognised per datagram)")
        ->check(CLI::IsMember(FormatChoices()))
        ->default_val(options->format);
    command->add_option("--port", options->ports, "UDP port to receive on, repeatable (default: 20777, 5300, "
                                                  "4444 and 49001)")
        ->check(CLI::Range(1, 65535));
    command->add_option("--profile", options->profile, "Cueing, safety and output settings (JSON)");
    command->add_flag("--print-profile", options->printProfile, "Write the profile as JSON and exit");
    command->add_option("--rate", options->rate, "Output frames per second (default: the profile's)")
        ->check(CLI::Range(kMinRate, kMaxRate));
    command->add_option("--trace", options->trace, "Write every output frame to this CSV file");
    command->add_option("--record", options->record, "Keep every received datagram in this file");
    command->add_option("--replay", options->replay, "Feed the datagrams of a --record file instead of receiving")
        ->excludes("--port");
    command->add_flag("--dry-run", options->dryRun, "Run everything but the session (no device needed)");
    command->add_option("--seconds", options->seconds, "Ride this long, then ease to neutral and park")
        ->check(CLI::Range(0.0, kMaxSeconds));
    AddSessionOptions(*command, options->session);
    command->callback([&run, options] { run = [options] { return RunRide(*options); }; });
}

}  // namespace zepta_cli
