// zepta discover: broadcasts the library's discovery ping on the local
// network and lists every device that answers.
#include <cstdio>
#include <string>
#include <vector>

#include "cli_errors.h"
#include "commands.h"
#include "console.h"
#include "lan/lan_discovery.h"

namespace zepta_cli {

namespace {

constexpr double kDefaultTimeout = 2.0;
constexpr double kMinTimeout = 0.1;
constexpr double kMaxTimeout = 60.0;
constexpr double kMsPerSecond = 1000.0;

void PrintDevices(const std::vector<ZEPTASDK::LanDeviceInfo>& devices)
{
    std::printf("%-20s %-5s %-20s %s\n", "MODEL", "TYPE", "SERIAL", "ADDRESS");
    for (const ZEPTASDK::LanDeviceInfo& device : devices) {
        const std::string type = device.deviceType != ZEPTA_DEVICE_NONE ? std::to_string(device.deviceType) : "-";
        std::printf("%-20s %-5s %-20s %s%s\n", Printable(device.model).c_str(), type.c_str(),
                    Printable(device.serialNumber).c_str(), device.address.c_str(),
                    device.deviceType != ZEPTA_DEVICE_NONE ? "" : "  (a model the library does not drive)");
    }
}

int RunDiscover(double timeout)
{
    namespace Lan = ZEPTASDK::LanDiscovery;
    std::printf("Broadcasting discovery pings to %s, UDP port %u, on the local network from port %u; "
                "listening %.1f s for answers.\n",
                Lan::DottedAddress(Lan::kBroadcastAddress).c_str(), unsigned{Lan::kDevicePort},
                unsigned{Lan::kLocalPort}, timeout);
    std::fflush(stdout);
    std::vector<ZEPTASDK::LanDeviceInfo> devices;
    if (!ZEPTASDK::DiscoverLanDevices(static_cast<int>(timeout * kMsPerSecond), devices)) {
        throw DeviceTrouble("cannot listen on UDP port " + std::to_string(Lan::kLocalPort) +
                            ": it is in use (is a session searching right now?)");
    }
    if (devices.empty()) {
        char text[64];
        std::snprintf(text, sizeof text, "no device answered within %.1f s", timeout);
        throw DeviceTrouble(text);
    }
    PrintDevices(devices);
    std::printf("%zu device(s) answered\n", devices.size());
    return kExitSuccess;
}

}  // namespace

void AddDiscoverCommand(CLI::App& app, Action& run)
{
    CLI::App* command = app.add_subcommand(
        "discover", "Broadcast a discovery ping on the local network and list every device that answers");
    auto timeout = std::make_shared<double>(kDefaultTimeout);
    command->add_option("--timeout", *timeout, "Seconds to listen for answers")
        ->check(CLI::Range(kMinTimeout, kMaxTimeout))
        ->default_val(kDefaultTimeout);
    command->callback([&run, timeout] { run = [timeout] { return RunDiscover(*timeout); }; });
}

}  // namespace zepta_cli
