#include "motion_recording.h"

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <cstdlib>
#include <optional>

#include "cli_errors.h"

namespace zepta_cli {

const std::array<const char*, kPoseChannels> kPoseColumns = {"roll", "pitch", "yaw", "heave", "sway", "surge"};

namespace {

const char kTimeColumn[] = "time";
constexpr char kSeparator = ',';
const char kBlanks[] = " \t\r";
// A day: longer recordings are typing mistakes, and would overflow the clock.
constexpr double kMaxDurationSeconds = 86400.0;

// Values beyond the float range saturate; the library clamps the pose anyway.
float NarrowToFloat(double value)
{
    return static_cast<float>(std::clamp(value, -static_cast<double>(FLT_MAX), static_cast<double>(FLT_MAX)));
}

std::string Trimmed(const std::string& text)
{
    const std::size_t first = text.find_first_not_of(kBlanks);
    if (first == std::string::npos) return std::string();
    return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

std::vector<std::string> Fields(const std::string& line)
{
    std::vector<std::string> fields;
    std::size_t start = 0;
    for (;;) {
        const std::size_t end = line.find(kSeparator, start);
        fields.push_back(Trimmed(line.substr(start, end - start)));
        if (end == std::string::npos) return fields;
        start = end + 1;
    }
}

// Where each needed value sits in a row.
struct ColumnMap {
    std::size_t count = 0;
    std::size_t time = 0;
    std::array<std::optional<std::size_t>, kPoseChannels> pose;
};

class Reader {
public:
    explicit Reader(std::string fileName) : name(std::move(fileName)) {}

    [[noreturn]] void Fail(const std::string& what) const
    {
        throw UsageError(name + (lineNumber > 0 ? ":" + std::to_string(lineNumber) : std::string()) + ": " + what);
    }

    bool NextLine(std::istream& in, std::string& line)
    {
        while (std::getline(in, line)) {
            ++lineNumber;
            if (!Trimmed(line).empty()) return true;
        }
        return false;
    }

    ColumnMap Header(const std::string& line, std::vector<std::string>& ignored) const
    {
        ColumnMap map;
        const std::vector<std::string> names = Fields(line);
        map.count = names.size();
        std::optional<std::size_t> time;
        for (std::size_t i = 0; i < names.size(); ++i) {
            const auto pose = std::find(kPoseColumns.begin(), kPoseColumns.end(), names[i]);
            if (names[i] == kTimeColumn && !time) {
                time = i;
            } else if (pose != kPoseColumns.end() && !map.pose[pose - kPoseColumns.begin()]) {
                map.pose[pose - kPoseColumns.begin()] = i;
            } else {
                ignored.push_back(names[i]);
            }
        }
        if (!time) Fail("no \"time\" column in the header line");
        map.time = *time;
        return map;
    }

    double Number(const std::string& field, const char* column) const
    {
        char* end = nullptr;
        const double value = std::strtod(field.c_str(), &end);
        if (field.empty() || *end != '\0' || !std::isfinite(value)) {
            Fail(std::string(column) + " is not a finite number: \"" + field + "\"");
        }
        return value;
    }

    MotionSample Row(const std::string& line, const ColumnMap& map) const
    {
        const std::vector<std::string> fields = Fields(line);
        if (fields.size() != map.count) {
            Fail(std::to_string(fields.size()) + " fields where the header has " + std::to_string(map.count));
        }
        MotionSample sample{Number(fields[map.time], kTimeColumn), {}};
        for (std::size_t c = 0; c < kPoseChannels; ++c) {
            if (map.pose[c]) sample.pose[c] = NarrowToFloat(Number(fields[*map.pose[c]], kPoseColumns[c]));
        }
        return sample;
    }

private:
    std::string name;
    long lineNumber = 0;
};

}  // namespace

Pose MotionRecording::PoseAt(double time) const
{
    if (samples.empty()) return Pose{};
    const auto after = std::upper_bound(samples.begin(), samples.end(), time,
                                        [](double t, const MotionSample& s) { return t < s.time; });
    if (after == samples.begin()) return samples.front().pose;
    if (after == samples.end()) return samples.back().pose;
    const MotionSample& a = *(after - 1);
    const MotionSample& b = *after;
    const double share = (time - a.time) / (b.time - a.time);
    Pose pose;
    for (std::size_t c = 0; c < kPoseChannels; ++c) {
        pose[c] = NarrowToFloat(a.pose[c] + share * (static_cast<double>(b.pose[c]) - a.pose[c]));
    }
    return pose;
}

MotionRecording ReadMotionRecording(std::istream& in, const std::string& name)
{
    Reader reader(name);
    MotionRecording recording;
    std::string line;
    if (!reader.NextLine(in, line)) reader.Fail("empty file: expected a header line such as time,roll,pitch");
    const ColumnMap map = reader.Header(line, recording.ignoredColumns);
    double start = 0.0;
    while (reader.NextLine(in, line)) {
        MotionSample sample = reader.Row(line, map);
        if (recording.samples.empty()) start = sample.time;
        sample.time -= start;
        const bool backwards = !recording.samples.empty() && sample.time < recording.samples.back().time;
        if (backwards) reader.Fail("time goes backwards");
        if (sample.time > kMaxDurationSeconds) reader.Fail("the recording lasts more than a day");
        recording.samples.push_back(sample);
    }
    if (recording.samples.empty()) reader.Fail("no samples after the header line");
    return recording;
}

}  // namespace zepta_cli
