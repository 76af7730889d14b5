#include "motion/stewart_platform.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>

#include "motion/pose_math.h"
#include "motion/stewart_platform_inline.h"

using ZEPTASDK::DegreesToRadians;
using ZEPTASDK::Dot;
using ZEPTASDK::Norm;
using ZEPTASDK::RadiansToDegrees;
using ZEPTASDK::ScalePose;

namespace {

const char* const kBaseAnglesCountError = "base_angles must have 6 elements";
const char* const kTopAnglesCountError = "top_angles must have 6 elements";

// Below this a leg or a home direction counts as having no direction.
constexpr double kMinLegLength = 1e-9;
// A soft-limit change larger than this reports the result as limited.
constexpr double kSoftLimitReportThreshold = 1e-6;
// The row of a homogeneous transform below the rotation and the translation.
constexpr std::size_t kHomogeneousRow = 3;

using Vec3 = StewartPlatform::Vec3;

std::array<Vec3, StewartPlatform::kActuators> AnchorsOnCircle(const std::vector<double>& angles,
                                                              double diameter)
{
    std::array<Vec3, StewartPlatform::kActuators> anchors{};
    for (std::size_t i = 0; i < anchors.size(); ++i) {
        const double a = DegreesToRadians(angles[i]);
        anchors[i] = {std::cos(a) * diameter / 2.0, std::sin(a) * diameter / 2.0, 0.0};
    }
    return anchors;
}

// A length compressed towards the stroke ends once it passes lower or upper,
// the ends of the stroke moved in by the margin m.
double Compressed(double length, double lower, double upper, double m)
{
    if (length > upper) return upper + m * (1.0 - std::exp(-(length - upper) / m));
    if (length < lower) return lower - m * (1.0 - std::exp(-(lower - length) / m));
    return length;
}

using Cosines = std::array<double, StewartPlatform::kActuators>;

// Cosines closer than this to the smallest one get their angle measured: acos
// is not correctly rounded, so between nearly equal arguments its results may
// come out in either order.
constexpr double kCosineTie = 1e-9;

bool IsNaN(double value)
{
    return std::isnan(value);
}

double AngleOf(double cosine)
{
    return RadiansToDegrees(std::acos(cosine));
}

// The largest of the legs' angles, in degrees. acos falls as its argument
// rises, so only the smallest cosines can give it; the others are skipped. A
// NaN cosine (from a non-finite leg) gives a NaN angle, which makes the pose
// unacceptable. The cosines are clamped, so their sum is NaN exactly when one
// of them is: the first NaN is looked for only then.
double LargestAngle(const Cosines& cosines)
{
    double sum = 0.0;
    double smallest = cosines[0];
    for (double c : cosines) {
        sum += c;
        smallest = std::min(smallest, c);
    }
    if (std::isnan(sum)) return AngleOf(*std::find_if(cosines.begin(), cosines.end(), IsNaN));
    double largest = 0.0;
    for (double c : cosines) {
        if (c <= smallest + kCosineTie) largest = std::max(largest, AngleOf(c));
    }
    return largest;
}

}  // namespace

StewartPlatform::StewartPlatform(double baseDiameter, double platformDiameter, double height,
                                 double shortest, double longest,
                                 const std::vector<double>& baseAngles,
                                 const std::vector<double>& topAngles)
    : minLength(shortest), maxLength(longest), homeHeight(height)
{
    if (baseAngles.size() != kActuators) throw std::invalid_argument(kBaseAnglesCountError);
    if (topAngles.size() != kActuators) throw std::invalid_argument(kTopAnglesCountError);
    baseAnchors = AnchorsOnCircle(baseAngles, baseDiameter);
    platformAnchors = AnchorsOnCircle(topAngles, platformDiameter);
    for (std::size_t i = 0; i < kActuators; ++i) {
        const Vec3 leg{platformAnchors[i][0] - baseAnchors[i][0],
                       platformAnchors[i][1] - baseAnchors[i][1],
                       platformAnchors[i][2] + homeHeight - baseAnchors[i][2]};
        homeLengths[i] = Norm(leg);
        homeDirections[i] = homeLengths[i] > kMinLegLength
                                ? Vec3{leg[0] / homeLengths[i], leg[1] / homeLengths[i],
                                       leg[2] / homeLengths[i]}
                                : Vec3{0.0, 0.0, 1.0};
    }
}

