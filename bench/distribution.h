// Order statistics of timing samples: what the benchmark report shows for
// every measured duration.
#ifndef ZEPTA_BENCH_DISTRIBUTION_H
#define ZEPTA_BENCH_DISTRIBUTION_H

#include <cstddef>
#include <vector>

namespace zepta_bench {

constexpr double kNsPerUs = 1e3;
constexpr double kNsPerMs = 1e6;
constexpr double kNsPerS = 1e9;

struct Distribution {
    std::size_t count = 0;
    double median = 0;
    double p99 = 0;
    double max = 0;
};

// Nearest-rank percentiles of samples (which are reordered). No samples give
// a distribution of zeros with count 0.
Distribution Summarise(std::vector<double>& samples);

// The same distribution in another unit: every statistic divided by divisor.
Distribution Scaled(const Distribution& d, double divisor);

}  // namespace zepta_bench

#endif
