#include "motion/stewart_platform.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>

#include "motion/pose_math.h"

using ZEPTASDK::Add;
using ZEPTASDK::DegreesToRadians;
using ZEPTASDK::Dot;
using ZEPTASDK::Norm;
using ZEPTASDK::RadiansToDegrees;
using ZEPTASDK::ScalePose;
using ZEPTASDK::Subtract;

namespace {

const char* const kBaseAnglesCountError = "base_angles must have 6 elements";
const char* const kTopAnglesCountError = "top_angles must have 6 elements";

// Below this a leg or a home direction counts as having no direction.
constexpr double kMinLegLength = 1e-9;
// A soft-limit change larger than this reports the result as limited.
constexpr double kSoftLimitReportThreshold = 1e-6;
// Row and column of the translation in a homogeneous transform.
constexpr std::size_t kTranslationColumn = 3;
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

Vec3 Apply(const StewartPlatform::Transform& t, const Vec3& p)
{
    Vec3 out{};
    for (std::size_t row = 0; row < out.size(); ++row) {
        out[row] = t[row][0] * p[0] + t[row][1] * p[1] + t[row][2] * p[2] +
                   t[row][kTranslationColumn];
    }
    return out;
}

Vec3 Rotate(const StewartPlatform::Transform& t, const Vec3& v)
{
    return {t[0][0] * v[0] + t[0][1] * v[1] + t[0][2] * v[2],
            t[1][0] * v[0] + t[1][1] * v[1] + t[1][2] * v[2],
            t[2][0] * v[0] + t[2][1] * v[1] + t[2][2] * v[2]};
}

void SetRotation(const StewartPlatform::Pose& pose, StewartPlatform::Transform* t)
{
    const double r = DegreesToRadians(pose.roll);
    const double p = DegreesToRadians(pose.pitch);
    const double y = DegreesToRadians(pose.yaw);
    const double cr = std::cos(r), sr = std::sin(r);
    const double cp = std::cos(p), sp = std::sin(p);
    const double cy = std::cos(y), sy = std::sin(y);
    (*t)[0] = {cp * cy, sr * sp * cy - cr * sy, cr * sp * cy + sr * sy, 0.0};
    (*t)[1] = {cp * sy, sr * sp * sy + cr * cy, cr * sp * sy - sr * cy, 0.0};
    (*t)[2] = {-sp, sr * cp, cr * cp, 0.0};
    (*t)[kHomogeneousRow] = {0.0, 0.0, 0.0, 1.0};
}

void SetTranslation(const Vec3& translation, StewartPlatform::Transform* t)
{
    for (std::size_t row = 0; row < translation.size(); ++row) {
        (*t)[row][kTranslationColumn] = translation[row];
    }
}

bool IsZero(const Vec3& v)
{
    return v[0] == 0.0 && v[1] == 0.0 && v[2] == 0.0;
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
    Transform t{};
    SetRotation(pose, &t);
    const Vec3 translation = system == Platform
                                 ? PlatformTranslation(pose, t)
                                 : Vec3{pose.x, pose.y, pose.z + homeHeight};
    SetTranslation(translation, &t);
    return t;
}

// The pose's translation turned with the platform, raised to the home height
// and, for a pivot away from the origin, moved so that the platform turns
// about the pivot.
StewartPlatform::Vec3 StewartPlatform::PlatformTranslation(const Pose& pose,
                                                           const Transform& rotation) const
{
    Vec3 translation = Rotate(rotation, {pose.x, pose.y, pose.z});
    translation[2] += homeHeight;
    if (IsZero(pivotOffset)) return translation;
    return Add(translation, Subtract(Rotate(rotation, pivotOffset), pivotOffset));
}

// From the base joint of leg i to its platform joint under t.
StewartPlatform::Vec3 StewartPlatform::Leg(const Transform& t, std::size_t i) const
{
    return Subtract(Apply(t, platformAnchors[i]), baseAnchors[i]);
}

StewartPlatform::Lengths StewartPlatform::LengthsOf(const Pose& pose,
                                                    CoordinateSystem system) const
{
    const Transform t = buildTransform(pose, system);
    Lengths lengths{};
    for (std::size_t i = 0; i < kActuators; ++i) lengths[i] = Norm(Leg(t, i));
    return lengths;
}

StewartPlatform::LegState StewartPlatform::LegStateOf(const Pose& pose,
                                                      CoordinateSystem system) const
{
    const Transform t = buildTransform(pose, system);
    LegState state{{}, 0.0};
    for (std::size_t i = 0; i < kActuators; ++i) {
        const Vec3 leg = Leg(t, i);
        const double length = Norm(leg);
        double angle = 0.0;
        if (!(length < kMinLegLength)) {
            const double cosine = Dot(leg, homeDirections[i]) / length;
            angle = RadiansToDegrees(std::acos(std::clamp(cosine, -1.0, 1.0)));
        }
        state.lengths[i] = length;
        // A NaN angle (from a non-finite leg) sticks and makes the pose unacceptable.
        if (std::isnan(angle) || angle > state.maxAngle) state.maxAngle = angle;
    }
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
// the actuator approaches its end stop smoothly and never reaches it.
double StewartPlatform::ApplySoftLimit(double length) const
{
    const double m = softMargin;
    if (!(m > 0.0 && m <= (maxLength - minLength) / 2.0)) {
        return std::clamp(length, minLength, maxLength);
    }
    const double upper = maxLength - m;
    const double lower = minLength + m;
    if (length > upper) return upper + m * (1.0 - std::exp(-(length - upper) / m));
    if (length < lower) return lower - m * (1.0 - std::exp(-(lower - length) / m));
    return length;
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
StewartPlatform::ChosenPose StewartPlatform::ChoosePose(const Pose& pose, CoordinateSystem system,
                                                        SafeResult* result) const
{
    if (!ZEPTASDK::IsFinitePose(pose)) {
        // Nothing sensible can be scaled from a non-finite request: rest instead.
        result->scale = 0.0;
        result->limited = true;
        return {Pose{}, LegStateOf(Pose{}, system)};
    }
    const LegState requested = LegStateOf(pose, system);
    if (!limitsEnabled || !rangeCheckEnabled) return {pose, requested};
    result->angleLimited = angleCheckEnabled && BendsTooFar(requested.maxAngle);
    if (IsAcceptable(requested)) return {pose, requested};
    result->scale = LargestAcceptableFraction(pose, system);
    result->limited = true;
    const Pose scaled = ScalePose(pose, result->scale);
    return {scaled, LegStateOf(scaled, system)};
}

void StewartPlatform::FillStrokeLengths(const Lengths& raw, SafeResult* result) const
{
    result->lengths.resize(kActuators);
    result->values.resize(kActuators);
    result->withinStroke = true;
    for (std::size_t i = 0; i < kActuators; ++i) {
        const double length = softLimitEnabled ? ApplySoftLimit(raw[i]) : raw[i];
        if (std::fabs(length - raw[i]) > kSoftLimitReportThreshold) result->limited = true;
        if (!(length >= minLength && length <= maxLength)) result->withinStroke = false;
        result->lengths[i] = length;
        result->values[i] = Normalise(length);
    }
}

StewartPlatform::SafeResult StewartPlatform::GetActuatorLengthsSafe(const Pose& pose,
                                                                  CoordinateSystem system) const
{
    SafeResult result;
    const ChosenPose chosen = ChoosePose(pose, system, &result);
    result.pose = ZEPTASDK::PoseToVector(chosen.pose);
    FillStrokeLengths(chosen.legs.lengths, &result);
    return result;
}
