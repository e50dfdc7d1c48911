// palette.h - the demo's colours, shared by every picture
//
// Display-encoded (sRGB) red, green, blue in 0..1. The ribbons of the opening swing between red and blue with
// no green in them; the walls are magenta to white; the floor cubes are pure green in white fog.
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
constexpr Vec3 SUN_GOLD = {1.00f, 0.78f, 0.22f};
constexpr Vec3 SUN_ORANGE = {1.00f, 0.45f, 0.16f};
constexpr Vec3 FOG_WHITE = {1.00f, 1.00f, 1.00f};
constexpr Vec3 NIGHT = {0.06f, 0.03f, 0.13f};
}  // namespace palette
