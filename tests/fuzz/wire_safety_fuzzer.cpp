// Arbitrary motion packets through the whole way to the wire: the axis
// conversion for a device kind and modes, then every USB command encoding and
// every LAN update form of the converted packet. Outside origin mode nothing
// the device receives may leave the clamped ranges: axes 0.02..0.98, speeds
// 0.01..1.0, acceleration 0.02..0.98, as each encoding represents them.
//
// Input: the kind (an index into the kinds below), the axis-processing mode
// and the speed mode (one byte each), then frames of a 356-byte packet, a
// 32-bit little-endian time step in microseconds and a reset byte; a short
// last frame keeps the default packet's remaining bytes.
#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "fuzz_support.h"
#include "lan/json.h"
#include "lan/update_messages.h"
#include "motion/axis_converter.h"
#include "usb/controller.h"
#include "usb/scripted_bridge.h"
#include "zepta/ZEPTA.hpp"

namespace {

using ZEPTASDK::AxisConverter;
using ZEPTASDK::Controller;
using zepta_fuzz::Require;
using zepta_test::ScriptedBridge;

// Every kind with a formula of its own, and two without (none and an unknown code).
const int kKinds[] = {ZEPTA_DEVICE_KORVE_2DOF, ZEPTA_DEVICE_KORVE_4DOF, ZEPTA_DEVICE_KORVE_6DOF, ZEPTA_DEVICE_MOSSPOD,
                      ZEPTA_DEVICE_GRANDE_QX, ZEPTA_DEVICE_GRANDE_500QX, ZEPTA_DEVICE_NEBULO_2DOF, ZEPTA_DEVICE_KICKBOARD_QX,
                      ZEPTA_DEVICE_GRANDE, ZEPTA_DEVICE_TRAXEL, ZEPTA_DEVICE_PLIX, ZEPTA_DEVICE_NONE, 9999};
constexpr std::size_t kHeaderBytes = 3;
constexpr std::size_t kFrameBytes = sizeof(_korve_data_packet) + 4 + 1;
// Kinematics frames are costly; a few frames explore the filter and speeds.
constexpr std::size_t kMostFrames = 8;
const std::chrono::system_clock::time_point kStart{std::chrono::hours(480000)};
const std::string kStatus = "KORVE-STATUS-63-EXT4-0000";

struct Range {
    long low;
    long high;
};

// USB, 8-bit fields: round(v × 255) for the clamped value (speeds of "as"
// carry their +0.01 offset, so their lower end is 0.02).
constexpr Range kUsbAxis{0x05, 0xFA};
constexpr Range kUsbSpeed{0x03, 0xFF};
constexpr Range kUsbOffsetSpeed{0x05, 0xFF};
constexpr Range kUsbAcceleration{0x05, 0xFA};
// USB, 12-bit fields: round(v × 4095).
constexpr Range kUsbAxis12{0x052, 0xFAD};
// Binary record: v × 10000 (axes, acceleration) and v × 15000 (speeds) in
// double precision from the float, truncated.
constexpr Range kRecordAxis{199, 9800};
constexpr Range kRecordSpeed{149, 15000};
// Full JSON object: v × 1000 in single precision, truncated.
constexpr Range kJsonAxis{20, 980};
constexpr Range kJsonSpeed{10, 1000};

bool Within(long value, Range range) { return value >= range.low && value <= range.high; }

struct Frame {
    _korve_data_packet packet;
    std::int32_t stepMicroseconds;
    bool reset;
};

std::vector<Frame> Frames(const std::uint8_t* data, std::size_t size)
{
    std::vector<Frame> frames;
    for (std::size_t at = 0; at < size && frames.size() < kMostFrames; at += kFrameBytes) {
        std::uint8_t bytes[kFrameBytes] = {};
        const _korve_data_packet defaults = ZEPTASDK::DefaultZEPTAPacket();
        std::memcpy(bytes, &defaults, sizeof defaults);
        std::memcpy(bytes, data + at, std::min(kFrameBytes, size - at));
        Frame frame;
        std::memcpy(&frame.packet, bytes, sizeof frame.packet);
        std::memcpy(&frame.stepMicroseconds, bytes + sizeof frame.packet, sizeof frame.stepMicroseconds);
        frame.reset = (bytes[kFrameBytes - 1] & 1) != 0;
        frames.push_back(frame);
    }
    return frames;
}

// The hex fields of a command after its word, each `digits` wide, all within range.
void CheckFields(const std::string& command, std::size_t wordLength, std::size_t digits, Range range)
{
    Require(command.back() == ';', "a command ends in \";\": " + command);
    const std::string fields = command.substr(wordLength, command.size() - wordLength - 1);
    Require(fields.size() % digits == 0, "whole fields: " + command);
    for (std::size_t at = 0; at < fields.size(); at += digits) {
        const std::string field = fields.substr(at, digits);
        Require(field.find_first_not_of("0123456789ABCDEF") == std::string::npos, "upper-case hex: " + command);
        Require(Within(std::stol(field, nullptr, 16), range), "field " + field + " in range: " + command);
    }
}

void CheckUsbCommand(const std::string& command)
{
    if (command.rfind("aFF", 0) == 0) {
        CheckFields(command, 3, 2, kUsbAcceleration);
    } else if (command.rfind("as", 0) == 0) {
        CheckFields(command, 2, 2, kUsbOffsetSpeed);
    } else if (command.rfind("a", 0) == 0) {
        Require(command.size() == 6, "speed and acceleration: " + command);
        CheckFields(command.substr(0, 3) + ";", 1, 2, kUsbSpeed);
        CheckFields("a" + command.substr(3), 1, 2, kUsbAcceleration);
    } else if (command.rfind("q", 0) == 0) {
        CheckFields(command, 1, 3, kUsbAxis12);
    } else {
        Require(command.rfind("p", 0) == 0, "a motion command: " + command);
        CheckFields(command, 1, 2, kUsbAxis);
    }
}

// Every command form a session may send for the packet.
void CheckUsb(Controller& controller, ScriptedBridge& bridge, const _korve_data_packet& p)
{
    bridge.writes.clear();
    bridge.Script(std::vector<std::string>(8, kStatus));
    controller.SendPositionZEPTA(p.axis1, p.axis2, p.axis3, p.axis4);
    controller.SendPositionZEPTA(p.axis1, p.axis2, p.axis3, p.axis4, p.axis5, p.axis6);
    controller.SendPositionZEPTA12(p.axis1, p.axis2, p.axis3, p.axis4, p.axis5, p.axis6);
    controller.SendSpeedAccelZEPTA(p.speedAxis1, p.accelAxis);
    controller.SendSpeedZEPTA(p.speedAxis1, p.speedAxis2, p.speedAxis3, p.speedAxis4, p.speedAxis5, p.speedAxis6,
                              p.accelAxis);
    Require(controller.GetState() == ZEPTA_STATE_RUNNING, "the device accepted every command");
    for (const std::string& command : bridge.writes) CheckUsbCommand(command);
}

void CheckRecord(const ZEPTASDK::LanUpdate::BinaryRecord& record)
{
    const auto word = [&record](std::size_t i) { return static_cast<long>(record[2 * i] << 8 | record[2 * i + 1]); };
    Require(word(0) == 14, "the record counts its words");
    for (std::size_t i = 1; i <= 6; ++i) Require(Within(word(i), kRecordAxis), "record axis " + std::to_string(word(i)));
    for (std::size_t i = 7; i <= 12; ++i) Require(Within(word(i), kRecordSpeed), "record speed " + std::to_string(word(i)));
    Require(Within(word(13), kRecordAxis), "record acceleration " + std::to_string(word(13)));
}

picojson::object ParsedObject(const std::string& text)
{
    picojson::value value;
    Require(picojson::parse(value, text).empty() && value.is<picojson::object>(), "an object: " + text);
    return value.get<picojson::object>();
}

void CheckInteger(const picojson::object& object, const std::string& key, Range range)
{
    const auto found = object.find(key);
    Require(found != object.end() && found->second.is<std::int64_t>(), "integer \"" + key + "\"");
    Require(Within(static_cast<long>(found->second.get<std::int64_t>()), range), "\"" + key + "\" in range");
}

void CheckReal(const picojson::object& object, const std::string& key, float low, float high)
{
    const auto found = object.find(key);
    Require(found != object.end() && found->second.is<double>(), "number \"" + key + "\"");
    const double value = found->second.get<double>();
    Require(value >= static_cast<double>(low) && value <= static_cast<double>(high), "\"" + key + "\" in range");
}

void CheckJson(const _korve_data_packet& p, ZEPTASpeedGain speedMode, ZEPTAAxisMode axisMode)
{
    using ZEPTASDK::LanUpdate::EncodeJson;
    const picojson::object full = ParsedObject(EncodeJson(p, 1, speedMode, axisMode, false));
    for (int i = 1; i <= 6; ++i) {
        CheckInteger(full, "ax" + std::to_string(i), kJsonAxis);
        CheckInteger(full, "spd" + std::to_string(i), kJsonSpeed);
    }
    CheckInteger(full, "acc", kJsonAxis);
    const picojson::object small = ParsedObject(EncodeJson(p, 4, speedMode, axisMode, false));
    CheckReal(small, "axis1", 0.02f, 0.98f);
    CheckReal(small, "axis2", 0.02f, 0.98f);
    CheckReal(small, "speed", 0.01f, 1.0f);
}

std::shared_ptr<ScriptedBridge> ConnectedBridge()
{
    auto bridge = std::make_shared<ScriptedBridge>("KORVE6-DEVICE");
    bridge->Script({"Find", "FW 1.00", "KORVE-RTO-START", "KORVE-READY", "SERIAL1"});
    return bridge;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size < kHeaderBytes) return 0;
    const int kind = kKinds[data[0] % (sizeof kKinds / sizeof kKinds[0])];
    const int axisMode = data[1] % 4;
    const int speedMode = data[2] % 4;
    AxisConverter converter;
    converter.PrepareForDevice(kind);
    const auto bridge = ConnectedBridge();
    Controller controller(bridge, "FUZZ");
    Require(controller.GetState() == ZEPTA_STATE_RUNNING, "the scripted device connects");

    auto now = kStart;
    for (Frame& frame : Frames(data + kHeaderBytes, size - kHeaderBytes)) {
        now += std::chrono::microseconds(frame.stepMicroseconds);
        converter.Convert(frame.packet, frame.reset, {kind, axisMode, speedMode}, now);
        const _korve_data_packet& p = frame.packet;
        CheckUsb(controller, *bridge, p);
        CheckRecord(ZEPTASDK::LanUpdate::EncodeBinary(p, static_cast<unsigned>(kind), static_cast<ZEPTASpeedGain>(speedMode),
                                                      converter.DerivedAxes(), false));
        try {
            CheckJson(p, static_cast<ZEPTASpeedGain>(speedMode), static_cast<ZEPTAAxisMode>(axisMode));
        } catch (const std::exception& error) {
            Require(false, std::string("a converted packet encodes without an exception: ") + error.what());
        }
    }
    zepta_fuzz::DrainLog();
    return 0;
}
