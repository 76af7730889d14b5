#include "test_patterns.h"

#include <gtest/gtest.h>

#include <cmath>

#include "cli_errors.h"

namespace {

using zepta_cli::TestPattern;
using zepta_cli::TestPatternPose;

float Largest(const zepta_cli::Pose& pose)
{
    float largest = 0.0f;
    for (float value : pose) largest = std::max(largest, std::fabs(value));
    return largest;
}

TEST(TestPatterns, EveryPatternStartsAndEndsNeutralAndStaysGentle)
{
    for (const std::string& name : zepta_cli::TestPatternNames()) {
        const TestPattern pattern = zepta_cli::TestPatternNamed(name);
        for (double duration : {1.0, 2.5, 10.0}) {
            SCOPED_TRACE(name + " for " + std::to_string(duration) + " s");
            EXPECT_EQ(Largest(TestPatternPose(pattern, 0.0, duration)), 0.0f);
            EXPECT_LT(Largest(TestPatternPose(pattern, duration, duration)), 1e-5f);
            for (double t = 0.0; t <= duration; t += 0.01) {
                ASSERT_LE(Largest(TestPatternPose(pattern, t, duration)), 0.4f);
            }
        }
    }
}

TEST(TestPatterns, SineMovesAndSweepVisitsEachChannelInTurn)
{
    EXPECT_GT(Largest(TestPatternPose(TestPattern::Sine, 5.0, 10.0)), 0.1f);
    EXPECT_EQ(Largest(TestPatternPose(TestPattern::Park, 5.0, 10.0)), 0.0f);
    for (std::size_t channel = 0; channel < zepta_cli::kPoseChannels; ++channel) {
        // A quarter into each of the six slots of a 6 s sweep.
        const zepta_cli::Pose pose = TestPatternPose(TestPattern::Sweep, channel + 0.25, 6.0);
        EXPECT_FLOAT_EQ(pose[channel], 0.4f);
        EXPECT_FLOAT_EQ(Largest(pose), 0.4f);
    }
}

TEST(TestPatterns, UnknownNameIsAUsageError)
{
    EXPECT_THROW(zepta_cli::TestPatternNamed("zigzag"), zepta_cli::UsageError);
}

}  // namespace