StewartPlatform::Transform StewartPlatform::buildTransform(const Pose& pose,
                                                          CoordinateSystem system) const
{
    const Rotation rotation = RotationOf(TrigOf(pose));
    const Vec3 translation = TranslationOf(pose, rotation, system);
    Transform t{};
    for (std::size_t row = 0; row < rotation.size(); ++row) {
        t[row] = {rotation[row][0], rotation[row][1], rotation[row][2], translation[row]};
    }
    t[kHomogeneousRow] = {0.0, 0.0, 0.0, 1.0};
    return t;
}

StewartPlatform::LegState StewartPlatform::LegStateOf(const Pose& pose,
                                                      CoordinateSystem system) const
{
    const Orientation orientation = Orient(TrigOf(pose));
    return LegStateAt(orientation, TranslationOf(pose, orientation.rotation, system));
}

StewartPlatform::LegState StewartPlatform::LegStateAt(const Orientation& orientation,
                                                      const Vec3& translation) const
{
    const ZEPTASDK::LegsByAxis legs =
        ZEPTASDK::LegsOf(orientation.turnedAnchors, translation, BaseByAxis());
    LegState state{ZEPTASDK::LengthsOf(legs), 0.0};
    Cosines cosines{};
    for (std::size_t i = 0; i < kActuators; ++i) {
        const Vec3 leg{legs[0][i], legs[1][i], legs[2][i]};
        cosines[i] = Dot(leg, homeDirections[i]) / state.lengths[i];
    }
    for (std::size_t i = 0; i < kActuators; ++i) {
        // A leg too short to have a direction counts as unbent.
        cosines[i] = state.lengths[i] < kMinLegLength ? 1.0 : std::clamp(cosines[i], -1.0, 1.0);
    }
    state.maxAngle = LargestAngle(cosines);
    return state;
}

double StewartPlatform::AngleLimit() const
{
    return maxJointAngle - jointAngleMargin;
}

bool StewartPlatform::InStroke(const Lengths& lengths) const
{
    return std::all_of(lengths.begin(), lengths.end(),
                       [this](double l) { return l >= minLength && l <= maxLength; });
}

// A NaN angle (from a non-finite leg) counts as bending too far.
bool StewartPlatform::BendsTooFar(double angle) const
{
    return !(angle <= AngleLimit());
}

bool StewartPlatform::IsAcceptable(const LegState& legs) const
{
    return InStroke(legs.lengths) && !(angleCheckEnabled && BendsTooFar(legs.maxAngle));
}

double StewartPlatform::LargestAcceptableFraction(const Pose& pose, CoordinateSystem system) const
{
    double low = 0.0;
    double high = 1.0;
    for (std::int32_t step = 0; step < bisectionSteps; ++step) {
        const double mid = (low + high) / 2.0;
        if (IsAcceptable(LegStateOf(ScalePose(pose, mid), system))) {
            low = mid;
        } else {
            high = mid;
        }
    }
    return low;
}

// Lengths within softMargin of a stroke end are compressed exponentially, so
// the actuator approaches its end stop smoothly and never reaches it. A margin
// that does not fit twice into the stroke leaves a plain clamp.
StewartPlatform::Lengths StewartPlatform::SoftLimited(const Lengths& raw) const
{
    const double shortest = minLength;
    const double longest = maxLength;
    const double m = softMargin;
    Lengths lengths;
    if (!(m > 0.0 && m <= (longest - shortest) / 2.0)) {
        for (std::size_t i = 0; i < kActuators; ++i) {
            lengths[i] = std::clamp(raw[i], shortest, longest);
        }
        return lengths;
    }
    for (std::size_t i = 0; i < kActuators; ++i) {
        lengths[i] = Compressed(raw[i], shortest + m, longest - m, m);
    }
    return lengths;
}

