#include "report.h"

#include <sys/utsname.h>

#include <cmath>
#include <fstream>
#include <iomanip>
#include <sstream>
#include <thread>

#include "lan/json.h"

namespace zepta_bench {

namespace {

const char kCpuInfo[] = "/proc/cpuinfo";
const char kLoadAverage[] = "/proc/loadavg";
const std::string kModelName = "model name";
const std::string kMicroseconds = "us";

std::string Cell(const std::optional<double>& value) { return value ? FormatNumber(*value) : ""; }

// Median, p99 and max; a maximum of 0 means none was kept.
std::string SpreadCells(const std::optional<Distribution>& spread)
{
    if (!spread) return " |  | ";
    const std::string max = spread->max > 0 ? FormatNumber(spread->max) : "";
    return FormatNumber(spread->median) + " | " + FormatNumber(spread->p99) + " | " + max;
}

std::string MetCell(const std::optional<bool>& met)
{
    if (!met) return "";
    return *met ? "yes" : "no";
}

picojson::value JsonNumber(double value) { return picojson::value(value); }

picojson::value FigureJson(const Figure& f)
{
    picojson::object o;
    o["id"] = picojson::value(f.id);
    o["title"] = picojson::value(f.title);
    o["unit"] = picojson::value(f.unit);
    if (f.spread) {
        o["samples"] = picojson::value(static_cast<int64_t>(f.spread->count));
        o["median"] = JsonNumber(f.spread->median);
        o["p99"] = JsonNumber(f.spread->p99);
        if (f.spread->max > 0) o["max"] = JsonNumber(f.spread->max);
    }
    if (f.value) o["value"] = JsonNumber(*f.value);
    if (!f.target.empty()) o["target"] = picojson::value(f.target);
    if (f.met) o["met"] = picojson::value(*f.met);
    if (!f.note.empty()) o["note"] = picojson::value(f.note);
    return picojson::value(o);
}

double NumberField(const picojson::object& o, const std::string& key)
{
    const auto it = o.find(key);
    return it != o.end() && it->second.is<double>() ? it->second.get<double>() : 0.0;
}

std::string TextField(const picojson::object& o, const std::string& key)
{
    const auto it = o.find(key);
    return it != o.end() && it->second.is<std::string>() ? it->second.get<std::string>() : std::string();
}

// "BM_Convert/kind:2/mode:0" reads "Motion: Convert, kind 2, mode 0".
std::string MotionTitle(std::string name)
{
    const std::string prefix = "BM_";
    if (name.compare(0, prefix.size(), prefix) == 0) name.erase(0, prefix.size());
    std::string title = "Motion: ";
    for (char c : name) {
        if (c == '/') {
            title += ", ";
        } else {
            title += c == ':' ? ' ' : c;
        }
    }
    return title;
}

// One Google Benchmark run, its times converted to microseconds.
Figure MotionFigure(const picojson::object& run)
{
    const std::string name = TextField(run, "name");
    const double toUs = TextField(run, "time_unit") == kMicroseconds ? 1.0 : 1.0 / kNsPerUs;
    Figure f("motion." + name, MotionTitle(name), kMicroseconds);
    f.spread = Distribution{static_cast<std::size_t>(NumberField(run, "iterations")),
                            NumberField(run, "p50_ns") / kNsPerUs, NumberField(run, "p99_ns") / kNsPerUs, 0.0};
    f.value = NumberField(run, "real_time") * toUs;
    f.note = "value: mean per call";
    return f;
}

}  // namespace

std::string FormatNumber(double value)
{
    const double magnitude = std::fabs(value);
    const int decimals = magnitude >= 100 ? 0 : magnitude >= 10 ? 1 : magnitude >= 1 ? 2 : 3;
    std::ostringstream text;
    text << std::fixed << std::setprecision(decimals) << value;
    std::string number = text.str();
    if (number.find('.') != std::string::npos) {
        number.erase(number.find_last_not_of('0') + 1);
        if (number.back() == '.') number.pop_back();
    }
    return number;
}

Figure MicrosecondsFigure(std::string id, std::string title, std::vector<double>& ns)
{
    Figure f(std::move(id), std::move(title), kMicroseconds);
    f.spread = Scaled(Summarise(ns), kNsPerUs);
    return f;
}

Machine DescribeMachine()
{
    Machine machine;
    std::ifstream cpuinfo(kCpuInfo);
    for (std::string line; std::getline(cpuinfo, line);) {
        if (line.compare(0, kModelName.size(), kModelName) != 0) continue;
        const std::size_t colon = line.find(':');
        if (colon != std::string::npos) machine.cpu = line.substr(line.find_first_not_of(' ', colon + 1));
        break;
    }
    machine.cores = std::thread::hardware_concurrency();
    std::ifstream load(kLoadAverage);
    std::string one, five, fifteen;
    if (load >> one >> five >> fifteen) machine.loadAverage = one + " " + five + " " + fifteen;
    utsname names{};
    if (uname(&names) == 0) machine.kernel = std::string(names.sysname) + " " + names.release + " " + names.machine;
    return machine;
}

bool Report::AddMotionResults(const std::string& path)
{
    std::ifstream in(path);
    if (!in) return false;
    picojson::value root;
    const std::string error = picojson::parse(root, in);
    if (!error.empty() || !root.is<picojson::object>()) return false;
    const picojson::value& runs = root.get("benchmarks");
    if (!runs.is<picojson::array>()) return false;
    for (const picojson::value& run : runs.get<picojson::array>()) {
        if (run.is<picojson::object>() && TextField(run.get<picojson::object>(), "run_type") == "iteration") {
            Add(MotionFigure(run.get<picojson::object>()));
        }
    }
    return true;
}

void Report::PrintTable(std::ostream& out, const Machine& machine) const
{
    out << "Machine: " << machine.cpu << ", " << machine.cores << " cores, " << machine.kernel
        << "; load average before the run " << machine.loadAverage << "\n\n";
    out << "| Figure | Unit | Median | p99 | Max | Value | Target | Met |\n";
    out << "|---|---|---:|---:|---:|---:|---|---|\n";
    for (const Figure& f : figures) {
        out << "| " << f.title << " | " << f.unit << " | " << SpreadCells(f.spread) << " | " << Cell(f.value) << " | "
            << f.target << " | " << MetCell(f.met) << " |\n";
    }
}

bool Report::WriteJson(const std::string& path, const Machine& machine) const
{
    picojson::object host;
    host["cpu"] = picojson::value(machine.cpu);
    host["cores"] = picojson::value(static_cast<int64_t>(machine.cores));
    host["kernel"] = picojson::value(machine.kernel);
    host["load_average_before"] = picojson::value(machine.loadAverage);
    picojson::array figureArray;
    for (const Figure& f : figures) figureArray.push_back(FigureJson(f));
    picojson::object root;
    root["machine"] = picojson::value(host);
    root["figures"] = picojson::value(figureArray);
    std::ofstream out(path);
    out << picojson::value(root).serialize(true);
    return static_cast<bool>(out);
}

}  // namespace zepta_bench
