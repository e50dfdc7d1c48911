// canvas.h - pictures in memory: paint with supersampling, composite, write as PNG
//
//   Canvas canvas = makeCanvas(1280, 767);
//   paint(canvas, 4, [](float x, float y) { return opaque(palette::NIGHT); });
//   return writePng(canvas, path) ? 0 : 1;
//
// Needs    nothing but memory; paint() uses all processors, the result does not depend on how many there are.
// Never    reads a clock or a random device: the same calls give the same bytes.
#pragma once

#include "vec3.h"

#include <functional>
#include <vector>

// One pixel or sample: display-encoded colour already multiplied by its alpha; all four in 0..1.
struct Texel {
    float red, green, blue, alpha;
};

constexpr Texel CLEAR = {0, 0, 0, 0};

// A colour (not multiplied) at the given coverage.
constexpr Texel tint(Vec3 colour, float alpha) {
    return {colour.x * alpha, colour.y * alpha, colour.z * alpha, alpha};
}
constexpr Texel opaque(Vec3 colour) { return tint(colour, 1.0f); }
// `top` laid over `bottom`.
constexpr Texel over(Texel top, Texel bottom) {
    const float rest = 1.0f - top.alpha;
    return {top.red + bottom.red * rest, top.green + bottom.green * rest, top.blue + bottom.blue * rest,
            top.alpha + bottom.alpha * rest};
}
// The texel with all four values scaled, that is, at a fraction of its coverage.
constexpr Texel faded(Texel texel, float k) {
    return {texel.red * k, texel.green * k, texel.blue * k, texel.alpha * k};
}

// Row 0 is the top row of the picture as a viewer sees it.
struct Canvas {
    int width, height;
    std::vector<Texel> texels;
};

// A picture of the given size, all clear.
Canvas makeCanvas(int width, int height);

// Shades one point of the plane; x to the right and y down, in pixels of the canvas, (0, 0) its top left
// corner. Called from several threads at once, so it must not write anything shared.
using Shader = std::function<Texel(float x, float y)>;

// Lays the shaded plane over what the canvas holds. Each pixel is the mean of samples x samples shaded
// points.
void paint(Canvas& canvas, int samples, const Shader& shader);

// Runs body(row) for every row from 0 to rows - 1, on all processors, in no particular order.
void forEachRow(int rows, const std::function<void(int row)>& body);

// Writes the picture as a true-colour PNG with alpha, bottom row first: textures put their first row on the lower
// edge, so that is how a picture stands upright on the screen. Clear pixels take the colour of their neighbours, so
// that filtering draws no fringe. Returns false after a message on standard error if it fails.
bool writePng(const Canvas& canvas, const char* path);

// A repeatable pseudo-random number in 0..1 for a lattice point.
float hash01(int x, int y, int seed);
