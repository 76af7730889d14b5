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
// Roll reduction that the Traxel and the Plix write back, and the share of
// roll and pitch in the axis mix of the Mosspod and the Traxel.
constexpr float kReducedRoll = 0.8f;
constexpr float kFullRoll = 1.0f;
constexpr float kReducedRotation = 0.8f;
// Three-axis seats.
constexpr float kKorve4DofPitch = 0.77f;
constexpr float kKickboardRoll = 0.7f;
// Six-axis seat.
constexpr float kKorve6DofHeave = 0.8f;
constexpr float kKorve6DofRoll = 0.5f;
constexpr float kKorve6DofPitch = 0.46f;
constexpr float kKorve6DofCross = 0.55f;
// Speed gains of the kinds whose derived speeds are not taken as they are.
constexpr float kUnitSpeedGain = 1.0f;
constexpr float kNebuloSpeedGain = 0.68f;
constexpr float kPlixSpeedGain = 0.5f;
constexpr float kKickboardSpeedGain = 2.0f;
constexpr float kCompactPlatformSpeedGain = 2.0f;
constexpr float kLargePlatformSpeedGain = 5.0f;

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

// The two-axis Korve and the Nebulo store the pitch mix negated and leave heave alone.
void ConvertTwoAxisSeat(_korve_data_packet& p, const PoseRequest& q, bool deriveAxes)
{
    const float rotation = q.rotationRatio;
    p.roll = rotation * q.roll;
    p.pitch = -(rotation * q.pitch);
    p.yaw = rotation * q.yaw;
    p.sway = q.gravityRatio * q.sway;
    p.surge = q.gravityRatio * q.surge;
    if (deriveAxes) WriteTwoAxes(p, q, -(rotation * q.pitch), rotation * q.roll);
}

// The four-axis Korve takes heave and yaw raw while it scales the rest.
void ConvertKorve4Dof(_korve_data_packet& p, const PoseRequest& q, bool deriveAxes)
{
    if (!deriveAxes) return;
    WriteThreeAxes(p, q, kKorve4DofPitch * q.rotationRatio * q.pitch, q.rotationRatio * q.roll,
                   q.heave, ToAxis(q.yaw));
}

// The Kickboard: heave scaled by the gravity ratio, axis 4 unused.
void ConvertKickboard(_korve_data_packet& p, const PoseRequest& q, bool deriveAxes)
{
    if (!deriveAxes) return;
    WriteThreeAxes(p, q, q.rotationRatio * q.pitch, kKickboardRoll * q.rotationRatio * q.roll,
                   q.gravityRatio * q.heave, kMidStroke);
}

// Roll takes the lateral mix and pitch the longitudinal one, as on the platforms.
void WriteTiltMix(_korve_data_packet& p, const PoseRequest& q)
{
    p.roll = q.rotationRatio * q.roll - q.gravityRatio * q.sway;
    p.pitch = q.rotationRatio * q.pitch + q.gravityRatio * q.surge;
    p.yaw = q.rotationRatio * q.yaw;
}

void ConvertKorve6Dof(_korve_data_packet& p, const PoseRequest& q, bool deriveAxes)
{
    WriteTiltMix(p, q);
    if (!deriveAxes) return;
    const float heave = -kKorve6DofHeave * q.heave;
    const float a = heave + kKorve6DofRoll * p.roll + kKorve6DofPitch * p.pitch;
    const float b = heave - kKorve6DofRoll * p.roll + kKorve6DofPitch * p.pitch;
    const float c = heave - kKorve6DofPitch * p.pitch;
    const float yaw = kKorve6DofCross * p.yaw;
    const float sway = kKorve6DofCross * q.sway;
    const float surge = kKorve6DofCross * q.surge;
    WriteAxes(p, {ToAxis(a + yaw + sway + surge), ToAxis(b - yaw - sway + surge),
                  ToAxis(b + yaw + sway - surge), ToAxis(c - yaw + sway),
                  ToAxis(c + yaw - sway), ToAxis(a - yaw - sway - surge)});
}

// The Mosspod, the Traxel and the Plix write the whole mixed pose back, with
// roll scaled by rollGain.
void WriteScaledPose(_korve_data_packet& p, const PoseRequest& q, float rollGain)
{
    p.roll = rollGain * q.rotationRatio * q.roll;
    p.pitch = q.rotationRatio * q.pitch;
    p.yaw = q.rotationRatio * q.yaw;
    p.heave = q.gravityRatio * q.heave;
    p.sway = q.gravityRatio * q.sway;
    p.surge = q.gravityRatio * q.surge;
}

void ConvertMosspod(_korve_data_packet& p, const PoseRequest& q, bool deriveAxes)
{
    WriteScaledPose(p, q, kFullRoll);
    if (!deriveAxes) return;
    WriteTwoAxes(p, q, kReducedRotation * q.rotationRatio * q.pitch,
                 kReducedRotation * q.rotationRatio * q.roll);
}

void ConvertTraxel(_korve_data_packet& p, const PoseRequest& q, bool deriveAxes)
{
    WriteScaledPose(p, q, kReducedRoll);
    if (!deriveAxes) return;
    WriteTwoAxes(p, q, kReducedRotation * q.rotationRatio * q.pitch, kReducedRotation * p.roll);
}

// The Plix keeps roll and pitch free of the factor the Traxel applies.
void ConvertPlix(_korve_data_packet& p, const PoseRequest& q, bool deriveAxes)
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
    ZEPTADeviceKind deviceKind;
    KindConversion conversion;
};

const KindRow kKindTable[] = {
    {ZEPTA_DEVICE_KORVE_2DOF, {kUnitSpeedGain, false, ConvertTwoAxisSeat}},
    {ZEPTA_DEVICE_NEBULO_2DOF, {kNebuloSpeedGain, false, ConvertTwoAxisSeat}},
    {ZEPTA_DEVICE_KORVE_4DOF, {kUnitSpeedGain, false, ConvertKorve4Dof}},
    {ZEPTA_DEVICE_KORVE_6DOF, {kUnitSpeedGain, false, ConvertKorve6Dof}},
    {ZEPTA_DEVICE_MOSSPOD, {kUnitSpeedGain, false, ConvertMosspod}},
    {ZEPTA_DEVICE_TRAXEL, {kUnitSpeedGain, false, ConvertTraxel}},
    {ZEPTA_DEVICE_PLIX, {kPlixSpeedGain, false, ConvertPlix}},
    {ZEPTA_DEVICE_KICKBOARD_QX, {kKickboardSpeedGain, false, ConvertKickboard}},
    {ZEPTA_DEVICE_GRANDE_QX, {kCompactPlatformSpeedGain, true, MixPlatformPose}},
    {ZEPTA_DEVICE_GRANDE_500QX, {kLargePlatformSpeedGain, true, MixPlatformPose}},
};
const KindConversion kIdleConversion{kUnitSpeedGain, false, ConvertIdle};

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
