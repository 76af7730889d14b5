// Forward kinematics: the pose that produces six given actuator lengths, found
// by a damped Newton iteration with a numerical Jacobian.
#include <cmath>
#include <stdexcept>
#include <utility>

#include "motion/pose_math.h"
#include "motion/stewart_platform_inline.h"
#include "motion/stewart_platform.h"

using ZEPTASDK::ArrayToPose;
using ZEPTASDK::PoseArray;
using ZEPTASDK::PoseToArray;

namespace {

const char* const kTargetLengthsCountError = "targetLengths must have 6 elements";

// Central-difference step, used alike for millimetre and degree components.
constexpr double kJacobianStep = 0.001;
// Trial steps of the line search: 1, 1/2, ... 1/128 of the Newton step.
constexpr int kLineSearchTries = 8;

constexpr std::size_t kN = StewartPlatform::kPoseComponents;
// Pose vectors hold x, y, z, then roll, pitch, yaw.
constexpr std::size_t kRollComponent = 3;

PoseArray Step(const PoseArray& pose, const PoseArray& direction, double size)
{
    PoseArray out{};
    for (std::size_t j = 0; j < kN; ++j) out[j] = pose[j] - size * direction[j];
    return out;
}

// The pose with one component moved by offset. Every component is chosen
// rather than one stored into a copy: a single element written and the whole
// array read back at once would stall on the store.
PoseArray Stepped(const PoseArray& pose, std::size_t component, double offset)
{
    PoseArray out{};
    for (std::size_t j = 0; j < kN; ++j) out[j] = j == component ? pose[j] + offset : pose[j];
    return out;
}

// One Jacobian column.
ZEPTASDK::LegValues CentralDifference(const ZEPTASDK::LegValues& plus,
                                      const ZEPTASDK::LegValues& minus)
{
    ZEPTASDK::LegValues column;
    for (std::size_t i = 0; i < column.size(); ++i) {
        column[i] = (plus[i] - minus[i]) / (2.0 * kJacobianStep);
    }
    return column;
}

// The Jacobian column of one translation component in the base frame, from
// the translations a step either way gives.
template <std::size_t kAxis>
ZEPTASDK::LegValues BaseTranslationColumn(const ZEPTASDK::LegsByAxis& squares,
                                          const ZEPTASDK::LegsByAxis& turned,
                                          const ZEPTASDK::LegsByAxis& base,
                                          const StewartPlatform::Vec3& plus,
                                          const StewartPlatform::Vec3& minus)
{
    return CentralDifference(
        ZEPTASDK::LengthsMovedAlong<kAxis>(squares, turned[kAxis], plus[kAxis], base[kAxis]),
        ZEPTASDK::LengthsMovedAlong<kAxis>(squares, turned[kAxis], minus[kAxis], base[kAxis]));
}

}  // namespace

StewartPlatform::ForwardResult StewartPlatform::ForwardKinematics(
    const std::vector<double>& targetLengths, const Pose& initialGuess, CoordinateSystem system,
    int maxIterations, double tolerance) const
{
    if (targetLengths.size() != kActuators) throw std::invalid_argument(kTargetLengthsCountError);
    Lengths target{};
    for (std::size_t i = 0; i < kActuators; ++i) target[i] = targetLengths[i];
    StartPoint start = StartAt(initialGuess, system);
    PoseMeasure reached;
    return SolveForward(target, &start, system, {maxIterations, tolerance}, &reached);
}

StewartPlatform::StartPoint StewartPlatform::StartAt(const Pose& guess,
                                                     CoordinateSystem system) const
{
    StartPoint start;
    MeasureInto(PoseToArray(guess), system, &start.measure);
    return start;
}

// Fills a measure in place: the line search measures every trial into the
// same state instead of copying whole measures around.
void StewartPlatform::MeasureInto(const PoseVector& pose, CoordinateSystem system,
                                  PoseMeasure* measure) const
{
    const Pose asPose = ArrayToPose(pose);
    measure->pose = pose;
    measure->trig = TrigOf(asPose);
    measure->orientation = Orient(measure->trig);
    measure->lengths = LengthsAt(measure->orientation,
                                 TranslationOf(asPose, measure->orientation.rotation, system));
}

// Differences and residual of the state's measure against the target.
void StewartPlatform::Compare(const Lengths& target, NewtonState* state)
{
    double sum = 0.0;
    for (std::size_t i = 0; i < kActuators; ++i) {
        state->differences[i] = state->at.lengths[i] - target[i];
        sum += state->differences[i] * state->differences[i];
    }
    state->residual = std::sqrt(sum);
}

