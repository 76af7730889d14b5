#include "motion/kind_formulas.h"

#include "motion/packet_access.h"

namespace ZEPTASDK {

namespace {

constexpr float kMidStroke = 0.5f;
// Two-axis seats: axes 3..6 are unused and sent as 0 (the final clamp raises
// them to the bottom of the range).
constexpr float kUnusedAxis = 0.0f;
// Share of surge and sway in the two-axis seats' mix.
constexpr float kTwoAxisTranslation = 0.8f;
// Roll reduction that kinds 103 and 104 write back, and the share of roll and
// pitch in the axis mix of kinds 4 and 103.
constexpr float kReducedRoll = 0.8f;
constexpr float kReducedRotation = 0.8f;
// Three-axis seats.
constexpr float kKind2Pitch = 0.77f;
constexpr float kKind101Roll = 0.7f;
// Six-axis seat (kind 3).
constexpr float kKind3Heave = 0.8f;
constexpr float kKind3Roll = 0.5f;
constexpr float kKind3Pitch = 0.46f;
constexpr float kKind3Cross = 0.55f;

// Maps a mix in -1..1 to the axis range 0..1.
float ToAxis(float mix)
{
    return (mix + 1.0f) * 0.5f;
}

// Axes 1 and 2 of the two-axis seats: pitch moves both actuators alike, roll
// moves them against each other, surge and sway add a fixed share.
void WriteTwoAxes(_korve_data_packet& p, const PoseRequest& q, float pitchTerm, float rollTerm)
{
    const float surge = kTwoAxisTranslation * q.gravityRatio * q.surge;
    const float sway = kTwoAxisTranslation * q.gravityRatio * q.sway;
    WriteAxes(p, {ToAxis(pitchTerm + rollTerm + surge + sway),
                  ToAxis(pitchTerm - rollTerm + surge - sway), kUnusedAxis, kUnusedAxis,
                  kUnusedAxis, kUnusedAxis});
}

// Axes 1..3 of the three-axis seats; axis 4 is given by the caller.
void WriteThreeAxes(_korve_data_packet& p, const PoseRequest& q, float pitchTerm,
                    float rollTerm, float heaveTerm, float axis4)
{
    const float surge = q.gravityRatio * q.surge;
    const float sway = q.gravityRatio * q.sway;
    WriteAxes(p, {ToAxis(-pitchTerm - heaveTerm - surge),
                  ToAxis(pitchTerm - rollTerm - heaveTerm + sway + surge),
                  ToAxis(pitchTerm + rollTerm - heaveTerm - sway + surge), axis4, kMidStroke,
                  kMidStroke});
}

// Kinds 1 and 100 store the pitch mix negated and leave heave alone.
void ConvertKind1(_korve_data_packet& p, const PoseRequest& q, bool deriveAxes)
{
    const float rotation = q.rotationRatio;
    p.roll = rotation * q.roll;
    p.pitch = -(rotation * q.pitch);
    p.yaw = rotation * q.yaw;
    p.sway = q.gravityRatio * q.sway;
    p.surge = q.gravityRatio * q.surge;
    if (deriveAxes) WriteTwoAxes(p, q, -(rotation * q.pitch), rotation * q.roll);
}

// Kind 2 takes heave and yaw raw while it scales the rest.
void ConvertKind2(_korve_data_packet& p, const PoseRequest& q, bool deriveAxes)
{
    if (!deriveAxes) return;
    WriteThreeAxes(p, q, kKind2Pitch * q.rotationRatio * q.pitch, q.rotationRatio * q.roll,
                   q.heave, ToAxis(q.yaw));
}

// Kind 101: heave scaled by the gravity ratio, axis 4 unused.
void ConvertKind101(_korve_data_packet& p, const PoseRequest& q, bool deriveAxes)
{
    if (!deriveAxes) return;
    WriteThreeAxes(p, q, q.rotationRatio * q.pitch, kKind101Roll * q.rotationRatio * q.roll,
                   q.gravityRatio * q.heave, kMidStroke);
}

// Roll takes the lateral mix and pitch the longitudinal one, as on the platforms.
void WriteTiltMix(_korve_data_packet& p, const PoseRequest& q)
{
    p.roll = q.rotationRatio * q.roll - q.gravityRatio * q.sway;
    p.pitch = q.rotationRatio * q.pitch + q.gravityRatio * q.surge;
    p.yaw = q.rotationRatio * q.yaw;
}

void ConvertKind3(_korve_data_packet& p, const PoseRequest& q, bool deriveAxes)
{
    WriteTiltMix(p, q);
    if (!deriveAxes) return;
    const float heave = -kKind3Heave * q.heave;
    const float a = heave + kKind3Roll * p.roll + kKind3Pitch * p.pitch;
    const float b = heave - kKind3Roll * p.roll + kKind3Pitch * p.pitch;
    const float c = heave - kKind3Pitch * p.pitch;
    const float yaw = kKind3Cross * p.yaw;
    const float sway = kKind3Cross * q.sway;
    const float surge = kKind3Cross * q.surge;
    WriteAxes(p, {ToAxis(a + yaw + sway + surge), ToAxis(b - yaw - sway + surge),
                  ToAxis(b + yaw + sway - surge), ToAxis(c - yaw + sway),
                  ToAxis(c + yaw - sway), ToAxis(a - yaw - sway - surge)});
}

// Kinds 4, 103 and 104 write the whole mixed pose back, with roll scaled by rollGain.
void WriteScaledPose(_korve_data_packet& p, const PoseRequest& q, float rollGain)
{
    p.roll = rollGain * q.rotationRatio * q.roll;
    p.pitch = q.rotationRatio * q.pitch;
    p.yaw = q.rotationRatio * q.yaw;
    p.heave = q.gravityRatio * q.heave;
    p.sway = q.gravityRatio * q.sway;
    p.surge = q.gravityRatio * q.surge;
}

void ConvertKind4(_korve_data_packet& p, const PoseRequest& q, bool deriveAxes)
{
    WriteScaledPose(p, q, 1.0f);
    if (!deriveAxes) return;
    WriteTwoAxes(p, q, kReducedRotation * q.rotationRatio * q.pitch,
                 kReducedRotation * q.rotationRatio * q.roll);
}

void ConvertKind103(_korve_data_packet& p, const PoseRequest& q, bool deriveAxes)
{
    WriteScaledPose(p, q, kReducedRoll);
    if (!deriveAxes) return;
    WriteTwoAxes(p, q, kReducedRotation * q.rotationRatio * q.pitch, kReducedRotation * p.roll);
}

// Kind 104 keeps roll and pitch free of the factor kind 103 applies.
void ConvertKind104(_korve_data_packet& p, const PoseRequest& q, bool deriveAxes)
{
    WriteScaledPose(p, q, kReducedRoll);
    if (!deriveAxes) return;
    WriteTwoAxes(p, q, q.rotationRatio * q.pitch, p.roll);
}

// The platforms derive their axes from this mix through the kinematics.
void MixPlatformPose(_korve_data_packet& p, const PoseRequest& q, bool)
{
    WriteTiltMix(p, q);
}

void ConvertIdle(_korve_data_packet& p, const PoseRequest&, bool)
{
    WriteAxes(p, {kMidStroke, kMidStroke, kMidStroke, kMidStroke, kMidStroke, kMidStroke});
}

struct KindRow {
    int deviceKind;
    KindConversion conversion;
};

const KindRow kKindTable[] = {
    {1, {1.0f, false, ConvertKind1}},    {100, {0.68f, false, ConvertKind1}},
    {2, {1.0f, false, ConvertKind2}},    {3, {1.0f, false, ConvertKind3}},
    {4, {1.0f, false, ConvertKind4}},    {103, {1.0f, false, ConvertKind103}},
    {104, {0.5f, false, ConvertKind104}}, {101, {2.0f, false, ConvertKind101}},
    {5, {2.0f, true, MixPlatformPose}},  {6, {5.0f, true, MixPlatformPose}},
};
const KindConversion kIdleConversion{1.0f, false, ConvertIdle};

}  // namespace

PoseRequest ReadPoseRequest(const _korve_data_packet& p)
{
    return {p.roll, p.pitch, p.yaw, p.heave, p.sway, p.surge, p.rotMR, p.graMR};
}

const KindConversion& ConversionForKind(int deviceKind)
{
    for (const KindRow& row : kKindTable) {
        if (row.deviceKind == deviceKind) return row.conversion;
    }
    return kIdleConversion;
}

}  // namespace ZEPTASDK
