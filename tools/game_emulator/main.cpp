// zepta-game-emulator: a racing game in software, for trying `zepta ride`
// without one. It drives a small vehicle through a scenario and sends its
// motion as telemetry of the chosen format to 127.0.0.1, printing one line a
// second. Stop it with Ctrl-C.
#include <signal.h>

#include <CLI/CLI.hpp>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <exception>
#include <optional>
#include <thread>

#include "common/emulator_main.h"
#include "game_emulator/game_emulator.h"

namespace {

using zepta_ride::TelemetryFormat;
using zepta_tools::Scenario;

const char kProgram[] = "zepta-game-emulator";
constexpr double kDefaultRate = 60.0;
constexpr double kMinRate = 1.0;
constexpr double kMaxRate = 1000.0;
constexpr double kMaxSeconds = 1e6;
constexpr auto kReportInterval = std::chrono::seconds(1);

std::atomic<bool> s_stop{false};

void OnStopSignal(int) { s_stop = true; }

void CatchStopSignals()
{
    struct sigaction action {};
    action.sa_handler = OnStopSignal;
    sigemptyset(&action.sa_mask);
    sigaction(SIGINT, &action, nullptr);
    sigaction(SIGTERM, &action, nullptr);
}

struct Options {
    std::string format;
    int port = 0;
    std::string scenario = "lap";
    double seconds = 0.0;  // 0: until stopped
    double rate = kDefaultRate;
};

std::vector<std::string> FormatNames()
{
    std::vector<std::string> names;
    for (TelemetryFormat format : {TelemetryFormat::Codemasters, TelemetryFormat::Forza, TelemetryFormat::BeamNG,
                                   TelemetryFormat::OutSim, TelemetryFormat::XPlane, TelemetryFormat::F1}) {
        names.push_back(zepta_ride::FormatName(format));
    }
    return names;
}

void Report(const char* format, const char* scenario, const zepta_tools::GameEmulator& game)
{
    const zepta_ride::MotionSample& sample = game.Vehicle().Sample();
    std::printf("%s %s: %llu datagrams sent, speed %.1f m/s%s\n", format, scenario,
                static_cast<unsigned long long>(game.Sent()), sample.speed, sample.live ? "" : " (paused)");
    std::fflush(stdout);
}

int Run(const Options& options)
{
    TelemetryFormat format{};
    Scenario scenario{};
    zepta_ride::ParseFormatName(options.format, format);
    zepta_tools::ParseScenarioName(options.scenario, scenario);
    const auto port = static_cast<std::uint16_t>(options.port != 0 ? options.port : zepta_ride::DefaultPort(format));
    zepta_tools::GameEmulator game(format, scenario, port);
    CatchStopSignals();
    std::printf("sending %s telemetry, scenario %s, to 127.0.0.1:%u at %g Hz\n", options.format.c_str(),
                options.scenario.c_str(), port, options.rate);
    std::fflush(stdout);
    using Clock = std::chrono::steady_clock;
    const double dt = 1.0 / options.rate;
    const Clock::time_point start = Clock::now();
    Clock::time_point nextReport = start + kReportInterval;
    for (long frame = 1; !s_stop; ++frame) {
        const double elapsed = static_cast<double>(frame) * dt;
        if (options.seconds > 0.0 && elapsed > options.seconds) break;
        std::this_thread::sleep_until(start + std::chrono::duration_cast<Clock::duration>(
                                                  std::chrono::duration<double>(elapsed)));
        game.Send(dt);
        if (Clock::now() >= nextReport) {
            nextReport += kReportInterval;
            Report(options.format.c_str(), options.scenario.c_str(), game);
        }
    }
    Report(options.format.c_str(), options.scenario.c_str(), game);
    return 0;
}

}  // namespace

int main(int argc, char** argv)
{
    CLI::App app("Sends the telemetry of an emulated racing game to 127.0.0.1, for trying zepta ride without one",
                 kProgram);
    Options options;
    app.add_option("--format", options.format, "Telemetry format")
        ->required()
        ->check(CLI::IsMember(FormatNames()));
    app.add_option("--port", options.port, "UDP port on 127.0.0.1 (default: the format's usual port)")
        ->check(CLI::Range(1, 65535));
    app.add_option("--scenario", options.scenario, "What the car does")
        ->check(CLI::IsMember(zepta_tools::ScenarioNames()))
        ->default_val(options.scenario);
    app.add_option("--seconds", options.seconds, "How long to send (default: until Ctrl-C)")
        ->check(CLI::Range(0.0, kMaxSeconds));
    app.add_option("--rate", options.rate, "Datagrams per second")
        ->check(CLI::Range(kMinRate, kMaxRate))
        ->default_val(kDefaultRate);
    if (const std::optional<int> exitCode = zepta_tools::ParseCommandLine(app, argc, argv)) return *exitCode;
    try {
        return Run(options);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s: %s\n", kProgram, error.what());
        return zepta_tools::kExitTrouble;
    }
}
