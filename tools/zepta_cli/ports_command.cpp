// zepta ports: probes every candidate serial port the way a session's search
// does and tells what answered.
#include <algorithm>
#include <cstdio>
#include <string>
#include <vector>

#include "cli_errors.h"
#include "commands.h"
#include "console.h"
#include "io/serial_port.h"
#include "io/text_conversion.h"
#include "usb/port_probe.h"

namespace zepta_cli {

namespace {

using Outcome = ZEPTASDK::PortIdentity::Outcome;
constexpr unsigned kMaxAxes = 6;

// "1,2,3,4" for the axis set 15.
std::string AxisList(unsigned axisSet)
{
    std::string list;
    for (unsigned axis = 0; axis < kMaxAxes; ++axis) {
        if ((axisSet >> axis & 1u) == 0) continue;
        list += (list.empty() ? "" : ",") + std::to_string(axis + 1);
    }
    return list;
}

std::string Describe(const ZEPTASDK::PortIdentity& port)
{
    const std::string answer = "\"" + Printable(port.identity) + "\"";
    switch (port.outcome) {
    case Outcome::Identified: {
        char line[256];
        std::snprintf(line, sizeof line, "%-16s kind %-4d axes %-12s firmware %s", answer.c_str(), port.deviceKind,
                      AxisList(port.axisSet).c_str(),
                      port.version.empty() ? "(no answer)" : ("\"" + Printable(port.version) + "\"").c_str());
        return line;
    }
    case Outcome::Busy:
        return "busy: in use by another program, or no access";
    case Outcome::Silent:
        return "silent: no answer to the identity request";
    case Outcome::NotADevice:
        return "not a motion device: answered " + answer;
    case Outcome::UnknownFamily:
        return "unknown family: " + answer;
    }
    return std::string();
}

// /dev/ttyACM2 before /dev/ttyACM10.
bool PortOrder(const std::wstring& a, const std::wstring& b)
{
    return a.size() != b.size() ? a.size() < b.size() : a < b;
}

int RunPorts()
{
    std::vector<std::wstring> names = ZEPTASDK::IO::GetPortNames();
    if (names.empty()) throw DeviceTrouble("no serial ports (/dev/ttyACM*) found");
    std::sort(names.begin(), names.end(), PortOrder);
    int identified = 0;
    for (const std::wstring& name : names) {
        const ZEPTASDK::PortIdentity port = ZEPTASDK::ProbePort(name);
        if (port.outcome == Outcome::Identified) ++identified;
        std::printf("%-14s %s\n", ZEPTASDK::IO::WideToUtf8(name).c_str(), Describe(port).c_str());
        std::fflush(stdout);
    }
    if (identified == 0) {
        throw DeviceTrouble("no motion device answered on " + std::to_string(names.size()) + " port(s)");
    }
    std::printf("%d motion device(s) on %zu port(s)\n", identified, names.size());
    return kExitSuccess;
}

}  // namespace

void AddPortsCommand(CLI::App& app, Action& run)
{
    CLI::App* command = app.add_subcommand(
        "ports", "List the serial ports (/dev/ttyACM*) and ask each, as the library does, what device it is");
    command->callback([&run] { run = RunPorts; });
}

}  // namespace zepta_cli
