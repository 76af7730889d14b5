// The subcommands of `zepta`. Each Add*Command registers one subcommand with
// its options; when the command line selects it, its parse callback stores in
// run the work to do, which returns the program's exit code.
#ifndef ZEPTA_CLI_COMMANDS_H
#define ZEPTA_CLI_COMMANDS_H

#include <CLI/CLI.hpp>

#include <functional>

#include "cli_session.h"

namespace zepta_cli {

using Action = std::function<int()>;

// --serial and --quiet, for the commands that open a session.
void AddSessionOptions(CLI::App& command, SessionOptions& options);

void AddPortsCommand(CLI::App& app, Action& run);
void AddDiscoverCommand(CLI::App& app, Action& run);
void AddTestCommand(CLI::App& app, Action& run);
void AddPlayCommand(CLI::App& app, Action& run);
void AddPlotCommand(CLI::App& app, Action& run);
void AddEmulateCommand(CLI::App& app, Action& run);
void AddRideCommand(CLI::App& app, Action& run);

}  // namespace zepta_cli

#endif