double StewartPlatform::Normalise(double length) const
{
    return std::clamp((length - minLength) / (maxLength - minLength), 0.0, 1.0);
}

double StewartPlatform::ToLength(double value) const
{
    return minLength + value * (maxLength - minLength);
}

// The pose actually used: the request, or the largest acceptable fraction of
// it when the checks are on and it is not acceptable.
StewartPlatform::ChosenPose StewartPlatform::ChoosePose(const Pose& pose,
                                                        CoordinateSystem system) const
{
    if (!ZEPTASDK::IsFinitePose(pose)) {
        // Nothing sensible can be scaled from a non-finite request: rest instead.
        return {Pose{}, LegStateOf(Pose{}, system), 0.0, true, false};
    }
    const LegState requested = LegStateOf(pose, system);
    if (!limitsEnabled || !rangeCheckEnabled) return {pose, requested, 1.0, false, false};
    const bool angleLimited = angleCheckEnabled && BendsTooFar(requested.maxAngle);
    if (IsAcceptable(requested)) return {pose, requested, 1.0, false, angleLimited};
    const double scale = LargestAcceptableFraction(pose, system);
    const Pose scaled = ScalePose(pose, scale);
    return {scaled, LegStateOf(scaled, system), scale, true, angleLimited};
}

// Worked on local copies: writes through a result could alias this
// platform's limits and force them to be reread for every leg. The flags are
// gathered without branching, so the legs are checked side by side.
StewartPlatform::Stroke StewartPlatform::StrokeOf(const Lengths& raw) const
{
    const Lengths lengths = softLimitEnabled ? SoftLimited(raw) : raw;
    const double shortest = minLength;
    const double longest = maxLength;
    bool softened = false;
    bool withinStroke = true;
    ActuatorValues values;
    for (std::size_t i = 0; i < kActuators; ++i) {
        softened |= std::fabs(lengths[i] - raw[i]) > kSoftLimitReportThreshold;
        withinStroke &= lengths[i] >= shortest && lengths[i] <= longest;
        values[i] = Normalise(lengths[i]);
    }
    return {values, lengths, softened, withinStroke};
}

// The result is built in one go rather than default-constructed and filled:
// that would clear the whole of it first, only to overwrite it. The joint
// angle is not reported here, so maxAngle stays zero.
StewartPlatform::FrameResult StewartPlatform::SafeLengths(const Pose& pose,
                                                          CoordinateSystem system) const
{
    const ChosenPose chosen = ChoosePose(pose, system);
    const Stroke stroke = StrokeOf(chosen.legs.lengths);
    return {stroke.values,        stroke.lengths,
            chosen.pose,          chosen.scale,
            0.0,                  chosen.limited || stroke.softened,
            chosen.angleLimited,  stroke.withinStroke};
}

StewartPlatform::SafeResult StewartPlatform::GetActuatorLengthsSafe(const Pose& pose,
                                                                  CoordinateSystem system) const
{
    return ToSafeResult(SafeLengths(pose, system));
}

StewartPlatform::SafeResult StewartPlatform::ToSafeResult(const FrameResult& frame)
{
    SafeResult result;
    result.values.assign(frame.values.begin(), frame.values.end());
    result.lengths.assign(frame.lengths.begin(), frame.lengths.end());
    result.pose = ZEPTASDK::PoseToVector(frame.pose);
    result.scale = frame.scale;
    result.maxAngle = frame.maxAngle;
    result.limited = frame.limited;
    result.angleLimited = frame.angleLimited;
    result.withinStroke = frame.withinStroke;
    return result;
}
