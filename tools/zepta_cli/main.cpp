// zepta: finds, identifies and exercises motion devices through libzepta.
//
//   zepta ports | discover | test | play | plot | emulate | ride   (zepta --help)
//
// Exit codes: 0 success, 1 device trouble, 2 usage error. Errors are one line
// on stderr.
#include <CLI/CLI.hpp>

#include <exception>
#include <iostream>

#include "cli_errors.h"
#include "commands.h"

namespace {

const char kProgram[] = "zepta";
const char kDescription[] =
    "Finds, identifies and exercises motion devices through libzepta: is the device there, what is it, "
    "does it move, and what did the game send it?";

int ReportError(const std::string& message, int exitCode)
{
    std::cerr << kProgram << ": " << message << "\n";
    return exitCode;
}

}  // namespace

int main(int argc, char** argv)
{
    using namespace zepta_cli;
    CLI::App app(kDescription, kProgram);
    app.require_subcommand(1);
    Action run;
    AddPortsCommand(app, run);
    AddDiscoverCommand(app, run);
    AddTestCommand(app, run);
    AddPlayCommand(app, run);
    AddPlotCommand(app, run);
    AddEmulateCommand(app, run);
    AddRideCommand(app, run);
    try {
        app.parse(argc, argv);
    } catch (const CLI::Success& help) {
        return app.exit(help);
    } catch (const CLI::ParseError& error) {
        return ReportError(std::string(error.what()) + " (see " + kProgram + " --help)", kExitUsage);
    }
    try {
        return run();
    } catch (const UsageError& error) {
        return ReportError(error.what(), kExitUsage);
    } catch (const std::exception& error) {
        return ReportError(error.what(), kExitTrouble);
    }
}
