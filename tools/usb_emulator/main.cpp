// zepta-usb-emulator: a USB motion device in software, for developing an
// application without hardware. It publishes a CDC-ACM device path, answers
// the library like a device and prints every command it receives with its
// answer, one per line.
#include <signal.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <iostream>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "common/position_record.h"
#include "usb/messages.h"
#include "usb_emulator/usb_device_emulator.h"

namespace {

using zepta_tools::CalibrationFault;
using zepta_tools::UsbDeviceEmulator;
namespace Message = ZEPTASDK::Message;

const char kUsage[] =
    "Usage: zepta-usb-emulator [OPTION]...\n"
    "Publishes an emulated USB motion device and prints each command it receives\n"
    "with its answer. Needs write access to /dev. Stop it with Ctrl-C.\n"
    "\n"
    "  --device PATH              device path (default: first free /dev/ttyACM<N>)\n"
    "  --identity TEXT            answer to \"d;\" (default KORVE-DEVICE; also\n"
    "                             KORVE6-DEVICE, KORVE2-DEVICE, NEBULO2-DEVICE,\n"
    "                             KORVETL-DEVICE, PLIX-DEVICE or any text)\n"
    "  --version TEXT             answer to \"v;\" (default FW 1.00)\n"
    "  --serial TEXT              answer to \"s;\" (default EMU00001; empty: none)\n"
    "  --calibration-delay MS     from KORVE-RTO-START to KORVE-READY (default 1000)\n"
    "  --axis-set N               axis set in status lines (default: the family's)\n"
    "  --status-code N            number after -EXT4- in status lines (default 0)\n"
    "  --wire                     model 115200-baud byte times and a turn-around\n"
    "  --turnaround-us N          device turn-around with --wire (default 500)\n"
    "  --calibration-fault KIND[:always]\n"
    "                             answer the next (or every) \"c;\" with a fault:\n"
    "                             circuit-error  ECAN-ERROR instead of KORVE-RTO-START\n"
    "                             error-reset    KORVE-RTO-START, then KORVE-ERROR-RESET\n"
    "                             no-ack         no answer\n"
    "                             no-ready       KORVE-RTO-START, then nothing\n"
    "  --after N:ACTION           once N commands have been answered (\";\" alone\n"
    "                             not counted; N 0 means from the start):\n"
    "                             silence        answer nothing more\n"
    "                             locked         answer KORVE-LOCKED from now on\n"
    "                             unlocked       answer status lines again\n"
    "                             button         KORVE-BUTTON before the next status\n"
    "                             lock-ok        KORVE-LOCK-OK before the next status\n"
    "                             unlock-ok      KORVE-UNLOCK-OK before the next status\n"
    "                             axis-set=K     report axis set K from now on\n"
    "                             status-00      next status is KORVE-STATUS-00\n"
    "                             no-line-end    next status has no line end\n"
    "                             garbage        next status is binary garbage\n"
    "                             disconnect     close the device as if unplugged\n"
    "  --record FILE              append each position command, decoded to 0..1,\n"
    "                             to FILE as CSV: time,command,axis1..axis6\n"
    "  --help                     show this text\n";

constexpr int kDefaultCalibrationDelayMs = 1000;
constexpr int kDefaultTurnaroundUs = 500;
constexpr long kMaxOptionNumber = 1000000000;
constexpr long kSignalPollNs = 200000000;
const std::string kAxisSetAction = "axis-set=";
const std::string kAlways = "always";
const std::string kGarbage("\x00\xff\x13\x80garbage\xfe\r\n", 14);

// What --after runs once its command count is reached.
struct ScheduledAction {
    std::function<void(UsbDeviceEmulator&)> run;
    bool unplugs;
};

struct Options {
    std::string device;
    std::string record;
    std::string identity = Message::KORVE4DOF_Enable;
    std::optional<std::string> version;
    std::optional<std::string> serial;
    int calibrationDelayMs = kDefaultCalibrationDelayMs;
    std::optional<int> axisSet;
    int statusCode = 0;
    bool wire = false;
    int turnaroundUs = kDefaultTurnaroundUs;
    std::optional<CalibrationFault> calibrationFault;
    bool calibrationFaultAlways = false;
    std::multimap<long, ScheduledAction> actions;  // by command count
};

[[noreturn]] void Fail(const std::string& message)
{
    std::cerr << "zepta-usb-emulator: " << message << "\nTry --help.\n";
    std::exit(2);
}

int ParseNumber(const std::string& text, const std::string& what)
{
    char* end = nullptr;
    const long value = std::strtol(text.c_str(), &end, 10);
    if (text.empty() || *end != '\0' || value < 0 || value > kMaxOptionNumber) Fail("bad number for " + what + ": " + text);
    return static_cast<int>(value);
}

// KIND or KIND:always
void ParseCalibrationFault(const std::string& value, Options& options)
{
    static const std::map<std::string, CalibrationFault> kKinds = {
        {"circuit-error", CalibrationFault::CircuitError},
        {"error-reset", CalibrationFault::ErrorReset},
        {"no-ack", CalibrationFault::NoAcknowledge},
        {"no-ready", CalibrationFault::NoReady},
    };
    const std::size_t colon = value.find(':');
    const auto found = kKinds.find(value.substr(0, colon));
    if (found == kKinds.end()) Fail("unknown calibration fault: " + value);
    if (colon != std::string::npos && value.substr(colon + 1) != kAlways) Fail("bad calibration fault: " + value);
    options.calibrationFault = found->second;
    options.calibrationFaultAlways = colon != std::string::npos;
}

ScheduledAction ParseAction(const std::string& action)
{
    using Device = UsbDeviceEmulator;
    static const std::map<std::string, ScheduledAction> kActions = {
        {"silence", {[](Device& d) { d.SilenceAfter(0); }, false}},
        {"locked", {[](Device& d) { d.SetLocked(true); }, false}},
        {"unlocked", {[](Device& d) { d.SetLocked(false); }, false}},
        {"button", {[](Device& d) { d.InjectBeforeNextStatus(Message::OnPushButton); }, false}},
        {"lock-ok", {[](Device& d) { d.InjectBeforeNextStatus(Message::EnableLock); }, false}},
        {"unlock-ok", {[](Device& d) { d.InjectBeforeNextStatus(Message::DisableLock); }, false}},
        {"status-00", {[](Device& d) { d.ReplaceNextStatus(Message::StatusPrefix + "00\r\n"); }, false}},
        {"no-line-end", {[](Device& d) { d.ReplaceNextStatus(Message::StatusPrefix + "15"); }, false}},
        {"garbage", {[](Device& d) { d.ReplaceNextStatus(kGarbage); }, false}},
        {"disconnect", {[](Device& d) { d.Disconnect(); }, true}},
    };
    if (action.compare(0, kAxisSetAction.size(), kAxisSetAction) == 0) {
        const int axisSet = ParseNumber(action.substr(kAxisSetAction.size()), action);
        return {[axisSet](Device& d) { d.SetAxisSet(axisSet); }, false};
    }
    const auto found = kActions.find(action);
    if (found == kActions.end()) Fail("unknown action: " + action);
    return found->second;
}

// N:ACTION
void ParseAfter(const std::string& value, Options& options)
{
    const std::size_t colon = value.find(':');
    if (colon == std::string::npos) Fail("--after needs N:ACTION, got " + value);
    options.actions.emplace(ParseNumber(value.substr(0, colon), "--after"), ParseAction(value.substr(colon + 1)));
}

void ParseValueOption(const std::string& option, const std::string& value, Options& options)
{
    if (option == "--device") options.device = value;
    else if (option == "--record") options.record = value;
    else if (option == "--identity") options.identity = value;
    else if (option == "--version") options.version = value;
    else if (option == "--serial") options.serial = value;
    else if (option == "--calibration-delay") options.calibrationDelayMs = ParseNumber(value, option);
    else if (option == "--axis-set") options.axisSet = ParseNumber(value, option);
    else if (option == "--status-code") options.statusCode = ParseNumber(value, option);
    else if (option == "--turnaround-us") options.turnaroundUs = ParseNumber(value, option);
    else if (option == "--calibration-fault") ParseCalibrationFault(value, options);
    else if (option == "--after") ParseAfter(value, options);
    else Fail("unknown option " + option);
}

Options ParseOptions(int argc, char** argv)
{
    Options options;
    for (int i = 1; i < argc; ++i) {
        const std::string option = argv[i];
        if (option == "--help") {
            std::cout << kUsage;
            std::exit(0);
        }
        if (option == "--wire") {
            options.wire = true;
            continue;
        }
        if (i + 1 >= argc) Fail("missing value for " + option);
        ParseValueOption(option, argv[++i], options);
    }
    return options;
}

void Configure(UsbDeviceEmulator& device, const Options& options)
{
    device.SetIdentity(options.identity);
    if (options.version) device.SetVersion(*options.version);
    if (options.serial) device.SetSerialNumber(*options.serial);
    device.SetCalibrationDelay(std::chrono::milliseconds(options.calibrationDelayMs));
    device.SetAxisSet(options.axisSet);
    device.SetStatusCode(options.statusCode);
    if (options.wire) {
        device.SetWireModel(UsbDeviceEmulator::kByteTimeAt115200, std::chrono::microseconds(options.turnaroundUs));
    }
    if (options.calibrationFault) device.SetCalibrationFault(*options.calibrationFault, options.calibrationFaultAlways);
}

// Runs the actions scheduled after `count` commands; true when one of them
// unplugged the device.
bool RunActionsAt(long count, const Options& options, UsbDeviceEmulator& device)
{
    bool unplugged = false;
    const auto range = options.actions.equal_range(count);
    for (auto it = range.first; it != range.second; ++it) {
        it->second.run(device);
        unplugged = unplugged || it->second.unplugs;
    }
    return unplugged;
}

// Printable text as it is, any other byte as \xNN.
std::string Printable(const std::string& bytes)
{
    std::string text;
    for (unsigned char c : bytes) {
        if (c >= 0x20 && c < 0x7F) {
            text.push_back(static_cast<char>(c));
        } else {
            char escaped[8];
            std::snprintf(escaped, sizeof escaped, "\\x%02X", c);
            text += escaped;
        }
    }
    return text;
}

std::string Describe(const std::vector<std::string>& replies)
{
    if (replies.empty()) return "(no answer)";
    std::string text;
    for (const std::string& reply : replies) text += (text.empty() ? "" : " | ") + Printable(reply);
    return text;
}

}  // namespace

