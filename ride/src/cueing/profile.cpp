// One table of every profile key, its place in the profile and its range;
// reading, writing and checking a profile all walk the same table, so a key
// is named once.
#include "zepta/ride/profile.hpp"

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <vector>

// As everywhere else in the project, so that every user of picojson agrees.
#ifndef PICOJSON_USE_INT64
#define PICOJSON_USE_INT64
#endif
#include <picojson.h>

namespace zepta_ride {

namespace {

constexpr double kMostGain = 10.0;
constexpr double kMostOutputGain = 2.0;
constexpr double kLowestHz = 0.01;
constexpr double kHighestHz = 20.0;
constexpr double kLeastDamping = 0.1;
constexpr double kMostDamping = 5.0;
constexpr double kLeastFullScale = 0.001;
constexpr double kMostFullScaleMetres = 10.0;
constexpr double kMostDegrees = 90.0;
constexpr double kLeastTiltRate = 0.1;
constexpr double kMostTiltRate = 30.0;
constexpr double kMostTilt = 30.0;
constexpr double kShortestRamp = 0.1;
constexpr double kLongestTime = 30.0;
constexpr double kShortestStale = 0.01;
constexpr double kLeastSlew = 0.01;
constexpr double kMostSlew = 100.0;
constexpr double kLowestRate = 10.0;
constexpr double kHighestRate = 1000.0;
// The largest integer that a double and the %.0f form both hold exactly.
constexpr double kLargestPlainInteger = 1e15;

// One key: a number within [low, high], or a flag when `flag` is set.
struct Field {
    std::string path;
    double* number;
    bool* flag;
    double low;
    double high;
};

using Fields = std::vector<Field>;

std::string Join(const std::string& at, const char* key) { return at.empty() ? key : at + "." + key; }

void AddNumber(Fields& fields, const std::string& path, double& value, double low, double high)
{
    fields.push_back({path, &value, nullptr, low, high});
}

void AddFlag(Fields& fields, const std::string& path, bool& value) { fields.push_back({path, nullptr, &value, 0, 0}); }

void AddTranslation(Fields& fields, const std::string& at, TranslationCueing& cue)
{
    AddNumber(fields, at + ".gain", cue.gain, 0, kMostGain);
    AddNumber(fields, at + ".cutoffHz", cue.cutoffHz, kLowestHz, kHighestHz);
    AddNumber(fields, at + ".damping", cue.damping, kLeastDamping, kMostDamping);
    AddNumber(fields, at + ".returnHz", cue.returnHz, kLowestHz, kHighestHz);
    AddNumber(fields, at + ".fullScaleMetres", cue.fullScaleMetres, kLeastFullScale, kMostFullScaleMetres);
}

void AddRotation(Fields& fields, const std::string& at, RotationCueing& cue)
{
    AddNumber(fields, at + ".gain", cue.gain, 0, kMostGain);
    AddNumber(fields, at + ".cutoffHz", cue.cutoffHz, kLowestHz, kHighestHz);
    AddNumber(fields, at + ".damping", cue.damping, kLeastDamping, kMostDamping);
    AddNumber(fields, at + ".fullScaleDegrees", cue.fullScaleDegrees, kLeastFullScale, kMostDegrees);
}

void AddCueing(Fields& fields, const std::string& at, CueingProfile& cueing)
{
    AddTranslation(fields, Join(at, "surge"), cueing.surge);
    AddTranslation(fields, Join(at, "sway"), cueing.sway);
    AddTranslation(fields, Join(at, "heave"), cueing.heave);
    AddRotation(fields, Join(at, "roll"), cueing.roll);
    AddRotation(fields, Join(at, "pitch"), cueing.pitch);
    AddRotation(fields, Join(at, "yaw"), cueing.yaw);
    const std::string tilt = Join(at, "tilt");
    AddNumber(fields, tilt + ".gain", cueing.tilt.gain, 0, kMostGain);
    AddNumber(fields, tilt + ".cutoffHz", cueing.tilt.cutoffHz, kLowestHz, kHighestHz);
    AddNumber(fields, tilt + ".damping", cueing.tilt.damping, kLeastDamping, kMostDamping);
    AddNumber(fields, tilt + ".maxRateDegPerSec", cueing.tilt.maxRateDegPerSec, kLeastTiltRate, kMostTiltRate);
    AddNumber(fields, tilt + ".limitDegrees", cueing.tilt.limitDegrees, 0, kMostTilt);
    const std::string attitude = Join(at, "attitude");
    AddFlag(fields, attitude + ".enabled", cueing.attitude.enabled);
    AddNumber(fields, attitude + ".gain", cueing.attitude.gain, 0, kMostGain);
    AddNumber(fields, attitude + ".cutoffHz", cueing.attitude.cutoffHz, kLowestHz, kHighestHz);
}

void AddChannelSafety(Fields& fields, const std::string& at, ChannelSafety& channel)
{
    AddNumber(fields, at + ".limit", channel.limit, 0, 1);
    AddNumber(fields, at + ".slewPerSecond", channel.slewPerSecond, kLeastSlew, kMostSlew);
}

void AddSafety(Fields& fields, const std::string& at, SafetyProfile& safety)
{
    AddNumber(fields, Join(at, "rampInSeconds"), safety.rampInSeconds, kShortestRamp, kLongestTime);
    AddNumber(fields, Join(at, "staleSeconds"), safety.staleSeconds, kShortestStale, kLongestTime);
    AddNumber(fields, Join(at, "holdSeconds"), safety.holdSeconds, 0, kLongestTime);
    AddNumber(fields, Join(at, "rampOutSeconds"), safety.rampOutSeconds, kShortestRamp, kLongestTime);
    AddNumber(fields, Join(at, "stopSeconds"), safety.stopSeconds, kShortestRamp, kLongestTime);
    AddNumber(fields, Join(at, "masterGain"), safety.masterGain, 0, 1);
    AddChannelSafety(fields, Join(at, "roll"), safety.roll);
    AddChannelSafety(fields, Join(at, "pitch"), safety.pitch);
    AddChannelSafety(fields, Join(at, "yaw"), safety.yaw);
    AddChannelSafety(fields, Join(at, "heave"), safety.heave);
    AddChannelSafety(fields, Join(at, "sway"), safety.sway);
    AddChannelSafety(fields, Join(at, "surge"), safety.surge);
}

void AddChannelOutput(Fields& fields, const std::string& at, ChannelOutput& channel)
{
    AddNumber(fields, at + ".gain", channel.gain, 0, kMostOutputGain);
    AddFlag(fields, at + ".invert", channel.invert);
}

void AddOutput(Fields& fields, const std::string& at, OutputProfile& output)
{
    AddChannelOutput(fields, Join(at, "roll"), output.roll);
    AddChannelOutput(fields, Join(at, "pitch"), output.pitch);
    AddChannelOutput(fields, Join(at, "yaw"), output.yaw);
    AddChannelOutput(fields, Join(at, "heave"), output.heave);
    AddChannelOutput(fields, Join(at, "sway"), output.sway);
    AddChannelOutput(fields, Join(at, "surge"), output.surge);
    AddNumber(fields, Join(at, "speed"), output.speed, 0, 1);
    AddNumber(fields, Join(at, "accel"), output.accel, 0, 1);
}

void AddRate(Fields& fields, double& rateHz) { AddNumber(fields, "rate", rateHz, kLowestRate, kHighestRate); }

Fields AllFields(Profile& profile)
{
    Fields fields;
    AddRate(fields, profile.rateHz);
    AddCueing(fields, "cueing", profile.cueing);
    AddSafety(fields, "safety", profile.safety);
    AddOutput(fields, "output", profile.output);
    return fields;
}

// The shortest text that reads back as the same double.
std::string NumberText(double value)
{
    char text[32];
    if (value == std::floor(value) && std::fabs(value) < kLargestPlainInteger) {
        std::snprintf(text, sizeof text, "%.0f", value);
        return text;
    }
    for (int precision = 1; precision <= 17; ++precision) {
        std::snprintf(text, sizeof text, "%.*g", precision, value);
        if (std::strtod(text, nullptr) == value) break;
    }
    return text;
}

[[noreturn]] void Reject(const Field& field)
{
    if (field.flag) throw ProfileError(field.path + ": must be true or false");
    throw ProfileError(field.path + ": must be a number from " + NumberText(field.low) + " to " +
                       NumberText(field.high));
}

bool InRange(const Field& field, double value) { return value >= field.low && value <= field.high; }

void Check(const Fields& fields)
{
    for (const Field& field : fields) {
        if (field.number && !InRange(field, *field.number)) Reject(field);
    }
}

const Field* Find(const Fields& fields, const std::string& path)
{
    for (const Field& field : fields) {
        if (field.path == path) return &field;
    }
    return nullptr;
}

bool IsSection(const Fields& fields, const std::string& path)
{
    const std::string prefix = path + ".";
    for (const Field& field : fields) {
        if (field.path.compare(0, prefix.size(), prefix) == 0) return true;
    }
    return false;
}

void Assign(const Field& field, const picojson::value& value)
{
    if (field.flag) {
        if (!value.is<bool>()) Reject(field);
        *field.flag = value.get<bool>();
        return;
    }
    if (!value.is<double>() || !InRange(field, value.get<double>())) Reject(field);
    *field.number = value.get<double>();
}

void Read(const picojson::object& object, const std::string& at, const Fields& fields)
{
    for (const auto& member : object) {
        const std::string path = Join(at, member.first.c_str());
        if (const Field* field = Find(fields, path)) {
            Assign(*field, member.second);
        } else if (!IsSection(fields, path)) {
            throw ProfileError(path + ": unknown key");
        } else if (!member.second.is<picojson::object>()) {
            throw ProfileError(path + ": must be an object");
        } else {
            Read(member.second.get<picojson::object>(), path, fields);
        }
    }
}

// Writes the flat key paths, which come grouped by section, as nested objects.
class JsonWriter {
public:
    void Put(const std::string& path, const std::string& value)
    {
        const std::vector<std::string> parts = Split(path);
        std::size_t shared = 0;
        while (shared < open.size() && shared + 1 < parts.size() && open[shared] == parts[shared]) ++shared;
        while (open.size() > shared) Close();
        for (std::size_t i = shared; i + 1 < parts.size(); ++i) {
            Key(parts[i]);
            text += "{";
            open.push_back(parts[i]);
            needComma = false;
        }
        Key(parts.back());
        text += value;
        needComma = true;
    }

