// The session object on the application's side, without a running thread.
#include <gtest/gtest.h>

#include <cstring>
#include <stdexcept>
#include <string>

#include "zepta/ZEPTA.hpp"

using ZEPTASDK::ZEPTA;

namespace {

TEST(SessionObject, FreshSessionReportsItsInitialValues)
{
    ZEPTA session;
    EXPECT_FALSE(session.GetOriginMode());
    EXPECT_EQ(session.GetAxisProcessingMode(), ZEPTA_AXIS_BASE);
    EXPECT_EQ(session.GetSpeedGainMode(), ZEPTA_SPEED_DEFAULT);
    EXPECT_EQ(session.GetState(), 6);
    EXPECT_EQ(session.GetZEPTADevice(), 0);
    EXPECT_STREQ(session.GetVersion(), "5.01");
    EXPECT_TRUE(session.IsRunning());
    EXPECT_TRUE(session.GetZEPTAStatus());
    EXPECT_EQ(session.GetStatusEXT4(), 0);
    EXPECT_STREQ(session.GetZEPTASerialNumber(), "");
    EXPECT_STREQ(session.GetAppCode(), "");
}

TEST(SessionObject, SettersStoreTheModes)
{
    ZEPTA session;
    session.SetOriginMode(true);
    session.SetAxisProcessingMode(ZEPTA_AXIS_PLATFORM);
    session.SetSpeedGainMode(ZEPTA_SPEED_AS_WRITTEN);
    EXPECT_TRUE(session.GetOriginMode());
    EXPECT_EQ(session.GetAxisProcessingMode(), ZEPTA_AXIS_PLATFORM);
    EXPECT_EQ(session.GetSpeedGainMode(), ZEPTA_SPEED_AS_WRITTEN);
}

TEST(SessionObject, WriteAlwaysReturnsZeroWhateverThePacket)
{
    ZEPTA session;
    _korve_data_packet packet = ZEPTASDK::DefaultZEPTAPacket();
    EXPECT_EQ(session.Write(&packet), 0);
    packet.commandCount = -3;
    EXPECT_EQ(session.Write(&packet), 0);
    // A command text without its NUL is read up to the buffer's end, never past it.
    packet.commandCount = 1000;
    std::memset(packet.commandBuffer, 'x', sizeof packet.commandBuffer);
    EXPECT_EQ(session.Write(&packet), 0);
    EXPECT_EQ(session.Write(nullptr), 0);
}

TEST(SessionObject, SerialNumberBufferIsSharedBetweenSessions)
{
    ZEPTA first;
    ZEPTA second;
    const char* a = first.GetZEPTASerialNumber();
    const char* b = second.GetZEPTASerialNumber();
    EXPECT_EQ(a, b);
}

TEST(SessionObject, CloseWithoutOpenAndTwiceIsHarmless)
{
    ZEPTA session;
    session.Close();
    session.Close();
    EXPECT_FALSE(session.GetZEPTAStatus());
}

TEST(SessionObject, NullTextsRaiseLogicErrorWithoutStartingTheThread)
{
    ZEPTA session;
    EXPECT_THROW(session.Open(nullptr, "S"), std::logic_error);
    EXPECT_THROW(session.Open("APP", nullptr), std::logic_error);
    // The application identifier was stored before the null assignment was found.
    EXPECT_STREQ(session.GetAppCode(), "APP");
    session.Close();
}

}  // namespace
