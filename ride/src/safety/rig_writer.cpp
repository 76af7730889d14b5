#include "zepta/ride/rig_writer.hpp"

#include <algorithm>
#include <cmath>

namespace zepta_ride {

namespace {

constexpr float kFullRatio = 1.0f;

double SignedGain(const ChannelOutput& channel) { return channel.invert ? -channel.gain : channel.gain; }

float Channel(double value, double gain)
{
    return std::isfinite(value) ? static_cast<float>(std::clamp(gain * value, -1.0, 1.0)) : 0.0f;
}

const OutputProfile& Checked(const OutputProfile& profile)
{
    ValidateOutput(profile);
    return profile;
}

}  // namespace

RigWriter::RigWriter(const OutputProfile& profile) : neutral(ZEPTASDK::DefaultZEPTAPacket())
{
    const OutputProfile& output = Checked(profile);
    const float speed = static_cast<float>(output.speed);
    neutral.speedAxis1 = neutral.speedAxis2 = neutral.speedAxis3 = speed;
    neutral.speedAxis4 = neutral.speedAxis5 = neutral.speedAxis6 = speed;
    neutral.accelAxis = static_cast<float>(output.accel);
    neutral.rotMR = kFullRatio;
    neutral.graMR = kFullRatio;
    gains.roll = SignedGain(output.roll);
    gains.pitch = SignedGain(output.pitch);
    gains.yaw = SignedGain(output.yaw);
    gains.heave = SignedGain(output.heave);
    gains.sway = SignedGain(output.sway);
    gains.surge = SignedGain(output.surge);
}

void RigWriter::Fill(const RigPose& pose, _korve_data_packet& packet) const
{
    packet = neutral;
    packet.roll = Channel(pose.roll, gains.roll);
    packet.pitch = Channel(pose.pitch, gains.pitch);
    packet.yaw = Channel(pose.yaw, gains.yaw);
    packet.heave = Channel(pose.heave, gains.heave);
    packet.sway = Channel(pose.sway, gains.sway);
    packet.surge = Channel(pose.surge, gains.surge);
}

}  // namespace zepta_ride
