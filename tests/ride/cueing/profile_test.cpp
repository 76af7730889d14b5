#include <gtest/gtest.h>

#include <cmath>
#include <string>

#include "zepta/ride/profile.hpp"
#include "zepta/ride/safety_stage.hpp"
#include "zepta/ride/washout_filter.hpp"

namespace zepta_ride {
namespace {

std::string ErrorOf(const std::string& json)
{
    try {
        ParseProfile(json);
    } catch (const ProfileError& error) {
        return error.what();
    }
    return "accepted";
}

TEST(Profile, WritesEveryKeyAndReadsItBack)
{
    const std::string json = ProfileToJson(DefaultProfile());
    EXPECT_EQ(json.rfind("{\n  \"rate\": 100,\n  \"cueing\": {\n    \"surge\": {\n      \"gain\": 0.5,\n      \"cutoffHz\": 1,\n"
              "      \"damping\": 1,\n      \"returnHz\": 0.2,\n      \"fullScaleMetres\": 0.1\n    },\n", 0), 0u);
    EXPECT_NE(json.find("    \"speed\": 0.667,\n    \"accel\": 0.5\n  }\n}\n"), std::string::npos);
    std::size_t keys = 0;
    for (std::size_t at = json.find(": "); at != std::string::npos; at = json.find(": ", at + 1)) ++keys;
    EXPECT_EQ(keys, 68u + 23u);  // every value, and every section

    Profile changed = DefaultProfile();
    changed.cueing.tilt.maxRateDegPerSec = 2.25;
    changed.safety.yaw.limit = 0.3;
    changed.output.heave.invert = true;
    changed.rateHz = 250;
    EXPECT_EQ(ProfileToJson(ParseProfile(ProfileToJson(changed))), ProfileToJson(changed));
}

TEST(Profile, PartialObjectKeepsTheOtherDefaults)
{
    Profile expected = DefaultProfile();
    expected.cueing.sway.gain = 2.0;
    expected.output.roll.invert = true;
    const std::string json = R"({"cueing": {"sway": {"gain": 2}}, "output": {"roll": {"invert": true}}})";
    EXPECT_EQ(ProfileToJson(ParseProfile(json)), ProfileToJson(expected));
}

TEST(Profile, ErrorsNameTheKeyPath)
{
    EXPECT_EQ(ErrorOf(R"({"cueing": {"surge": {"gain": 11}}})"), "cueing.surge.gain: must be a number from 0 to 10");
    EXPECT_EQ(ErrorOf(R"({"cueing": {"surge": {"gain": "big"}}})"), "cueing.surge.gain: must be a number from 0 to 10");
    EXPECT_EQ(ErrorOf(R"({"rate": 5})"), "rate: must be a number from 10 to 1000");
    EXPECT_EQ(ErrorOf(R"({"rate": 1e400})"), "profile: not valid JSON: a number beyond the range of a double");
    EXPECT_EQ(ErrorOf(R"({"output": {"yaw": {"invert": 1}}})"), "output.yaw.invert: must be true or false");
    EXPECT_EQ(ErrorOf(R"({"cueing": {"tilt": {"maxRate": 2}}})"), "cueing.tilt.maxRate: unknown key");
    EXPECT_EQ(ErrorOf(R"({"safety": {"surge": 0.5}})"), "safety.surge: must be an object");
    EXPECT_EQ(ErrorOf("[1]"), "profile: must be a JSON object");
    EXPECT_EQ(ErrorOf("{\"rate\": ").rfind("profile: not valid JSON: ", 0), 0u);
}

// A profile built in code is held to the same ranges by the stages that take it.
TEST(Profile, StagesRejectValuesOutOfRange)
{
    Profile profile = DefaultProfile();
    profile.safety.rampInSeconds = std::nan("");
    EXPECT_THROW(SafetyStage(profile.safety, profile.rateHz), ProfileError);
    profile = DefaultProfile();
    profile.cueing.heave.damping = -1;
    EXPECT_THROW(WashoutFilter(profile.cueing, profile.rateHz), ProfileError);
    EXPECT_THROW(WashoutFilter(DefaultProfile().cueing, 0.0), ProfileError);
    try {
        ValidateProfile(profile);
        FAIL() << "accepted";
    } catch (const ProfileError& error) {
        EXPECT_STREQ(error.what(), "cueing.heave.damping: must be a number from 0.1 to 5");
    }
}

}  // namespace
}  // namespace zepta_ride
