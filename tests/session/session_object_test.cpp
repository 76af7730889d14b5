// The session object on the application's side without a running thread, and
// the queue of text commands that Write fills.
#include <gtest/gtest.h>

#include <cstddef>
#include <string>
#include <vector>

#include "session/command_queue.h"
#include "zepta/ZEPTA.hpp"

namespace {

using ZEPTASDK::CommandQueue;
using ZEPTASDK::ZEPTA;
using Texts = std::vector<std::string>;

TEST(SessionObject, NewSessionReadsItsInitialValues)
{
    ZEPTA session;
    EXPECT_FALSE(session.GetOriginMode());
    EXPECT_EQ(session.GetAxisProcessingMode(), ZEPTA_AXIS_BASE);
    EXPECT_EQ(session.GetSpeedGainMode(), ZEPTA_SPEED_DEFAULT);
    EXPECT_EQ(session.GetState(), ZEPTA_STATE_INITIAL);
    EXPECT_EQ(session.GetZEPTADevice(), ZEPTA_DEVICE_NONE);
    EXPECT_STREQ(session.GetVersion(), "5.01");
    EXPECT_TRUE(session.IsRunning());
    EXPECT_TRUE(session.GetZEPTAStatus());
    EXPECT_EQ(session.GetStatusEXT4(), 0);
    EXPECT_STREQ(session.GetZEPTASerialNumber(), "");
    EXPECT_STREQ(session.GetAppCode(), "");
    EXPECT_EQ(session.Write(nullptr), 0);
    // Closing a session that never ran, twice, only marks it stopped.
    session.Close();
    session.Close();
    EXPECT_FALSE(session.GetZEPTAStatus());
    EXPECT_EQ(session.GetZEPTASerialNumber(), ZEPTA().GetZEPTASerialNumber());  // one buffer for all
}

TEST(SessionObject, DefaultPacketIsZeroBesideItsNeutralValues)
{
    _korve_data_packet packet = ZEPTASDK::DefaultZEPTAPacket();
    packet.rotMR = 0.0f;
    const char* bytes = reinterpret_cast<const char*>(&packet);
    EXPECT_EQ(std::string(bytes + offsetof(_korve_data_packet, roll), bytes + sizeof packet), std::string(304, '\0'));
}

TEST(CommandQueue, QueuesEachTextAsOftenAsAskedOldestFirstUpToOneHundred)
{
    CommandQueue queue;
    auto add = [&queue](const std::string& text, int32_t count) {
        _korve_data_packet packet = ZEPTASDK::DefaultZEPTAPacket();
        text.copy(packet.commandBuffer, sizeof packet.commandBuffer);
        packet.commandCount = count;
        queue.Add(packet);
    };
    auto takeAll = [&queue] {
        Texts texts;
        while (auto text = queue.Take()) texts.push_back(*text);
        return texts;
    };
    add("a1", 2);
    add("zero", 0);
    add("negative", -3);
    add("b", 1);
    EXPECT_EQ(takeAll(), (Texts{"a1", "a1", "b"}));
    add("x", 60);
    add("y", 60);
    const Texts texts = takeAll();
    ASSERT_EQ(texts.size(), 100u);
    EXPECT_EQ(texts[59] + texts[60], "xy");
    // A text without its NUL ends with the buffer.
    const std::string full(256, 'z');
    add(full, 1);
    EXPECT_EQ(takeAll(), (Texts{full}));
}

}  // namespace
