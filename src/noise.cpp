#include "noise.h"

#include "ryl_math.h"

#include <array>
#include <climits>
#include <cstdint>

namespace {

// The hashed number grows by these along x, along y and with the seed, modulo 2^32.
constexpr std::uint32_t COLUMN = 1, ROW = 57, SEED = 131;

std::uint32_t latticePoint(int x, int y, int seed) {
    return COLUMN * static_cast<std::uint32_t>(x) + ROW * static_cast<std::uint32_t>(y) +
           SEED * static_cast<std::uint32_t>(seed);
}

float hash(std::uint32_t n) {
    constexpr std::int32_t ONE = 1 << 30;
    n ^= n << 13U;
    const std::uint32_t r = ((n * n * 15731U + 789221U) * n + 1376312589U) & 0x7fffffffU;
    return static_cast<float>(ONE - static_cast<std::int32_t>(r)) / ONE;  // rounded once: the division is exact
}

template <std::size_t size>
using Block = std::array<std::array<float, size>, size>;

// The hashes of size x size lattice points; `first` is the one with the lowest x and y.
template <std::size_t size>
Block<size> hashBlock(std::uint32_t first) {
    Block<size> block;
    for (auto& row : block) {
        for (std::uint32_t x = 0; x < size; ++x) row[x] = hash(first + x * COLUMN);
        first += ROW;
    }
    return block;
}

// The smoothed hash of the middle of the 3 x 3 points from (x, y) of the block. Adding two floats in single precision
// gives the same bits as adding them in double precision and rounding.
template <std::size_t size>
float smoothed(const Block<size>& block, std::size_t x, std::size_t y) {
    const auto &below = block[y], &middle = block[y + 1], &above = block[y + 2];
    const float cornerSum = below[x] + below[x + 2] + above[x] + above[x + 2];
    const float sideSum = middle[x] + middle[x + 2] + below[x + 1] + above[x + 1];
    const auto corners = static_cast<float>(cornerSum / 16.0);
    const auto sides = static_cast<float>(sideSum / 8.0);
    const auto centre = static_cast<float>(middle[x + 1] / 4.0);
    return static_cast<float>(static_cast<double>(corners) + sides + centre);
}

// INT_MIN for a float outside the int range, as x86 processors convert it.
int truncated(float x) {
    constexpr float LIMIT = 2147483648.0f;
    return x > -LIMIT && x < LIMIT ? static_cast<int>(x) : INT_MIN;
}

float fraction(float x, int whole) { return static_cast<float>(static_cast<double>(x) - whole); }

float interpolate(float a, float b, float weight) { return static_cast<float>(ryl_interpolate(a, b, weight)); }

}  // namespace

float ryl_noise(int x, int y, int seed) { return hash(latticePoint(x, y, seed)); }

float ryl_smoothed1DNoise(int x, int seed) {
    const std::uint32_t here = latticePoint(x, 0, seed);
    const auto point = static_cast<float>(hash(here) / 2.0);
    const auto left = static_cast<float>(hash(here - COLUMN) / 4.0 + point);
    return static_cast<float>(hash(here + COLUMN) / 4.0 + left);
}

float ryl_smoothed2DNoise(int x, int y, int seed) {
    return smoothed(hashBlock<3>(latticePoint(x, y, seed) - COLUMN - ROW), 0, 0);
}

float ryl_1DcosInterpolate(float a, float b, float t) { return static_cast<float>(ryl_cos_interpolate(a, b, t)); }

float ryl_1D_CosNoise(float x, int seed) {
    const int i = truncated(x);
    const int next = static_cast<int>(static_cast<unsigned>(i) + 1);
    return ryl_1DcosInterpolate(ryl_smoothed1DNoise(i, seed), ryl_smoothed1DNoise(next, seed), fraction(x, i));
}

// The four points around (x, y) share most of their neighbours, and the two interpolations along x share their
// cosine: 16 hashes instead of 36, and two cosines instead of three.
float ryl_2D_CosNoise(float x, float y, int seed) {
    const int ix = truncated(x), iy = truncated(y);
    const auto block = hashBlock<4>(latticePoint(ix, iy, seed) - COLUMN - ROW);
    const float weightX = ryl_cos_weight(fraction(x, ix));
    const float lower = interpolate(smoothed(block, 0, 0), smoothed(block, 1, 0), weightX);
    const float upper = interpolate(smoothed(block, 0, 1), smoothed(block, 1, 1), weightX);
    return interpolate(lower, upper, ryl_cos_weight(fraction(y, iy)));
}

float ryl_perlin2DNoise(float x, float y, int seed) {
    struct Octave {
        float frequency, amplitude;
    };
    // Frequency i XOR 2 and amplitude i XOR 3 for octave i, not powers: the last octave is a constant of the seed.
    constexpr std::array<Octave, 2> OCTAVES = {{{2, 3}, {3, 2}}};
    float total = 0;
    for (const auto& [frequency, amplitude] : OCTAVES) {
        const auto noise = static_cast<double>(ryl_2D_CosNoise(x * frequency, y * frequency, seed));
        total = static_cast<float>(total + noise * amplitude);
    }
    return total + ryl_smoothed2DNoise(0, 0, seed);
}

float ryl_random(void) {
    static std::uint32_t calls = 0;
    const int k = static_cast<int>(calls++);
    return ryl_noise(k, k, k);
}
