// A small vehicle that drives a scenario: a speed profile and a path
// curvature over time, bumps in the road, and a body that pitches and rolls
// on its springs. Its samples are physically consistent, so that what a rig
// does with them can be judged by eye: forward acceleration is the change of
// speed, lateral acceleration is speed^2 * curvature, and the yaw rate is
// speed * curvature.
#ifndef ZEPTA_TOOLS_VEHICLE_MODEL_H
#define ZEPTA_TOOLS_VEHICLE_MODEL_H

#include <string>
#include <vector>

#include "zepta/ride/motion_sample.hpp"

namespace zepta_tools {

enum class Scenario { Lap, Brake, Slalom, Bumps, Pause };

// "lap", "brake", "slalom", "bumps", "pause".
const char* ScenarioName(Scenario scenario);
bool ParseScenarioName(const std::string& name, Scenario& scenario);
std::vector<std::string> ScenarioNames();

// A stretch of driving: over `seconds` the speed goes linearly from
// startSpeed to endSpeed and the curvature (1/m, + to the left) from
// startCurvature to endCurvature.
struct DriveSegment {
    double seconds;
    double startSpeed;
    double endSpeed;
    double startCurvature;
    double endCurvature;
};

class VehicleModel {
public:
    explicit VehicleModel(Scenario scenario);

    // Moves the model on by dt seconds and returns the vehicle's motion then.
    const zepta_ride::MotionSample& Advance(double dt);

    // Seconds of game time: it stands still while the game is paused.
    double GameTime() const { return gameTime; }
    const zepta_ride::MotionSample& Sample() const { return sample; }

private:
    struct Road {
        double speed;
        double accelFwd;
        double curvature;
    };

    Road RoadAt(double time) const;
    double BumpAccel(double time) const;
    bool PausedAt(double wallTime) const;
    void SettleBody(double dt);

    Scenario scenario;
    std::vector<DriveSegment> segments;  // repeated for ever
    double cycleSeconds = 0.0;
    double wallTime = 0.0;
    double gameTime = 0.0;
    zepta_ride::MotionSample sample;
};

}  // namespace zepta_tools

#endif
