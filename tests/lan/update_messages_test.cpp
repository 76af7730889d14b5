#include "lan/update_messages.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <stdexcept>

#include "lan/device_types.h"
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

const char kDefaultFullObject[] =
    "{\"acc\":500,\"ax1\":500,\"ax2\":500,\"ax3\":500,\"ax4\":500,\"ax5\":500,\"ax6\":500,\"axisProc\":0,"
    "\"graMR\":0,\"heave\":0,\"isOrg\":false,\"pitch\":0,\"roll\":0,\"rotMR\":1000,\"spd1\":667,\"spd2\":667,"
    "\"spd3\":667,\"spd4\":667,\"spd5\":667,\"spd6\":667,\"spdGain\":0,\"surge\":0,\"sway\":0,\"yaw\":0}";
const char kDefaultShortObject[] = "{\"axis1\":0.5,\"axis2\":0.5,\"spdGain\":0,\"speed\":0.66699999570846558,\"vib\":0}";

Words Decode(const LanUpdate::BinaryRecord& record)
{
    Words words{};
    for (std::size_t i = 0; i < words.size(); ++i) words[i] = static_cast<std::uint16_t>(record[2 * i] << 8 | record[2 * i + 1]);
    return words;
}

// Every field different and exactly representable, so that a swapped key or a
// rounding instead of a truncation shows.
const _korve_data_packet kDistinct{
    0.125f,  0.25f,    0.375f,   0.5f,     0.625f,   0.75f,     // axes
    0.0625f, 0.1875f,  0.3125f,  0.4375f,  0.5625f,  0.6875f,   // speeds
    0.8125f,                                                    // acceleration
    -0.9375f, 0.03125f, -0.09375f, 0.15625f, -0.21875f, 0.28125f,   // roll .. surge
    0.0f,    0.0f,     0.0f,     0.875f,   0.34375f, 0,  {}};   // pose offset, rotMR, graMR

TEST(LanScaleByThousand, MultipliesInSinglePrecisionAndTruncatesTowardZero)
{
    EXPECT_EQ(ScaleByThousand(0.5f), 500);
    // In double precision 0.667f × 1000 is 666.99999..., in single precision 667.
    EXPECT_EQ(ScaleByThousand(0.667f), 667);
    EXPECT_EQ(ScaleByThousand(1.2345f), 1234);
    EXPECT_EQ(ScaleByThousand(-1.2345f), -1234);
    EXPECT_EQ(ScaleByThousand(-0.0004f), 0);
    EXPECT_EQ(ScaleByThousand(-0.0009f), 0);
}

TEST(LanScaleByThousand, NonFiniteAndHugeValuesSaturate)
{
    EXPECT_EQ(ScaleByThousand(kNaN), 0);
    EXPECT_EQ(ScaleByThousand(kInfinity), kInt64Max);
    EXPECT_EQ(ScaleByThousand(-kInfinity), kInt64Min);
    EXPECT_EQ(ScaleByThousand(1e16f), kInt64Max);
    EXPECT_EQ(ScaleByThousand(-1e16f), kInt64Min);
    EXPECT_EQ(ScaleByThousand(std::numeric_limits<float>::max()), kInt64Max);
    // Just inside the range the product is converted, not clamped.
    EXPECT_EQ(ScaleByThousand(4e15f), static_cast<std::int64_t>(4e15f * 1000.0f));
}

TEST(LanScaleToWord, MultipliesInDoublePrecisionAndKeepsLow16Bits)
{
    EXPECT_EQ(ScaleToWord(0.5f, 10000.0), 5000);
    // 0.667f × 15000 is 10004.9999... in double precision (10005 in single).
    EXPECT_EQ(ScaleToWord(0.667f, 15000.0), 10004);
    EXPECT_EQ(ScaleToWord(5.0f, 15000.0), 75000 - 65536);
    EXPECT_EQ(ScaleToWord(8.0f, 8192.0), 0);
    EXPECT_EQ(ScaleToWord(-0.5f, 10000.0), 0);
    EXPECT_EQ(ScaleToWord(kNaN, 10000.0), 0);
    EXPECT_EQ(ScaleToWord(-kInfinity, 10000.0), 0);
    // Beyond the 32-bit range the conversion saturates before the low bits are taken.
    EXPECT_EQ(ScaleToWord(kInfinity, 10000.0), 0xFFFF);
    EXPECT_EQ(ScaleToWord(1e30f, 15000.0), 0xFFFF);
}

