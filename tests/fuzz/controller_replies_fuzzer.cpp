// Arbitrary reply lines of a USB device through the controller's reply
// classification: the handshake, calibration runs and the supervision of
// status lines. The device is a scripted bridge that times out once the
// input's lines are used up.
//
// Input: one scenario byte, then lines separated by "\n". The first line is
// the device's identity line, the others are read one by one.
//   byte % 3 == 0  the handshake reads the lines from "usb;" on
//   byte % 3 == 1  after a good handshake, calibration runs read them
//   byte % 3 == 2  after a good handshake, status waits read them
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <memory>
#include <string>
#include <vector>

#include "fuzz_support.h"
#include "usb/controller.h"
#include "usb/scripted_bridge.h"

namespace {

using ZEPTASDK::Controller;
using zepta_fuzz::Require;
using zepta_test::ScriptedBridge;

// "usb;", "v;", three calibration runs of two replies each and "s;".
constexpr int kMostHandshakeReads = 9;
// Interim lines (button presses, lock acknowledgements) may precede an
// answer, but a device that sends nothing else must not hold a wait forever.
constexpr int kMostReadsPerWait = 64;
constexpr int kMostReadsPerCalibration = 2;

enum class Scenario { Handshake, Calibration, Supervision };

bool IsOneOf(int value, std::initializer_list<int> allowed)
{
    for (int a : allowed) {
        if (value == a) return true;
    }
    return false;
}

void CheckHandshake(const Controller& controller, const ScriptedBridge& bridge,
                    const std::vector<std::string>& replies)
{
    const int state = controller.GetState();
    Require(IsOneOf(state, {ZEPTA_STATE_NO_USB_DEVICE, ZEPTA_STATE_NO_DEVICE, ZEPTA_STATE_CALIBRATION_FAILED,
                            ZEPTA_STATE_CALIBRATION_TIMED_OUT, ZEPTA_STATE_RUNNING}),
            "the handshake ends in 0, 1, 2, 3 or 8, not " + std::to_string(state));
    Require(bridge.reads <= kMostHandshakeReads, "the handshake reads at most nine lines");
    Require(state != ZEPTA_STATE_NO_USB_DEVICE || (!replies.empty() && replies.front() == "NotFind"), "state 0 only after \"NotFind\"");
    Require(state != ZEPTA_STATE_NO_DEVICE || (bridge.disabled && controller.GetZEPTA() == ZEPTA_DEVICE_NONE),
            "an unknown identity closes the port and leaves no model");
    Require(state != ZEPTA_STATE_RUNNING ||
                IsOneOf(controller.GetZEPTA(), {ZEPTA_DEVICE_KORVE_2DOF, ZEPTA_DEVICE_KORVE_4DOF, ZEPTA_DEVICE_KORVE_6DOF,
                                                ZEPTA_DEVICE_NEBULO_2DOF, ZEPTA_DEVICE_TRAXEL, ZEPTA_DEVICE_PLIX}),
            "a connected device has a family's model code");
    const std::string serial = controller.GetZEPTASerialNumber();
    Require(serial.size() <= 32, "a serial number is at most 32 characters");
    for (char c : serial) Require(c > ' ' && c < 0x7F, "a serial number is visible ASCII");
}

void Supervise(Controller& controller, ScriptedBridge& bridge)
{
    while (bridge.replies.size() > 0 && !bridge.disabled) {
        const int readsBefore = bridge.reads;
        const bool up = controller.WaitZEPTA();
        const int state = controller.GetState();
        Require(bridge.reads - readsBefore <= kMostReadsPerWait, "a status wait ends after a bounded number of lines");
        Require(IsOneOf(state, {ZEPTA_STATE_SHUT_DOWN, ZEPTA_STATE_RUNNING, ZEPTA_STATE_STOPPED}), "supervision leaves 4, 8 or 9, not " + std::to_string(state));
        Require(up == (state != ZEPTA_STATE_SHUT_DOWN), "a wait reports the link down exactly in state 4");
        Require(up || bridge.disabled, "a lost link closes the port");
    }
}

void Calibrate(Controller& controller, ScriptedBridge& bridge)
{
    while (bridge.replies.size() > 0) {
        const int readsBefore = bridge.reads;
        controller.Calibration();
        const int state = controller.GetState();
        Require(bridge.reads - readsBefore <= kMostReadsPerCalibration, "a calibration run reads at most two lines");
        Require(IsOneOf(state, {ZEPTA_STATE_CALIBRATION_FAILED, ZEPTA_STATE_CALIBRATION_TIMED_OUT,
                                ZEPTA_STATE_CALIBRATING, ZEPTA_STATE_CALIBRATION_REPEAT}),
                 "a calibration run leaves 2, 3, 7 or 10, not " + std::to_string(state));
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size == 0) return 0;
    const auto scenario = static_cast<Scenario>(data[0] % 3);
    std::vector<std::string> lines = zepta_fuzz::InputLines(data + 1, size - 1);
    auto bridge = std::make_shared<ScriptedBridge>(lines.front());
    const std::vector<std::string> replies(lines.begin() + 1, lines.end());

    if (scenario == Scenario::Handshake) {
        bridge->Script(replies);
        Controller controller(bridge, "FUZZ");
        CheckHandshake(controller, *bridge, replies);
        if (controller.GetState() == ZEPTA_STATE_RUNNING) Supervise(controller, *bridge);
    } else {
        bridge->Script({"Find", "FW 1.00", "KORVE-RTO-START", "KORVE-READY", "SERIAL1"});
        Controller controller(bridge, "FUZZ");
        if (controller.GetState() == ZEPTA_STATE_RUNNING) {
            bridge->Script(replies);
            if (scenario == Scenario::Calibration) {
                Calibrate(controller, *bridge);
            } else {
                Supervise(controller, *bridge);
            }
        }
    }
    zepta_fuzz::DrainLog();
    return 0;
}
