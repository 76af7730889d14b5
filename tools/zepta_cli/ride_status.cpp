#include "ride_status.h"

#include <cmath>
#include <cstdio>

namespace zepta_cli {

namespace {

constexpr int kBarHalf = 4;
constexpr auto kRateWindow = std::chrono::seconds(1);

const zepta_ride::DropReason kDropReasons[] = {zepta_ride::DropReason::WrongSize, zepta_ride::DropReason::WrongMagic,
                                               zepta_ride::DropReason::NotMotion, zepta_ride::DropReason::NonFinite,
                                               zepta_ride::DropReason::Absurd};

std::string DroppedText(const StreamSnapshot& stream)
{
    std::string text;
    for (const zepta_ride::DropReason reason : kDropReasons) {
        const std::uint64_t count = stream.dropped[static_cast<std::size_t>(reason)];
        if (count == 0) continue;
        text += (text.empty() ? "" : ", ") + std::string(zepta_ride::DropReasonName(reason)) + " " +
                std::to_string(count);
    }
    return text.empty() ? "none" : text;
}

std::string AgeText(const StreamSnapshot& stream, RideClock::time_point now)
{
    if (!stream.hasSample) return "no sample yet";
    char text[32];
    std::snprintf(text, sizeof text, "age %.2f s", std::chrono::duration<double>(now - stream.sampleAt).count());
    return text;
}

}  // namespace

std::string ChannelBar(double value)
{
    std::string bar = "[" + std::string(kBarHalf, ' ') + "|" + std::string(kBarHalf, ' ') + "]";
    if (!std::isfinite(value)) {
        bar[kBarHalf + 1] = '?';
        return bar;
    }
    const int cells = static_cast<int>(std::lround(std::fmin(std::fabs(value), 1.0) * kBarHalf));
    for (int i = 1; i <= cells; ++i) bar[static_cast<std::size_t>(kBarHalf + 1 + (value < 0 ? -i : i))] = '#';
    return bar;
}

double RideStatus::DatagramsPerSecond(const StreamSnapshot& stream, RideClock::time_point now)
{
    const std::chrono::duration<double> span = now - markAt;
    if (span < kRateWindow) return rate;
    rate = markAt == RideClock::time_point{} ? 0.0 : static_cast<double>(stream.received - markReceived) / span.count();
    markAt = now;
    markReceived = stream.received;
    return rate;
}

std::string RideStatus::Text(const StreamSnapshot& stream, RideClock::time_point now, zepta_ride::SafetyState state,
                             const zepta_ride::RigPose& pose)
{
    char rateText[64];
    std::snprintf(rateText, sizeof rateText, " %.0f datagrams/s", DatagramsPerSecond(stream, now));
    const std::string format = stream.hasSample ? zepta_ride::FormatName(stream.format) : "no game";
    return format + rateText + " | dropped " + DroppedText(stream) + " | " + AgeText(stream, now) + " | " +
           zepta_ride::SafetyStateName(state) + " | roll " + ChannelBar(pose.roll) + " pitch " +
           ChannelBar(pose.pitch) + " yaw " + ChannelBar(pose.yaw) + " heave " + ChannelBar(pose.heave) + " sway " +
           ChannelBar(pose.sway) + " surge " + ChannelBar(pose.surge);
}

}  // namespace zepta_cli
