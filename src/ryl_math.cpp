#include "ryl_math.h"

#include <cmath>

double ryl_cos_interpolate(float a, float b, float t) {
    // Not the full-precision pi: part of the values.
    constexpr double HALF_TURN = 3.14159265;
    const auto angle = static_cast<float>(t * HALF_TURN);
    const auto f = static_cast<float>((1.0 - std::cos(static_cast<double>(angle))) * 0.5);
    return (1.0 - f) * a + static_cast<double>(b) * f;
}

double ryl_sawWave(float t) {
    const auto fraction = static_cast<float>(static_cast<double>(t) - std::trunc(static_cast<double>(t)));
    return 1.0 - static_cast<double>(fraction);
}
