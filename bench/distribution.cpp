#include "distribution.h"

#include <algorithm>
#include <cmath>

namespace zepta_bench {

namespace {

constexpr double kMedian = 0.50;
constexpr double kP99 = 0.99;

// The smallest sample that at least fraction of all samples do not exceed.
double NearestRank(std::vector<double>& samples, double fraction)
{
    const auto rank = static_cast<std::size_t>(std::ceil(fraction * static_cast<double>(samples.size())));
    const auto at = samples.begin() + static_cast<std::ptrdiff_t>(std::max<std::size_t>(rank, 1) - 1);
    std::nth_element(samples.begin(), at, samples.end());
    return *at;
}

}  // namespace

Distribution Summarise(std::vector<double>& samples)
{
    Distribution d;
    if (samples.empty()) return d;
    d.count = samples.size();
    d.max = *std::max_element(samples.begin(), samples.end());
    d.p99 = NearestRank(samples, kP99);
    d.median = NearestRank(samples, kMedian);
    return d;
}

Distribution Scaled(const Distribution& d, double divisor)
{
    return Distribution{d.count, d.median / divisor, d.p99 / divisor, d.max / divisor};
}

}  // namespace zepta_bench
