// Vectors of three floats, facet normals and vertex normals.
#include "glm/glm.h"

#include "glm/glm_call.h"

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

namespace {

void cross(const float* u, const float* v, float* n) {
    const float x = u[1] * v[2] - u[2] * v[1];
    const float y = u[2] * v[0] - u[0] * v[2];
    const float z = u[0] * v[1] - u[1] * v[0];
    n[0] = x;
    n[1] = y;
    n[2] = z;
}

}  // namespace

void glmCross(const float* u, const float* v, float* n) {
    assert(u != nullptr);
    assert(v != nullptr);
    assert(n != nullptr);
    cross(u, v, n);
}

namespace {

// The squares are summed in double precision, because in single precision those of short vectors would vanish, and
// tiny triangles need normals too.
float lengthOf(const float* v) {
    const double x = v[0], y = v[1], z = v[2];
    return static_cast<float>(std::sqrt(x * x + y * y + z * z));
}

}  // namespace

void glmNormalize(float* v) {
    assert(v != nullptr);
    const float length = lengthOf(v);
    if (length == 0) return;
    for (int i = 0; i < 3; ++i) v[i] /= length;
}

void glmFacetNormals(GLMmodel* model) {
    assert(model != nullptr);
    assert(model->vertices != nullptr);
    GLMcall call;
    __glmFacetNormals(call, model);
}

void __glmMakeFacets(const GLMmodel& model, std::uint32_t first, std::uint32_t last) {
    for (std::uint32_t i = first; i < last; ++i) {
        GLMtriangle& triangle = model.triangles[i];
        triangle.findex = i + 1;
        const float* corner[3];
        for (int k = 0; k < 3; ++k) corner[k] = __glmVector(model.vertices, triangle.vindices[k]);
        float u[3], v[3];
        for (int axis = 0; axis < 3; ++axis) {
            u[axis] = corner[1][axis] - corner[0][axis];
            v[axis] = corner[2][axis] - corner[0][axis];
        }
        float* normal = __glmVector(model.facetnorms, triangle.findex);
        cross(u, v, normal);
        const float length = lengthOf(normal);
        const bool proper = length > 0 && std::isfinite(length);
        for (int axis = 0; axis < 3; ++axis) normal[axis] = proper ? normal[axis] / length : 0.0f;
    }
}

bool __glmFacetNormals(GLMcall& call, GLMmodel* model) {
    std::free(model->facetnorms);
    model->numfacetnorms = 0;
    model->facetnorms = __glmTryEntries(call, model->numtriangles, GLM_VECTOR_SIZE);
    if (model->facetnorms == nullptr) return false;
    model->numfacetnorms = model->numtriangles;
    __glmMakeFacets(*model, 0, model->numtriangles);
    return true;
}

// ---- Vertex normals -----------------------------------------------------------------------------------------------

