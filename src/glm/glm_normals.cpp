// Vectors of three floats, facet normals and vertex normals.
#include "glm/glm.h"

#include "glm/glm_util.h"

#include <algorithm>
#include <cassert>
#include <cmath>
#include <cstdlib>

float glmMax(float a, float b) { return b > a ? b : a; }

float glmAbs(float f) { return f < 0 ? -f : f; }

float glmDot(const float* u, const float* v) {
    assert(u != nullptr);
    assert(v != nullptr);
    return u[0] * v[0] + u[1] * v[1] + u[2] * v[2];
}

void glmCross(const float* u, const float* v, float* n) {
    assert(u != nullptr);
    assert(v != nullptr);
    assert(n != nullptr);
    const float x = u[1] * v[2] - u[2] * v[1];
    const float y = u[2] * v[0] - u[0] * v[2];
    const float z = u[0] * v[1] - u[1] * v[0];
    n[0] = x;
    n[1] = y;
    n[2] = z;
}

// The squares are summed in double precision: those of short vectors would vanish in single precision, and
// tiny triangles have normals too.
void glmNormalize(float* v) {
    assert(v != nullptr);
    const double x = v[0], y = v[1], z = v[2];
    const auto length = static_cast<float>(std::sqrt(x * x + y * y + z * z));
    if (length == 0) return;
    for (int i = 0; i < 3; ++i) v[i] /= length;
}

void glmFacetNormals(GLMmodel* model) {
    assert(model != nullptr);
    assert(model->vertices != nullptr);
    std::free(model->facetnorms);
    model->numfacetnorms = model->numtriangles;
    model->facetnorms = __glmArray<float>(3 * (model->numfacetnorms + std::size_t{1}));
    for (std::uint32_t i = 0; i < model->numtriangles; ++i) {
        GLMtriangle& triangle = model->triangles[i];
        triangle.findex = i + 1;
        const float* corner[3];
        for (int k = 0; k < 3; ++k) corner[k] = model->vertices + std::size_t{3} * triangle.vindices[k];
        float u[3], v[3];
        for (int axis = 0; axis < 3; ++axis) {
            u[axis] = corner[1][axis] - corner[0][axis];
            v[axis] = corner[2][axis] - corner[0][axis];
        }
        float* normal = model->facetnorms + std::size_t{3} * triangle.findex;
        glmCross(u, v, normal);
        glmNormalize(normal);
        if (!std::all_of(normal, normal + 3, [](float f) { return std::isfinite(f); })) std::fill_n(normal, 3, 0.0f);
    }
}
