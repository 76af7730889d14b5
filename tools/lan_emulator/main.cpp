// zepta-lan-emulator: one emulated motion device on the LAN for application
// developers without hardware. It answers the library's discovery, prints
// every datagram it receives (one line each) and acknowledges the updates.
#include <signal.h>

#include <chrono>
#include <climits>
#include <cstdio>
#include <exception>
#include <iostream>
#include <memory>
#include <optional>
#include <string>

#include "common/emulator_main.h"
#include "common/position_record.h"
#include "lan_device_emulator.h"

namespace {

const char kProgram[] = "zepta-lan-emulator";
const char kDescription[] =
    "Emulates one motion device on the LAN: answers discovery pings, prints every\n"
    "datagram it receives, one line each, and acknowledges every update.\n"
    "It answers broadcast pings only inside the sandbox: run it through\n"
    "scripts/sandbox.sh, together with the application under test.";
const char kFooter[] = "Runs until interrupted (Ctrl-C or SIGTERM).";

struct CommandLine {
    zepta_tools::LanDeviceOptions device;
    std::string record;
    // The first --ack replaces the default acknowledgement, later ones add to
    // it; --silent drops every acknowledgement given before it.
    bool acksGiven = false;
};

void AddAck(CommandLine& line, const std::string& reply)
{
    if (!line.acksGiven) line.device.ack.replies.clear();
    line.acksGiven = true;
    line.device.ack.replies.push_back(reply);
}

void Silence(CommandLine& line)
{
    line.acksGiven = true;
    line.device.ack.replies.clear();
}

void AddOptions(CLI::App& app, CommandLine& line)
{
    zepta_tools::LanDeviceOptions& device = line.device;
    const CLI::Range count(0, INT_MAX);
    app.add_option("--model", device.model, "Model name in the discovery reply (default KORVE6DOF)")
        ->type_name("NAME");
    app.add_option("--serial", device.serial, "Serial number in the discovery reply (default EMU00001)");
    app.add_option("--address", device.address, "Own address for replies and updates (default 127.0.0.2)")
        ->type_name("A.B.C.D");
    // --ack and --silent act in the order given.
    app.add_option_function<std::string>("--ack", [&line](const std::string& reply) { AddAck(line, reply); },
                                         "Acknowledgement sent for each update; give it several times to send "
                                         "several datagrams (default ACK)")
        ->trigger_on_parse();
    app.add_flag_function("--silent", [&line](std::int64_t) { Silence(line); }, "Send no acknowledgements")
        ->trigger_on_parse();
    app.add_option("--silent-after", device.ack.answeredUpdates, "Acknowledge only the first N updates")
        ->check(count)
        ->type_name("N");
    app.add_option("--flood", device.ack.repetitions, "Send the acknowledgements N times per update")
        ->check(count)
        ->type_name("N");
    app.add_option_function<int>("--delay-ms", [&device](int ms) { device.ack.delay = std::chrono::milliseconds(ms); },
                                 "Wait N ms before acknowledging")
        ->check(count)
        ->type_name("N");
    app.add_flag_function("--other-port", [&device](std::int64_t) {
        device.ack.fromOtherPort = true;
        device.discovery.fromOtherPort = true;
    }, "Send every reply from a second port");
    app.add_option_function<std::string>("--discovery-reply", [&device](const std::string& reply) {
        device.discovery.reply = reply;
    }, "Answer pings with TEXT instead of MODEL-SERIAL");
    app.add_flag_function("--no-discovery", [&device](std::int64_t) { device.discovery.answer = false; },
                          "Do not answer pings");
    app.add_option("--record", line.record,
                   "Append each update's positions, decoded to 0..1, to FILE as CSV: time,command,axis1..axis6")
        ->type_name("FILE");
}

const char* RecordCommandName(const zepta_tools::ReceivedDatagram& datagram)
{
    return datagram.kind == zepta_tools::ReceivedDatagram::Kind::Binary ? "binary" : "json";
}

void PrintDatagram(std::chrono::steady_clock::time_point start, const zepta_tools::ReceivedDatagram& datagram)
{
    const std::chrono::duration<double> since = datagram.time - start;
    std::printf("[%10.3f] %s\n", since.count(), zepta_tools::DescribeDatagram(datagram).c_str());
    std::fflush(stdout);
}

// Runs the device, printing and recording what it receives, until a stop signal.
void Serve(const CommandLine& line, const sigset_t& stopSignals)
{
    const auto start = std::chrono::steady_clock::now();
    std::unique_ptr<zepta_tools::PositionRecord> record;
    if (!line.record.empty()) record = std::make_unique<zepta_tools::PositionRecord>(line.record);
    zepta_tools::LanDeviceEmulator emulator(line.device, [start, &record](const zepta_tools::ReceivedDatagram& datagram) {
        PrintDatagram(start, datagram);
        const std::vector<double> axes = zepta_tools::DecodePositions(datagram);
        if (record && !axes.empty()) record->Add(datagram.time, RecordCommandName(datagram), axes);
    });
    std::printf("%s: %s-%s listening at %s\n", kProgram, line.device.model.c_str(), line.device.serial.c_str(),
                line.device.address.c_str());
    std::fflush(stdout);
    int received = 0;
    sigwait(&stopSignals, &received);
}

}  // namespace

int main(int argc, char** argv)
{
    CommandLine line;
    CLI::App app(kDescription, kProgram);
    zepta_tools::PrepareCommandLine(app);
    app.footer(kFooter);
    AddOptions(app, line);
    if (const std::optional<int> exitCode = zepta_tools::ParseCommandLine(app, argc, argv)) return *exitCode;
    // Blocked before the emulator's thread starts, so that only sigwait sees them.
    const sigset_t stopSignals = zepta_tools::BlockStopSignals();
    try {
        Serve(line, stopSignals);
    } catch (const std::exception& error) {
        std::cerr << kProgram << ": " << error.what() << "\n";
        return zepta_tools::kExitTrouble;
    }
    return 0;
}