// The translation measured with one component moved by offset.
StewartPlatform::Vec3 StewartPlatform::SteppedTranslation(const PoseMeasure& measure,
                                                          std::size_t component, double offset,
                                                          CoordinateSystem system) const
{
    return TranslationOf(ArrayToPose(Stepped(measure.pose, component, offset)),
                         measure.orientation.rotation, system);
}

// The measured trig with one angle moved by offset: only that angle's trig
// is taken again.
StewartPlatform::RotationTrig StewartPlatform::SteppedTrig(const PoseMeasure& measure,
                                                           std::size_t component, double offset)
{
    RotationTrig trig = measure.trig;
    AngleTrig* angles[] = {&trig.roll, &trig.pitch, &trig.yaw};
    *angles[component - kRollComponent] = TrigOf(Stepped(measure.pose, component, offset)[component]);
    return trig;
}

// In the platform frame a translation step moves every axis of the legs and
// keeps the measured orientation. Before each column, one angle's stepped
// trig is taken (see JacobianAt).
void StewartPlatform::PlatformTranslationColumns(const PoseMeasure& measure,
                                                 const ZEPTASDK::LegsByAxis& base,
                                                 SteppedAngles* angles,
                                                 JacobianColumns* columns) const
{
    const Orientation& orientation = measure.orientation;
    for (std::size_t j = 0; j < kRollComponent; ++j) {
        angles->plus[j] = SteppedTrig(measure, kRollComponent + j, kJacobianStep);
        angles->minus[j] = SteppedTrig(measure, kRollComponent + j, -kJacobianStep);
        (*columns)[j] = CentralDifference(
            LengthsAt(orientation, SteppedTranslation(measure, j, kJacobianStep, Platform), base),
            LengthsAt(orientation, SteppedTranslation(measure, j, -kJacobianStep, Platform), base));
    }
}

// In the base frame a translation step moves one axis of every leg and keeps
// the measured orientation, so each step's lengths share the squares of the
// other two axes with the measured pose. Before each column, one angle's
// stepped trig is taken (see JacobianAt).
void StewartPlatform::BaseTranslationColumns(const PoseMeasure& measure,
                                             const ZEPTASDK::LegsByAxis& base,
                                             SteppedAngles* angles,
                                             JacobianColumns* columns) const
{
    const ZEPTASDK::LegsByAxis& turned = measure.orientation.turnedAnchors;
    const Vec3 at = TranslationOf(ArrayToPose(measure.pose), measure.orientation.rotation, Base);
    const ZEPTASDK::LegsByAxis squares = ZEPTASDK::SquaresOf(ZEPTASDK::LegsOf(turned, at, base));
    Vec3 plus[kRollComponent];
    Vec3 minus[kRollComponent];
    for (std::size_t j = 0; j < kRollComponent; ++j) {
        plus[j] = SteppedTranslation(measure, j, kJacobianStep, Base);
        minus[j] = SteppedTranslation(measure, j, -kJacobianStep, Base);
    }
    // Written out rather than looped: each column's moved axis is a constant.
    angles->plus[0] = SteppedTrig(measure, kRollComponent, kJacobianStep);
    angles->minus[0] = SteppedTrig(measure, kRollComponent, -kJacobianStep);
    (*columns)[0] = BaseTranslationColumn<0>(squares, turned, base, plus[0], minus[0]);
    angles->plus[1] = SteppedTrig(measure, kRollComponent + 1, kJacobianStep);
    angles->minus[1] = SteppedTrig(measure, kRollComponent + 1, -kJacobianStep);
    (*columns)[1] = BaseTranslationColumn<1>(squares, turned, base, plus[1], minus[1]);
    angles->plus[2] = SteppedTrig(measure, kRollComponent + 2, kJacobianStep);
    angles->minus[2] = SteppedTrig(measure, kRollComponent + 2, -kJacobianStep);
    (*columns)[2] = BaseTranslationColumn<2>(squares, turned, base, plus[2], minus[2]);
}

// Lengths at the measured pose with one angle moved by offset, its trig given.
StewartPlatform::Lengths StewartPlatform::TurnedLengths(const PoseMeasure& measure,
                                                        const RotationTrig& trig,
                                                        std::size_t component, double offset,
                                                        CoordinateSystem system,
                                                        const ZEPTASDK::LegsByAxis& base) const
{
    const Pose pose = ArrayToPose(Stepped(measure.pose, component, offset));
    const Orientation orientation = Orient(trig);
    return LengthsAt(orientation, TranslationOf(pose, orientation.rotation, system), base);
}

