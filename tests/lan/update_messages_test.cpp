#include "lan/update_messages.h"

#include <gtest/gtest.h>

#include <limits>
#include <stdexcept>

#include "zepta/ZEPTA.hpp"

namespace {

using namespace ZEPTASDK;
using LanUpdate::EncodeBinary;
using LanUpdate::EncodeJson;
using LanUpdate::ScaleByThousand;
using LanUpdate::ScaleToWord;
using Words = std::array<std::uint16_t, LanUpdate::kRecordWords>;

const float kNaN = std::numeric_limits<float>::quiet_NaN();
const float kInfinity = std::numeric_limits<float>::infinity();
const std::int64_t kInt64Max = std::numeric_limits<std::int64_t>::max();
const std::int64_t kInt64Min = std::numeric_limits<std::int64_t>::min();

const char kDefaultShortObject[] = "{\"axis1\":0.5,\"axis2\":0.5,\"spdGain\":0,\"speed\":0.66699999570846558,\"vib\":0}";

// Every field different and exactly representable, so that a swapped key or a
// rounding instead of a truncation shows.
const _korve_data_packet kDistinct{
    0.125f,   0.25f,    0.375f,    0.5f,     0.625f,    0.75f,      // axes
    0.0625f,  0.1875f,  0.3125f,   0.4375f,  0.5625f,   0.6875f,    // speeds
    0.8125f,                                                        // acceleration
    -0.9375f, 0.03125f, -0.09375f, 0.15625f, -0.21875f, 0.28125f,   // roll .. surge
    0.0f,     0.0f,     0.0f,      0.875f,   0.34375f,  0,  {}};    // pose offset, rotMR, graMR

Words Decode(const LanUpdate::BinaryRecord& record)
{
    Words words{};
    for (std::size_t i = 0; i < words.size(); ++i) words[i] = static_cast<std::uint16_t>(record[2 * i] << 8 | record[2 * i + 1]);
    return words;
}

TEST(LanScaling, ByThousandInSinglePrecisionTruncatedAndSaturated)
{
    // In double precision 0.667f × 1000 is 666.99999..., in single precision 667.
    EXPECT_EQ(ScaleByThousand(0.667f), 667);
    EXPECT_EQ(ScaleByThousand(-1.2345f), -1234);
    EXPECT_EQ(ScaleByThousand(-0.0009f), 0);
    EXPECT_EQ(ScaleByThousand(kNaN), 0);
    EXPECT_EQ(ScaleByThousand(kInfinity), kInt64Max);
    EXPECT_EQ(ScaleByThousand(-kInfinity), kInt64Min);
    // Just inside the range the product is converted, not clamped.
    EXPECT_EQ(ScaleByThousand(4e15f), static_cast<std::int64_t>(4e15f * 1000.0f));
}

TEST(LanScaling, ToWordInDoublePrecisionKeepingTheLow16Bits)
{
    // 0.667f × 15000 is 10004.9999... in double precision (10005 in single).
    EXPECT_EQ(ScaleToWord(0.667f, 15000.0), 10004);
    EXPECT_EQ(ScaleToWord(5.0f, 15000.0), 75000 - 65536);
    EXPECT_EQ(ScaleToWord(8.0f, 8192.0), 0);
    EXPECT_EQ(ScaleToWord(-0.5f, 10000.0), 0);
    // Beyond the 32-bit range the conversion saturates before the low bits are taken.
    EXPECT_EQ(ScaleToWord(kInfinity, 10000.0), 0xFFFF);
    EXPECT_EQ(ScaleToWord(1e30f, 15000.0), 0xFFFF);
}

TEST(LanFullObject, EveryFieldUnderItsOwnKeyScaledByThousand)
{
    EXPECT_EQ(EncodeJson(kDistinct, ZEPTA_DEVICE_KORVE_2DOF, ZEPTA_SPEED_FROM_MOTION, ZEPTA_AXIS_PLATFORM, true),
              "{\"acc\":812,\"ax1\":125,\"ax2\":250,\"ax3\":375,\"ax4\":500,\"ax5\":625,\"ax6\":750,\"axisProc\":2,"
              "\"graMR\":343,\"heave\":156,\"isOrg\":true,\"pitch\":31,\"roll\":-937,\"rotMR\":875,\"spd1\":62,"
              "\"spd2\":187,\"spd3\":312,\"spd4\":437,\"spd5\":562,\"spd6\":687,\"spdGain\":1,\"surge\":281,"
              "\"sway\":-218,\"yaw\":-93}");
}

TEST(LanShortObject, UnscaledAxesAndSpeedWithoutModeOrOrigin)
{
    EXPECT_EQ(EncodeJson(DefaultZEPTAPacket(), ZEPTA_DEVICE_MOSSPOD, ZEPTA_SPEED_DEFAULT, ZEPTA_AXIS_MANUAL, false),
              kDefaultShortObject);
    _korve_data_packet packet = kDistinct;
    packet.axis2 = 1.0f;
    EXPECT_EQ(EncodeJson(packet, ZEPTA_DEVICE_MOSSPOD, ZEPTA_SPEED_AS_WRITTEN, ZEPTA_AXIS_PLATFORM, true),
              "{\"axis1\":0.125,\"axis2\":1,\"spdGain\":2,\"speed\":0.0625,\"vib\":0}");
}

TEST(LanShortObject, OnlyANonFiniteSentValueThrows)
{
    for (float _korve_data_packet::*field :
         {&_korve_data_packet::axis1, &_korve_data_packet::axis2, &_korve_data_packet::speedAxis1}) {
        _korve_data_packet packet = DefaultZEPTAPacket();
        packet.*field = kNaN;
        EXPECT_THROW(EncodeJson(packet, ZEPTA_DEVICE_MOSSPOD, ZEPTA_SPEED_DEFAULT, ZEPTA_AXIS_MANUAL, false),
                     std::overflow_error);
    }
    _korve_data_packet unsent = DefaultZEPTAPacket();
    unsent.axis3 = kNaN;
    unsent.speedAxis2 = kInfinity;
    EXPECT_EQ(EncodeJson(unsent, ZEPTA_DEVICE_MOSSPOD, ZEPTA_SPEED_DEFAULT, ZEPTA_AXIS_MANUAL, false),
              kDefaultShortObject);
}

// Decode reads the words big-endian, so equal words mean equal bytes.
TEST(LanBinaryRecord, FourteenWordsWithUniformSpeedOnlyForDefaultGainAndManualAxes)
{
    const Words uniform{14, 1250, 2500, 3750, 5000, 6250, 7500, 937, 937, 937, 937, 937, 937, 8125};
    const Words perAxis{14, 1250, 2500, 3750, 5000, 6250, 7500, 937, 2812, 4687, 6562, 8437, 10312, 8125};
    const unsigned kind = ZEPTA_DEVICE_KICKBOARD_QX;
    EXPECT_EQ(Decode(EncodeBinary(kDistinct, kind, ZEPTA_SPEED_DEFAULT, false, false)), uniform);
    EXPECT_EQ(Decode(EncodeBinary(kDistinct, kind, ZEPTA_SPEED_DEFAULT, true, false)), perAxis);
    EXPECT_EQ(Decode(EncodeBinary(kDistinct, kind, ZEPTA_SPEED_FROM_MOTION, false, false)), perAxis);
    EXPECT_EQ(Decode(EncodeBinary(kDistinct, kind, ZEPTA_SPEED_AS_WRITTEN, false, false)), perAxis);
}

TEST(LanBinaryRecord, OriginReplacesEveryValueByTheKindsFixedOnes)
{
    _korve_data_packet packet = kDistinct;
    packet.axis2 = kNaN;
    const Words grande{14, 300, 300, 300, 300, 300, 300, 5000, 5000, 5000, 5000, 5000, 5000, 800};
    const Words other{14, 5000, 5000, 5000, 5000, 5000, 5000, 5000, 5000, 5000, 5000, 5000, 5000, 800};
    EXPECT_EQ(Decode(EncodeBinary(packet, ZEPTA_DEVICE_GRANDE_QX, ZEPTA_SPEED_DEFAULT, false, true)), grande);
    EXPECT_EQ(Decode(EncodeBinary(packet, ZEPTA_DEVICE_GRANDE_500QX, ZEPTA_SPEED_FROM_MOTION, true, true)), grande);
    EXPECT_EQ(Decode(EncodeBinary(packet, ZEPTA_DEVICE_KICKBOARD_QX, ZEPTA_SPEED_DEFAULT, false, true)), other);
}

}  // namespace
