#include "common/emulator_main.h"

#include <pthread.h>

#include <iostream>
#include <string>

namespace zepta_tools {

void PrepareCommandLine(CLI::App& app)
{
    app.set_help_flag("--help", "Show this text and exit");
    app.option_defaults()->multi_option_policy(CLI::MultiOptionPolicy::TakeLast);
}

std::optional<int> ParseCommandLine(CLI::App& app, int argc, char** argv)
{
    try {
        app.parse(argc, argv);
    } catch (const CLI::Success& help) {
        return app.exit(help);
    } catch (const CLI::ParseError& error) {
        std::cerr << app.get_name() << ": " << error.what() << " (see " << app.get_name() << " --help)\n";
        return kExitUsage;
    }
    return std::nullopt;
}

sigset_t BlockStopSignals()
{
    sigset_t stopSignals;
    sigemptyset(&stopSignals);
    sigaddset(&stopSignals, SIGINT);
    sigaddset(&stopSignals, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &stopSignals, nullptr);
    return stopSignals;
}

}  // namespace zepta_tools
