// The files of `zepta ride`: its datagram recording, read back exactly and
// refused with the offset where it goes wrong, its trace, and the bars of
// its status line.
#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
#include <fstream>
#include <string>

#include "cli_errors.h"
#include "datagram_log.h"
#include "ride_status.h"
#include "ride_trace.h"
#include "support/allocation_counter.h"

namespace {

using zepta_cli::DatagramLogWriter;
using zepta_cli::ReadDatagramLog;

class RideFiles : public ::testing::Test {
protected:
    std::string Path(const std::string& name)
    {
        return ::testing::TempDir() + "ride_files_" + ::testing::UnitTest::GetInstance()->current_test_info()->name() +
               "_" + name;
    }

    static std::string Contents(const std::string& path)
    {
        std::ifstream in(path, std::ios::binary);
        return std::string((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    }

    static void Write(const std::string& path, const std::string& bytes)
    {
        std::ofstream(path, std::ios::binary) << bytes;
    }

    // The refusal of ReadDatagramLog for these file contents.
    std::string Refusal(const std::string& bytes)
    {
        const std::string path = Path("bad.bin");
        Write(path, bytes);
        try {
            ReadDatagramLog(path);
        } catch (const zepta_cli::UsageError& error) {
            return error.what();
        }
        return "accepted";
    }
};

const std::uint8_t kFirst[] = {1, 2, 3};
const std::uint8_t kSecond[] = {0xFF};

TEST_F(RideFiles, RecordingRoundTripsWithItsDocumentedLayout)
{
    const std::string path = Path("log.bin");
    {
        DatagramLogWriter writer(path);
        EXPECT_TRUE(writer.Add(0x0102030405060708ULL, 20777, kFirst, sizeof kFirst));
        EXPECT_TRUE(writer.Add(0x0102030405060708ULL, 5300, nullptr, 0));
        EXPECT_TRUE(writer.Add(0x0102030405060709ULL, 4444, kSecond, sizeof kSecond));
    }
    const std::string bytes = Contents(path);
    EXPECT_EQ(bytes.substr(0, 12), std::string("ZRIDEDGM\x01\0\0\0", 12));
    EXPECT_EQ(bytes.substr(12, 15), std::string("\x08\x07\x06\x05\x04\x03\x02\x01\x29\x51\x03\0\x01\x02\x03", 15));
    EXPECT_EQ(bytes.size(), 12u + 15 + 12 + 13);
    const zepta_cli::DatagramLog log = ReadDatagramLog(path);
    ASSERT_EQ(log.datagrams.size(), 3u);
    EXPECT_EQ(log.datagrams[0].arrivalNs, 0x0102030405060708ULL);
    EXPECT_EQ(log.datagrams[0].port, 20777);
    EXPECT_EQ(log.datagrams[1].length, 0);
    EXPECT_EQ(log.datagrams[2].port, 4444);
    EXPECT_EQ(log.bytes, (std::vector<std::uint8_t>{1, 2, 3, 0xFF}));
    EXPECT_EQ(log.datagrams[2].offset, 3u);
}

TEST_F(RideFiles, BadRecordingsAreRefusedWithTheOffset)
{
    const std::string header("ZRIDEDGM\x01\0\0\0", 12);
    const std::string record("\x10\0\0\0\0\0\0\0\x29\x51\x04\0", 12);
    const std::string bad = Path("bad.bin") + ": ";
    EXPECT_EQ(Refusal(header + record + "abc"), bad + "truncated datagram of 4 bytes at offset 12");
    EXPECT_EQ(Refusal(header + record + "abcd" + record.substr(0, 5)), bad + "truncated datagram header at offset 28");
    EXPECT_EQ(Refusal("time,roll\n"), bad + "not a datagram recording of zepta ride --record (no magic) at offset 0");
    EXPECT_EQ(Refusal(std::string("ZRIDEDGM\x02\0\0\0", 12)), bad + "unknown version 2 at offset 8");
    EXPECT_EQ(Refusal("ZRIDEDGM\x01"), bad + "truncated version at offset 8");
    const std::string earlier("\x0F\0\0\0\0\0\0\0\x29\x51\0\0", 12);
    EXPECT_EQ(Refusal(header + record + "abcd" + earlier), bad + "arrival time goes backwards at offset 28");
    EXPECT_EQ(Refusal(header), "accepted");   // no datagrams at all is a valid recording
}

TEST_F(RideFiles, TraceHasItsHeaderAndOneRowPerFrame)
{
    const std::string path = Path("trace.csv");
    {
        zepta_cli::RideTraceWriter trace(path);
        zepta_ride::MotionSample sample;
        sample.accelFwd = -8.0;
        sample.speed = 28.0;
        sample.live = true;
        zepta_ride::RigPose pose;
        pose.pitch = 0.25;
        trace.Add(1.5, sample, pose, zepta_ride::SafetyState::RampOut);
    }
    EXPECT_EQ(Contents(path),
              "time,accel_fwd,accel_left,accel_up,roll_rate,pitch_rate,yaw_rate,roll,pitch,yaw,speed,live,"
              "out_roll,out_pitch,out_yaw,out_heave,out_sway,out_surge,safety\n"
              "1.5000,-8.0000,0.0000,0.0000,0.0000,0.0000,0.0000,0.0000,0.0000,0.0000,28.000,1,"
              "0.0000,0.2500,0.0000,0.0000,0.0000,0.0000,ramp-out\n");
}

TEST(RideStatus, ChannelBarsGrowFromTheCentre)
{
    EXPECT_EQ(zepta_cli::ChannelBar(0.0), "[    |    ]");
    EXPECT_EQ(zepta_cli::ChannelBar(0.5), "[    |##  ]");
    EXPECT_EQ(zepta_cli::ChannelBar(-1.0), "[####|    ]");
    EXPECT_EQ(zepta_cli::ChannelBar(7.0), "[    |####]");
    EXPECT_EQ(zepta_cli::ChannelBar(std::nan("")), "[    ?    ]");
}

// The rate is counted over at least a second; the line is rebuilt in the
// buffer of the one before, so a running ride's status never allocates.
TEST(RideStatus, LineNamesFormatRateDropsAgeStateAndChannels)
{
    using zepta_ride::DropReason;
    zepta_cli::RideStatus status;
    zepta_cli::StreamSnapshot stream;
    const zepta_cli::RideClock::time_point start{std::chrono::seconds(100)};
    EXPECT_EQ(status.Text(stream, start, zepta_ride::SafetyState::Parked, {}),
              "no game 0 datagrams/s | dropped none | no sample yet | parked | roll [    |    ] pitch [    |    ] "
              "yaw [    |    ] heave [    |    ] sway [    |    ] surge [    |    ]");
    stream.hasSample = true;
    stream.format = zepta_ride::TelemetryFormat::Forza;
    stream.received = 120;
    stream.sampleAt = start + std::chrono::milliseconds(1950);
    stream.dropped[static_cast<std::size_t>(DropReason::WrongSize)] = 3;
    stream.dropped[static_cast<std::size_t>(DropReason::Absurd)] = 1;
    zepta_ride::RigPose pose;
    pose.pitch = 0.5;
    pose.sway = -1.0;
    const auto later = start + std::chrono::seconds(2);
    zepta_test::CountAllocationsOnThisThread();
    zepta_test::StartCountingAllocations();
    const std::string& line = status.Text(stream, later, zepta_ride::SafetyState::Live, pose);
    EXPECT_EQ(zepta_test::StopCountingAllocations(), 0u);
    EXPECT_EQ(line,
              "forza 60 datagrams/s | dropped size 3, absurd 1 | age 0.05 s | live | roll [    |    ] pitch [    |##  ] "
              "yaw [    |    ] heave [    |    ] sway [####|    ] surge [    |    ]");
}

}  // namespace
