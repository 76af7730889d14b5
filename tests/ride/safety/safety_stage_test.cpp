// The safety stage at its defaults and 100 frames per second: ramps of 200
// frames, a stale stream after 25 frames, a hold of 50 frames, and no
// channel moving more than 0.04 per frame.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "zepta/ride/safety_stage.hpp"

namespace zepta_ride {
namespace {

constexpr double kRate = 100.0;
constexpr double kNone = std::numeric_limits<double>::infinity();

double Ease(double u) { return u * u * (3 - 2 * u); }

RigPose Uniform(double value) { return {value, value, value, value, value, value}; }

class SafetyStageTest : public ::testing::Test {
protected:
    // Steps `frames` times with a fresh sample of the game in `live`.
    RigPose Run(int frames, const RigPose& cue, bool live = true, double age = 0.0)
    {
        RigPose pose;
        for (int frame = 0; frame < frames; ++frame) pose = stage.Step(cue, age, live);
        return pose;
    }

    SafetyStage stage{DefaultProfile().safety, kRate};
};

TEST_F(SafetyStageTest, WaitsParkedThenRampsInAlongTheEase)
{
    EXPECT_EQ(Run(10, Uniform(0.5), true, kNone).surge, 0.0);
    EXPECT_EQ(stage.State(), SafetyState::Parked);
    EXPECT_EQ(Run(1, Uniform(0.5)).surge, 0.0);  // the first fresh frame starts the ramp where the rig stands
    for (int frame = 1; frame < 200; ++frame) {
        ASSERT_NEAR(stage.Step(Uniform(0.5), 0.0, true).surge, 0.5 * Ease(frame / 200.0), 1e-15) << frame;
        ASSERT_EQ(stage.State(), SafetyState::RampIn);
    }
    EXPECT_EQ(Run(1, Uniform(0.5)).surge, 0.5);
    EXPECT_EQ(stage.State(), SafetyState::Live);
}

TEST_F(SafetyStageTest, LostStreamHoldsThenEasesToNeutral)
{
    Run(300, Uniform(0.4));
    const double held = Run(1, Uniform(-0.2), true, 0.25).roll;  // 0.25 s old still counts
    EXPECT_DOUBLE_EQ(held, 0.4 - 0.04);                         // and the cue slews at 0.04 a frame
    EXPECT_EQ(Run(1, Uniform(-0.2), true, 0.2501).roll, held);
    EXPECT_EQ(stage.State(), SafetyState::Hold);
    EXPECT_EQ(Run(50, Uniform(-0.2), true, 0.5).roll, held);
    EXPECT_EQ(stage.State(), SafetyState::RampOut);
    for (int frame = 1; frame < 200; ++frame) {
        ASSERT_NEAR(stage.Step(Uniform(-0.2), kNone, true).roll, held * (1 - Ease(frame / 200.0)), 1e-15) << frame;
    }
    EXPECT_EQ(Run(1, Uniform(-0.2), true, kNone).roll, 0.0);
    EXPECT_EQ(stage.State(), SafetyState::Parked);
}

// A paused game behaves as a lost stream; when it resumes halfway through
// the ramp out, the ramp in starts from where the rig stands, with no jump.
TEST_F(SafetyStageTest, PauseAndResumeMoveWithoutJumps)
{
    Run(300, Uniform(0.4));
    Run(51, Uniform(0.4), false);
    EXPECT_EQ(stage.State(), SafetyState::RampOut);
    const double halfway = Run(100, Uniform(0.4), false).pitch;
    EXPECT_NEAR(halfway, 0.2, 1e-15);
    EXPECT_EQ(Run(1, Uniform(0.4)).pitch, halfway);
    EXPECT_EQ(stage.State(), SafetyState::RampIn);
    EXPECT_NEAR(Run(100, Uniform(0.4)).pitch, 0.3, 1e-15);
    EXPECT_EQ(Run(100, Uniform(0.4)).pitch, 0.4);
}

TEST_F(SafetyStageTest, SlewLimitsAndMasterGainBoundEveryChannel)
{
    SafetyProfile profile = DefaultProfile().safety;
    profile.masterGain = 0.5;
    profile.heave.limit = 0.3;
    profile.yaw.slewPerSecond = 1.0;
    SafetyStage bounded(profile, kRate);
    RigPose pose;
    for (int frame = 0; frame < 300; ++frame) pose = bounded.Step(Uniform(0.2), 0.0, true);
    EXPECT_EQ(pose.roll, 0.1);
    pose = bounded.Step(Uniform(-1e308), 0.0, true);
    EXPECT_DOUBLE_EQ(pose.roll, 0.1 - 0.04);
    EXPECT_DOUBLE_EQ(pose.yaw, 0.1 - 0.01);
    for (int frame = 0; frame < 100; ++frame) pose = bounded.Step(Uniform(-1e308), 0.0, true);
    EXPECT_EQ(pose.heave, -0.3);
    EXPECT_EQ(pose.surge, -1.0);
}

TEST_F(SafetyStageTest, StopEasesToNeutralForGood)
{
    const double start = Run(300, Uniform(-0.8)).sway;
    stage.RequestStop();
    EXPECT_EQ(stage.State(), SafetyState::Stopping);
    for (int frame = 1; frame < 200; ++frame) {
        ASSERT_NEAR(stage.Step(Uniform(-0.8), 0.0, true).sway, start * (1 - Ease(frame / 200.0)), 1e-15) << frame;
        ASSERT_FALSE(stage.Stopped());
    }
    EXPECT_EQ(Run(1, Uniform(-0.8)).sway, 0.0);
    EXPECT_TRUE(stage.Stopped());
    EXPECT_EQ(Run(100, Uniform(-0.8)).sway, 0.0);
    EXPECT_TRUE(stage.Stopped());
}

TEST_F(SafetyStageTest, BadCuesAndAgesAreSafeAndCounted)
{
    RigPose broken = Uniform(0.3);
    broken.pitch = std::numeric_limits<double>::quiet_NaN();
    broken.yaw = -kNone;
    const RigPose pose = Run(300, broken);
    EXPECT_EQ(pose.roll, 0.3);
    EXPECT_EQ(pose.pitch, 0.0);
    EXPECT_EQ(pose.yaw, 0.0);
    EXPECT_EQ(stage.BadInputs(), 300u);
    Run(1, Uniform(0.3), true, std::nan(""));
    EXPECT_EQ(stage.State(), SafetyState::Hold);
    Run(1, Uniform(0.3), true, -1.0);
    EXPECT_EQ(stage.State(), SafetyState::Hold);
    EXPECT_EQ(stage.BadInputs(), 302u);
}

}  // namespace
}  // namespace zepta_ride
