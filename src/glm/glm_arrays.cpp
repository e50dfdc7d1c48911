// Arrays for vertex buffers: one vertex for each corner, welded through a hash table of the vertices' bits.
#include "glm/glm_arrays.h"

#include "glm/glm_call.h"

#include <algorithm>
#include <bit>
#include <cassert>
#include <cstdlib>
#include <cstring>

namespace {

constexpr std::size_t POSITION_FLOATS = 3, NORMAL_FLOATS = 3, TEXCOORD_FLOATS = 2, COLOR_FLOATS = 3;
constexpr std::size_t MOST_FLOATS = POSITION_FLOATS + NORMAL_FLOATS + TEXCOORD_FLOATS + COLOR_FLOATS;

using Numbers = std::unique_ptr<std::uint32_t[], __glmFree>;
using Owned = std::unique_ptr<GLMarrays, decltype(&glmFreeArrays)>;

struct Maker {
    GLMcall& call;
    const GLMmodel& model;
    const GLMarrayoptions& options;
    GLMarrays& arrays;
    std::size_t floats;  // of a vertex
    std::uint32_t room;  // vertices that the array has room for
    Numbers slots;       // vertex + 1, or 0, at its hash or behind it
    std::size_t mask;    // number of slots - 1, a power of two - 1; at most half of them are taken
};

// ---- Vertices -----------------------------------------------------------------------------------------------------

// Extras stay as they were read when the model is welded.
bool requireOwnExtras(const Maker& maker) {
    const GLMextras* const extras = maker.options.extras;
    if (extras == nullptr || extras->colors == nullptr || extras->numcolors == maker.model.numvertices) return true;
    __glmFail(maker.call, GLMplace::none,
              "glmTryMakeArrays() failed: the extras are of %u positions, the model has %u.", extras->numcolors,
              maker.model.numvertices);
    return false;
}

void layOut(Maker& maker) {
    const GLMmodel& model = maker.model;
    const GLMarrayoptions& options = maker.options;
    maker.floats = POSITION_FLOATS;
    const auto place = [&](bool there, std::size_t floats) {
        const auto offset = static_cast<std::uint32_t>(maker.floats * sizeof(float));
        if (there) maker.floats += floats;
        return there ? offset : GLM_NO_INDEX;
    };
    const bool hasNormals = (model.numnormals > 0 && !options.flat) || model.numfacetnorms > 0;
    maker.arrays.normal = place(options.normals && hasNormals, NORMAL_FLOATS);
    maker.arrays.texcoord = place(options.texcoords && model.numtexcoords > 0, TEXCOORD_FLOATS);
    maker.arrays.color = place(options.extras != nullptr && options.extras->colors != nullptr, COLOR_FLOATS);
    maker.arrays.stride = maker.floats * sizeof(float);
}

// Null for a corner without one.
const float* normalOf(const Maker& maker, const GLMtriangle& triangle, int corner) {
    const GLMmodel& model = maker.model;
    const std::uint32_t normal = triangle.nindices[corner];
    if (model.numnormals > 0 && !maker.options.flat && normal != GLM_NO_INDEX) {
        assert(normal <= model.numnormals);
        return __glmVector(model.normals, normal);
    }
    if (model.numfacetnorms == 0 || triangle.findex == GLM_NO_INDEX) return nullptr;
    assert(triangle.findex <= model.numfacetnorms);
    return __glmVector(model.facetnorms, triangle.findex);
}

const float* texcoordOf(const Maker& maker, const GLMtriangle& triangle, int corner) {
    const std::uint32_t texcoord = triangle.tindices[corner];
    if (texcoord == GLM_NO_INDEX) return nullptr;
    assert(texcoord <= maker.model.numtexcoords);
    return maker.model.texcoords + GLM_TEXCOORD_SIZE * texcoord;
}

void fillVertex(const Maker& maker, const GLMtriangle& triangle, int corner, float (&vertex)[MOST_FLOATS]) {
    std::fill_n(vertex, MOST_FLOATS, 0.0f);
    const std::uint32_t position = triangle.vindices[corner];
    assert(position <= maker.model.numvertices);
    float* part = std::copy_n(__glmVector(maker.model.vertices, position), POSITION_FLOATS, vertex);
    const auto add = [&](const float* numbers, std::size_t count) {
        if (numbers != nullptr) std::copy_n(numbers, count, part);
        part += count;
    };
    if (maker.arrays.normal != GLM_NO_INDEX) add(normalOf(maker, triangle, corner), NORMAL_FLOATS);
    if (maker.arrays.texcoord != GLM_NO_INDEX) add(texcoordOf(maker, triangle, corner), TEXCOORD_FLOATS);
    if (maker.arrays.color != GLM_NO_INDEX) add(__glmVector(maker.options.extras->colors, position), COLOR_FLOATS);
    // One zero of the two: facets in one plane differ in the signs of their normals' zeros.
    for (float& number : vertex) number += 0.0f;
}

// ---- Welding ------------------------------------------------------------------------------------------------------

// The slot of that vertex, or the free one where it belongs.
std::uint32_t& slotOf(const Maker& maker, const float* vertex) {
    std::uint64_t hash = 0;
    for (std::size_t i = 0; i < maker.floats; ++i) {
        // The multiplier is the 64-bit golden ratio.
        hash = (hash ^ std::bit_cast<std::uint32_t>(vertex[i])) * 0x9e3779b97f4a7c15;
        hash ^= hash >> 32;
    }
    std::size_t at = hash & maker.mask;
    while (maker.slots[at] != 0 &&
           std::memcmp(maker.arrays.vertices + (maker.slots[at] - std::size_t{1}) * maker.floats, vertex,
                       maker.arrays.stride) != 0)
        at = (at + 1) & maker.mask;
    return maker.slots[at];
}

// False when the call fails.
bool makeRoom(Maker& maker, std::size_t room) {
    const std::size_t size = std::bit_ceil(2 * room);
    maker.slots.reset(__glmTryArray<std::uint32_t>(maker.call, size));
    if (maker.slots == nullptr || !__glmTryResize(maker.call, maker.arrays.vertices, room * maker.floats))
        return false;
    maker.mask = size - 1;
    maker.room = static_cast<std::uint32_t>(room);
    for (std::uint32_t i = 0; i < maker.arrays.numvertices; ++i)
        slotOf(maker, maker.arrays.vertices + i * maker.floats) = i + 1;
    return true;
}

// False when the call fails.
bool addCorner(Maker& maker, const GLMtriangle& triangle, int corner) {
    float vertex[MOST_FLOATS];
    fillVertex(maker, triangle, corner, vertex);
    std::uint32_t* slot = &slotOf(maker, vertex);
    if (*slot == 0) {
        if (maker.arrays.numvertices == maker.room) {
            const std::size_t most = std::size_t{3} * maker.model.numtriangles;
            if (!makeRoom(maker, std::min(std::size_t{2} * maker.room, most))) return false;
            slot = &slotOf(maker, vertex);
        }
        std::copy_n(vertex, maker.floats, maker.arrays.vertices + maker.arrays.numvertices * maker.floats);
        *slot = ++maker.arrays.numvertices;
    }
    maker.arrays.indices[maker.arrays.numindices++] = *slot - 1;
    return true;
}

// ---- Ranges -------------------------------------------------------------------------------------------------------

// The triangles sorted by material, and the ranges. Null when the call fails.
Numbers sortByMaterial(const Maker& maker) {
    const GLMmodel& model = maker.model;
    GLMarrays& arrays = maker.arrays;
    const std::size_t materials = std::max<std::size_t>(model.nummaterials, 1);
    Numbers order(__glmTryArray<std::uint32_t>(maker.call, model.numtriangles));
    const Numbers starts(__glmTryArray<std::uint32_t>(maker.call, materials + 1));
    if (order == nullptr || starts == nullptr) return {};
    for (std::uint32_t i = 0; i < model.numtriangles; ++i) {
        assert(model.triangles[i].material < materials);
        ++starts[model.triangles[i].material + 1];
    }
    for (std::size_t i = 0; i < materials; ++i) arrays.numranges += starts[i + 1] > 0 ? 1 : 0;
    arrays.ranges = __glmTryArray<GLMrange>(maker.call, arrays.numranges);
    if (arrays.ranges == nullptr) return {};
    GLMrange* range = arrays.ranges;
    for (std::uint32_t i = 0; i < materials; ++i) {
        const std::uint32_t count = starts[i + std::size_t{1}];
        if (count > 0) *range++ = {.first = 3 * starts[i], .count = 3 * count, .material = i};
        starts[i + std::size_t{1}] += starts[i];
    }
    for (std::uint32_t i = 0; i < model.numtriangles; ++i) order[starts[model.triangles[i].material]++] = i;
    return order;
}

// False when the call fails.
bool makeArrays(Maker& maker) {
    const GLMmodel& model = maker.model;
    std::uint32_t corners = 0;
    for (int corner = 0; corner < 3; ++corner)
        if (!__glmTryCount(maker.call, model, corners, model.numtriangles, "corners")) return false;
    layOut(maker);
    if (corners == 0) return true;
    const Numbers order = sortByMaterial(maker);
    maker.arrays.indices = __glmTryArray<std::uint32_t>(maker.call, corners);
    // Nearly as many vertices as positions are usual.
    if (maker.call.failed || !makeRoom(maker, std::min(model.numvertices + std::size_t{1}, std::size_t{corners})))
        return false;
    for (std::uint32_t i = 0; i < model.numtriangles; ++i)
        for (int corner = 0; corner < 3; ++corner)
            if (!addCorner(maker, model.triangles[order[i]], corner)) return false;
    return __glmTryResize(maker.call, maker.arrays.vertices, maker.arrays.numvertices * maker.floats);
}

}  // namespace

GLMarrays* glmTryMakeArrays(const GLMmodel* model, GLMerror* error, const GLMarrayoptions& options) {
    assert(model != nullptr);
    GLMarrayoptions known;
    std::memcpy(static_cast<void*>(&known), &options, std::min(options.size, sizeof known));
    GLMcall call;
    __glmLetReturn(call, error, {});
    call.file = model->pathname != nullptr ? model->pathname : "";
    Owned arrays(__glmTryArray<GLMarrays>(call, 1), glmFreeArrays);
    if (arrays == nullptr) return nullptr;
    Maker maker{.call = call,
                .model = *model,
                .options = known,
                .arrays = *arrays,
                .floats = 0,
                .room = 0,
                .slots = {},
                .mask = 0};
    return requireOwnExtras(maker) && makeArrays(maker) ? arrays.release() : nullptr;
}

void glmFreeArrays(GLMarrays* arrays) {
    if (arrays == nullptr) return;
    std::free(arrays->vertices);
    std::free(arrays->indices);
    std::free(arrays->ranges);
    std::free(arrays);
}
