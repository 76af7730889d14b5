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
    void Solve(Vector b, Vector* x) const;

private:
    Matrix upper{};                      // the matrix after elimination
    Matrix factors{};                    // factors[col][row]: row -= factor * col
    std::array<std::size_t, kSize> pivotRows{};  // row swapped into place at each column
};

}  // namespace ZEPTASDK

#endif
