#include "motion/axis_converter.h"

#include <algorithm>

#include "motion/kind_formulas.h"
#include "motion/packet_access.h"
#include "motion/platform_geometry.h"

namespace ZEPTASDK {

namespace {

constexpr float kPoseMin = -1.0f;
constexpr float kPoseMax = 1.0f;
constexpr float kNeutral = 0.0f;
constexpr float kAxisMin = 0.02f;
constexpr float kAxisMax = 0.98f;
constexpr float kAxisFallback = 0.5f;  // mid-stroke
constexpr float kSpeedMin = 0.01f;
constexpr float kSpeedMax = 1.0f;
constexpr float kAccelerationMin = 0.02f;
constexpr float kAccelerationMax = 0.98f;

// Pose components to -1..1 and the mixing ratios to finite values; anything
// non-finite counts as neutral (no motion).
void ClampRequest(_korve_data_packet& p)
{
    for (float* v : {&p.roll, &p.pitch, &p.yaw, &p.heave, &p.sway, &p.surge}) {
        *v = ClampFinite(*v, kPoseMin, kPoseMax, kNeutral);
    }
    p.rotMR = FiniteOr(p.rotMR, kNeutral);
    p.graMR = FiniteOr(p.graMR, kNeutral);
}

void ClampOutputs(_korve_data_packet& p)
{
    AxisArray axes = ReadAxes(p);
    AxisArray speeds = ReadSpeeds(p);
    for (float& a : axes) a = ClampFinite(a, kAxisMin, kAxisMax, kAxisFallback);
    for (float& s : speeds) s = ClampFinite(s, kSpeedMin, kSpeedMax, kSpeedMin);
    WriteAxes(p, axes);
    WriteSpeeds(p, speeds);
    p.accelAxis = ClampFinite(p.accelAxis, kAccelerationMin, kAccelerationMax, kAccelerationMin);
}

// Narrows the kinematics' six values into axes 1 to 6.
void WriteDerivedAxes(_korve_data_packet& p, const StewartPlatform::ActuatorValues& values)
{
    AxisArray axes{};
    for (std::size_t i = 0; i < axes.size(); ++i) axes[i] = static_cast<float>(values[i]);
    WriteAxes(p, axes);
}

// The filtered channels as a platform pose. Lateral, vertical, pitch and yaw
// are mirrored between the packet's convention and the platform's.
StewartPlatform::Pose PlatformPose(int deviceKind, const PoseFilter::Values& f)
{
    const PlatformPoseScale scale = PoseScaleForKind(deviceKind);
    return {scale.translation * f[0],  -scale.translation * f[1], -scale.translation * f[2],
            scale.rotation * f[3],     -scale.rotation * f[4],    -scale.rotation * f[5]};
}

}  // namespace

AxisConverter::AxisConverter() : platform(MakePlatformForKind(ZEPTA_DEVICE_GRANDE_QX)) {}

void AxisConverter::PrepareForDevice(int deviceKind)
{
    if (!IsPlatformKind(deviceKind)) return;
    platform = MakePlatformForKind(deviceKind);
    filter.Preset();
}

void AxisConverter::Convert(_korve_data_packet& packet, bool reset, const ConversionModes& modes,
                            std::chrono::system_clock::time_point now)
{
    derivedAxes = false;
    ClampRequest(packet);
    const KindConversion& kind = ConversionForKind(modes.deviceKind);
    kind.apply(packet, ReadPoseRequest(packet), modes.axisMode != ZEPTA_AXIS_MANUAL);
    if (kind.usesPlatform) derivedAxes = DeriveOnPlatform(packet, modes);
    speeds.Update(packet, reset, modes.speedMode, derivedAxes, kind.speedGain, now);
    ClampOutputs(packet);
}

PoseFilter::Values AxisConverter::PoseChannels(const _korve_data_packet& p, int speedMode)
{
    const PoseFilter::Values raw{p.surge, p.sway, p.heave, p.roll, p.pitch, p.yaw};
    if (speedMode == ZEPTA_SPEED_AS_WRITTEN) return raw;
    return filter.Process(raw, p.accelAxis, p.speedAxis1);
}

// Returns the derived-axes flag of the frame.
bool AxisConverter::DeriveOnPlatform(_korve_data_packet& p, const ConversionModes& modes)
{
    platform.pivotOffset = {FiniteOr(p.poseOffset3, kNeutral), FiniteOr(p.poseOffset1, kNeutral),
                             -FiniteOr(p.poseOffset2, kNeutral)};
    const StewartPlatform::Pose pose =
        PlatformPose(modes.deviceKind, PoseChannels(p, modes.speedMode));
    switch (modes.axisMode) {
    case ZEPTA_AXIS_BASE:
        WriteDerivedAxes(p, platform.SafeLengths(pose, StewartPlatform::Base).values);
        return true;
    case ZEPTA_AXIS_PLATFORM:
        WriteDerivedAxes(p, platform.SafeLengths(pose, StewartPlatform::Platform).values);
        return true;
    case ZEPTA_AXIS_MANUAL: {
        const AxisArray axes = ReadAxes(p);
        StewartPlatform::ActuatorValues written{};
        std::copy(axes.begin(), axes.end(), written.begin());
        const StewartPlatform::FrameResult limited =
            platform.LimitManualValues(written, pose, StewartPlatform::Base);
        WriteDerivedAxes(p, limited.values);
        return limited.limited;
    }
    default:
        return false;
    }
}

}  // namespace ZEPTASDK
