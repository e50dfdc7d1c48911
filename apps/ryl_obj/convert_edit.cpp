// ryl-obj convert: changes of a model. Faces are polygons here; where the model library works on triangles, it gets
// triangles whose corners stand for what is to be changed.
#include "convert.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <map>
#include <new>
#include <numeric>
#include <string_view>
#include <utility>

namespace {

struct Vec {
    double x, y, z;
};

template <typename T>
T* newArray(std::size_t count) {
    void* memory = std::calloc(std::max(count, std::size_t{1}), sizeof(T));
    if (memory == nullptr) throw std::bad_alloc();
    return static_cast<T*>(memory);
}

// Takes the place of an array that malloc gave.
template <typename T>
void replace(T*& array, T* other) {
    std::free(array);
    array = other;
}

char* copyOf(const std::string& text) {
    char* copy = newArray<char>(text.size() + 1);
    std::memcpy(copy, text.c_str(), text.size());
    return copy;
}

std::span<GLMelementcorner> cornersOf(GLMextras& extras, const GLMelement& element) {
    return {extras.corners + element.first, element.count};
}

template <typename Change>
void eachFace(GLMextras& extras, Change change) {
    for (std::uint32_t i = 0; i < extras.numelements; ++i)
        if (extras.elements[i].kind == GLMelementkind::face) change(extras.elements[i]);
}

std::span<GLMelementcorner> allCorners(GLMextras& extras) { return {extras.corners, extras.numcorners}; }

void dropTriangles(GLMmodel& model) {
    replace<GLMtriangle>(model.triangles, nullptr);
    model.numtriangles = 0;
}

// The sum of the polygon's edges' cross products: twice its area, along its normal.
Vec areaOf(const GLMmodel& model, std::span<const GLMelementcorner> corners) {
    Vec sum{0, 0, 0};
    const auto at = [&](std::size_t i) { return model.vertices + std::size_t{3} * corners[i].position; };
    for (std::size_t i = 2; i < corners.size(); ++i) {
        const float *o = at(0), *p = at(i - 1), *q = at(i);
        const Vec a{double{p[0]} - o[0], double{p[1]} - o[1], double{p[2]} - o[2]};
        const Vec b{double{q[0]} - o[0], double{q[1]} - o[1], double{q[2]} - o[2]};
        sum.x += a.y * b.z - a.z * b.y;
        sum.y += a.z * b.x - a.x * b.z;
        sum.z += a.x * b.y - a.y * b.x;
    }
    return sum;
}

void writeNormal(const Vec& area, float* normal) {
    const double length = std::sqrt(area.x * area.x + area.y * area.y + area.z * area.z);
    const double factor = length > 0 && std::isfinite(length) ? 1 / length : 0;
    normal[0] = static_cast<float>(area.x * factor);
    normal[1] = static_cast<float>(area.y * factor);
    normal[2] = static_cast<float>(area.z * factor);
}

// The normals of all faces, from entry 1 on, in order.
float* faceNormals(const GLMmodel& model, GLMextras& extras, std::uint32_t& count) {
    count = 0;
    eachFace(extras, [&](const GLMelement&) { ++count; });
    // Entry count + 1 stays zero.
    float* normals = newArray<float>(std::size_t{3} * (count + std::size_t{2}));
    std::size_t next = 1;
    eachFace(extras, [&](const GLMelement& face) {
        writeNormal(areaOf(model, cornersOf(extras, face)), normals + 3 * next++);
    });
    return normals;
}

// ---- Triangles that stand for positions and for faces -------------------------------------------------------------

// Triangles whose corners are all positions in turn.
void makePositionTriangles(GLMmodel& model) {
    model.numtriangles = model.numvertices / 3 + 1;
    replace(model.triangles, newArray<GLMtriangle>(model.numtriangles));
    for (std::uint32_t i = 0; i < 3 * model.numtriangles; ++i)
        model.triangles[i / 3].vindices[i % 3] = i < model.numvertices ? i + 1 : 1;
}

std::vector<bool> usedPositions(const GLMmodel& model, GLMextras& extras) {
    std::vector<bool> used(std::size_t{model.numvertices} + 1);
    eachFace(extras, [&](const GLMelement& face) {
        for (const GLMelementcorner& corner : cornersOf(extras, face)) used[corner.position] = true;
    });
    return used;
}

// Fans of the faces, each with its face's normal; behind them one without a normal for each position that no face
// uses, because the model library warns of positions without a triangle.
void makeFans(GLMmodel& model, GLMextras& extras) {
    std::uint64_t count = 0;
    eachFace(extras, [&](const GLMelement& face) { count += face.count - 2; });
    const std::vector<bool> used = usedPositions(model, extras);
    count += static_cast<std::uint64_t>(std::count(used.begin() + 1, used.end(), false));
    if (count >= GLM_NO_INDEX) throw std::bad_alloc();
    replace(model.triangles, newArray<GLMtriangle>(count));
    model.numtriangles = static_cast<std::uint32_t>(count);
    GLMtriangle* triangle = model.triangles;
    std::uint32_t number = 0;
    eachFace(extras, [&](const GLMelement& face) {
        const auto corners = cornersOf(extras, face);
        ++number;
        for (std::size_t i = 2; i < corners.size(); ++i)
            *triangle++ = {{corners[0].position, corners[i - 1].position, corners[i].position}, {}, {}, number, 0};
    });
    for (std::uint32_t i = 1; i < used.size(); ++i)
        if (!used[i]) *triangle++ = {{i, i, i}, {}, {}, number + 1, 0};
}

void takeNormalsOfFans(const GLMmodel& model, GLMextras& extras) {
    const GLMtriangle* triangle = model.triangles;
    eachFace(extras, [&](const GLMelement& face) {
        const auto corners = cornersOf(extras, face);
        corners[0].normal = triangle->nindices[0];
        corners[1].normal = triangle->nindices[1];
        for (std::size_t i = 2; i < corners.size(); ++i) corners[i].normal = (triangle++)->nindices[2];
    });
}

void dropUnusedNormals(GLMmodel& model, GLMextras& extras) {
    std::vector<std::uint32_t> places(std::size_t{model.numnormals} + 1);
    for (const GLMelementcorner& corner : allCorners(extras))
        if (corner.normal != GLM_NO_INDEX) places[corner.normal] = 1;
    std::uint32_t next = 0;
    for (std::uint32_t i = 1; i < places.size(); ++i) {
        if (places[i] == 0) continue;
        places[i] = ++next;
        std::copy_n(model.normals + std::size_t{3} * i, 3, model.normals + std::size_t{3} * next);
    }
    model.numnormals = next;
    for (GLMelementcorner& corner : allCorners(extras))
        if (corner.normal != GLM_NO_INDEX) corner.normal = places[corner.normal];
}

// ---- Cube mapping -------------------------------------------------------------------------------------------------

struct Extent {
    std::array<float, 3> least, size;
};

Extent extentOf(const GLMmodel& model) {
    Extent extent{};
    for (std::size_t axis = 0; axis < 3; ++axis) {
        float least = INFINITY, most = -INFINITY;
        for (std::size_t i = 1; i <= model.numvertices; ++i) {
            least = std::min(least, model.vertices[3 * i + axis]);
            most = std::max(most, model.vertices[3 * i + axis]);
        }
        extent.least[axis] = least;
        extent.size[axis] = most > least ? most - least : 1;
    }
    return extent;
}

// The axis along which a face looks.
std::size_t sideOf(const Vec& area) {
    const double x = std::abs(area.x), y = std::abs(area.y), z = std::abs(area.z);
    return x > y && x > z ? 0 : y > z ? 1 : 2;
}

// A texture coordinate for each position and side that a face there looks to.
void mapCube(Model& read) {
    GLMmodel& model = *read.model;
    const Extent extent = extentOf(model);
    std::vector<std::array<std::uint32_t, 3>> places(std::size_t{model.numvertices} + 1);
    std::vector<float> texcoords(2);
    eachFace(*read.extras, [&](const GLMelement& face) {
        const auto corners = cornersOf(*read.extras, face);
        const std::size_t side = sideOf(areaOf(model, corners)), u = side == 0 ? 2 : 0, v = side == 1 ? 2 : 1;
        for (GLMelementcorner& corner : corners) {
            std::uint32_t& place = places[corner.position][side];
            const float* position = model.vertices + std::size_t{3} * corner.position;
            if (place == 0) {
                place = static_cast<std::uint32_t>(texcoords.size() / 2);
                for (const std::size_t axis : {u, v})
                    texcoords.push_back((position[axis] - extent.least[axis]) / extent.size[axis]);
            }
            corner.texcoord = place;
        }
    });
    replace(model.texcoords, newArray<float>(texcoords.size()));
    std::copy(texcoords.begin(), texcoords.end(), model.texcoords);
    model.numtexcoords = static_cast<std::uint32_t>(texcoords.size() / 2 - 1);
}

// ---- Groups -------------------------------------------------------------------------------------------------------

std::uint32_t rootOf(std::vector<std::uint32_t>& parents, std::uint32_t vertex) {
    while (parents[vertex] != vertex) vertex = parents[vertex] = parents[parents[vertex]];
    return vertex;
}

// The part of each element: a number that all elements with common positions share.
std::vector<std::uint32_t> partsOf(const GLMmodel& model, GLMextras& extras) {
    std::vector<std::uint32_t> parents(std::size_t{model.numvertices} + 1), parts;
    std::iota(parents.begin(), parents.end(), 0u);
    for (std::uint32_t i = 0; i < extras.numelements; ++i)
        for (const GLMelementcorner& corner : cornersOf(extras, extras.elements[i])) {
            const std::uint32_t a = rootOf(parents, extras.corners[extras.elements[i].first].position);
            const std::uint32_t b = rootOf(parents, corner.position);
            parents[std::max(a, b)] = std::min(a, b);
        }
    for (std::uint32_t i = 0; i < extras.numelements; ++i)
        parts.push_back(rootOf(parents, extras.corners[extras.elements[i].first].position));
    return parts;
}

// What tells the groups apart, for each element.
std::vector<std::uint32_t> keysOf(const Model& read, Grouping grouping) {
    GLMextras& extras = *read.extras;
    if (grouping == Grouping::part) return partsOf(*read.model, extras);
    std::vector<std::uint32_t> keys(extras.numelements);
    for (std::uint32_t i = 0; i < extras.numelements; ++i) {
        const GLMelement& element = extras.elements[i];
        if (grouping == Grouping::object) keys[i] = element.object;
        if (grouping == Grouping::material) keys[i] = element.material;
    }
    return keys;
}

std::string nameOfGroup(const Model& read, Grouping grouping, std::uint32_t key, std::size_t number) {
    const GLMextras& extras = *read.extras;
    if (grouping == Grouping::object && key < extras.numobjects) return extras.objectnames[key];
    if (grouping == Grouping::material && key < read.model->nummaterials) return read.model->materials[key].name;
    return grouping == Grouping::part ? "part" + std::to_string(number) : "default";
}

// The model's own list of groups goes: its names would stay in force.
void dropGroups(GLMmodel& model) {
    while (model.groups != nullptr) {
        GLMgroup* const group = std::exchange(model.groups, model.groups->next);
        std::free(group->name);
        std::free(group->triangles);
        std::free(group);
    }
    model.numgroups = 0;
}

void setGroupNames(GLMextras& extras, const std::vector<std::string>& names) {
    for (std::uint32_t i = 0; i < extras.numgroups; ++i) std::free(extras.groupnames[i]);
    extras.numgroups = 0;
    replace(extras.groupnames, newArray<char*>(names.size()));
    for (const std::string& name : names) extras.groupnames[extras.numgroups++] = copyOf(name);
}

// ---- Triangles as faces -------------------------------------------------------------------------------------------

// The number of each triangle's group among the names of groups.
std::vector<std::uint32_t> groupsOfTriangles(const GLMmodel& model, const GLMextras& extras) {
    std::map<std::string_view, std::uint32_t> numbers;
    for (std::uint32_t i = 0; i < extras.numgroups; ++i) numbers.try_emplace(extras.groupnames[i], i);
    std::vector<std::uint32_t> groups(model.numtriangles);
    for (const GLMgroup* group = model.groups; group != nullptr; group = group->next)
        for (std::uint32_t i = 0; i < group->numtriangles; ++i) groups[group->triangles[i]] = numbers[group->name];
    return groups;
}

GLMelement elementOf(const GLMmodel& model, const GLMextras& extras, std::uint32_t triangle, std::uint32_t first) {
    return {.kind = GLMelementkind::face,
            .first = first,
            .count = 3,
            .group = 0,
            .object = extras.objects != nullptr ? extras.objects[triangle] : GLM_NO_INDEX,
            .material = model.triangles[triangle].material,
            .smoothing = extras.smoothing != nullptr ? extras.smoothing[triangle] : 0};
}

void addFaces(const GLMmodel& model, GLMextras& extras, GLMelement* element, GLMelementcorner* corners) {
    const std::vector<std::uint32_t> groups = groupsOfTriangles(model, extras);
    for (std::uint32_t i = 0; i < model.numtriangles; ++i) {
        const GLMtriangle& triangle = model.triangles[i];
        *element = elementOf(model, extras, i, 3 * i);
        (element++)->group = groups[i];
        for (std::size_t k = 0; k < 3; ++k)
            *corners++ = {triangle.vindices[k], triangle.tindices[k], triangle.nindices[k]};
    }
}

}  // namespace

