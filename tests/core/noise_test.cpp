// The noise decides the pictures: its values are pinned to the bit.
#include "noise.h"
#include "ryl_math.h"

#include <gtest/gtest.h>

#include <bit>
#include <climits>
#include <cmath>
#include <cstdint>

namespace {

// Bits of ryl_perlin2DNoise over the seeds and ranges of the scenes, worked out by a separate program that
// rounds to single precision at the stated points.
struct KnownValue {
    float x, y;
    int seed;
    std::uint32_t bits;
};
constexpr KnownValue KNOWN_VALUES[] = {
    {0.0f, 0.0f, 32, 0xbe9e3081},
    {0.0f, 0.0f, 33, 0x3f126823},
    {0.0f, 0.0f, 34, 0xbed5e2aa},
    {0.3f, 0.0f, 100, 0xbeb6aa87},
    {0.3f, 0.0f, 101, 0x3f58aeec},
    {0.3f, 0.0f, 222, 0xbf570797},
    {-0.3f, 0.7f, 303, 0x3f5f7124},
    {-0.3f, 0.7f, 400, 0xbe9e5674},
    {-0.3f, 0.7f, 5000, 0x3fe675d7},
    {12.345f, -6.75f, 32, 0x3ed1a48d},
    {12.345f, -6.75f, 33, 0x3f8868bf},
    {12.345f, -6.75f, 34, 0xbcd7fd90},
    {198.0f, 13.66f, 100, 0x3ed67fc2},
    {198.0f, 13.66f, 101, 0x3f31cc13},
    {198.0f, 13.66f, 222, 0x3e5211e8},
    {-100.0f, -90.0f, 303, 0xbe987d91},
    {-100.0f, -90.0f, 400, 0xbf5f6edf},
    {-100.0f, -90.0f, 5000, 0x3f83cd18},
    {90.0f, -100.0f, 32, 0xbe8255cc},
    {90.0f, -100.0f, 33, 0x3f18a3fe},
    {90.0f, -100.0f, 34, 0x3ee46d6d},
    {100.0f, 40.8f, 100, 0x3ec3974b},
    {100.0f, 40.8f, 101, 0x3eda3dd1},
    {100.0f, 40.8f, 222, 0x3f735a3b},
    {-1.01f, 30.1f, 303, 0x3f2add96},
    {-1.01f, 30.1f, 400, 0x3e12fc67},
    {-1.01f, 30.1f, 5000, 0x3f997a0c},
    {1000000.0f, -300000.0f, 32, 0xbe528cb4},
    {1000000.0f, -300000.0f, 33, 0x3e31b85c},
    {1000000.0f, -300000.0f, 34, 0xbefee015},
    {0.5f, -0.5f, 100, 0xbf0d0948},
    {0.5f, -0.5f, 101, 0x3f73dba4},
    {0.5f, -0.5f, 222, 0xbf494f21},
};

TEST(Noise, HasTheKnownBits) {
    for (const auto& [x, y, seed, bits] : KNOWN_VALUES)
        EXPECT_EQ(std::bit_cast<std::uint32_t>(ryl_perlin2DNoise(x, y, seed)), bits) << x << ' ' << y << ' ' << seed;
}

TEST(Noise, HashesLatticePoints) {
    EXPECT_FLOAT_EQ(ryl_noise(0, 0, 0), -0.281790972f);
    EXPECT_FLOAT_EQ(ryl_noise(1, 0, 0), -0.226373047f);
    EXPECT_FLOAT_EQ(ryl_noise(0, 1, 0), 0.204343990f);
    EXPECT_FLOAT_EQ(ryl_noise(0, 0, 1), -0.482146233f);
    // 57 steps along x are one along y, 131 one of the seed, also across the wrap of 32 bits.
    for (const int x : {-1000, 0, 17, INT_MAX - 57}) EXPECT_EQ(ryl_noise(x + 57, 3, 5), ryl_noise(x, 4, 5));
    EXPECT_EQ(ryl_noise(INT_MIN, 0, 0), ryl_noise(INT_MIN + 131, 0, -1));
}

TEST(Noise, RandomWalksTheDiagonal) {
    EXPECT_FLOAT_EQ(ryl_random(), -0.281790972f);
    EXPECT_FLOAT_EQ(ryl_random(), -0.682515562f);
    EXPECT_FLOAT_EQ(ryl_random(), -0.524391234f);
    EXPECT_EQ(ryl_random(), ryl_noise(3, 3, 3));
}

TEST(Noise, InterpolatesAlongACosine) {
    EXPECT_FLOAT_EQ(ryl_1DcosInterpolate(0, 1, 0.5f), 0.5f);
    EXPECT_FLOAT_EQ(ryl_1DcosInterpolate(0, 1, 0.25f), 0.146446615f);
    EXPECT_FLOAT_EQ(ryl_1DcosInterpolate(3, -2, 0), 3.0f);
    EXPECT_FLOAT_EQ(ryl_1DcosInterpolate(3, -2, 1), -2.0f);
    EXPECT_EQ(static_cast<float>(ryl_cos_interpolate(3, -2, 0.3f)), ryl_1DcosInterpolate(3, -2, 0.3f));
    EXPECT_NE(ryl_cos_interpolate(0.1f, 0.7f, 0.3f), static_cast<double>(ryl_1DcosInterpolate(0.1f, 0.7f, 0.3f)));
}

TEST(Noise, PassesThroughTheSmoothedLatticeAndMirrorsAtZero) {
    for (const int x : {-3, 0, 5})
        for (const int y : {-2, 0, 7}) {
            const auto fx = static_cast<float>(x), fy = static_cast<float>(y);
            EXPECT_EQ(ryl_2D_CosNoise(fx, fy, 33), ryl_smoothed2DNoise(x, y, 33));
            EXPECT_EQ(ryl_1D_CosNoise(fx, 33), ryl_smoothed1DNoise(x, 33));
        }
    EXPECT_EQ(ryl_1D_CosNoise(-0.25f, 9), ryl_1D_CosNoise(0.25f, 9));
    EXPECT_EQ(ryl_2D_CosNoise(-0.25f, -0.5f, 9), ryl_2D_CosNoise(0.25f, 0.5f, 9));
}

TEST(Noise, SumsThreeOctavesOfWhichTheLastIsConstant) {
    EXPECT_FLOAT_EQ(ryl_perlin2DNoise(0, 0, 222), -0.897902369f);
    const float x = 1.3f, y = -0.7f;
    const float expected =
        3 * ryl_2D_CosNoise(2 * x, 2 * y, 32) + 2 * ryl_2D_CosNoise(3 * x, 3 * y, 32) + ryl_smoothed2DNoise(0, 0, 32);
    EXPECT_NEAR(ryl_perlin2DNoise(x, y, 32), expected, 1e-6);
}

TEST(Noise, IsDefinedForEveryFloat) {
    for (const float x : {1e9f, -1e9f, 3e9f, -3e9f, 1e38f, INFINITY, -INFINITY, NAN}) {
        const float value = ryl_1D_CosNoise(x, 1);
        EXPECT_EQ(std::isnan(value), !std::isfinite(x)) << x;
    }
}

TEST(SawWave, FallsFromOneAtEachWholeNumber) {
    EXPECT_EQ(ryl_sawWave(2.0f), 1.0);
    EXPECT_EQ(ryl_sawWave(2.75f), 0.25);
    EXPECT_EQ(ryl_sawWave(-0.25f), 1.25);
    EXPECT_EQ(ryl_sawWave(0.1f), 1.0 - static_cast<double>(0.1f));
}

}  // namespace