TEST(LanFullObject, DefaultPacketExactText)
{
    EXPECT_EQ(EncodeJson(DefaultZEPTAPacket(), LanDevice::kKorve6Dof, ZEPTA_SPEED_DEFAULT, ZEPTA_AXIS_MANUAL, false),
              kDefaultFullObject);
}

TEST(LanFullObject, EveryFieldUnderItsOwnKeyInByteOrder)
{
    EXPECT_EQ(EncodeJson(kDistinct, LanDevice::kKorve2Dof, ZEPTA_SPEED_FROM_MOTION, ZEPTA_AXIS_PLATFORM, true),
              "{\"acc\":812,\"ax1\":125,\"ax2\":250,\"ax3\":375,\"ax4\":500,\"ax5\":625,\"ax6\":750,\"axisProc\":2,"
              "\"graMR\":343,\"heave\":156,\"isOrg\":true,\"pitch\":31,\"roll\":-937,\"rotMR\":875,\"spd1\":62,"
              "\"spd2\":187,\"spd3\":312,\"spd4\":437,\"spd5\":562,\"spd6\":687,\"spdGain\":1,\"surge\":281,"
              "\"sway\":-218,\"yaw\":-93}");
}

TEST(LanFullObject, UsedForEveryTypeButTheShortOne)
{
    const _korve_data_packet packet = DefaultZEPTAPacket();
    for (unsigned type : {LanDevice::kNone, LanDevice::kKorve2Dof, LanDevice::kKorve4Dof, LanDevice::kKorve6Dof,
                          LanDevice::kKorveGrandeQx, LanDevice::kKorveGrande, 7u, 1000u}) {
        EXPECT_EQ(EncodeJson(packet, type, ZEPTA_SPEED_DEFAULT, ZEPTA_AXIS_MANUAL, false), kDefaultFullObject)
            << "type " << type;
    }
}

TEST(LanFullObject, NonFiniteValuesAreConvertedWithoutThrowing)
{
    _korve_data_packet packet = DefaultZEPTAPacket();
    packet.axis1 = kNaN;
    packet.roll = kInfinity;
    packet.yaw = -kInfinity;
    std::string text;
    ASSERT_NO_THROW(text = EncodeJson(packet, LanDevice::kKorve6Dof, ZEPTA_SPEED_DEFAULT, ZEPTA_AXIS_BASE, false));
    EXPECT_NE(text.find("\"ax1\":0,"), std::string::npos) << text;
    EXPECT_NE(text.find("\"roll\":9223372036854775807,"), std::string::npos) << text;
    EXPECT_NE(text.find("\"yaw\":-9223372036854775808}"), std::string::npos) << text;
}

TEST(LanShortObject, DefaultPacketExactText)
{
    EXPECT_EQ(EncodeJson(DefaultZEPTAPacket(), LanDevice::kMossPod, ZEPTA_SPEED_DEFAULT, ZEPTA_AXIS_MANUAL, false),
              kDefaultShortObject);
}

TEST(LanShortObject, CarriesUnscaledAxesAndIgnoresModeAndOrigin)
{
    _korve_data_packet packet = kDistinct;
    packet.axis1 = 0.25f;
    packet.axis2 = 1.0f;
    packet.speedAxis1 = 0.5f;
    EXPECT_EQ(EncodeJson(packet, LanDevice::kMossPod, ZEPTA_SPEED_AS_WRITTEN, ZEPTA_AXIS_PLATFORM, true),
              "{\"axis1\":0.25,\"axis2\":1,\"spdGain\":2,\"speed\":0.5,\"vib\":0}");
}

