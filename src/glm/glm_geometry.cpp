// Operations that change a model's positions, winding and texture coordinates in place.
#include "glm/glm.h"

#include "glm/glm_util.h"

#include <algorithm>
#include <cassert>
#include <cmath>
#include <cstdlib>
#include <utility>

namespace {

// Smallest and largest coordinates; the model has a position.
struct Bounds {
    float low[3], high[3];
};

Bounds boundsOf(const GLMmodel& model) {
    Bounds bounds{};
    std::copy_n(__glmVector(model.vertices, 1), 3, bounds.low);
    std::copy_n(__glmVector(model.vertices, 1), 3, bounds.high);
    for (std::uint32_t i = 2; i <= model.numvertices; ++i)
        for (int axis = 0; axis < 3; ++axis) {
            const float coordinate = __glmVector(model.vertices, i)[axis];
            if (bounds.high[axis] < coordinate) bounds.high[axis] = coordinate;
            if (bounds.low[axis] > coordinate) bounds.low[axis] = coordinate;
        }
    return bounds;
}

float extent(const Bounds& bounds, int axis) { return glmAbs(bounds.high[axis]) + glmAbs(bounds.low[axis]); }

float largest(const float* dimensions) { return glmMax(glmMax(dimensions[0], dimensions[1]), dimensions[2]); }

}  // namespace

float glmUnitize(GLMmodel* model) {
    assert(model != nullptr);
    assert(model->vertices != nullptr);
    float dimensions[3];
    glmDimensions(model, dimensions);
    if (largest(dimensions) == 0) return 1.0f;
    const Bounds bounds = boundsOf(*model);
    const float scale = 2.0f / largest(dimensions);
    for (std::uint32_t i = 1; i <= model->numvertices; ++i)
        for (int axis = 0; axis < 3; ++axis) {
            float& coordinate = __glmVector(model->vertices, i)[axis];
            coordinate -= (bounds.high[axis] + bounds.low[axis]) / 2.0f;
            coordinate *= scale;
        }
    return scale;
}

void glmDimensions(const GLMmodel* model, float* dimensions) {
    assert(model != nullptr);
    assert(model->vertices != nullptr);
    assert(dimensions != nullptr);
    std::fill_n(dimensions, 3, 0.0f);
    if (model->numvertices == 0) return;
    const Bounds bounds = boundsOf(*model);
    for (int axis = 0; axis < 3; ++axis) dimensions[axis] = extent(bounds, axis);
}

void glmScale(GLMmodel* model, float factor) {
    for (std::uint32_t i = 1; i <= model->numvertices; ++i)
        for (int axis = 0; axis < 3; ++axis) __glmVector(model->vertices, i)[axis] *= factor;
}

void glmReverseWinding(GLMmodel* model) {
    assert(model != nullptr);
    for (std::uint32_t i = 0; i < model->numtriangles; ++i) {
        GLMtriangle& triangle = model->triangles[i];
        std::swap(triangle.vindices[0], triangle.vindices[2]);
        if (model->numnormals > 0) std::swap(triangle.nindices[0], triangle.nindices[2]);
        if (model->numtexcoords > 0) std::swap(triangle.tindices[0], triangle.tindices[2]);
    }
    const auto negate = [](float* normals, std::uint32_t count) {
        for (std::uint32_t i = 1; i <= count; ++i)
            for (int axis = 0; axis < 3; ++axis) __glmVector(normals, i)[axis] = -__glmVector(normals, i)[axis];
    };
    negate(model->facetnorms, model->numfacetnorms);
    negate(model->normals, model->numnormals);
}

// ---- Texture coordinates ------------------------------------------------------------------------------------------

namespace {

// Pi as the sphere mapping defines it; only the middle of the image comes from the nearest float.
constexpr double MAP_PI = 3.14159265;
constexpr double MAP_HALF_PI = 1.570796325;
constexpr float HALF_PI = 1.5707964f;

void replaceTexcoords(GLMmodel& model, std::uint32_t count) {
    std::free(model.texcoords);
    model.numtexcoords = count;
    model.texcoords = __glmEntries(count, GLM_TEXCOORD_SIZE);
}

// Every corner's index in `from` becomes its texture coordinate's.
void indexTexcoords(GLMmodel& model, std::uint32_t (GLMtriangle::*from)[3]) {
    for (const GLMgroup* group = model.groups; group != nullptr; group = group->next)
        for (std::uint32_t i = 0; i < group->numtriangles; ++i) {
            GLMtriangle& triangle = model.triangles[group->triangles[i]];
            std::copy_n(triangle.*from, 3, triangle.tindices);
        }
}

struct SphereAngles {
    float theta, phi;
};

SphereAngles anglesOf(const float* normal) {
    const double z = normal[0], y = normal[1], x = normal[2];
    const auto r = static_cast<float>(std::sqrt(x * x + y * y));
    const auto rho = static_cast<float>(std::sqrt(static_cast<double>(r) * r + z * z));
    if (r == 0) return {.theta = 0.0f, .phi = 0.0f};
    return {
        .theta = static_cast<float>(y == 0 ? MAP_HALF_PI : std::asin(y / r) + MAP_HALF_PI),
        .phi = z == 0 ? HALF_PI : static_cast<float>(std::acos(z / rho)),
    };
}

}  // namespace

void glmLinearTexture(GLMmodel* model) {
    assert(model != nullptr);
    replaceTexcoords(*model, model->numvertices);
    float dimensions[3];
    glmDimensions(model, dimensions);
    const float widest = glmAbs(largest(dimensions));
    const float scale = widest > 0 ? 2.0f / widest : 0.0f;
    for (std::uint32_t i = 1; i <= model->numvertices; ++i) {
        const float* position = __glmVector(model->vertices, i);
        float* texcoord = model->texcoords + GLM_TEXCOORD_SIZE * i;
        texcoord[0] = (position[0] * scale + 1.0f) / 2.0f;
        texcoord[1] = (position[2] * scale + 1.0f) / 2.0f;
    }
    indexTexcoords(*model, &GLMtriangle::vindices);
}

void glmSpheremapTexture(GLMmodel* model) {
    assert(model != nullptr);
    assert(model->normals != nullptr);
    replaceTexcoords(*model, model->numnormals);
    for (std::uint32_t i = 1; i <= model->numnormals; ++i) {
        const SphereAngles angles = anglesOf(__glmVector(model->normals, i));
        float* texcoord = model->texcoords + GLM_TEXCOORD_SIZE * i;
        texcoord[0] = static_cast<float>(angles.theta / MAP_PI);
        texcoord[1] = static_cast<float>(angles.phi / MAP_PI);
    }
    indexTexcoords(*model, &GLMtriangle::nindices);
}
