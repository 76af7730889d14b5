#include "motion/linear_elimination.h"

#include <cmath>
#include <utility>

namespace ZEPTASDK {

namespace {

// A pivot smaller than this makes the matrix count as singular.
constexpr double kSingularPivot = 1e-12;

}  // namespace

// The first of equal pivots wins.
bool LinearElimination::Reduce(const Matrix& a)
{
    upper = a;
    for (std::size_t col = 0; col < kSize; ++col) {
        std::size_t pivot = col;
        for (std::size_t row = col + 1; row < kSize; ++row) {
            if (std::fabs(upper[row][col]) > std::fabs(upper[pivot][col])) pivot = row;
        }
        if (std::fabs(upper[pivot][col]) < kSingularPivot) return false;
        pivotRows[col] = pivot;
        std::swap(upper[pivot], upper[col]);
        for (std::size_t row = col + 1; row < kSize; ++row) {
            const double factor = upper[row][col] / upper[col][col];
            for (std::size_t k = col; k < kSize; ++k) upper[row][k] -= factor * upper[col][k];
            factors[col][row] = factor;
        }
    }
    return true;
}

void LinearElimination::Solve(Vector b, Vector* x) const
{
    for (std::size_t col = 0; col < kSize; ++col) {
        std::swap(b[pivotRows[col]], b[col]);
        for (std::size_t row = col + 1; row < kSize; ++row) b[row] -= factors[col][row] * b[col];
    }
    Vector solution{};
    for (std::size_t row = kSize; row-- > 0;) {
        double sum = b[row];
        for (std::size_t k = row + 1; k < kSize; ++k) sum -= upper[row][k] * solution[k];
        solution[row] = sum / upper[row][row];
    }
    *x = solution;
}

}  // namespace ZEPTASDK
