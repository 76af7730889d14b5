// The benchmark report: every figure with its target, printed as a table and
// written as JSON, together with the machine it was measured on.
#ifndef ZEPTA_BENCH_REPORT_H
#define ZEPTA_BENCH_REPORT_H

#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include "distribution.h"

namespace zepta_bench {

struct Figure {
    Figure(std::string figureId, std::string figureTitle, std::string figureUnit)
        : id(std::move(figureId)), title(std::move(figureTitle)), unit(std::move(figureUnit))
    {
    }

    std::string id;      // stable key in the JSON file, e.g. "write.idle"
    std::string title;   // what the table shows
    std::string unit;    // of every number below
    // Measured durations: median, 99th percentile and maximum.
    std::optional<Distribution> spread;
    // A single figure (a rate, a count, a size), or the mean of a spread.
    std::optional<double> value;
    std::string target;  // as text; empty when there is none
    std::optional<bool> met;
    std::string note;    // how it was measured, in a few words
};

struct Machine {
    std::string cpu;
    unsigned cores = 0;
    std::string kernel;
    std::string loadAverage;   // 1, 5 and 15 minutes, when described
};

// To be called before measuring: the load average tells how quiet the
// machine was, which latencies depend on.
Machine DescribeMachine();

// As many decimals as a figure of this size deserves, trailing zeros dropped.
std::string FormatNumber(double value);

// A figure of durations sampled in nanoseconds, shown in microseconds.
Figure MicrosecondsFigure(std::string id, std::string title, std::vector<double>& ns);

class Report {
public:
    void Add(Figure figure) { figures.push_back(std::move(figure)); }
    // Adds the motion benchmarks from a Google Benchmark JSON file (with the
    // p50_ns/p99_ns counters); false when the file cannot be read.
    bool AddMotionResults(const std::string& path);

    void PrintTable(std::ostream& out, const Machine& machine) const;
    bool WriteJson(const std::string& path, const Machine& machine) const;

private:
    std::vector<Figure> figures;
};

}  // namespace zepta_bench

#endif