void makeFaces(Model& read) {
    GLMmodel& model = *read.model;
    GLMextras& extras = *read.extras;
    const std::uint32_t added = 3 * model.numtriangles;
    if (added / 3 != model.numtriangles || added > GLM_NO_INDEX - extras.numcorners) throw std::bad_alloc();
    auto* elements = newArray<GLMelement>(std::size_t{extras.numelements} + model.numtriangles);
    auto* corners = newArray<GLMelementcorner>(std::size_t{extras.numcorners} + added);
    addFaces(model, extras, elements, corners);
    // Points and lines follow the faces.
    std::copy_n(extras.corners, extras.numcorners, corners + added);
    for (std::uint32_t i = 0; i < extras.numelements; ++i) {
        elements[model.numtriangles + i] = extras.elements[i];
        elements[model.numtriangles + i].first += added;
    }
    replace(extras.elements, elements);
    replace(extras.corners, corners);
    extras.numelements += model.numtriangles;
    extras.numcorners += added;
    for (GLMgroup* group = model.groups; group != nullptr; group = group->next) group->numtriangles = 0;
    dropTriangles(model);
    replace<float>(model.facetnorms, nullptr);
    model.numfacetnorms = 0;
}

void translateModel(GLMmodel& model, const std::array<float, 3>& offset) {
    for (std::size_t i = 1; i <= model.numvertices; ++i)
        for (std::size_t axis = 0; axis < 3; ++axis) model.vertices[3 * i + axis] += offset[axis];
}

