// The noise straight from its description: every lattice point is hashed where it is needed.
#include "plain_noise.h"

#include "ryl_math.h"

#include <array>
#include <climits>
#include <cstdint>
#include <span>

namespace {

// Addition in two's complement, so that the outermost lattice points have neighbours too.
int plus(int x, unsigned step) { return static_cast<int>(static_cast<unsigned>(x) + step); }
int next(int x) { return plus(x, 1); }
int previous(int x) { return plus(x, UINT_MAX); }

// INT_MIN for a float outside the int range, as x86 processors convert it.
int truncated(float x) {
    constexpr float LIMIT = 2147483648.0f;
    return x > -LIMIT && x < LIMIT ? static_cast<int>(x) : INT_MIN;
}

float fraction(float x, int whole) { return static_cast<float>(static_cast<double>(x) - whole); }

// Adds from left to right and rounds after each addition.
float singlePrecisionSum(std::span<const float> terms) {
    float sum = 0;
    for (const float term : terms) sum = static_cast<float>(static_cast<double>(sum) + term);
    return sum;
}

float interpolate(float a, float b, float t) { return static_cast<float>(ryl_cos_interpolate(a, b, t)); }

float latticeNoise(int x, int y, int seed) {
    constexpr double SCALE = 1.0 / (1U << 30U);
    std::uint32_t n =
        static_cast<std::uint32_t>(x) + 57U * static_cast<std::uint32_t>(y) + 131U * static_cast<std::uint32_t>(seed);
    n ^= n << 13U;
    const std::uint32_t r = ((n * n * 15731U + 789221U) * n + 1376312589U) & 0x7fffffffU;
    return static_cast<float>(1.0 - r * SCALE);
}

float smoothed2DNoise(int x, int y, int seed) {
    const int left = previous(x), right = next(x), below = previous(y), above = next(y);
    const std::array cornerPoints = {latticeNoise(left, below, seed), latticeNoise(right, below, seed),
                                     latticeNoise(left, above, seed), latticeNoise(right, above, seed)};
    const std::array sidePoints = {latticeNoise(left, y, seed), latticeNoise(right, y, seed),
                                   latticeNoise(x, below, seed), latticeNoise(x, above, seed)};
    const auto corners = static_cast<float>(singlePrecisionSum(cornerPoints) / 16.0);
    const auto sides = static_cast<float>(singlePrecisionSum(sidePoints) / 8.0);
    const auto centre = static_cast<float>(latticeNoise(x, y, seed) / 4.0);
    return static_cast<float>(static_cast<double>(corners) + sides + centre);
}

float cosNoise2D(float x, float y, int seed) {
    const int ix = truncated(x), iy = truncated(y);
    const float fx = fraction(x, ix), fy = fraction(y, iy);
    const float p = smoothed2DNoise(ix, iy, seed);
    const float q = smoothed2DNoise(next(ix), iy, seed);
    const float r = smoothed2DNoise(ix, next(iy), seed);
    const float s = smoothed2DNoise(next(ix), next(iy), seed);
    const float lower = interpolate(p, q, fx);
    const float upper = interpolate(r, s, fx);
    return interpolate(lower, upper, fy);
}

}  // namespace

float plain::perlin2DNoise(float x, float y, int seed) {
    struct Octave {
        float frequency, amplitude;
    };
    // Frequency i XOR 2 and amplitude i XOR 3 for octave i, not powers: the last octave is a constant.
    constexpr std::array<Octave, 3> OCTAVES = {{{2, 3}, {3, 2}, {0, 1}}};
    float total = 0;
    for (const auto& [frequency, amplitude] : OCTAVES) {
        const auto noise = static_cast<double>(cosNoise2D(x * frequency, y * frequency, seed));
        total = static_cast<float>(total + noise * amplitude);
    }
    return total;
}
