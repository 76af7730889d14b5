// Whole sessions over the LAN, through the C interface, against emulated
// network devices inside the sandbox.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <string>

#include "lan_emulator/lan_device_emulator.h"
#include "session_test_support.h"

namespace {

using namespace zepta_test;
using zepta_tools::LanDeviceEmulator;
using zepta_tools::LanDeviceOptions;
using zepta_tools::ReceivedDatagram;
using Datagrams = LanDeviceEmulator::Datagrams;

enum class Form { Full, Short, Binary };

struct Model {
    const char* name;
    ZEPTADeviceKind kind;
    const char* foundText;
    Form form;
    std::uint16_t originPosition;   // for the binary form
};

LanDeviceOptions Device(const std::string& model, const std::string& serial, const std::string& address = "127.0.0.2")
{
    LanDeviceOptions options;
    options.model = model;
    options.serial = serial;
    options.address = address;
    return options;
}

bool HasForm(const ReceivedDatagram& datagram, Form form)
{
    if (form == Form::Binary) return datagram.kind == ReceivedDatagram::Kind::Binary;
    return datagram.kind == ReceivedDatagram::Kind::Json &&
           datagram.json.contains("isOrg") == (form == Form::Full) && datagram.json.contains("vib") == (form == Form::Short);
}

bool IsOrigin(const ReceivedDatagram& datagram, const Model& model)
{
    if (model.form == Form::Full) return datagram.json.get("isOrg").evaluate_as_boolean();
    const auto& words = datagram.words;
    return std::all_of(&words[1], &words[7], [&](std::uint16_t word) { return word == model.originPosition; }) &&
           words[13] == 800;
}

class LanSession : public SessionTest {
protected:
    bool Received(const LanDeviceEmulator& device, const std::function<bool(const ReceivedDatagram&)>& matches)
    {
        return device.WaitFor([&](const Datagrams& all) { return std::any_of(all.begin(), all.end(), matches); }, 10s);
    }
};

TEST_F(LanSession, EveryModelIsFoundAndGetsItsFormOfUpdateAndOrigin)
{
    const Model models[] = {
        {"KORVE2DOF", ZEPTA_DEVICE_KORVE_2DOF, "LAN device found: ", Form::Full, 0},
        {"KORVE4DOF", ZEPTA_DEVICE_KORVE_4DOF, "LAN device found: ", Form::Full, 0},
        {"KORVE6DOF", ZEPTA_DEVICE_KORVE_6DOF, "LAN device found: ", Form::Full, 0},
        {"KORVEGRANDEQX", ZEPTA_DEVICE_GRANDE_QX, "QX200 LAN device found: ", Form::Binary, 300},
        {"KORVEGRANDE500QX", ZEPTA_DEVICE_GRANDE_500QX, "QX500 LAN device found: ", Form::Binary, 300},
        {"MOSSPOD", ZEPTA_DEVICE_MOSSPOD, "MOSSPOD device found: ", Form::Short, 0},
        {"KORVEKICKBOARDQX", ZEPTA_DEVICE_KICKBOARD_QX, "LAN OEM KB device found: ", Form::Binary, 5000},
        {"KORVEGRANDE", ZEPTA_DEVICE_GRANDE, "OXB KB device found: ", Form::Full, 0}};
    for (const Model& model : models) {
        SCOPED_TRACE(model.name);
        LanDeviceEmulator device(Device(model.name, "LAN77"));
        handle_ = zeptaOpen("TEST");
        ASSERT_TRUE(WaitConnected(handle_)) << DrainLog();
        EXPECT_EQ(zeptaGetDevice(handle_), model.kind);
        EXPECT_STREQ(zeptaGetSerialNumber(handle_), "LAN77");
        EXPECT_TRUE(Received(device, [&](const ReceivedDatagram& d) { return HasForm(d, model.form); }));
        if (model.form != Form::Short) {
            zeptaSetOriginMode(handle_, 1);
            EXPECT_TRUE(Received(device, [&](const ReceivedDatagram& d) { return IsOrigin(d, model); }));
        }
        EXPECT_EQ(zeptaClose(handle_), handle_);
        handle_ = -1;
        const Datagrams all = device.Received();
        EXPECT_TRUE(std::all_of(all.begin(), all.end(), [&](const ReceivedDatagram& d) { return HasForm(d, model.form); }));
        const std::string log = DrainLog();
        EXPECT_NE(log.find(std::string("LAN mode started.\n") + model.foundText + "LAN77\n"), std::string::npos) << log;
        EXPECT_NE(log.find("LAN mode stopped.\n"), std::string::npos) << log;
    }
}

// While the device answers "CACK" it is calibrating: every frame restarts the
// speed derivation, so speeds go out at 0.67 and the acceleration at its ceiling.
TEST_F(LanSession, CalibratingDeviceGetsResetFrames)
{
    LanDeviceEmulator device(Device("KORVEGRANDEQX", "QX2"));
    handle_ = zeptaOpen("TEST");
    ASSERT_TRUE(WaitConnected(handle_)) << DrainLog();
    zepta_tools::AckScript calibrating;
    calibrating.replies = {"CACK"};
    device.SetAckScript(calibrating);
    ASSERT_TRUE(WaitUntil([this] { return zeptaGetState(handle_) == ZEPTA_STATE_CALIBRATING; }, 10s));
    device.ClearReceived();
    const _korve_data_packet packet = NeutralPacket();
    zeptaWrite(handle_, &packet);
    EXPECT_TRUE(Received(device, [](const ReceivedDatagram& d) {
        return std::all_of(&d.words[7], &d.words[13], [](std::uint16_t word) { return word == 10050; }) &&
               d.words[13] == 9800;
    }));
    EXPECT_TRUE(zeptaIsRunning(handle_));
}

TEST_F(LanSession, AssignedSerialSelectsThatDeviceAndQueuedTextCommandsNeverReachIt)
{
    LanDeviceEmulator first(Device("KORVE4DOF", "FIRST", "127.0.0.2"));
    LanDeviceEmulator second(Device("KORVE2DOF", "SECOND", "127.0.0.3"));
    handle_ = zeptaOpenSerialAssign("TEST", "SECOND");
    ASSERT_TRUE(WaitConnected(handle_)) << DrainLog();
    EXPECT_EQ(zeptaGetDevice(handle_), ZEPTA_DEVICE_KORVE_2DOF);
    _korve_data_packet packet = NeutralPacket();
    packet.commandCount = 3;
    std::strcpy(packet.commandBuffer, "secret");
    for (int frame = 0; frame < 3; ++frame) zeptaWrite(handle_, &packet);
    ASSERT_TRUE(second.WaitForCount(3, 10s));
    for (const auto& datagram : second.Received()) EXPECT_TRUE(HasForm(datagram, Form::Full)) << datagram.bytes;
    EXPECT_TRUE(first.Received().empty());
    const std::string log = DrainLog();
    EXPECT_NE(log.find("SECOND: LAN device found: SECOND\nSECOND: Assigned the device: SECOND\n"), std::string::npos)
        << log;
}

}  // namespace