void unitizeModel(GLMmodel& model) {
    // glmUnitize fills the cube with models about the origin.
    const Extent extent = extentOf(model);
    std::array<float, 3> offset{};
    for (std::size_t axis = 0; axis < 3; ++axis) offset[axis] = -(extent.least[axis] + extent.size[axis] / 2);
    if (model.numvertices == 0) return;
    translateModel(model, offset);
    glmUnitize(&model);
}

void reverseModel(Model& read) {
    eachFace(*read.extras, [&](const GLMelement& face) {
        const auto corners = cornersOf(*read.extras, face);
        std::reverse(corners.begin() + 1, corners.end());
    });
    GLMmodel& model = *read.model;
    for (std::size_t i = 3; i < 3 * (std::size_t{model.numnormals} + 1); ++i) model.normals[i] = -model.normals[i];
}

void weldModel(Model& read, float distance) {
    GLMmodel& model = *read.model;
    GLMextras& extras = *read.extras;
    if (model.numvertices == 0) return;
    const std::uint32_t before = model.numvertices;
    makePositionTriangles(model);
    glmWeld(&model, distance);
    const auto place = [&](std::uint32_t old) { return model.triangles[(old - 1) / 3].vindices[(old - 1) % 3]; };
    for (GLMelementcorner& corner : allCorners(extras)) corner.position = place(corner.position);
    // The first of those that became one gives the colour: it is met last.
    if (extras.colors != nullptr)
        for (std::uint32_t old = before; old > 0; --old) {
            float* const colors = extras.colors;
            std::copy_n(colors + std::size_t{3} * old, 3, colors + std::size_t{3} * place(old));
        }
    dropTriangles(model);
}

