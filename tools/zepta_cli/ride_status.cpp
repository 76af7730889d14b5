#include "ride_status.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace zepta_cli {

namespace {

constexpr int kBarHalf = 4;
// Room for the longest line: every drop reason counted in the billions.
constexpr std::size_t kLineCapacity = 512;
constexpr auto kRateWindow = std::chrono::seconds(1);

template <typename Value>
void AppendNumber(std::string& line, const char* format, Value value)
{
    char text[48];
    const int length = std::snprintf(text, sizeof text, format, value);
    if (length > 0) line.append(text, std::min(static_cast<std::size_t>(length), sizeof text - 1));
}

const zepta_ride::DropReason kDropReasons[] = {zepta_ride::DropReason::WrongSize, zepta_ride::DropReason::WrongMagic,
                                               zepta_ride::DropReason::NotMotion, zepta_ride::DropReason::NonFinite,
                                               zepta_ride::DropReason::Absurd};

void AppendDropped(const StreamSnapshot& stream, std::string& line)
{
    const std::size_t start = line.size();
    for (const zepta_ride::DropReason reason : kDropReasons) {
        const std::uint64_t count = stream.dropped[static_cast<std::size_t>(reason)];
        if (count == 0) continue;
        if (line.size() > start) line += ", ";
        line += zepta_ride::DropReasonName(reason);
        AppendNumber(line, " %llu", static_cast<unsigned long long>(count));
    }
    if (line.size() == start) line += "none";
}

void AppendAge(const StreamSnapshot& stream, RideClock::time_point now, std::string& line)
{
    if (!stream.hasSample) {
        line += "no sample yet";
        return;
    }
    AppendNumber(line, "age %.2f s", std::chrono::duration<double>(now - stream.sampleAt).count());
}

void AppendBar(const char* name, double value, std::string& line)
{
    line += name;
    line += ChannelBar(value);
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

// Built in one buffer kept from line to line: a ride shows its status four
// times a second and its frames do not touch the heap.
const std::string& RideStatus::Text(const StreamSnapshot& stream, RideClock::time_point now,
                                    zepta_ride::SafetyState state, const zepta_ride::RigPose& pose)
{
    line.clear();
    line.reserve(kLineCapacity);
    line += stream.hasSample ? zepta_ride::FormatName(stream.format) : "no game";
    AppendNumber(line, " %.0f datagrams/s | dropped ", DatagramsPerSecond(stream, now));
    AppendDropped(stream, line);
    line += " | ";
    AppendAge(stream, now, line);
    line += " | ";
    line += zepta_ride::SafetyStateName(state);
    AppendBar(" | roll ", pose.roll, line);
    AppendBar(" pitch ", pose.pitch, line);
    AppendBar(" yaw ", pose.yaw, line);
    AppendBar(" heave ", pose.heave, line);
    AppendBar(" sway ", pose.sway, line);
    AppendBar(" surge ", pose.surge, line);
    return line;
}

}  // namespace zepta_cli
