// The second-order smoothing of the six pose channels of a six-actuator
// platform, with a per-frame rate limit in front of it.
#ifndef ZEPTA_MOTION_POSE_FILTER_H
#define ZEPTA_MOTION_POSE_FILTER_H

#include <array>
#include <cstddef>

namespace ZEPTASDK {

// Tustin discretisation of a second-order system with natural frequency w and
// damping z, for K = 1 + 200 * acceleration and D = 4 + 4zwK + w^2 K^2.
struct FilterCoefficients {
    double lowPassOuter = 0.0;     // w^2 K^2 / D, on the newest and the oldest input
    double lowPassCenter = 0.0;    // 2 w^2 K^2 / D, on the previous input
    double feedback1 = 0.0;        // (8 - 2 w^2 K^2) / D, on the previous output
    double feedback2 = 0.0;        // (4zwK - 4 - w^2 K^2) / D, on the output before
};

FilterCoefficients ComputeFilterCoefficients(double naturalFrequency, double damping,
                                             float acceleration);

struct FilterChannel {
    double naturalFrequency = 0.0;
    double damping = 0.0;
    double stepScale = 0.0;  // fraction of the rate limit allowed per frame
    double rateLimit = 0.0;
    FilterCoefficients coefficients;
    // History. An unprimed channel starts at rest on its next input.
    bool primed = false;
    double limited = 0.0;  // last rate-limited input
    double input1 = 0.0;   // rate-limited inputs one and two frames back
    double input2 = 0.0;
    double output1 = 0.0;  // outputs one and two frames back
    double output2 = 0.0;
};

class PoseFilter {
public:
    static constexpr std::size_t kChannels = 6;
    using Values = std::array<double, kChannels>;

    // The values a session gives every channel once a platform is connected.
    static constexpr double kPresetNaturalFrequency = 0.05;
    static constexpr double kPresetDamping = 1.0;
    static constexpr double kPresetStepScale = 0.05;
    static constexpr double kPresetRateLimit = 5.0;
    static constexpr float kPresetAcceleration = 1.0f;

    void Preset();

    // One frame: input in channel order surge, sway, heave, roll, pitch, yaw.
    // The acceleration selects the coefficients; speedAxis1 sets the rate limit.
    Values Process(const Values& input, float acceleration, float speedAxis1);

    const FilterChannel& Channel(std::size_t index) const { return channels[index]; }

private:
    void UpdateCoefficients(float acceleration);

    std::array<FilterChannel, kChannels> channels{};
    float coefficientAcceleration = 0.0f;  // acceleration the coefficients belong to
};

}  // namespace ZEPTASDK

#endif
