#include "motion/linear_elimination.h"

#include <cmath>
#include <utility>

namespace ZEPTASDK {

namespace {

// A pivot smaller than this makes the matrix count as singular.
constexpr double kSingularPivot = 1e-12;

}  // namespace

bool LinearElimination::Reduce(const Matrix& a)
{
    reduced = a;
    for (std::size_t row = 0; row < kSize; ++row) order[row] = row;
    for (std::size_t col = 0; col < kSize; ++col) {
        if (!EliminateColumn(col)) return false;
    }
    return true;
}

// The first of equal pivots wins.
bool LinearElimination::EliminateColumn(std::size_t col)
{
    std::size_t pivot = col;
    for (std::size_t row = col + 1; row < kSize; ++row) {
        if (std::fabs(reduced[row][col]) > std::fabs(reduced[pivot][col])) pivot = row;
    }
    if (std::fabs(reduced[pivot][col]) < kSingularPivot) return false;
    if (pivot != col) {
        std::swap(reduced[pivot], reduced[col]);
        std::swap(order[pivot], order[col]);
    }
    const auto& pivotRow = reduced[col];
    for (std::size_t row = col + 1; row < kSize; ++row) {
        auto& target = reduced[row];
        const double factor = target[col] / pivotRow[col];
        for (std::size_t k = col + 1; k < kSize; ++k) target[k] -= factor * pivotRow[k];
        target[col] = factor;
    }
    return true;
}

// The right-hand side in pivot order goes through the same eliminations as
// the matrix rows did, then back substitution.
void LinearElimination::Solve(const Vector& b, Vector* x) const
{
    Vector y{};
    for (std::size_t row = 0; row < kSize; ++row) y[row] = b[order[row]];
    for (std::size_t col = 0; col < kSize; ++col) {
        for (std::size_t row = col + 1; row < kSize; ++row) y[row] -= reduced[row][col] * y[col];
    }
    Substitute(&y);
    *x = y;
}

// Back substitution in place: each solution component replaces the entry it
// was computed from, once no later row needs that entry.
void LinearElimination::Substitute(Vector* y) const
{
    Vector& v = *y;
    for (std::size_t row = kSize; row-- > 0;) {
        double sum = v[row];
        for (std::size_t k = row + 1; k < kSize; ++k) sum -= reduced[row][k] * v[k];
        v[row] = sum / reduced[row][row];
    }
}

}  // namespace ZEPTASDK