int main(int argc, char** argv)
{
    const Options options = ParseOptions(argc, argv);
    // Signals are taken by sigtimedwait below; the device thread inherits the mask.
    sigset_t stopSignals;
    sigemptyset(&stopSignals);
    sigaddset(&stopSignals, SIGINT);
    sigaddset(&stopSignals, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &stopSignals, nullptr);

    std::unique_ptr<UsbDeviceEmulator> device;
    try {
        device = std::make_unique<UsbDeviceEmulator>(options.device.empty() ? zepta_tools::NextFreeAcmPath()
                                                                            : options.device);
    } catch (const std::exception& e) {
        std::cerr << "zepta-usb-emulator: " << e.what() << "\n";
        return 1;
    }
    Configure(*device, options);
    std::unique_ptr<zepta_tools::PositionRecord> record;
    try {
        if (!options.record.empty()) record = std::make_unique<zepta_tools::PositionRecord>(options.record);
    } catch (const std::exception& e) {
        std::cerr << "zepta-usb-emulator: " << e.what() << "\n";
        return 1;
    }
    std::atomic<bool> unplugged{RunActionsAt(0, options, *device)};

    const auto started = std::chrono::steady_clock::now();
    long answered = 0;  // device thread only
    device->SetObserver([&](const zepta_tools::ReceivedCommand& command, const std::vector<std::string>& replies) {
        const std::chrono::duration<double> since = command.at - started;
        std::printf("[%10.3f] %-24s -> %s\n", since.count(), Printable(command.text).c_str(), Describe(replies).c_str());
        std::fflush(stdout);
        if (record) {
            const std::vector<double> axes = zepta_tools::DecodePositionCommand(command.text);
            if (!axes.empty()) record->Add(command.at, command.text.substr(0, 1), axes);
        }
        if (command.text != Message::CommandEnd && RunActionsAt(++answered, options, *device)) unplugged = true;
    });
    std::printf("zepta-usb-emulator: %s at %s\n", Printable(options.identity).c_str(), device->DevicePath().c_str());
    std::fflush(stdout);

    const timespec pollInterval{0, kSignalPollNs};
    while (!unplugged && sigtimedwait(&stopSignals, nullptr, &pollInterval) < 0) {
    }
    // The observer refers to the locals above: stop the device thread first.
    device.reset();
    return 0;
}