void smoothNormals(Model& read, float angle) {
    GLMmodel& model = *read.model;
    makeFans(model, *read.extras);
    std::uint32_t faces = 0;
    replace(model.facetnorms, faceNormals(model, *read.extras, faces));
    model.numfacetnorms = faces + 1;
    glmVertexNormals(&model, angle, false);
    takeNormalsOfFans(model, *read.extras);
    dropTriangles(model);
    replace<float>(model.facetnorms, nullptr);
    model.numfacetnorms = 0;
    dropUnusedNormals(model, *read.extras);
}

void facetNormals(Model& read) {
    GLMmodel& model = *read.model;
    replace(model.normals, faceNormals(model, *read.extras, model.numnormals));
    std::uint32_t number = 0;
    eachFace(*read.extras, [&](const GLMelement& face) {
        ++number;
        for (GLMelementcorner& corner : cornersOf(*read.extras, face)) corner.normal = number;
    });
}

// Drops an array of vectors and every corner's index of it.
void drop(Model& read, std::uint32_t GLMelementcorner::*index, float* GLMmodel::*array,
          std::uint32_t GLMmodel::*count) {
    for (GLMelementcorner& corner : allCorners(*read.extras)) corner.*index = GLM_NO_INDEX;
    replace<float>((*read.model).*array, nullptr);
    (*read.model).*count = 0;
}
void dropNormals(Model& read) { drop(read, &GLMelementcorner::normal, &GLMmodel::normals, &GLMmodel::numnormals); }

