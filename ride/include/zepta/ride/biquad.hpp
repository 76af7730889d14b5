// A second-order (or first-order) linear filter made from its continuous
// transfer function by the bilinear transform, the building block of the
// cueing filters. Stepping it never allocates.
#ifndef ZEPTA_RIDE_BIQUAD_HPP
#define ZEPTA_RIDE_BIQUAD_HPP

#include <zepta/export.h>

namespace zepta_ride {

// H(s) = (b2 s^2 + b1 s + b0) / (a2 s^2 + a1 s + a0); a2 = b2 = 0 makes it
// first order.
struct AnalogFilter {
    double b2, b1, b0;
    double a2, a1, a0;
};

class ZEPTA_API Biquad {
public:
    // Passes its input through unchanged.
    Biquad() = default;
    Biquad(const AnalogFilter& analog, double rateHz);

    // The classic shapes, with the corner at `hz` and the given damping ratio.
    static Biquad LowPass1(double hz, double rateHz);
    static Biquad HighPass1(double hz, double rateHz);
    static Biquad LowPass2(double hz, double damping, double rateHz);
    // s / (s^2 + 2 z w s + w^2): a second-order high-pass followed by one
    // integration, in one stable section with no free integrator to drift.
    static Biquad HighPass2Integrated(double hz, double damping, double rateHz);
    // 1 / (s^2 + 2 z w s + w^2): the same followed by two integrations.
    static Biquad HighPass2TwiceIntegrated(double hz, double damping, double rateHz);

    double Step(double input);
    void Reset();

private:
    double b0 = 1.0, b1 = 0.0, b2 = 0.0;
    double a1 = 0.0, a2 = 0.0;
    double state1 = 0.0, state2 = 0.0;
};

}  // namespace zepta_ride

#endif
