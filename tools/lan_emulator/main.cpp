// zepta-lan-emulator: one emulated motion device on the LAN for application
// developers without hardware. It answers the library's discovery, prints
// every datagram it receives (one line each) and acknowledges the updates.
#include <pthread.h>
#include <signal.h>

#include <chrono>
#include <cstdio>
#include <cstring>
#include <exception>
#include <iostream>
#include <memory>
#include <stdexcept>
#include <string>

#include "common/position_record.h"
#include "lan_device_emulator.h"

namespace {

const char kProgram[] = "zepta-lan-emulator";
const char kUsage[] =
    "Usage: zepta-lan-emulator [OPTION]...\n"
    "Emulates one motion device on the LAN: answers discovery pings, prints every\n"
    "datagram it receives, one line each, and acknowledges every update.\n"
    "It answers broadcast pings only inside the sandbox: run it through\n"
    "scripts/sandbox.sh, together with the application under test.\n"
    "\n"
    "  --model NAME            model name in the discovery reply (default KORVE6DOF)\n"
    "  --serial TEXT           serial number in the discovery reply (default EMU00001)\n"
    "  --address A.B.C.D       own address for replies and updates (default 127.0.0.2)\n"
    "  --ack TEXT              acknowledgement sent for each update; give it several\n"
    "                          times to send several datagrams (default ACK)\n"
    "  --silent                send no acknowledgements\n"
    "  --silent-after N        acknowledge only the first N updates\n"
    "  --flood N               send the acknowledgements N times per update\n"
    "  --delay-ms N            wait N ms before acknowledging\n"
    "  --other-port            send every reply from a second port\n"
    "  --discovery-reply TEXT  answer pings with TEXT instead of MODEL-SERIAL\n"
    "  --no-discovery          do not answer pings\n"
    "  --record FILE           append each update's positions, decoded to 0..1, to\n"
    "                          FILE as CSV: time,command,axis1..axis6\n"
    "  --help                  show this text and exit\n"
    "\n"
    "Runs until interrupted (Ctrl-C or SIGTERM).\n";

int Count(const std::string& option, const std::string& text)
{
    std::size_t used = 0;
    int count = -1;
    try {
        count = std::stoi(text, &used);
    } catch (const std::exception&) {
        used = 0;
    }
    if (used != text.size() || count < 0) throw std::invalid_argument(option + " needs a count, not '" + text + "'");
    return count;
}

// Fills options from the arguments; false when the usage was asked for.
bool ParseArguments(int argc, char** argv, zepta_tools::LanDeviceOptions& options, std::string& record)
{
    bool acksGiven = false;
    for (int i = 1; i < argc; ++i) {
        const std::string option = argv[i];
        const auto value = [&]() -> std::string {
            if (i + 1 >= argc) throw std::invalid_argument(option + " needs a value");
            return argv[++i];
        };
        if (option == "--help") {
            return false;
        } else if (option == "--model") {
            options.model = value();
        } else if (option == "--serial") {
            options.serial = value();
        } else if (option == "--address") {
            options.address = value();
        } else if (option == "--ack") {
            if (!acksGiven) options.ack.replies.clear();
            acksGiven = true;
            options.ack.replies.push_back(value());
        } else if (option == "--silent") {
            acksGiven = true;
            options.ack.replies.clear();
        } else if (option == "--silent-after") {
            options.ack.answeredUpdates = Count(option, value());
        } else if (option == "--flood") {
            options.ack.repetitions = Count(option, value());
        } else if (option == "--delay-ms") {
            options.ack.delay = std::chrono::milliseconds(Count(option, value()));
        } else if (option == "--other-port") {
            options.ack.fromOtherPort = true;
            options.discovery.fromOtherPort = true;
        } else if (option == "--discovery-reply") {
            options.discovery.reply = value();
        } else if (option == "--record") {
            record = value();
        } else if (option == "--no-discovery") {
            options.discovery.answer = false;
        } else {
            throw std::invalid_argument("unknown option " + option);
        }
    }
    return true;
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

}  // namespace

int main(int argc, char** argv)
{
    zepta_tools::LanDeviceOptions options;
    std::string recordPath;
    try {
        if (!ParseArguments(argc, argv, options, recordPath)) {
            std::cout << kUsage;
            return 0;
        }
    } catch (const std::exception& error) {
        std::cerr << kProgram << ": " << error.what() << "\nTry '" << kProgram << " --help'.\n";
        return 2;
    }

    // Blocked before the emulator's thread starts, so that only sigwait sees them.
    sigset_t stopSignals;
    sigemptyset(&stopSignals);
    sigaddset(&stopSignals, SIGINT);
    sigaddset(&stopSignals, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &stopSignals, nullptr);

    const auto start = std::chrono::steady_clock::now();
    try {
        std::unique_ptr<zepta_tools::PositionRecord> record;
        if (!recordPath.empty()) record = std::make_unique<zepta_tools::PositionRecord>(recordPath);
        zepta_tools::LanDeviceEmulator emulator(options, [start, &record](const zepta_tools::ReceivedDatagram& datagram) {
            PrintDatagram(start, datagram);
            const std::vector<double> axes = zepta_tools::DecodePositions(datagram);
            if (record && !axes.empty()) record->Add(datagram.time, RecordCommandName(datagram), axes);
        });
        std::printf("%s: %s-%s listening at %s\n", kProgram, options.model.c_str(), options.serial.c_str(),
                    options.address.c_str());
        std::fflush(stdout);
        int received = 0;
        sigwait(&stopSignals, &received);
    } catch (const std::exception& error) {
        std::cerr << kProgram << ": " << error.what() << "\n";
        return 1;
    }
    return 0;
}
