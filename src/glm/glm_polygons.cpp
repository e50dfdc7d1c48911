// The polygons among a model's elements become its triangles.
#include "glm/glm_call.h"
#include "glm/glm_triangulate.h"

#include <algorithm>
#include <cassert>
#include <cstdlib>
#include <utility>

namespace {

using Numbers = std::unique_ptr<std::uint32_t[], __glmFree>;

// What takes the place of the model's and of the extras' own. The groups of `made` are those of the extras, in their
// order.
struct Cutting {
    GLMcall& call;
    const GLMmodel& model;
    const GLMextras& extras;
    GLMfreed made;
    std::unique_ptr<GLMgroup*[], __glmFree> groups;
    Numbers objects, smoothing;
    Numbers corners;    // positions of the polygon's corners; there is room for the largest one
    Numbers triangles;  // of the polygon
};

bool isPolygon(const GLMelement& element) { return element.kind == GLMelementkind::face && element.count >= 3; }

template <typename Use>
void forPolygons(const GLMextras& extras, Use use) {
    for (std::uint32_t i = 0; i < extras.numelements; ++i)
        if (isPolygon(extras.elements[i])) use(extras.elements[i]);
}

// In all that follows, false when the call fails.

bool makeGroups(Cutting& cutting) {
    GLMcall& call = cutting.call;
    cutting.groups.reset(__glmTryArray<GLMgroup*>(call, cutting.extras.numgroups));
    if (cutting.groups == nullptr) return false;
    for (std::uint32_t i = 0; i < cutting.extras.numgroups; ++i) {
        cutting.groups[i] = __glmNewGroup(call, cutting.made.get(), cutting.extras.groupnames[i]);
        if (cutting.groups[i] == nullptr) return false;
    }
    forPolygons(cutting.extras, [&](const GLMelement& element) {
        assert(element.group < cutting.extras.numgroups);
        cutting.groups[element.group]->numtriangles += element.count - 2;
    });
    for (std::uint32_t i = 0; i < cutting.extras.numgroups && !call.failed; ++i)
        cutting.groups[i]->triangles = __glmTryArray<std::uint32_t>(
            call, std::exchange(cutting.groups[i]->numtriangles, 0));  // counts those that it gets
    return !call.failed;
}

bool makeRoom(Cutting& cutting) {
    GLMcall& call = cutting.call;
    GLMmodel& made = *cutting.made;
    std::size_t largest = 2;
    bool hasSmoothing = false;
    forPolygons(cutting.extras, [&](const GLMelement& element) {
        largest = std::max<std::size_t>(largest, element.count);
        hasSmoothing |= element.smoothing != 0;
        __glmTryCount(call, made, made.numtriangles, element.count - 2, "triangles");
    });
    if (call.failed || !makeGroups(cutting)) return false;
    made.triangles = __glmTryArray<GLMtriangle>(call, made.numtriangles);
    if (cutting.extras.numobjects > 0) cutting.objects.reset(__glmTryArray<std::uint32_t>(call, made.numtriangles));
    if (hasSmoothing) cutting.smoothing.reset(__glmTryArray<std::uint32_t>(call, made.numtriangles));
    cutting.corners.reset(__glmTryArray<std::uint32_t>(call, largest));
    cutting.triangles.reset(__glmTryArray<std::uint32_t>(call, 3 * (largest - 2)));
    return !call.failed;
}

void addTriangle(Cutting& cutting, const GLMelement& element, const std::uint32_t* corners, std::uint32_t at) {
    GLMtriangle& triangle = cutting.made->triangles[at];
    for (int k = 0; k < 3; ++k) {
        const GLMelementcorner& corner = cutting.extras.corners[element.first + corners[k]];
        triangle.vindices[k] = corner.position;
        triangle.nindices[k] = corner.normal;
        triangle.tindices[k] = corner.texcoord;
    }
    triangle.findex = GLM_NO_INDEX;
    triangle.material = element.material;
    GLMgroup& group = *cutting.groups[element.group];
    group.triangles[group.numtriangles++] = at;
    if (group.material == 0) group.material = element.material;
    if (cutting.objects != nullptr) cutting.objects[at] = element.object;
    if (cutting.smoothing != nullptr) cutting.smoothing[at] = element.smoothing;
}

bool cut(Cutting& cutting) {
    std::uint32_t at = 0;
    forPolygons(cutting.extras, [&](const GLMelement& element) {
        if (cutting.call.failed) return;
        assert(element.first + element.count <= cutting.extras.numcorners);
        for (std::uint32_t i = 0; i < element.count; ++i) {
            cutting.corners[i] = cutting.extras.corners[element.first + i].position;
            assert(cutting.corners[i] >= 1 && cutting.corners[i] <= cutting.model.numvertices);
        }
        const std::uint32_t* corners = cutting.triangles.get();
        const std::uint32_t count = __glmTriangulate(cutting.model.vertices, cutting.corners.get(), element.count,
                                                     reinterpret_cast<std::uint32_t(*)[3]>(cutting.triangles.get()));
        if (count == 0) __glmFailAtMemory(cutting.call, element.count, sizeof *corners);
        for (std::uint32_t i = 0; i < count; ++i, corners += 3) addTriangle(cutting, element, corners, at++);
    });
    return !cutting.call.failed;
}

bool makeFacets(Cutting& cutting) {
    cutting.made->vertices = cutting.model.vertices;  // lent
    const bool done = __glmFacetNormals(cutting.call, cutting.made.get());
    cutting.made->vertices = nullptr;
    return done;
}

// Gives the new array to the extras. Their old one is freed with `made`.
void exchange(Numbers& made, std::uint32_t*& own) {
    std::uint32_t* const before = std::exchange(own, made.release());
    made.reset(before);
}

}  // namespace

bool glmTryTriangulate(GLMmodel* model, GLMextras* extras, GLMerror* error) {
    assert(model != nullptr && extras != nullptr);
    GLMcall call;
    __glmLetReturn(call, error, {});
    call.file = model->pathname != nullptr ? model->pathname : "";
    Cutting cutting{.call = call,
                    .model = *model,
                    .extras = *extras,
                    .made = GLMfreed(__glmTryArray<GLMmodel>(call, 1)),
                    .groups = {},
                    .objects = {},
                    .smoothing = {},
                    .corners = {},
                    .triangles = {}};
    if (cutting.made == nullptr) return false;
    GLMmodel& made = *cutting.made;
    made.pathname = __glmTryCopy(call, call.file);
    if (made.pathname == nullptr || !makeRoom(cutting) || !cut(cutting) || !makeFacets(cutting)) return false;
    std::swap(model->triangles, made.triangles);
    std::swap(model->facetnorms, made.facetnorms);
    std::swap(model->groups, made.groups);
    model->numtriangles = made.numtriangles;
    model->numfacetnorms = made.numfacetnorms;
    model->numgroups = made.numgroups;
    extras->numtriangles = made.numtriangles;
    exchange(cutting.objects, extras->objects);
    exchange(cutting.smoothing, extras->smoothing);
    return true;
}
