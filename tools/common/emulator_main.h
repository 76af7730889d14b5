// What the emulator programs share around their work: a command line parsed
// with CLI11 the same way in each (--help only, a repeated option keeps its
// last value, a usage error is one line on stderr and exit code 2), and the
// stop signals they run until.
#ifndef ZEPTA_TOOLS_EMULATOR_MAIN_H
#define ZEPTA_TOOLS_EMULATOR_MAIN_H

#include <signal.h>

#include <CLI/CLI.hpp>

#include <optional>

namespace zepta_tools {

constexpr int kExitTrouble = 1;
constexpr int kExitUsage = 2;

// An application with the shared conventions; options are added by the caller.
void PrepareCommandLine(CLI::App& app);

// Parses the arguments into app's options. The exit code when the program
// ends here: 0 after printing the help, kExitUsage after a usage error.
std::optional<int> ParseCommandLine(CLI::App& app, int argc, char** argv);

// Blocks SIGINT and SIGTERM in this thread, before it starts others (which
// inherit the mask), so that only a sigwait on the returned set takes them.
sigset_t BlockStopSignals();

}  // namespace zepta_tools

#endif
