#include "game_emulator/vehicle_model.h"

#include <cmath>

namespace zepta_tools {

namespace {

constexpr double kPi = 3.14159265358979323846;

struct ScenarioEntry {
    Scenario scenario;
    const char* name;
};

const ScenarioEntry kScenarios[] = {
    {Scenario::Lap, "lap"},       {Scenario::Brake, "brake"}, {Scenario::Slalom, "slalom"},
    {Scenario::Bumps, "bumps"},   {Scenario::Pause, "pause"},
};

// The body on its springs: it leans by these radians per m/s^2 and settles
// with this time constant. Braking dips the nose (pitch +) and a left turn
// throws the body outward, right side down (roll +), as on a real car.
constexpr double kPitchPerAccel = 0.005;
constexpr double kRollPerAccel = 0.006;
constexpr double kBodySeconds = 0.15;

// A bump: one full sine of vertical acceleration (up, then down again) of
// this size and length, once every kBumpPeriod seconds of the bumps scenario.
constexpr double kBumpAccel = 6.0;
constexpr double kBumpSeconds = 0.3;
constexpr double kBumpPeriod = 2.0;

// The pause scenario drives the lap for kDriveSeconds, then the game pauses
// for kPauseSeconds, and so on.
constexpr double kDriveSeconds = 8.0;
constexpr double kPauseSeconds = 3.0;

// A lap: straights, hard braking (about 0.8 g) into a left and a right
// corner (about 0.8 g of lateral acceleration), and the run out of them.
const std::vector<DriveSegment> kLap = {
    {3.0, 40.0, 40.0, 0.0, 0.0},         {2.5, 40.0, 20.0, 0.0, 0.0},
    {1.0, 20.0, 20.0, 0.0, 1.0 / 50},    {3.0, 20.0, 20.0, 1.0 / 50, 1.0 / 50},
    {1.0, 20.0, 22.0, 1.0 / 50, 0.0},    {4.5, 22.0, 40.0, 0.0, 0.0},
    {2.0, 40.0, 40.0, 0.0, 0.0},         {2.75, 40.0, 18.0, 0.0, 0.0},
    {1.0, 18.0, 18.0, 0.0, -1.0 / 40},   {3.0, 18.0, 18.0, -1.0 / 40, -1.0 / 40},
    {1.0, 18.0, 20.0, -1.0 / 40, 0.0},   {5.0, 20.0, 40.0, 0.0, 0.0},
};

// Steady speed, hard braking to rest (8 m/s^2), a wait, and away again.
const std::vector<DriveSegment> kBrake = {
    {5.0, 25.0, 25.0, 0.0, 0.0},
    {3.125, 25.0, 0.0, 0.0, 0.0},
    {3.0, 0.0, 0.0, 0.0, 0.0},
    {6.0, 0.0, 25.0, 0.0, 0.0},
};

// Left and right at 20 m/s, the curvature swinging between +-1/40 per metre.
const std::vector<DriveSegment> kSlalom = {
    {1.0, 20.0, 20.0, 0.0, 1.0 / 40},  {1.0, 20.0, 20.0, 1.0 / 40, 0.0},
    {1.0, 20.0, 20.0, 0.0, -1.0 / 40}, {1.0, 20.0, 20.0, -1.0 / 40, 0.0},
};

const std::vector<DriveSegment> kBumps = {{kBumpPeriod, 15.0, 15.0, 0.0, 0.0}};

const std::vector<DriveSegment>& SegmentsOf(Scenario scenario)
{
    switch (scenario) {
    case Scenario::Brake: return kBrake;
    case Scenario::Slalom: return kSlalom;
    case Scenario::Bumps: return kBumps;
    case Scenario::Lap:
    case Scenario::Pause: break;
    }
    return kLap;
}

double Mix(double from, double to, double share) { return from + (to - from) * share; }

double WrapAngle(double angle) { return std::remainder(angle, 2.0 * kPi); }

}  // namespace

const char* ScenarioName(Scenario scenario)
{
    for (const ScenarioEntry& entry : kScenarios) {
        if (entry.scenario == scenario) return entry.name;
    }
    return "lap";
}

bool ParseScenarioName(const std::string& name, Scenario& scenario)
{
    for (const ScenarioEntry& entry : kScenarios) {
        if (name == entry.name) {
            scenario = entry.scenario;
            return true;
        }
    }
    return false;
}

std::vector<std::string> ScenarioNames()
{
    std::vector<std::string> names;
    for (const ScenarioEntry& entry : kScenarios) names.push_back(entry.name);
    return names;
}

VehicleModel::VehicleModel(Scenario scenario) : scenario(scenario), segments(SegmentsOf(scenario))
{
    for (const DriveSegment& segment : segments) cycleSeconds += segment.seconds;
    const Road road = RoadAt(0.0);
    sample.speed = road.speed;
    sample.live = true;
}

VehicleModel::Road VehicleModel::RoadAt(double time) const
{
    double within = std::fmod(time, cycleSeconds);
    for (const DriveSegment& segment : segments) {
        if (within < segment.seconds) {
            const double share = within / segment.seconds;
            return {Mix(segment.startSpeed, segment.endSpeed, share),
                    (segment.endSpeed - segment.startSpeed) / segment.seconds,
                    Mix(segment.startCurvature, segment.endCurvature, share)};
        }
        within -= segment.seconds;
    }
    const DriveSegment& last = segments.back();
    return {last.endSpeed, 0.0, last.endCurvature};
}

double VehicleModel::BumpAccel(double time) const
{
    if (scenario != Scenario::Bumps) return 0.0;
    const double within = std::fmod(time, kBumpPeriod);
    if (within >= kBumpSeconds) return 0.0;
    return kBumpAccel * std::sin(2.0 * kPi * within / kBumpSeconds);
}

bool VehicleModel::PausedAt(double time) const
{
    if (scenario != Scenario::Pause) return false;
    return std::fmod(time, kDriveSeconds + kPauseSeconds) >= kDriveSeconds;
}

const zepta_ride::MotionSample& VehicleModel::Advance(double dt)
{
    if (!(dt > 0.0)) return sample;
    wallTime += dt;
    // A paused game repeats its last values with the live flag down.
    sample.live = !PausedAt(wallTime);
    if (!sample.live) return sample;
    gameTime += dt;
    const Road road = RoadAt(gameTime);
    sample.speed = road.speed;
    sample.accelFwd = road.accelFwd;
    sample.accelLeft = road.speed * road.speed * road.curvature;
    sample.accelUp = BumpAccel(gameTime);
    sample.yawRate = road.speed * road.curvature;
    sample.yaw = WrapAngle(sample.yaw + sample.yawRate * dt);
    SettleBody(dt);
    return sample;
}

// The body angles move towards their lean exactly as a first-order lag
// would, and the rates are what carried them there in this step.
void VehicleModel::SettleBody(double dt)
{
    const double keep = std::exp(-dt / kBodySeconds);
    const double pitch = -kPitchPerAccel * sample.accelFwd + (sample.pitch + kPitchPerAccel * sample.accelFwd) * keep;
    const double roll = kRollPerAccel * sample.accelLeft + (sample.roll - kRollPerAccel * sample.accelLeft) * keep;
    sample.pitchRate = (pitch - sample.pitch) / dt;
    sample.rollRate = (roll - sample.roll) / dt;
    sample.pitch = pitch;
    sample.roll = roll;
}

}  // namespace zepta_tools