void StewartPlatform::RotationColumns(const PoseMeasure& measure, const SteppedAngles& angles,
                                      CoordinateSystem system, const ZEPTASDK::LegsByAxis& base,
                                      JacobianColumns* columns) const
{
    for (std::size_t j = kRollComponent; j < kN; ++j) {
        const std::size_t angle = j - kRollComponent;
        (*columns)[j] = CentralDifference(
            TurnedLengths(measure, angles.plus[angle], j, kJacobianStep, system, base),
            TurnedLengths(measure, angles.minus[angle], j, -kJacobianStep, system, base));
    }
}

// Central differences of the lengths over each pose component. The stepped
// angles' trig is taken in between the translation columns: the library
// calls then run while a column's square roots and divisions, which queue
// for one unit, are still in flight, instead of each kind of work waiting
// for the other (a tenth off a forward solve). The columns are worked out
// whole and only then laid into the matrix's rows, so that neighbouring legs
// share packed divisions.
ZEPTASDK::LinearElimination::Matrix StewartPlatform::JacobianAt(const PoseMeasure& measure,
                                                                CoordinateSystem system) const
{
    const ZEPTASDK::LegsByAxis base = BaseByAxis();
    SteppedAngles angles;
    JacobianColumns columns;
    if (system == Base) {
        BaseTranslationColumns(measure, base, &angles, &columns);
    } else {
        PlatformTranslationColumns(measure, base, &angles, &columns);
    }
    RotationColumns(measure, angles, system, base, &columns);
    ZEPTASDK::LinearElimination::Matrix jacobian;
    for (std::size_t i = 0; i < kActuators; ++i) {
        for (std::size_t j = 0; j < kN; ++j) jacobian[i][j] = columns[j][i];
    }
    return jacobian;
}

// The Newton step at the state; the start's reduced Jacobian serves when the
// state is still at the start (start is then given, otherwise null).
bool StewartPlatform::NewtonDirection(const NewtonState& state, StartPoint* start,
                                      CoordinateSystem system, PoseVector* step) const
{
    if (start == nullptr) {
        ZEPTASDK::LinearElimination elimination;
        if (!elimination.Reduce(JacobianAt(state.at, system))) return false;
        elimination.Solve(state.differences, step);
        return true;
    }
    if (!start->reduced) {
        start->regular = start->elimination.Reduce(JacobianAt(start->measure, system));
        start->reduced = true;
    }
    if (!start->regular) return false;
    start->elimination.Solve(state.differences, step);
    return true;
}

// Halves the step until the residual strictly drops; false when no try does.
// Trials are measured into the spare state, and the one accepted becomes the
// current state by swapping the two rather than by copying.
bool StewartPlatform::LineSearch(const PoseVector& direction, const Lengths& target,
                                 CoordinateSystem system, SearchStates* states) const
{
    double size = 1.0;
    for (int attempt = 0; attempt < kLineSearchTries; ++attempt, size /= 2.0) {
        MeasureInto(Step(states->current->at.pose, direction, size), system, &states->trial->at);
        Compare(target, states->trial);
        if (states->trial->residual < states->current->residual) {
            std::swap(states->current, states->trial);
            return true;
        }
    }
    return false;
}

// Damped Newton steps until the residual is below the tolerance (true), or
// until no step helps or the iterations run out (false).
bool StewartPlatform::Iterate(const Lengths& target, StartPoint* start, CoordinateSystem system,
                              const ForwardLimits& limits, SearchStates* states,
                              ForwardResult* result) const
{
    while (!(limits.tolerance > states->current->residual)) {
        PoseVector direction{};
        StartPoint* atStart = result->iterations == 0 ? start : nullptr;
        if (!NewtonDirection(*states->current, atStart, system, &direction)) return false;
        if (!LineSearch(direction, target, system, states)) return false;
        result->pose = ArrayToPose(states->current->at.pose);
        result->residual = states->current->residual;
        if (++result->iterations == limits.maxIterations) return false;
    }
    return true;
}

StewartPlatform::ForwardResult StewartPlatform::SolveForward(const Lengths& target,
                                                             StartPoint* start,
                                                             CoordinateSystem system,
                                                             const ForwardLimits& limits,
                                                             PoseMeasure* reached) const
{
    NewtonState first;
    NewtonState second;
    SearchStates states{&first, &second};
    first.at = start->measure;
    Compare(target, &first);
    ForwardResult result;
    result.pose = ArrayToPose(first.at.pose);
    result.residual = first.residual;
    result.converged =
        limits.maxIterations >= 1 && Iterate(target, start, system, limits, &states, &result);
    *reached = states.current->at;
    return result;
}
