// plain_noise.h - straightforward noise, point by point: the reference for the values of ryl_perlin2DNoise, and the
// baseline of its speed
#pragma once

namespace plain {

float perlin2DNoise(float x, float y, int seed);

}  // namespace plain
