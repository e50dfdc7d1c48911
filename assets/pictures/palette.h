// palette.h - the demo's colours, shared by every picture
//
// Display-encoded (sRGB) red, green, blue in 0..1. The ribbons of the opening swing between red and blue with no
// green in them; the walls are magenta to white; the floor cubes are pure green in white fog.
#pragma once

#include "vec3.h"

namespace palette {
constexpr Vec3 RIBBON_RED = {1.00f, 0.07f, 0.20f};
constexpr Vec3 RIBBON_MAGENTA = {0.93f, 0.06f, 0.70f};
constexpr Vec3 RIBBON_VIOLET = {0.47f, 0.10f, 0.86f};
constexpr Vec3 RIBBON_BLUE = {0.13f, 0.16f, 0.98f};
constexpr Vec3 WALL_PINK = {1.00f, 0.62f, 0.97f};
constexpr Vec3 CUBE_GREEN = {0.10f, 0.86f, 0.22f};
constexpr Vec3 CUBE_SHADE = {0.02f, 0.22f, 0.07f};
constexpr Vec3 SUN_PALE = {1.00f, 0.96f, 0.72f};
constexpr Vec3 SUN_GOLD = {1.00f, 0.80f, 0.20f};
constexpr Vec3 SUN_ORANGE = {1.00f, 0.43f, 0.14f};
constexpr Vec3 FOG_WHITE = {1.00f, 1.00f, 1.00f};
constexpr Vec3 NIGHT = {0.07f, 0.03f, 0.16f};
}  // namespace palette

// The colour of a ribbon at k from 0 (red) over magenta and violet to 1 (blue).
inline Vec3 ribbonColour(float k) {
    const float third = 3.0f * std::clamp(k, 0.0f, 1.0f);
    if (third < 1) return mix(palette::RIBBON_RED, palette::RIBBON_MAGENTA, third);
    if (third < 2) return mix(palette::RIBBON_MAGENTA, palette::RIBBON_VIOLET, third - 1);
    return mix(palette::RIBBON_VIOLET, palette::RIBBON_BLUE, third - 2);
}

// Display encoding to linear light and back (the plain power law: the pictures need no more).
inline Vec3 linear(Vec3 c) { return {std::pow(c.x, 2.2f), std::pow(c.y, 2.2f), std::pow(c.z, 2.2f)}; }
inline Vec3 encoded(Vec3 c) {
    const auto encode = [](float x) { return std::pow(std::clamp(x, 0.0f, 1.0f), 1.0f / 2.2f); };
    return {encode(c.x), encode(c.y), encode(c.z)};
}
// Light of any strength to 0..1 with a soft shoulder, so that highlights keep their colour.
inline Vec3 exposed(Vec3 c) {
    const auto bend = [](float x) { return x < 0.7f ? x : 0.7f + 0.3f * (1.0f - std::exp(-(x - 0.7f) / 0.3f)); };
    return {bend(c.x), bend(c.y), bend(c.z)};
}
