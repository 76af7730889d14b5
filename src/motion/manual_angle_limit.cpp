// The joint-angle check for actuator values that the application writes
// itself: find the pose they produce and, if a joint bends too far, pull all
// six values back along the straight line towards the rest position.
#include <algorithm>
#include <cmath>
#include <stdexcept>

#include "motion/pose_math.h"
#include "motion/stewart_platform_inline.h"
#include "motion/stewart_platform.h"

namespace {

const char* const kAxisValuesCountError = "axisValues must have 6 elements";

// The forward solve of each trial: tight enough for an angle measured in
// degrees, short enough that the whole search stays within a frame.
constexpr double kManualTolerance = 0.0001;
constexpr int kManualIterations = 40;

using Values = std::array<double, StewartPlatform::kActuators>;

// reference + fraction * (input - reference); a zero fraction gives the rest
// values exactly, so a non-finite input never survives a full pull-back.
Values Interpolate(const Values& reference, const Values& input, double fraction)
{
    if (fraction == 0.0) return reference;
    Values out{};
    for (std::size_t i = 0; i < out.size(); ++i) {
        out[i] = reference[i] + fraction * (input[i] - reference[i]);
    }
    return out;
}

}  // namespace

StewartPlatform::AxisValues StewartPlatform::RestValues() const
{
    AxisValues rest{};
    for (std::size_t i = 0; i < kActuators; ++i) {
        rest[i] = (homeLengths[i] - minLength) / (maxLength - minLength);
    }
    return rest;
}

// The largest joint angle comes from the pose the solve reached, measured
// with that pose's own orientation.
StewartPlatform::ManualTrial StewartPlatform::TryManualValues(const AxisValues& values,
                                                              StartPoint* start,
                                                              CoordinateSystem system) const
{
    Lengths target{};
    for (std::size_t i = 0; i < kActuators; ++i) target[i] = ToLength(values[i]);
    PoseMeasure reached;
    const ForwardResult solved =
        SolveForward(target, start, system, {kManualIterations, kManualTolerance}, &reached);
    const Orientation& orientation = reached.orientation;
    const double angle =
        LegStateAt(orientation, TranslationOf(solved.pose, orientation.rotation, system)).maxAngle;
    return {solved.converged && !BendsTooFar(angle), solved.pose, angle};
}

// Bisection over the fraction of the way from rest to the input; a trial
// passes only when its solve converged and every joint stays within the limit.
double StewartPlatform::PullBackFraction(const AxisValues& input, StartPoint* start,
                                         CoordinateSystem system, ManualTrial* kept) const
{
    const AxisValues rest = RestValues();
    double low = 0.0;
    double high = 1.0;
    for (std::int32_t step = 0; step < bisectionSteps; ++step) {
        const double mid = (low + high) / 2.0;
        const ManualTrial trial = TryManualValues(Interpolate(rest, input, mid), start, system);
        if (trial.accepted) {
            low = mid;
            *kept = trial;
        } else {
            high = mid;
        }
    }
    return low;
}

bool StewartPlatform::ChecksManualValues() const
{
    return angleCheckEnabled && limitsEnabled;
}

void StewartPlatform::FillManualResult(const AxisValues& values, const ManualTrial& trial,
                                       FrameResult* result) const
{
    result->values = values;
    result->withinStroke = true;
    for (std::size_t i = 0; i < kActuators; ++i) {
        result->lengths[i] = ToLength(values[i]);
        if (!(result->lengths[i] >= minLength && result->lengths[i] <= maxLength)) {
            result->withinStroke = false;
        }
    }
    result->pose = trial.pose;
    result->maxAngle = trial.maxAngle;
}

StewartPlatform::SafeResult StewartPlatform::ApplyManualAngleLimit(
    const std::vector<double>& axisValues, const Pose& guess, CoordinateSystem system) const
{
    if (axisValues.size() != kActuators) throw std::invalid_argument(kAxisValuesCountError);
    if (!ChecksManualValues()) {
        // Unchecked: the values as they are, and nothing measured.
        SafeResult result;
        result.values = axisValues;
        return result;
    }
    AxisValues input{};
    std::copy(axisValues.begin(), axisValues.end(), input.begin());
    return ToSafeResult(LimitManualValues(input, guess, system));
}

StewartPlatform::FrameResult StewartPlatform::LimitManualValues(const ActuatorValues& input,
                                                                const Pose& guess,
                                                                CoordinateSystem system) const
{
    FrameResult result;
    result.values = input;
    if (!ChecksManualValues()) return result;

    const ManualTrial rest{true, Pose{}, 0.0};  // the rest position is the zero pose
    if (!std::all_of(input.begin(), input.end(), [](double v) { return std::isfinite(v); })) {
        // Values that cannot be checked are not sent: rest instead.
        result.scale = 0.0;
        FillPulledBack(input, rest, &result);
        return result;
    }
    // The first check only asks whether the pose found bends too far; unlike
    // the trials of the pull-back it does not insist on a converged solve.
    StartPoint start = StartAt(guess, system);
    const ManualTrial requested = TryManualValues(input, &start, system);
    if (!BendsTooFar(requested.maxAngle)) {
        FillManualResult(input, requested, &result);
        return result;
    }
    ManualTrial kept = rest;
    result.scale = PullBackFraction(input, &start, system, &kept);
    result.angleLimited = true;
    FillPulledBack(input, kept, &result);
    return result;
}

// The values result->scale of the way from rest to the input, with the trial
// that was kept for them.
void StewartPlatform::FillPulledBack(const AxisValues& input, const ManualTrial& kept,
                                     FrameResult* result) const
{
    FillManualResult(Interpolate(RestValues(), input, result->scale), kept, result);
    result->limited = true;
}
