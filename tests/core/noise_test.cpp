// The noise, whose bits decide the pictures.
#include "noise.h"
#include "plain_noise.h"
#include "ryl_math.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <random>

namespace {

std::uint32_t bitsOf(float value) { return std::bit_cast<std::uint32_t>(value); }

TEST(Noise, HasTheKnownBits) {
    // By another program, which rounds to single precision where the formula says so.
    constexpr struct {
        float x, y;
        int seed;
        std::uint32_t bits;
    } KNOWN_VALUES[] = {
        {0.0f, 0.0f, 32, 0xbe9e3081},        {0.3f, 0.0f, 222, 0xbf570797},     {-0.3f, 0.7f, 303, 0x3f5f7124},
        {-0.3f, 0.7f, 5000, 0x3fe675d7},     {12.345f, -6.75f, 34, 0xbcd7fd90}, {198.0f, 13.66f, 100, 0x3ed67fc2},
        {-100.0f, -90.0f, 400, 0xbf5f6edf},  {100.0f, 40.8f, 101, 0x3eda3dd1},  {0.5f, -0.5f, 222, 0xbf494f21},
        {1000000.0f, -3e5f, 34, 0xbefee015},
    };
    for (const auto& [x, y, seed, bits] : KNOWN_VALUES)
        EXPECT_EQ(bitsOf(ryl_perlin2DNoise(x, y, seed)), bits) << x << ' ' << y << ' ' << seed;
}

TEST(Noise, HasTheBitsOfThePlainOneForEveryFloat) {
    std::mt19937 random(1);
    std::uniform_real_distribution<float> inTheScenes(-300, 300);
    const auto anyFloat = [&] { return std::bit_cast<float>(static_cast<std::uint32_t>(random())); };
    int different = 0;
    for (int i = 0; i < 1'000'000; ++i) {
        const float x = i % 4 < 2 ? inTheScenes(random) : anyFloat();
        const float y = i % 4 % 2 == 0 ? inTheScenes(random) : anyFloat();
        const int seed = static_cast<int>(random());
        const float value = ryl_perlin2DNoise(x, y, seed), expected = plain::perlin2DNoise(x, y, seed);
        if (bitsOf(value) == bitsOf(expected) || (std::isnan(value) && std::isnan(expected))) continue;
        if (++different <= 5) ADD_FAILURE() << x << ' ' << y << ' ' << seed << ": " << value << ", not " << expected;
    }
    EXPECT_EQ(different, 0);
}

TEST(Random, WalksTheDiagonalOfTheNoise) {
    for (const float expected : {-0.281790972f, -0.682515562f, -0.524391234f})
        EXPECT_FLOAT_EQ(ryl_random(), expected);
}

TEST(Noise, IsSmoothedAlongALine) {
    const float sides = ryl_noise(4, 0, 33) + ryl_noise(6, 0, 33);
    EXPECT_FLOAT_EQ(ryl_1D_CosNoise(5, 33), sides / 4 + ryl_noise(5, 0, 33) / 2);
}

TEST(SawWave, FallsFromOneAtEachWholeNumber) {
    EXPECT_EQ(ryl_sawWave(2.0f), 1.0);
    EXPECT_EQ(ryl_sawWave(-0.25f), 1.25);
    EXPECT_EQ(ryl_sawWave(0.1f), 1.0 - static_cast<double>(0.1f));
}

}  // namespace