    std::string Finish()
    {
        while (!open.empty()) Close();
        return text + "\n}\n";
    }

private:
    static std::vector<std::string> Split(const std::string& path)
    {
        std::vector<std::string> parts(1);
        for (char c : path) {
            if (c == '.') {
                parts.emplace_back();
            } else {
                parts.back() += c;
            }
        }
        return parts;
    }

    std::string Indent() const { return std::string(2 * (open.size() + 1), ' '); }

    void Key(const std::string& key)
    {
        text += needComma ? ",\n" : "\n";
        text += Indent() + "\"" + key + "\": ";
    }

    void Close()
    {
        open.pop_back();
        text += "\n" + Indent() + "}";
        needComma = true;
    }

    std::string text = "{";
    std::vector<std::string> open;
    bool needComma = false;
};

}  // namespace

Profile DefaultProfile() { return Profile{}; }

Profile ParseProfile(const std::string& json)
{
    picojson::value document;
    std::string error;
    try {
        error = picojson::parse(document, json);
    } catch (const std::overflow_error&) {
        error = "a number beyond the range of a double";
    }
    if (!error.empty()) throw ProfileError("profile: not valid JSON: " + error);
    if (!document.is<picojson::object>()) throw ProfileError("profile: must be a JSON object");
    Profile profile = DefaultProfile();
    Read(document.get<picojson::object>(), "", AllFields(profile));
    return profile;
}

std::string ProfileToJson(const Profile& profile)
{
    Profile copy = profile;
    JsonWriter writer;
    for (const Field& field : AllFields(copy)) {
        writer.Put(field.path, field.flag ? (*field.flag ? "true" : "false") : NumberText(*field.number));
    }
    return writer.Finish();
}

void ValidateProfile(const Profile& profile)
{
    Profile copy = profile;
    Check(AllFields(copy));
}

void ValidateCueing(const CueingProfile& cueing, double rateHz)
{
    Fields fields;
    CueingProfile copy = cueing;
    AddRate(fields, rateHz);
    AddCueing(fields, "cueing", copy);
    Check(fields);
}

void ValidateSafety(const SafetyProfile& safety, double rateHz)
{
    Fields fields;
    SafetyProfile copy = safety;
    AddRate(fields, rateHz);
    AddSafety(fields, "safety", copy);
    Check(fields);
}

void ValidateOutput(const OutputProfile& output)
{
    Fields fields;
    OutputProfile copy = output;
    AddOutput(fields, "output", copy);
    Check(fields);
}

}  // namespace zepta_ride
