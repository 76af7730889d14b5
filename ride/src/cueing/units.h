// The physical constants the cueing stage works with.
#ifndef ZEPTA_RIDE_CUEING_UNITS_H
#define ZEPTA_RIDE_CUEING_UNITS_H

namespace zepta_ride {

constexpr double kPi = 3.141592653589793;
constexpr double kDegree = kPi / 180.0;
constexpr double kGravity = 9.80665;  // standard gravity, m/s^2

}  // namespace zepta_ride

#endif
