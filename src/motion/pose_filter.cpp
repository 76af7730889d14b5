#include "motion/pose_filter.h"

#include <algorithm>
#include <cmath>

namespace ZEPTASDK {

namespace {

// K = 1 + 200 * acceleration, evaluated in single precision.
constexpr float kTimeScaleBase = 1.0f;
constexpr float kTimeScalePerAcceleration = 200.0f;
// Accelerations are normalised; outside 0..1 the discretisation could lose its
// stability (K <= 0) or overflow, so the coefficients never see such values.
constexpr float kMinAcceleration = 0.0f;
constexpr float kMaxAcceleration = 1.0f;
// The rate limit is the packet's first axis speed times this.
constexpr double kRateLimitPerSpeed = 5.0;

void Prime(FilterChannel& c, double value)
{
    c.primed = true;
    c.limited = c.input1 = c.input2 = c.output1 = c.output2 = value;
}

// Rate limit, then the low-pass biquad on the limited value.
double Step(FilterChannel& c, double input)
{
    // A non-finite input (a mix that overflowed) holds the channel.
    if (!std::isfinite(input)) input = c.primed ? c.limited : 0.0;
    if (!c.primed) {
        Prime(c, input);
        return input;
    }
    const double maxStep = c.rateLimit * c.stepScale;
    c.limited += std::clamp(input - c.limited, -maxStep, maxStep);
    const FilterCoefficients& k = c.coefficients;
    const double output = k.lowPassOuter * c.limited + k.lowPassCenter * c.input1 +
                          k.lowPassOuter * c.input2 + k.feedback1 * c.output1 +
                          k.feedback2 * c.output2;
    if (!std::isfinite(output)) {
        // Never carry a non-finite value into the next frame.
        Prime(c, c.limited);
        return c.limited;
    }
    c.input2 = c.input1;
    c.input1 = c.limited;
    c.output2 = c.output1;
    c.output1 = output;
    return output;
}

// A non-finite or negative speed holds the channel where it is.
double RateLimitFor(float speedAxis1)
{
    const double limit = static_cast<double>(speedAxis1) * kRateLimitPerSpeed;
    return std::isfinite(limit) && limit > 0.0 ? limit : 0.0;
}

}  // namespace

FilterCoefficients ComputeFilterCoefficients(double w, double z, float acceleration)
{
    const double k = kTimeScaleBase + kTimeScalePerAcceleration * acceleration;
    const double k2 = k * k;
    const double w2k2 = w * w * k2;
    const double d = 4.0 + 4.0 * z * w * k + w2k2;
    FilterCoefficients c;
    c.lowPassOuter = w2k2 / d;
    c.lowPassCenter = 2.0 * w2k2 / d;
    c.feedback1 = (8.0 - 2.0 * w2k2) / d;
    c.feedback2 = (4.0 * z * w * k - 4.0 - w2k2) / d;
    return c;
}

void PoseFilter::Preset()
{
    const FilterCoefficients coefficients =
        ComputeFilterCoefficients(kPresetNaturalFrequency, kPresetDamping, kPresetAcceleration);
    for (FilterChannel& c : channels) {
        c = FilterChannel{};
        c.naturalFrequency = kPresetNaturalFrequency;
        c.damping = kPresetDamping;
        c.stepScale = kPresetStepScale;
        c.rateLimit = kPresetRateLimit;
        c.coefficients = coefficients;
    }
    coefficientAcceleration = kPresetAcceleration;
}

void PoseFilter::UpdateCoefficients(float acceleration)
{
    // A non-finite acceleration keeps the coefficients of the last good one.
    if (!std::isfinite(acceleration)) return;
    const float a = std::clamp(acceleration, kMinAcceleration, kMaxAcceleration);
    if (a == coefficientAcceleration) return;
    coefficientAcceleration = a;
    for (FilterChannel& c : channels) {
        c.coefficients = ComputeFilterCoefficients(c.naturalFrequency, c.damping, a);
    }
}

PoseFilter::Values PoseFilter::Process(const Values& input, float acceleration, float speedAxis1)
{
    UpdateCoefficients(acceleration);
    const double rateLimit = RateLimitFor(speedAxis1);
    Values output{};
    for (std::size_t i = 0; i < kChannels; ++i) {
        channels[i].rateLimit = rateLimit;
        output[i] = Step(channels[i], input[i]);
    }
    return output;
}

}  // namespace ZEPTASDK