namespace {

constexpr std::uint32_t AVERAGED_GROWTH = 1000;  // entries by which the array grows, when existing normals are kept
constexpr std::uint32_t COPIED_GROWTH = 100;

constexpr double PI = 3.14159265358979323846;

// One entry of a position's list of the triangles that use it.
struct GLMnode {
    std::uint32_t index;  // triangle
    bool averaged;        // the triangle joined the position's averaged normal
    GLMnode* next;
};

// For each position the list of its triangles, from the highest index down. A triangle that uses a position at two
// corners is in its list twice.
struct Members {
    std::unique_ptr<GLMnode[], __glmFree> nodes;
    std::unique_ptr<GLMnode*[], __glmFree> heads;
};

Members membersOf(const GLMmodel& model) {
    Members members{.nodes = nullptr, .heads = nullptr};
    members.nodes.reset(__glmArray<GLMnode>(std::size_t{3} * model.numtriangles));
    members.heads.reset(__glmArray<GLMnode*>(model.numvertices + std::size_t{1}));
    GLMnode* node = members.nodes.get();
    for (std::uint32_t i = 0; i < model.numtriangles; ++i)
        for (const std::uint32_t position : model.triangles[i].vindices) {
            assert(position <= model.numvertices);
            *node = {.index = i, .averaged = false, .next = members.heads[position]};
            members.heads[position] = node++;
        }
    return members;
}

// The model's normals while they are made. numnormals is then the number of entries that the array has room for.
struct NormalMaker {
    GLMmodel& model;
    bool keepExisting;
    std::uint32_t next;  // next free entry
};

const float* facetNormal(const GLMmodel& model, const GLMtriangle& triangle) {
    assert(triangle.findex <= model.numfacetnorms);
    return __glmVector(model.facetnorms, triangle.findex);
}

void growBy(NormalMaker& maker, std::uint32_t entries) {
    GLMmodel& model = maker.model;
    __glmCount(model, model.numnormals, entries, "normals");
    model.normals = __glmResizeEntries(model.normals, model.numnormals, GLM_VECTOR_SIZE);
}

// Marks the triangles whose facet normals are within the angle of the first one's, and sums these normals up.
// Triangles without area take no part, but share the sum of the others.
void average(const GLMmodel& model, GLMnode* head, float cosAngle, float (&sum)[3]) {
    const auto normalOf = [&](const GLMnode& node) {
        const GLMtriangle& triangle = model.triangles[node.index];
        return triangle.findex != GLM_NO_INDEX ? facetNormal(model, triangle) : nullptr;
    };
    const auto hasNoArea = [](const float* n) { return n != nullptr && n[0] == 0 && n[1] == 0 && n[2] == 0; };
    const GLMnode* first = head;
    while (first->next != nullptr && hasNoArea(normalOf(*first))) first = first->next;
    const float* firstNormal = normalOf(*first);

    std::fill_n(sum, 3, 0.0f);
    for (GLMnode* node = head; node != nullptr; node = node->next) {
        const float* normal = normalOf(*node);
        const bool comparable = normal != nullptr && firstNormal != nullptr;
        node->averaged = hasNoArea(normal) || (comparable && glmDot(normal, firstNormal) > cosAngle);
        if (!node->averaged) continue;
        for (int axis = 0; axis < 3; ++axis) sum[axis] += normal[axis];
    }
}

// Gives `index` to the triangle's corners at `position` that may take a new one. Returns whether any took it.
bool assignNormal(const NormalMaker& maker, GLMtriangle& triangle, std::uint32_t position, std::uint32_t index) {
    bool taken = false;
    for (int corner = 0; corner < 3; ++corner) {
        if (triangle.vindices[corner] != position) continue;
        if (maker.keepExisting && triangle.nindices[corner] != GLM_NO_INDEX) {
            assert(triangle.nindices[corner] <= maker.model.numnormals);
            continue;
        }
        triangle.nindices[corner] = index;
        taken = true;
    }
    return taken;
}

void storeNormal(const NormalMaker& maker, const float* normal) {
    assert(maker.next <= maker.model.numnormals);
    std::copy_n(normal, 3, __glmVector(maker.model.normals, maker.next));
}

// The normal of a triangle that did not join is its facet normal. An entry that no corner took is used again.
void assignFacetNormal(NormalMaker& maker, GLMtriangle& triangle, std::uint32_t position) {
    while (maker.next > maker.model.numnormals) {
        growBy(maker, COPIED_GROWTH);
        __glmWarning("glmVertexNormals(): realloc %d+100\n", static_cast<int>(maker.model.numnormals));
    }
    storeNormal(maker, facetNormal(maker.model, triangle));
    if (assignNormal(maker, triangle, position, maker.next)) ++maker.next;
}

// Gives every corner at `position` its normal: corners of averaged triangles share one, the others get their facet's.
// A triangle without a facet normal gets none.
void assignNormals(NormalMaker& maker, std::uint32_t position, GLMnode* head, float (&sum)[3]) {
    std::uint32_t averaged = GLM_NO_INDEX;
    for (const GLMnode* node = head; node != nullptr; node = node->next) {
        GLMtriangle& triangle = maker.model.triangles[node->index];
        if (node->averaged) {
            const std::uint32_t index = averaged != GLM_NO_INDEX ? averaged : maker.next;
            if (!assignNormal(maker, triangle, position, index) || averaged != GLM_NO_INDEX) continue;
            averaged = maker.next;
            while (maker.next > maker.model.numnormals) growBy(maker, AVERAGED_GROWTH);
            glmNormalize(sum);
            storeNormal(maker, sum);
            ++maker.next;
        } else if (triangle.findex != GLM_NO_INDEX) {
            assignFacetNormal(maker, triangle, position);
        } else {
            assignNormal(maker, triangle, position, GLM_NO_INDEX);
        }
    }
}

}  // namespace

void glmVertexNormals(GLMmodel* model, float angle, bool keep_existing) {
    assert(model != nullptr);
    assert(model->facetnorms != nullptr);
    const auto cosAngle = static_cast<float>(std::cos(angle * PI / 180.0));

    NormalMaker maker{.model = *model, .keepExisting = keep_existing, .next = model->numnormals + 1};
    if (!keep_existing) {
        std::uint32_t corners = 0;
        for (int corner = 0; corner < 3; ++corner) __glmCount(*model, corners, model->numtriangles, "normals");
        std::free(model->normals);
        model->numnormals = corners;
        model->normals = __glmEntries(model->numnormals, GLM_VECTOR_SIZE);
        maker.next = 1;
    }
    const Members members = membersOf(*model);
    for (std::uint32_t position = 1; position <= model->numvertices; ++position) {
        GLMnode* head = members.heads[position];
        if (head == nullptr) {
            __glmWarning("glmVertexNormals(): vertex %d w/o a triangle", static_cast<int>(position));
            continue;
        }
        float sum[3];
        average(*model, head, cosAngle, sum);
        assignNormals(maker, position, head, sum);
    }
    model->numnormals = maker.next - 1;
    model->normals = __glmResizeEntries(model->normals, model->numnormals, GLM_VECTOR_SIZE);
}
