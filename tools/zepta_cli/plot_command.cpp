// zepta plot: draws a trace of `zepta play` with the demo's gnuplot script:
// the requested pose above, the actuator positions below.
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "cli_errors.h"
#include "commands.h"
#include "ride_plot.h"
#include "trace_writer.h"

extern char** environ;

namespace zepta_cli {

namespace {

const char kGnuplot[] = "gnuplot";
const char kTitle[] = "Requested pose and converted actuator positions";
const char kAxisLabel[] = "converted position (0..1)";

struct PlotOptions {
    std::string trace;
    std::string output;
    std::string wire;
    std::optional<double> rideStart;
};

// A gnuplot string literal: single quotes, with a quote written twice.
std::string Quoted(const std::string& text)
{
    std::string quoted = "'";
    for (const char c : text) quoted += c == '\'' ? std::string("''") : std::string(1, c);
    return quoted + "'";
}

void CheckTrace(const std::string& path)
{
    std::ifstream in(path);
    std::string header;
    std::string row;
    if (!in || !std::getline(in, header)) throw UsageError("cannot read " + path);
    if (!header.empty() && header.back() == '\r') header.pop_back();
    if (header != kTraceHeader) throw UsageError(path + " is not a trace of zepta play --trace (its header differs)");
    if (!std::getline(in, row)) throw UsageError(path + " holds no frames");
}

// Runs gnuplot without a shell, so that no file name is ever interpreted.
int RunGnuplot(const std::vector<std::string>& arguments)
{
    std::vector<char*> argv;
    for (const std::string& argument : arguments) argv.push_back(const_cast<char*>(argument.c_str()));
    argv.push_back(nullptr);
    pid_t child = 0;
    const int error = posix_spawnp(&child, kGnuplot, nullptr, nullptr, argv.data(), environ);
    if (error != 0) {
        throw DeviceTrouble(std::string("cannot run gnuplot (install gnuplot-nox): ") + std::strerror(error));
    }
    int status = 0;
    while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

int RunPlot(const PlotOptions& options)
{
    const bool ride = IsRideTrace(options.trace);
    if (!ride) CheckTrace(options.trace);
    std::remove(options.output.c_str());
    const std::string variables =
        ride ? RidePlotVariables(options.trace, options.output, options.wire, options.rideStart)
             : "pose=" + Quoted(options.trace) + "; wire=pose; axis_column=" + std::to_string(TraceFirstAxisColumn()) +
                   "; out=" + Quoted(options.output) + "; title=" + Quoted(kTitle) + "; axis_label=" + Quoted(kAxisLabel);
    const int status = RunGnuplot({kGnuplot, "-e", variables, ride ? ZEPTA_RIDE_PLOT_SCRIPT : ZEPTA_PLOT_SCRIPT});
    if (status != 0) throw DeviceTrouble("gnuplot failed (exit status " + std::to_string(status) + ")");
    if (access(options.output.c_str(), R_OK) != 0) throw DeviceTrouble("gnuplot wrote no " + options.output);
    std::printf("plotted %s to %s\n", options.trace.c_str(), options.output.c_str());
    return kExitSuccess;
}

}  // namespace

void AddPlotCommand(CLI::App& app, Action& run)
{
    CLI::App* command = app.add_subcommand(
        "plot", "Plot a trace of zepta play (requested pose against the actuator positions) or of zepta ride "
                "(telemetry, cues and, with --wire, actuator positions) as PNG, with gnuplot");
    auto options = std::make_shared<PlotOptions>();
    command->add_option("trace", options->trace, "The trace, written by zepta play --trace or zepta ride --trace")->required();
    command->add_option("-o,--output", options->output, "The PNG file to write")->required();
    command->add_option("--wire", options->wire, "With a trace of zepta ride: a device emulator's position record");
    command->add_option("--ride-start", options->rideStart, "The CLOCK_MONOTONIC time zepta ride printed at its start");
    command->callback([&run, options] { run = [options] { return RunPlot(*options); }; });
}

}  // namespace zepta_cli