TEST(LanShortObject, NonFiniteSentValueThrowsOverflowError)
{
    for (float _korve_data_packet::*field :
         {&_korve_data_packet::axis1, &_korve_data_packet::axis2, &_korve_data_packet::speedAxis1}) {
        for (float bad : {kNaN, kInfinity, -kInfinity}) {
            _korve_data_packet packet = DefaultZEPTAPacket();
            packet.*field = bad;
            EXPECT_THROW(EncodeJson(packet, LanDevice::kMossPod, ZEPTA_SPEED_DEFAULT, ZEPTA_AXIS_MANUAL, false),
                         std::overflow_error);
        }
    }
    _korve_data_packet unsent = DefaultZEPTAPacket();
    unsent.axis3 = kNaN;
    unsent.speedAxis2 = kInfinity;
    EXPECT_EQ(EncodeJson(unsent, LanDevice::kMossPod, ZEPTA_SPEED_DEFAULT, ZEPTA_AXIS_MANUAL, false),
              kDefaultShortObject);
}

TEST(LanBinaryRecord, FourteenBigEndianWordsFromThePacket)
{
    const LanUpdate::BinaryRecord record =
        EncodeBinary(DefaultZEPTAPacket(), LanDevice::kKorveGrandeQx, ZEPTA_SPEED_DEFAULT, false, false);
    // 14, then 5000 = 0x1388 for the positions, 10004 = 0x2714 for the speeds.
    EXPECT_EQ(record[0], 0x00);
    EXPECT_EQ(record[1], 0x0E);
    EXPECT_EQ(record[2], 0x13);
    EXPECT_EQ(record[3], 0x88);
    EXPECT_EQ(record[14], 0x27);
    EXPECT_EQ(record[15], 0x14);
    EXPECT_EQ(Decode(record), (Words{14, 5000, 5000, 5000, 5000, 5000, 5000, 10004, 10004, 10004, 10004, 10004, 10004,
                                     5000}));
}

TEST(LanBinaryRecord, UniformSpeedOnlyWithDefaultGainAndManualAxes)
{
    const _korve_data_packet packet = kDistinct;
    const Words uniform{14, 1250, 2500, 3750, 5000, 6250, 7500, 937, 937, 937, 937, 937, 937, 8125};
    const Words perAxis{14, 1250, 2500, 3750, 5000, 6250, 7500, 937, 2812, 4687, 6562, 8437, 10312, 8125};
    EXPECT_EQ(Decode(EncodeBinary(packet, LanDevice::kKorveKickboardQx, ZEPTA_SPEED_DEFAULT, false, false)), uniform);
    EXPECT_EQ(Decode(EncodeBinary(packet, LanDevice::kKorveKickboardQx, ZEPTA_SPEED_DEFAULT, true, false)), perAxis);
    EXPECT_EQ(Decode(EncodeBinary(packet, LanDevice::kKorveKickboardQx, ZEPTA_SPEED_FROM_MOTION, false, false)),
              perAxis);
    EXPECT_EQ(Decode(EncodeBinary(packet, LanDevice::kKorveKickboardQx, ZEPTA_SPEED_AS_WRITTEN, false, false)),
              perAxis);
}

TEST(LanBinaryRecord, OriginReplacesEveryValueByTheTypesFixedOnes)
{
    _korve_data_packet packet = kDistinct;
    packet.axis2 = kNaN;
    packet.speedAxis3 = kInfinity;
    const Words grande{14, 300, 300, 300, 300, 300, 300, 5000, 5000, 5000, 5000, 5000, 5000, 800};
    const Words other{14, 5000, 5000, 5000, 5000, 5000, 5000, 5000, 5000, 5000, 5000, 5000, 5000, 800};
    EXPECT_EQ(Decode(EncodeBinary(packet, LanDevice::kKorveGrandeQx, ZEPTA_SPEED_DEFAULT, false, true)), grande);
    EXPECT_EQ(Decode(EncodeBinary(packet, LanDevice::kKorveGrande500Qx, ZEPTA_SPEED_FROM_MOTION, true, true)), grande);
    EXPECT_EQ(Decode(EncodeBinary(packet, LanDevice::kKorveKickboardQx, ZEPTA_SPEED_DEFAULT, false, true)), other);
}

}  // namespace
