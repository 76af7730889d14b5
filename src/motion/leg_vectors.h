// The six legs of a platform position, held by axis: [axis][leg]. Written as
// plain loops over the legs, the arithmetic of neighbouring legs runs side by
// side in vector registers (packed square roots included). The functions
// return fresh values rather than fill a caller's arrays, so the compiler
// knows nothing else is written meanwhile and keeps the legs in registers.
#ifndef ZEPTA_MOTION_LEG_VECTORS_H
#define ZEPTA_MOTION_LEG_VECTORS_H

#include <array>
#include <cmath>
#include <cstddef>

namespace ZEPTASDK {

constexpr std::size_t kLegCount = 6;
constexpr std::size_t kAxes = 3;

using LegValues = std::array<double, kLegCount>;
using LegsByAxis = std::array<LegValues, kAxes>;

// From each base joint to its platform joint, turned and then moved by the
// translation.
inline LegsByAxis LegsOf(const LegsByAxis& turned, const std::array<double, kAxes>& translation,
                         const LegsByAxis& base)
{
    LegsByAxis legs;
    for (std::size_t axis = 0; axis < kAxes; ++axis) {
        for (std::size_t i = 0; i < kLegCount; ++i) {
            legs[axis][i] = turned[axis][i] + translation[axis] - base[axis][i];
        }
    }
    return legs;
}

// Joints given one by one (x, y, z each), laid out by axis.
inline LegsByAxis ByAxis(const std::array<std::array<double, kAxes>, kLegCount>& joints)
{
    LegsByAxis byAxis;
    for (std::size_t axis = 0; axis < kAxes; ++axis) {
        for (std::size_t i = 0; i < kLegCount; ++i) byAxis[axis][i] = joints[i][axis];
    }
    return byAxis;
}

// One axis of the turned platform joints, from the two entries of that
// axis's rotation row that meet the joints' x and y.
inline LegValues TurnedAxis(double alongX, double alongY, const LegsByAxis& anchors)
{
    LegValues turned;
    for (std::size_t i = 0; i < kLegCount; ++i) {
        turned[i] = alongX * anchors[0][i] + alongY * anchors[1][i];
    }
    return turned;
}

inline LegsByAxis SquaresOf(const LegsByAxis& legs)
{
    LegsByAxis squares;
    for (std::size_t axis = 0; axis < kAxes; ++axis) {
        for (std::size_t i = 0; i < kLegCount; ++i) squares[axis][i] = legs[axis][i] * legs[axis][i];
    }
    return squares;
}

// The lengths after a translation along one axis alone: only that axis of
// each leg is worked out again, the other two axes' squares are kept. The sum
// runs in the same order as in LengthsOf, so the lengths are the same to the
// last bit.
template <std::size_t kMovedAxis>
LegValues LengthsMovedAlong(const LegsByAxis& squares, const LegValues& turned, double translation,
                            const LegValues& base)
{
    static_assert(kMovedAxis < kAxes, "a leg has three axes");
    LegValues lengths;
    for (std::size_t i = 0; i < kLegCount; ++i) {
        const double leg = turned[i] + translation - base[i];
        const double moved = leg * leg;
        const double sum = kMovedAxis == 0   ? moved + squares[1][i] + squares[2][i]
                           : kMovedAxis == 1 ? squares[0][i] + moved + squares[2][i]
                                             : squares[0][i] + squares[1][i] + moved;
        lengths[i] = std::sqrt(sum);
    }
    return lengths;
}

inline LegValues LengthsOf(const LegsByAxis& legs)
{
    LegValues lengths;
    for (std::size_t i = 0; i < kLegCount; ++i) {
        lengths[i] = std::sqrt(legs[0][i] * legs[0][i] + legs[1][i] * legs[1][i] +
                               legs[2][i] * legs[2][i]);
    }
    return lengths;
}

}  // namespace ZEPTASDK

#endif
