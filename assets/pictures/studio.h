// studio.h - the glossy spheres: ray traced among soft boxes, on a floor that shows only shadows and reflections
#pragma once

#include "canvas.h"

constexpr float SPHERES_ASPECT = 1.669f;  // width over height of the group as it is seen on the screen

// The group at a point: x from 0 to SPHERES_ASPECT, y from 0 (top) to 1. `turn`, 0..1, picks the points of the lamp
// that this sample looks at; neighbouring samples should differ in it. Clear around the group; safe on several
// threads.
Texel spheresAt(float x, float y, float turn);
