// Forward kinematics: the pose that produces six given actuator lengths, found
// by a damped Newton iteration with a numerical Jacobian.
#include <cmath>
#include <stdexcept>
#include <utility>

#include "motion/pose_math.h"
#include "motion/stewart_platform.h"

using ZEPTASDK::ArrayToPose;
using ZEPTASDK::PoseArray;
using ZEPTASDK::PoseToArray;

namespace {

const char* const kTargetLengthsCountError = "targetLengths must have 6 elements";

// Central-difference step, used alike for millimetre and degree components.
constexpr double kJacobianStep = 0.001;
// A pivot smaller than this makes the Jacobian count as singular.
constexpr double kSingularPivot = 1e-12;
// Trial steps of the line search: 1, 1/2, ... 1/128 of the Newton step.
constexpr int kLineSearchTries = 8;

constexpr std::size_t kN = StewartPlatform::kPoseComponents;
// Pose vectors hold x, y, z, then roll, pitch, yaw.
constexpr std::size_t kRollComponent = 3;
using Matrix = std::array<std::array<double, kN>, kN>;
using Vector = std::array<double, kN>;

// Forward elimination with partial pivoting; the first of equal pivots wins.
// False when a pivot is too small for the system to have one solution.
bool Eliminate(Matrix& a, Vector& b)
{
    for (std::size_t col = 0; col < kN; ++col) {
        std::size_t pivot = col;
        for (std::size_t row = col + 1; row < kN; ++row) {
            if (std::fabs(a[row][col]) > std::fabs(a[pivot][col])) pivot = row;
        }
        if (std::fabs(a[pivot][col]) < kSingularPivot) return false;
        std::swap(a[pivot], a[col]);
        std::swap(b[pivot], b[col]);
        for (std::size_t row = col + 1; row < kN; ++row) {
            const double factor = a[row][col] / a[col][col];
            for (std::size_t k = col; k < kN; ++k) a[row][k] -= factor * a[col][k];
            b[row] -= factor * b[col];
        }
    }
    return true;
}

void BackSubstitute(const Matrix& a, const Vector& b, Vector* x)
{
    for (std::size_t row = kN; row-- > 0;) {
        double sum = b[row];
        for (std::size_t k = row + 1; k < kN; ++k) sum -= a[row][k] * (*x)[k];
        (*x)[row] = sum / a[row][row];
    }
}

bool SolveLinearSystem(Matrix a, Vector b, Vector* x)
{
    if (!Eliminate(a, b)) return false;
    BackSubstitute(a, b, x);
    return true;
}

PoseArray Step(const PoseArray& pose, const PoseArray& direction, double size)
{
    PoseArray out{};
    for (std::size_t j = 0; j < kN; ++j) out[j] = pose[j] - size * direction[j];
    return out;
}

}  // namespace

StewartPlatform::ForwardResult StewartPlatform::ForwardKinematics(
    const std::vector<double>& targetLengths, const Pose& initialGuess, CoordinateSystem system,
    int maxIterations, double tolerance) const
{
    if (targetLengths.size() != kActuators) throw std::invalid_argument(kTargetLengthsCountError);
    Lengths target{};
    for (std::size_t i = 0; i < kActuators; ++i) target[i] = targetLengths[i];
    return SolveForward(target, initialGuess, system, maxIterations, tolerance);
}

StewartPlatform::NewtonState StewartPlatform::Evaluate(const PoseVector& pose,
                                                       const Lengths& target,
                                                       CoordinateSystem system) const
{
    const Pose asPose = ArrayToPose(pose);
    const RotationTrig trig = TrigOf(asPose);
    const Orientation orientation = Orient(trig);
    NewtonState state{pose,
                      LengthsAt(orientation, TranslationOf(asPose, orientation.rotation, system)),
                      0.0, trig, orientation};
    double sum = 0.0;
    for (std::size_t i = 0; i < kActuators; ++i) {
        state.differences[i] -= target[i];
        sum += state.differences[i] * state.differences[i];
    }
    state.residual = std::sqrt(sum);
    return state;
}

// Lengths at a pose that differs from the state's in one component only: a
// translation keeps the state's orientation, a rotation recomputes the trig
// of its own angle alone.
StewartPlatform::Lengths StewartPlatform::LengthsNear(const NewtonState& state,
                                                      const PoseVector& nearby,
                                                      std::size_t changed,
                                                      CoordinateSystem system) const
{
    const Pose pose = ArrayToPose(nearby);
    if (changed < kRollComponent) {
        return LengthsAt(state.orientation,
                         TranslationOf(pose, state.orientation.rotation, system));
    }
    RotationTrig trig = state.trig;
    AngleTrig* angles[] = {&trig.roll, &trig.pitch, &trig.yaw};
    *angles[changed - kRollComponent] = TrigOf(nearby[changed]);
    const Orientation orientation = Orient(trig);
    return LengthsAt(orientation, TranslationOf(pose, orientation.rotation, system));
}

bool StewartPlatform::SolveNewtonStep(const NewtonState& state, CoordinateSystem system,
                                      PoseVector* step) const
{
    Matrix jacobian{};
    for (std::size_t j = 0; j < kN; ++j) {
        PoseVector ahead = state.pose;
        PoseVector behind = state.pose;
        ahead[j] += kJacobianStep;
        behind[j] -= kJacobianStep;
        const Lengths plus = LengthsNear(state, ahead, j, system);
        const Lengths minus = LengthsNear(state, behind, j, system);
        for (std::size_t i = 0; i < kActuators; ++i) {
            jacobian[i][j] = (plus[i] - minus[i]) / (2.0 * kJacobianStep);
        }
    }
    return SolveLinearSystem(jacobian, state.differences, step);
}

// Halves the step until the residual strictly drops; false when no try does.
bool StewartPlatform::LineSearch(const PoseVector& direction, const Lengths& target,
                                 CoordinateSystem system, NewtonState* state) const
{
    double size = 1.0;
    for (int attempt = 0; attempt < kLineSearchTries; ++attempt, size /= 2.0) {
        NewtonState trial = Evaluate(Step(state->pose, direction, size), target, system);
        if (trial.residual < state->residual) {
            *state = trial;
            return true;
        }
    }
    return false;
}

StewartPlatform::ForwardResult StewartPlatform::SolveForward(const Lengths& target,
                                                             const Pose& guess,
                                                             CoordinateSystem system,
                                                             int maxIterations,
                                                             double tolerance) const
{
    NewtonState state = Evaluate(PoseToArray(guess), target, system);
    ForwardResult result;
    result.pose = guess;
    result.residual = state.residual;
    if (maxIterations < 1) return result;
    while (!(tolerance > state.residual)) {
        PoseVector direction{};
        if (!SolveNewtonStep(state, system, &direction)) return result;
        if (!LineSearch(direction, target, system, &state)) return result;
        result.pose = ArrayToPose(state.pose);
        result.residual = state.residual;
        if (++result.iterations == maxIterations) return result;
    }
    result.converged = true;
    return result;
}
