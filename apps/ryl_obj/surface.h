// surface.h - a model as it is drawn: where its points are, what its materials look like, which way its corners face
#pragma once

#include "camera.h"
#include "colour.h"
#include "texture.h"
#include "vec.h"

#include "glm/glm_extras.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

struct Material {
    Colour diffuse, specular, emission;
    float alpha = 1;
    float exponent = 0;  // of the highlight; 0: none
    bool lit = true;
    bool translucent = false;  // some of it lets light through
    const Texture* diffuseMap = nullptr;
    const Texture* alphaMap = nullptr;  // its light counts, or its own alpha if it has one
    const Texture* emissionMap = nullptr;
    Lay diffuseLay, alphaLay, emissionLay;
};

// A point, or a line between two: indices of positions.
struct Stroke {
    std::uint32_t ends[2];  // equal for a point
    std::uint32_t material;
    std::uint32_t group;
};

// How it is made.
struct SurfaceOptions {
    double smoothAngle =
        -1;  // degrees: triangles that meet in less share a normal; below 0: what the file says, or 40
    bool textures = true;
    unsigned threads = 1;
    // Finds the file of an image that a material names; false where there is none.
    std::function<bool(const char* name, std::string& path)> find = nullptr;
    // Takes what is wrong with an image.
    std::function<void(const std::string& file, const std::string& text)> warn = nullptr;
};

// Refers to the model and the extras (which may be null), and must not outlive them.
struct Surface {
    const GLMmodel* model = nullptr;
    const GLMextras* extras = nullptr;
    std::vector<Material> materials = {};
    std::vector<std::unique_ptr<Texture>> textures = {};
    std::vector<Stroke> strokes = {};
    std::vector<std::uint8_t> used = {};  // by position: 1 where something is drawn
    Sphere sphere = {};                   // about all that is drawn
    // The triangles at position i are around[first[i]] to around[first[i + 1] - 1]; empty if no corner asks for them.
    std::vector<std::uint32_t> first = {}, around = {};
    bool fileNormals = true;       // the corners' own normals count, where they have some
    double smoothCosine = 0;       // of the angle
    bool smoothingGroups = false;  // decide instead of the angle
};

// Textures that cannot be read are reported and left out.
Surface makeSurface(const GLMmodel& model, const GLMextras* extras, const SurfaceOptions& options);

inline Vec3 positionOf(const Surface& surface, std::uint32_t index) {
    const float* p = surface.model->vertices + 3 * static_cast<std::size_t>(index);
    return {p[0], p[1], p[2]};
}

// The normals of a triangle's three corners, of length 1; all zero if it has no area and no normals of its own.
void cornerNormals(const Surface& surface, std::uint32_t triangle, Vec3 (&normals)[3]);

// At right angles to the triangle, counter-clockwise seen from its tip; twice as long as the area is large.
Vec3 areaNormal(const Surface& surface, std::uint32_t triangle);
