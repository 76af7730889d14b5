// The emulated vehicle's physics: what a rig does with its samples is judged
// by them, so the relations between its quantities must hold exactly.
#include <gtest/gtest.h>

#include <cmath>

#include "game_emulator/vehicle_model.h"

namespace {

using zepta_tools::Scenario;
using zepta_tools::VehicleModel;

constexpr double kDt = 0.01;

// Drives until `seconds` of wall time have passed and returns the model.
VehicleModel DriveTo(Scenario scenario, double seconds)
{
    VehicleModel model(scenario);
    for (int step = 0; step < std::lround(seconds / kDt); ++step) model.Advance(kDt);
    return model;
}

TEST(VehicleModel, LapBrakesNoseDownAndCornersLeftRightSideDown)
{
    // 4.5 s into the lap: braking from 40 to 20 m/s over 2.5 s, 1.5 s in.
    const VehicleModel braking = DriveTo(Scenario::Lap, 4.5);
    EXPECT_DOUBLE_EQ(braking.Sample().accelFwd, -8.0);
    EXPECT_NEAR(braking.Sample().speed, 28.0, 1e-9);
    EXPECT_NEAR(braking.Sample().pitch, 0.04, 1e-4);   // settled lean: 0.005 rad per m/s^2
    EXPECT_DOUBLE_EQ(braking.Sample().accelLeft, 0.0);
    // 8 s in: the steady left corner, 20 m/s on a 50 m radius.
    const VehicleModel cornering = DriveTo(Scenario::Lap, 8.0);
    EXPECT_NEAR(cornering.Sample().accelLeft, 8.0, 1e-9);
    EXPECT_NEAR(cornering.Sample().yawRate, 0.4, 1e-12);
    EXPECT_NEAR(cornering.Sample().roll, 0.048, 1e-4);
    EXPECT_DOUBLE_EQ(cornering.Sample().accelFwd, 0.0);
    // 22 s in: the steady right corner, 18 m/s on a 40 m radius.
    const VehicleModel right = DriveTo(Scenario::Lap, 22.0);
    EXPECT_NEAR(right.Sample().accelLeft, -8.1, 1e-9);
    EXPECT_LT(right.Sample().roll, 0.0);
}

TEST(VehicleModel, RatesIntegrateToTheAngles)
{
    VehicleModel model(Scenario::Slalom);
    double pitch = 0.0, roll = 0.0, yaw = 0.0;
    for (int step = 0; step < 300; ++step) {
        const zepta_ride::MotionSample& s = model.Advance(kDt);
        pitch += s.pitchRate * kDt;
        roll += s.rollRate * kDt;
        yaw += s.yawRate * kDt;
    }
    EXPECT_NEAR(model.Sample().pitch, pitch, 1e-12);
    EXPECT_NEAR(model.Sample().roll, roll, 1e-12);
    EXPECT_NEAR(model.Sample().yaw, std::remainder(yaw, 2 * M_PI), 1e-12);
    // 3 s: the peak of the right-hand swing, 20 m/s on a 40 m radius.
    EXPECT_NEAR(model.Sample().accelLeft, -10.0, 1e-6);
}

TEST(VehicleModel, BrakeScenarioStopsAndBumpsPushUpThenDown)
{
    const VehicleModel stopped = DriveTo(Scenario::Brake, 9.0);
    EXPECT_DOUBLE_EQ(stopped.Sample().speed, 0.0);
    EXPECT_DOUBLE_EQ(stopped.Sample().accelFwd, 0.0);
    // A bump is one sine of 6 m/s^2 over 0.3 s, every 2 s.
    EXPECT_NEAR(DriveTo(Scenario::Bumps, 2.05).Sample().accelUp, 6.0 * std::sin(M_PI / 3), 1e-6);
    EXPECT_NEAR(DriveTo(Scenario::Bumps, 2.2).Sample().accelUp, -6.0 * std::sin(M_PI / 3), 1e-6);
    EXPECT_DOUBLE_EQ(DriveTo(Scenario::Bumps, 2.5).Sample().accelUp, 0.0);
}

TEST(VehicleModel, PauseFreezesTheGameWithItsFlagDown)
{
    VehicleModel model = DriveTo(Scenario::Pause, 9.0);
    EXPECT_FALSE(model.Sample().live);
    EXPECT_NEAR(model.GameTime(), 8.0, kDt + 1e-9);   // the step that crosses 8 s may count
    const double speed = model.Sample().speed;
    for (int step = 0; step < 150; ++step) model.Advance(kDt);   // 10.5 s: still paused
    EXPECT_EQ(model.Sample().speed, speed);
    for (int step = 0; step < 100; ++step) model.Advance(kDt);   // 11.5 s: driving again
    EXPECT_TRUE(model.Sample().live);
    EXPECT_NEAR(model.GameTime(), 8.5, kDt + 1e-9);
}

TEST(VehicleModel, ScenarioNamesRoundTrip)
{
    for (const std::string& name : zepta_tools::ScenarioNames()) {
        Scenario scenario{};
        ASSERT_TRUE(zepta_tools::ParseScenarioName(name, scenario));
        EXPECT_EQ(zepta_tools::ScenarioName(scenario), name);
    }
    Scenario scenario{};
    EXPECT_FALSE(zepta_tools::ParseScenarioName("drift", scenario));
}

}  // namespace
