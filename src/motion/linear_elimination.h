// Gaussian elimination with partial pivoting for the six-by-six systems of the
// forward kinematics, split in two: the matrix is reduced once, then any
// number of right-hand sides are solved against it with exactly the
// operations a combined elimination would have applied to them.
#ifndef ZEPTA_MOTION_LINEAR_ELIMINATION_H
#define ZEPTA_MOTION_LINEAR_ELIMINATION_H

#include <array>
#include <cstddef>

namespace ZEPTASDK {

class LinearElimination {
public:
    static constexpr std::size_t kSize = 6;
    using Matrix = std::array<std::array<double, kSize>, kSize>;
    using Vector = std::array<double, kSize>;

    // False when a pivot is too small for the system to have one solution;
    // Solve may then not be called.
    bool Reduce(const Matrix& a);
    void Solve(const Vector& b, Vector* x) const;

private:
    bool EliminateColumn(std::size_t col);
    void Substitute(Vector* y) const;

    // The matrix after elimination on and above the diagonal; below it, the
    // factor each row's elimination used (row -= factor * pivot row). Rows
    // are swapped whole, factors included, so that a right-hand side can be
    // put in pivot order at once and then eliminated without swaps.
    Matrix reduced{};
    std::array<std::size_t, kSize> order{};  // the original row now at each position
};

}  // namespace ZEPTASDK

#endif
