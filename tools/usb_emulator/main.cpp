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

#include "common/emulator_main.h"
#include "common/position_record.h"
#include "usb/messages.h"
#include "usb_emulator/usb_device_emulator.h"

namespace {

using zepta_tools::CalibrationFault;
using zepta_tools::UsbDeviceEmulator;
namespace Message = ZEPTASDK::Message;

const char kProgram[] = "zepta-usb-emulator";
const char kDescription[] =
    "Publishes an emulated USB motion device and prints each command it receives\n"
    "with its answer. Needs write access to /dev. Stop it with Ctrl-C.";
const char kFaultHelp[] =
    "Answer the next (or every) \"c;\" with a fault, KIND[:always]:\n"
    "circuit-error  ECAN-ERROR instead of KORVE-RTO-START\n"
    "error-reset    KORVE-RTO-START, then KORVE-ERROR-RESET\n"
    "no-ack         no answer\n"
    "no-ready       KORVE-RTO-START, then nothing";
const char kAfterHelp[] =
    "Once N commands have been answered (\";\" alone not counted; N 0 means from the start), N:ACTION:\n"
    "silence        answer nothing more\n"
    "locked         answer KORVE-LOCKED from now on\n"
    "unlocked       answer status lines again\n"
    "button         KORVE-BUTTON before the next status\n"
    "lock-ok        KORVE-LOCK-OK before the next status\n"
    "unlock-ok      KORVE-UNLOCK-OK before the next status\n"
    "axis-set=K     report axis set K from now on\n"
    "status-00      next status is KORVE-STATUS-00\n"
    "no-line-end    next status has no line end\n"
    "garbage        next status is binary garbage\n"
    "disconnect     close the device as if unplugged";

constexpr int kDefaultCalibrationDelayMs = 1000;
constexpr int kDefaultTurnaroundUs = 500;
constexpr int kMaxOptionNumber = 1000000000;
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

int ParseNumber(const std::string& text, const std::string& what)
{
    char* end = nullptr;
    const long value = std::strtol(text.c_str(), &end, 10);
    if (text.empty() || *end != '\0' || value < 0 || value > kMaxOptionNumber) {
        throw CLI::ValidationError(what, "bad number: " + text);
    }
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
    const bool always = colon != std::string::npos;
    if (found == kKinds.end() || (always && value.substr(colon + 1) != kAlways)) {
        throw CLI::ValidationError("--calibration-fault", "unknown calibration fault: " + value);
    }
    options.calibrationFault = found->second;
    options.calibrationFaultAlways = always;
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
        const int axisSet = ParseNumber(action.substr(kAxisSetAction.size()), "--after");
        return {[axisSet](Device& d) { d.SetAxisSet(axisSet); }, false};
    }
    const auto found = kActions.find(action);
    if (found == kActions.end()) throw CLI::ValidationError("--after", "unknown action: " + action);
    return found->second;
}

// Each N:ACTION, in the order given.
void ParseAfter(const std::vector<std::string>& values, Options& options)
{
    for (const std::string& value : values) {
        const std::size_t colon = value.find(':');
        if (colon == std::string::npos) throw CLI::ValidationError("--after", "needs N:ACTION, got " + value);
        options.actions.emplace(ParseNumber(value.substr(0, colon), "--after"), ParseAction(value.substr(colon + 1)));
    }
}

