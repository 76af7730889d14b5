#include "zepta/ride/biquad.hpp"

#include "cueing/units.h"

namespace zepta_ride {

namespace {

double Radians(double hz) { return 2.0 * kPi * hz; }

}  // namespace

// s -> k (1 - 1/z) / (1 + 1/z) with k = 2 * rate; a first-order filter is
// transformed on its own, so that no pole lands on z = -1.
Biquad::Biquad(const AnalogFilter& analog, double rateHz)
{
    const double k = 2.0 * rateHz;
    const double kk = k * k;
    if (analog.a2 == 0.0 && analog.b2 == 0.0) {
        const double a0 = analog.a1 * k + analog.a0;
        b0 = (analog.b1 * k + analog.b0) / a0;
        b1 = (analog.b0 - analog.b1 * k) / a0;
        a1 = (analog.a0 - analog.a1 * k) / a0;
        return;
    }
    const double a0 = analog.a2 * kk + analog.a1 * k + analog.a0;
    b0 = (analog.b2 * kk + analog.b1 * k + analog.b0) / a0;
    b1 = 2.0 * (analog.b0 - analog.b2 * kk) / a0;
    b2 = (analog.b2 * kk - analog.b1 * k + analog.b0) / a0;
    a1 = 2.0 * (analog.a0 - analog.a2 * kk) / a0;
    a2 = (analog.a2 * kk - analog.a1 * k + analog.a0) / a0;
}

Biquad Biquad::LowPass1(double hz, double rateHz)
{
    const double w = Radians(hz);
    return Biquad({0, 0, w, 0, 1, w}, rateHz);
}

Biquad Biquad::HighPass1(double hz, double rateHz)
{
    const double w = Radians(hz);
    return Biquad({0, 1, 0, 0, 1, w}, rateHz);
}

Biquad Biquad::LowPass2(double hz, double damping, double rateHz)
{
    const double w = Radians(hz);
    return Biquad({0, 0, w * w, 1, 2 * damping * w, w * w}, rateHz);
}

Biquad Biquad::HighPass2Integrated(double hz, double damping, double rateHz)
{
    const double w = Radians(hz);
    return Biquad({0, 1, 0, 1, 2 * damping * w, w * w}, rateHz);
}

Biquad Biquad::HighPass2TwiceIntegrated(double hz, double damping, double rateHz)
{
    const double w = Radians(hz);
    return Biquad({0, 0, 1, 1, 2 * damping * w, w * w}, rateHz);
}

// Transposed direct form II.
double Biquad::Step(double input)
{
    const double output = b0 * input + state1;
    state1 = b1 * input - a1 * output + state2;
    state2 = b2 * input - a2 * output;
    return output;
}

void Biquad::Reset()
{
    state1 = 0.0;
    state2 = 0.0;
}

}  // namespace zepta_ride
