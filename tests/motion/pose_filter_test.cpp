#include "motion/pose_filter.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace {

using ZEPTASDK::ComputeFilterCoefficients;
using ZEPTASDK::FilterCoefficients;
using ZEPTASDK::PoseFilter;

PoseFilter::Values Same(double v) { return {v, v, v, v, v, v}; }

// The printed presets: w 0.05, z 1.0, acceleration 1.0 (K = 201).
constexpr double kB0 = 0.6955975275907784, kB1 = 1.3911950551815568;
constexpr double kA1 = -1.3360995850622408, kA2 = -0.44629052530087293;
const double kNaN = std::numeric_limits<double>::quiet_NaN();

PoseFilter Preset()
{
    PoseFilter filter;
    filter.Preset();
    return filter;
}

void ExpectCoefficients(const FilterCoefficients& c, double b0, double b1, double a1, double a2)
{
    const double got[] = {c.lowPassOuter, c.lowPassCenter, c.feedback1, c.feedback2}, want[] = {b0, b1, a1, a2};
    for (std::size_t i = 0; i < 4; ++i) EXPECT_DOUBLE_EQ(got[i], want[i]) << "coefficient " << i;
}

TEST(PoseFilterCoefficients, PresetFormulaAndFrameAccelerationGiveThePrintedValues)
{
    PoseFilter filter = Preset();
    const auto& c = filter.Channel(5);
    EXPECT_TRUE(c.naturalFrequency == 0.05 && c.damping == 1.0 && c.stepScale == 0.05 && c.rateLimit == 5.0);
    ExpectCoefficients(c.coefficients, kB0, kB1, kA1, kA2);
    // z 2: K = 1 + 200 * 0.5 = 101, D = 4 + 4 * 2 * 0.05 * 101 + 0.0025 * 10201 = 69.9025.
    ExpectCoefficients(ComputeFilterCoefficients(0.05, 2.0, 0.5f), 25.5025 / 69.9025, 51.005 / 69.9025,
                       (8.0 - 51.005) / 69.9025, (40.4 - 4.0 - 25.5025) / 69.9025);
    // Each frame's acceleration, held to 0..1, selects the coefficients; NaN keeps the last.
    const std::pair<float, float> frames[] = {{0.5f, 0.5f}, {NAN, 0.5f}, {40.0f, 1.0f}, {-3.0f, 0.0f}};
    for (const auto& [given, used] : frames) {
        filter.Process(Same(0), given, 1.0f);
        EXPECT_EQ(c.coefficients.feedback2, ComputeFilterCoefficients(0.05, 1.0, used).feedback2) << given;
    }
}

TEST(PoseFilter, StartsAtRestThenRateLimitsAndSmoothsEachStep)
{
    PoseFilter filter = Preset();
    const PoseFilter::Values start{0.1, -0.2, 0.3, -0.4, 0.5, -0.6};
    EXPECT_EQ(filter.Process(start, 1.0f, 0.25f), start);
    filter = Preset();
    EXPECT_EQ(filter.Process(Same(0), 1.0f, 0.25f), Same(0));
    // Speed 0.25: rate limit 1.25, times the step scale 0.05 per frame.
    const double step = 1.25 * 0.05, y1 = kB0 * step, y2 = kB0 * 2 * step + kB1 * step + kA1 * y1;
    EXPECT_NEAR(filter.Process(Same(1), 1.0f, 0.25f)[0], y1, 1e-15);
    EXPECT_NEAR(filter.Process(Same(1), 1.0f, 0.25f)[2], y2, 1e-15);
    // Reversing: the limited value steps back from two steps to one.
    EXPECT_NEAR(filter.Process(Same(-1), 1.0f, 0.25f)[5], kB0 * step + kB1 * 2 * step + kB0 * step + kA1 * y2 + kA2 * y1,
                1e-15);
}

TEST(PoseFilter, NonFiniteOrMissingSpeedAndInputsHoldTheChannel)
{
    const double inf = std::numeric_limits<double>::infinity();
    PoseFilter filter = Preset();
    filter.Process(Same(0.3), 1.0f, 1.0f);
    for (float speed : {NAN, -1.0f, 0.0f}) EXPECT_NEAR(filter.Process(Same(1.0), 1.0f, speed)[0], 0.3, 1e-12) << speed;
    const auto out = filter.Process({kNaN, inf, -inf, kNaN, 1.0, 1.0}, 1.0f, 1.0f);
    for (std::size_t i = 0; i < 4; ++i) EXPECT_NEAR(out[i], 0.3, 1e-12) << i;
    // Unprimed, NaN starts at rest on zero; an overflowing output restarts at rest.
    EXPECT_EQ(Preset().Process({kNaN, 0, 0, 0, 0, 0}, 1.0f, 1.0f)[0], 0.0);
    filter = Preset();
    filter.Process(Same(1e308), 1.0f, 1.0f);
    EXPECT_EQ(filter.Process(Same(1e308), 1.0f, 1.0f)[1], 1e308);
}

}  // namespace
