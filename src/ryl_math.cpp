#include "ryl_math.h"

#include <cmath>

float ryl_cos_weight(float t) {
    // This rounded pi is part of the values.
    constexpr double HALF_TURN = 3.14159265;
    const auto angle = static_cast<float>(t * HALF_TURN);
    return static_cast<float>((1.0 - std::cos(static_cast<double>(angle))) * 0.5);
}

double ryl_interpolate(float a, float b, float weight) {
    return (1.0 - weight) * a + static_cast<double>(b) * weight;
}

double ryl_cos_interpolate(float a, float b, float t) { return ryl_interpolate(a, b, ryl_cos_weight(t)); }

double ryl_sawWave(float t) {
    const auto fraction = static_cast<float>(static_cast<double>(t) - std::trunc(static_cast<double>(t)));
    return 1.0 - static_cast<double>(fraction);
}
