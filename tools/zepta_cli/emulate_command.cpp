// zepta emulate usb|lan|game [OPTION]...: starts the USB or the LAN device
// emulator, or the game emulator, with the options given, which it takes as its own (including
// --help). The emulator replaces this program, so Ctrl-C and the exit
// status are its own.
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "cli_errors.h"
#include "commands.h"

namespace zepta_cli {

namespace {

struct Emulator {
    const char* transport;
    const char* program;
    const char* builtPath;
    const char* description;
};

const Emulator kEmulators[] = {
    {"usb", "zepta-usb-emulator", ZEPTA_USB_EMULATOR_PATH,
     "Start the USB device emulator (options: zepta emulate usb --help)"},
    {"lan", "zepta-lan-emulator", ZEPTA_LAN_EMULATOR_PATH,
     "Start the LAN device emulator; it answers pings only inside the test sandbox (zepta emulate lan --help)"},
    {"game", "zepta-game-emulator", ZEPTA_GAME_EMULATOR_PATH,
     "Send an emulated racing game's telemetry to 127.0.0.1 (zepta emulate game --help)"},
};

// The emulator built next to this program, else the one on the PATH.
int RunEmulator(const Emulator& emulator, const std::vector<std::string>& options)
{
    std::vector<char*> argv{const_cast<char*>(emulator.program)};
    for (const std::string& option : options) argv.push_back(const_cast<char*>(option.c_str()));
    argv.push_back(nullptr);
    if (access(emulator.builtPath, X_OK) == 0) execv(emulator.builtPath, argv.data());
    execvp(emulator.program, argv.data());
    throw DeviceTrouble(std::string("cannot start ") + emulator.program + ": " + std::strerror(errno));
}

}  // namespace

void AddEmulateCommand(CLI::App& app, Action& run)
{
    CLI::App* command = app.add_subcommand("emulate", "Start a device or game emulator: zepta emulate usb|lan|game [OPTION]...");
    command->require_subcommand(1);
    for (const Emulator& emulator : kEmulators) {
        CLI::App* transport = command->add_subcommand(emulator.transport, emulator.description);
        // Everything after the transport, --help included, is the emulator's.
        transport->set_help_flag();
        transport->prefix_command();
        transport->callback([&run, &emulator, transport] {
            run = [&emulator, options = transport->remaining()] { return RunEmulator(emulator, options); };
        });
    }
}

}  // namespace zepta_cli
