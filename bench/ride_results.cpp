// The rows of zepta_bench_ride in the report: Google Benchmark's mean per
// call is the figure set against the row's target, the median and 99th
// percentile of every call timed alone show its spread.
#include <cctype>
#include <fstream>

#include "lan/json.h"
#include "ride_measures.h"

namespace zepta_bench {

namespace {

const char kNanoseconds[] = "ns";
const char kTargetCounter[] = "target_ns";

double Number(const picojson::object& o, const std::string& key)
{
    const auto it = o.find(key);
    return it != o.end() && it->second.is<double>() ? it->second.get<double>() : 0.0;
}

std::string Text(const picojson::object& o, const std::string& key)
{
    const auto it = o.find(key);
    return it != o.end() && it->second.is<std::string>() ? it->second.get<std::string>() : std::string();
}

// "Ride: decode forza" has the id "ride.decode_forza".
std::string IdOf(const std::string& name)
{
    std::string id;
    for (const char c : name) {
        if (std::isalnum(static_cast<unsigned char>(c))) {
            id += static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
        } else if (!id.empty() && id.back() != '_' && id.back() != '.') {
            id += id == "ride" ? '.' : '_';
        }
    }
    while (!id.empty() && id.back() == '_') id.pop_back();
    return id;
}

double NsPer(const std::string& timeUnit)
{
    if (timeUnit == "us") return kNsPerUs;
    if (timeUnit == "ms") return kNsPerMs;
    if (timeUnit == "s") return kNsPerS;
    return 1.0;
}

Figure RideFigure(const picojson::object& run)
{
    const std::string name = Text(run, "name");
    Figure f(IdOf(name), name, kNanoseconds);
    f.spread = Distribution{static_cast<std::size_t>(Number(run, "iterations")), Number(run, "p50_ns"),
                            Number(run, "p99_ns"), 0.0};
    f.value = Number(run, "real_time") * NsPer(Text(run, "time_unit"));
    const double target = Number(run, kTargetCounter);
    f.target = "mean <= " + FormatNumber(target);
    const bool failed = run.count("error_occurred") != 0 && run.at("error_occurred").evaluate_as_boolean();
    f.met = !failed && *f.value <= target;
    f.note = failed ? Text(run, "error_message") : "value: mean per call";
    return f;
}

}  // namespace

bool AddRideResults(Report& report, const std::string& path)
{
    std::ifstream in(path);
    if (!in) return false;
    picojson::value root;
    if (!picojson::parse(root, in).empty() || !root.is<picojson::object>()) return false;
    const picojson::value& runs = root.get("benchmarks");
    if (!runs.is<picojson::array>()) return false;
    for (const picojson::value& run : runs.get<picojson::array>()) {
        if (run.is<picojson::object>() && Text(run.get<picojson::object>(), "run_type") == "iteration") {
            report.Add(RideFigure(run.get<picojson::object>()));
        }
    }
    return true;
}

}  // namespace zepta_bench
