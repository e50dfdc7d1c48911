// cube_batch.h - many upright cubes, drawn in one call
//
// Needs    what scenes.h needs; for drawBatch a lit, current GL context. Never keeps anything between calls.
#pragma once

#include <vector>

// A corner as the GL reads it; four in a row are a face.
struct CubeCorner {
    float position[3];
    float normal[3];
    float colour[4];
};
using CubeBatch = std::vector<CubeCorner>;

struct Cube {
    float x, y, z;  // centre
    float side;
    float red, green, blue;
};

// Adds the faces of the cube that the camera at (0, 0, 50), looking along -z, can see. A cube that reaches through
// the near plane, one unit before the camera, is open there and shows its inside, so all its six faces are added.
void addCube(CubeBatch& batch, const Cube& cube);

void drawBatch(const CubeBatch& batch);