bool mapTexture(Model& read, Mapping mapping) {
    GLMmodel& model = *read.model;
    if (mapping == Mapping::spherical && model.numnormals == 0) return false;
    if (mapping == Mapping::cube) return mapCube(read), true;
    mapping == Mapping::linear ? glmLinearTexture(&model) : glmSpheremapTexture(&model);
    for (GLMelementcorner& corner : allCorners(*read.extras))
        corner.texcoord = mapping == Mapping::linear ? corner.position : corner.normal;
    return true;
}

void dropTexcoords(Model& read) {
    drop(read, &GLMelementcorner::texcoord, &GLMmodel::texcoords, &GLMmodel::numtexcoords);
}

void groupModel(Model& read, Grouping grouping) {
    GLMextras& extras = *read.extras;
    const std::vector<std::uint32_t> keys = keysOf(read, grouping);
    std::map<std::uint32_t, std::uint32_t> numbers;
    std::vector<std::string> names;
    for (std::uint32_t i = 0; i < extras.numelements; ++i) {
        const auto [at, added] = numbers.try_emplace(keys[i], static_cast<std::uint32_t>(names.size()));
        if (added) names.push_back(nameOfGroup(read, grouping, keys[i], names.size() + 1));
        extras.elements[i].group = at->second;
    }
    if (names.empty()) names.emplace_back("default");
    dropGroups(*read.model);
    setGroupNames(extras, names);
    std::stable_sort(extras.elements, extras.elements + extras.numelements,
                     [](const GLMelement& a, const GLMelement& b) { return a.group < b.group; });
}