void AddOptions(CLI::App& app, Options& options)
{
    const CLI::Range number(0, kMaxOptionNumber);
    app.add_option("--device", options.device, "Device path (default: first free /dev/ttyACM<N>)")->type_name("PATH");
    app.add_option("--identity", options.identity,
                   "Answer to \"d;\" (default KORVE-DEVICE; also KORVE6-DEVICE, KORVE2-DEVICE, NEBULO2-DEVICE, "
                   "KORVETL-DEVICE, PLIX-DEVICE or any text)");
    app.add_option_function<std::string>("--version", [&options](const std::string& v) { options.version = v; },
                                         "Answer to \"v;\" (default FW 1.00)");
    app.add_option_function<std::string>("--serial", [&options](const std::string& v) { options.serial = v; },
                                         "Answer to \"s;\" (default EMU00001; empty: none)");
    app.add_option("--calibration-delay", options.calibrationDelayMs,
                   "Milliseconds from KORVE-RTO-START to KORVE-READY (default 1000)")
        ->check(number)
        ->type_name("N");
    app.add_option_function<int>("--axis-set", [&options](int v) { options.axisSet = v; },
                                 "Axis set in status lines (default: the family's)")
        ->check(number)
        ->type_name("N");
    app.add_option("--status-code", options.statusCode, "Number after -EXT4- in status lines (default 0)")
        ->check(number)
        ->type_name("N");
    app.add_flag("--wire", options.wire, "Model 115200-baud byte times and a turn-around");
    app.add_option("--turnaround-us", options.turnaroundUs, "Device turn-around with --wire (default 500)")
        ->check(number)
        ->type_name("N");
    app.add_option_function<std::string>(
        "--calibration-fault", [&options](const std::string& v) { ParseCalibrationFault(v, options); }, kFaultHelp)
        ->type_name("KIND[:always]");
    app.add_option_function<std::vector<std::string>>(
           "--after", [&options](const std::vector<std::string>& v) { ParseAfter(v, options); }, kAfterHelp)
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll)
        ->allow_extra_args(false)
        ->type_name("N:ACTION");
    app.add_option("--record", options.record,
                   "Append each position command, decoded to 0..1, to FILE as CSV: time,command,axis1..axis6")
        ->type_name("FILE");
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

// The device published and configured, with its position record when one
// was asked for; the device goes first, as its thread writes the record.
struct PublishedDevice {
    std::unique_ptr<zepta_tools::PositionRecord> record;
    std::unique_ptr<UsbDeviceEmulator> device;
};

PublishedDevice Publish(const Options& options)
{
    PublishedDevice published;
    published.device =
        std::make_unique<UsbDeviceEmulator>(options.device.empty() ? zepta_tools::NextFreeAcmPath() : options.device);
    Configure(*published.device, options);
    if (!options.record.empty()) published.record = std::make_unique<zepta_tools::PositionRecord>(options.record);
    return published;
}

// Prints and records each command and runs the actions due after it, until a
// stop signal comes or an action unplugs the device.
void Serve(PublishedDevice& published, const Options& options, const sigset_t& stopSignals)
{
    UsbDeviceEmulator& device = *published.device;
    zepta_tools::PositionRecord* record = published.record.get();
    std::atomic<bool> unplugged{RunActionsAt(0, options, device)};
    const auto started = std::chrono::steady_clock::now();
    long answered = 0;  // device thread only
    device.SetObserver([&](const zepta_tools::ReceivedCommand& command, const std::vector<std::string>& replies) {
        const std::chrono::duration<double> since = command.at - started;
        std::printf("[%10.3f] %-24s -> %s\n", since.count(), Printable(command.text).c_str(), Describe(replies).c_str());
        std::fflush(stdout);
        if (record) {
            const std::vector<double> axes = zepta_tools::DecodePositionCommand(command.text);
            if (!axes.empty()) record->Add(command.at, command.text.substr(0, 1), axes);
        }
        if (command.text != Message::CommandEnd && RunActionsAt(++answered, options, device)) unplugged = true;
    });
    std::printf("%s: %s at %s\n", kProgram, Printable(options.identity).c_str(), device.DevicePath().c_str());
    std::fflush(stdout);

    const timespec pollInterval{0, kSignalPollNs};
    while (!unplugged && sigtimedwait(&stopSignals, nullptr, &pollInterval) < 0) {
    }
    // The observer refers to the locals above: stop the device thread first.
    published.device.reset();
}

}  // namespace

int main(int argc, char** argv)
{
    Options options;
    CLI::App app(kDescription, kProgram);
    zepta_tools::PrepareCommandLine(app);
    AddOptions(app, options);
    if (const std::optional<int> exitCode = zepta_tools::ParseCommandLine(app, argc, argv)) return *exitCode;
    // Signals are taken by sigtimedwait; the device thread inherits the mask.
    const sigset_t stopSignals = zepta_tools::BlockStopSignals();
    PublishedDevice published;
    try {
        published = Publish(options);
    } catch (const std::exception& e) {
        std::cerr << kProgram << ": " << e.what() << "\n";
        return zepta_tools::kExitTrouble;
    }
    Serve(published, options, stopSignals);
    return 0;
}
