#include "lan_device_emulator.h"

#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <string>

#include "lan/udp_socket.h"
#include "lan_test_support.h"
#include "support/sandbox.h"

namespace {

using zepta_tools::DecodeDatagram;
using Kind = zepta_tools::ReceivedDatagram::Kind;

// 14 (or another first word) followed by first+1 ... first+13, big-endian.
std::string Record(std::uint16_t count, std::uint16_t first)
{
    std::string bytes{static_cast<char>(count >> 8), static_cast<char>(count & 0xFF)};
    for (std::uint16_t word = first + 1; word < first + 14; ++word) {
        bytes += {static_cast<char>(word >> 8), static_cast<char>(word & 0xFF)};
    }
    return bytes;
}

TEST(LanEmulatorDecode, ClassifiesAndDecodesWhatTheDeviceReceives)
{
    EXPECT_EQ(DecodeDatagram("KORVE-PING").kind, Kind::Ping);
    EXPECT_EQ(DecodeDatagram("KORVE-PING ").kind, Kind::Other);
    EXPECT_EQ(DecodeDatagram(Record(15, 0x1200)).kind, Kind::Other);
    EXPECT_EQ(DecodeDatagram(Record(14, 0x1200) + "x").kind, Kind::Other);
    EXPECT_EQ(DecodeDatagram("[1,2]").kind, Kind::Other);
    EXPECT_EQ(DecodeDatagram("{\"a\":").kind, Kind::Other);
    const auto record = DecodeDatagram(Record(14, 0x12F0));
    ASSERT_EQ(record.kind, Kind::Binary);
    EXPECT_EQ(record.words[0], 14);
    EXPECT_EQ(record.words[13], 0x12FD);
    const auto object = DecodeDatagram("{\"big\":9223372036854775807,\"r\":0.25}");
    ASSERT_EQ(object.kind, Kind::Json);
    EXPECT_EQ(object.json.get("big").get<std::int64_t>(), 9223372036854775807);
    EXPECT_EQ(object.json.get("r").get<double>(), 0.25);
}

// Talks to an emulated device at 127.0.0.2 from an ephemeral loopback port.
class LanEmulatorScripts : public zepta_test::SandboxedTest {
protected:
    void SetUp() override
    {
        SandboxedTest::SetUp();
        if (HasFatalFailure()) return;
        ASSERT_TRUE(client.Open());
        ASSERT_TRUE(client.Bind({0x7F000001, 0}));
        zepta_tools::LanDeviceOptions options = zepta_lan_test::DeviceAt(2, "KORVE6DOF", "E1");
        options.listenForPings = false;
        device = std::make_unique<zepta_tools::LanDeviceEmulator>(options);
    }

    // Sends text to the device and returns its next reply, "(none)" when
    // nothing comes within the wait.
    std::string Exchange(const std::string& text, std::chrono::milliseconds wait = zepta_lan_test::kPatience)
    {
        if (!text.empty()) client.SendTo(text.data(), text.size(), kDevice);
        if (!client.WaitReadable(wait)) return "(none)";
        char buffer[512];
        const long received = client.ReceiveFrom(buffer, sizeof buffer, &sender);
        return std::string(buffer, received > 0 ? static_cast<std::size_t>(received) : 0);
    }

    const ZEPTASDK::Ipv4Endpoint kDevice{0x7F000002, 33551};
    ZEPTASDK::UdpSocket client;
    ZEPTASDK::Ipv4Endpoint sender;
    std::unique_ptr<zepta_tools::LanDeviceEmulator> device;
};

TEST_F(LanEmulatorScripts, AcknowledgementsRepeatInOrderUpToTheLimitThenFromAnotherPortLate)
{
    zepta_tools::AckScript script;
    script.replies = {"NACK", "ACK"};
    script.repetitions = 2;
    script.answeredUpdates = 1;
    device->SetAckScript(script);
    EXPECT_EQ(Exchange("{\"n\":1}"), "NACK");
    for (const char* expected : {"ACK", "NACK", "ACK"}) EXPECT_EQ(Exchange(""), expected);
    EXPECT_EQ(sender.port, kDevice.port);
    EXPECT_EQ(Exchange("{\"n\":2}", std::chrono::milliseconds(300)), "(none)");
    ASSERT_TRUE(device->WaitForCount(2, zepta_lan_test::kPatience));
    EXPECT_EQ(device->Received()[1].json.get("n").get<std::int64_t>(), 2);

    zepta_tools::AckScript late;
    late.delay = std::chrono::milliseconds(200);
    late.fromOtherPort = true;
    device->SetAckScript(late);
    const auto sent = std::chrono::steady_clock::now();
    EXPECT_EQ(Exchange("x"), "ACK");
    EXPECT_GE(std::chrono::steady_clock::now() - sent, late.delay);
    EXPECT_EQ(sender.address, kDevice.address);
    EXPECT_NE(sender.port, kDevice.port);
}

}  // namespace
