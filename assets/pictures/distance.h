// distance.h - scalar fields over a picture: distances to a mask's contour and blurred copies, for bevels and glows
#pragma once

#include "canvas.h"
#include "text.h"

#include <vector>

// One value per pixel centre; row 0 is the top row.
struct Field {
    int width, height;
    std::vector<float> values;
};

// Distance in pixels from the mask's half-covered contour, positive inside. Exact to a fraction of a pixel
// (Felzenszwalb and Huttenlocher, "Distance Transforms of Sampled Functions", 2012, with the coverage of edge pixels
// taken into account).
Field distanceField(const Mask& mask);

// The field blurred by three box filters of the given radius in pixels, close to a Gaussian.
Field smoothed(Field field, int radius);

// The value at any point, in pixels of the field, interpolated; beyond the border, the border's value less the
// distance to it.
float sampled(const Field& field, float x, float y);

// Lays a soft halo of the given colour under what the canvas holds, about `radius` pixels wide, so that the picture
// stands out on a ground of its own colours. `strength` 1 is a faint glow, 3 nearly a rim.
void layHalo(Canvas& canvas, Vec3 colour, int radius, float strength);
