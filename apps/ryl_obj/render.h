// render.h - draws a surface into an image, with a depth buffer and no GL
//
// The same surface, projection and look give the same bytes for every number of threads.
#pragma once

#include "camera.h"
#include "image.h"
#include "raster.h"
#include "surface.h"

#include <cstdint>
#include <vector>

struct Look {
    Colour top = {1, 1, 1}, bottom = {1, 1, 1};  // the background's edges
    bool clear = false;                          // no background: the image's alpha says what is covered
    bool smoothEdges = true;                     // four samples a pixel; else one
    bool edges = false;                          // those of the triangles are drawn on them
    bool wireframe = false;                      // nothing but edges
    double pointSize = 3, lineWidth = 1.5;       // pixels
    unsigned threads = 1;
    const std::vector<bool>* hidden = nullptr;        // by triangle; null: none is
    const std::vector<bool>* hiddenGroups = nullptr;  // by group of the extras, for points and lines
    double normals = 0;  // length of the normals that stand on triangles, in radii; 0: none
};

// Numbers of things, sorted into bins: those of bin i are numbers[begins[i]] to numbers[begins[i + 1] - 1].
struct Bins {
    std::vector<std::uint32_t> numbers = {}, begins = {};
};

// Memory that one picture leaves for the next.
struct Scratch {
    std::vector<ScreenPoint> points = {};
    std::vector<Bins> chunks = {};
};

// What the drawn positions land in. `threads` as in Look.
Extent extentOf(const Surface& surface, const Projection& projection, unsigned threads);

// Draws over the whole image, which has a size from 1 to 16384.
void render(const Surface& surface, const Projection& projection, const Look& look, Scratch& scratch, Image& image);
