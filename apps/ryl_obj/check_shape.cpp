// ryl-obj check: faces, edges, positions and normals. Linear in the size of the model, but for sorting the edges at a
// position.
#include "check.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <functional>
#include <future>
#include <numeric>

namespace {

constexpr double LENGTH_TOLERANCE = 0.01;  // of a normal's length; files have few decimals
constexpr double FLAT = 1e-7;              // area of a face without one, relative to its longest edge's square

struct Vec {
    double x, y, z;
};
Vec operator-(const Vec& a, const Vec& b) { return {a.x - b.x, a.y - b.y, a.z - b.z}; }
Vec operator+(const Vec& a, const Vec& b) { return {a.x + b.x, a.y + b.y, a.z + b.z}; }
double dot(const Vec& a, const Vec& b) { return a.x * b.x + a.y * b.y + a.z * b.z; }
Vec cross(const Vec& a, const Vec& b) {
    return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}
double length(const Vec& v) { return std::sqrt(dot(v, v)); }

Vec vectorAt(const float* vectors, std::uint32_t index) {
    const std::size_t at = std::size_t{3} * index;
    return {vectors[at], vectors[at + 1], vectors[at + 2]};
}

// The model as faces of positions; equal positions are the first of them.
struct Mesh {
    const GLMmodel& model;
    const GLMextras& extras;
    std::vector<std::uint32_t> same;  // of each position, from 1
    std::vector<GLMelement> faces;    // in file order

    std::span<const GLMelementcorner> corners(std::size_t face) const {
        return {extras.corners + faces[face].first, faces[face].count};
    }
    std::uint32_t vertex(const GLMelementcorner& corner) const { return same[corner.position]; }
    Vec position(const GLMelementcorner& corner) const { return vectorAt(model.vertices, corner.position); }
};

// ---- Equal positions ----------------------------------------------------------------------------------------------

std::uint64_t mixed(std::uint64_t number) {
    number = (number ^ (number >> 32)) * 0xd6e8feb86659fd93u;
    number = (number ^ (number >> 32)) * 0xd6e8feb86659fd93u;
    return number ^ (number >> 32);
}

std::uint64_t hashOf(const float* v) {
    // -0 equals 0.
    const auto bits = [](float f) { return std::uint64_t{std::bit_cast<std::uint32_t>(f + 0.0f)}; };
    return mixed(bits(v[0]) | bits(v[1]) << 32) ^ (mixed(bits(v[2])) >> 1);
}

std::vector<std::uint32_t> equalPositions(const GLMmodel& model) {
    std::vector<std::uint32_t> same(std::size_t{model.numvertices} + 1);
    std::vector<std::uint32_t> table(std::bit_ceil(std::size_t{2} * model.numvertices + 1));
    for (std::uint32_t i = 1; i <= model.numvertices; ++i) {
        const float* v = model.vertices + std::size_t{3} * i;
        std::size_t slot = hashOf(v) & (table.size() - 1);
        while (table[slot] != 0 && !std::equal(v, v + 3, model.vertices + std::size_t{3} * table[slot]))
            slot = (slot + 1) & (table.size() - 1);
        if (table[slot] == 0) table[slot] = i;
        same[i] = table[slot];
    }
    return same;
}

// ---- Edges --------------------------------------------------------------------------------------------------------

constexpr std::uint32_t BACKWARDS =
    1u << 31;  // of a half edge's face: it goes from the larger position to the smaller

struct HalfEdge {
    std::uint32_t far;   // the larger one of its positions
    std::uint32_t face;  // with BACKWARDS
};

// Things sorted by the position that they belong to: those of position i are first[i] to first[i + 1].
template <typename T>
struct ByPosition {
    std::vector<std::uint64_t> first;
    std::vector<T> all;

    std::span<T> of(std::size_t position) { return {all.data() + first[position], all.data() + first[position + 1]}; }
};

// `each(take)` calls take(position, thing) for all, twice in the same order.
template <typename T, typename Each>
ByPosition<T> sortedByPosition(std::size_t positions, Each each) {
    ByPosition<T> sorted;
    sorted.first.resize(positions + 2);
    each([&](std::uint32_t position, const T&) { ++sorted.first[position + 1]; });
    std::partial_sum(sorted.first.begin(), sorted.first.end(), sorted.first.begin());
    sorted.all.resize(sorted.first.back());
    std::vector<std::uint64_t> next(sorted.first);
    each([&](std::uint32_t position, const T& thing) { sorted.all[next[position]++] = thing; });
    return sorted;
}

ByPosition<HalfEdge> edgesOf(const Mesh& mesh) {
    return sortedByPosition<HalfEdge>(std::size_t{mesh.model.numvertices} + 1, [&](auto take) {
        for (std::uint32_t face = 0; face < mesh.faces.size(); ++face) {
            const auto corners = mesh.corners(face);
            std::uint32_t from = mesh.vertex(corners.back());
            for (const GLMelementcorner& corner : corners) {
                const std::uint32_t to = mesh.vertex(corner);
                if (from < to) take(from, HalfEdge{to, face});
                if (from > to) take(to, HalfEdge{from, face | BACKWARDS});
                from = to;
            }
        }
    });
}

// Half edges of one edge.
void checkEdge(std::span<const HalfEdge> edge, std::uint32_t near, Shape& shape) {
    const auto spot = [&](const HalfEdge& half) { return Spot{Place::face, half.face & ~BACKWARDS, near, half.far}; };
    if (edge.size() == 1) return shape.add(Kind::openEdge, spot(edge[0]));
    if (edge.size() > 2) return shape.add(Kind::nonManifoldEdge, spot(edge[2]));
    if ((edge[0].face & BACKWARDS) == (edge[1].face & BACKWARDS)) shape.add(Kind::winding, spot(edge[1]));
}

Shape checkEdges(const Mesh& mesh) {
    Shape shape;
    ByPosition<HalfEdge> edges = edgesOf(mesh);
    for (std::uint32_t near = 1; near <= mesh.model.numvertices; ++near) {
        const std::span<HalfEdge> here = edges.of(near);
        std::sort(here.begin(), here.end(), [](const HalfEdge& a, const HalfEdge& b) {
            return a.far != b.far ? a.far < b.far : (a.face & ~BACKWARDS) < (b.face & ~BACKWARDS);
        });
        for (std::size_t start = 0, end = 0; start < here.size(); start = end) {
            while (end < here.size() && here[end].far == here[start].far) ++end;
            checkEdge(here.subspan(start, end - start), near, shape);
        }
    }
    return shape;
}

// ---- Double faces -------------------------------------------------------------------------------------------------

struct FaceHash {
    std::uint64_t hash;  // of its positions, in any order
    std::uint32_t face;
};

std::vector<std::uint32_t> sortedVertices(const Mesh& mesh, std::uint32_t face) {
    std::vector<std::uint32_t> vertices;
    for (const GLMelementcorner& corner : mesh.corners(face)) vertices.push_back(mesh.vertex(corner));
    std::sort(vertices.begin(), vertices.end());
    return vertices;
}

void checkDoubles(const Mesh& mesh, Shape& shape) {
    auto hashes = sortedByPosition<FaceHash>(std::size_t{mesh.model.numvertices} + 1, [&](auto take) {
        for (std::uint32_t face = 0; face < mesh.faces.size(); ++face) {
            std::uint32_t least = ~0u;
            std::uint64_t hash = 0;
            for (const GLMelementcorner& corner : mesh.corners(face)) {
                const std::uint32_t vertex = mesh.vertex(corner);
                least = std::min(least, vertex);
                hash += mixed(vertex);
            }
            take(least, FaceHash{hash, face});
        }
    });
    for (std::uint32_t i = 1; i <= mesh.model.numvertices; ++i) {
        const std::span<FaceHash> here = hashes.of(i);
        std::sort(here.begin(), here.end(), [](const FaceHash& a, const FaceHash& b) {
            return a.hash != b.hash ? a.hash < b.hash : a.face < b.face;
        });
        for (std::size_t k = 1; k < here.size(); ++k)
            if (here[k].hash == here[k - 1].hash &&
                sortedVertices(mesh, here[k].face) == sortedVertices(mesh, here[k - 1].face))
                shape.add(Kind::duplicateFace, {Place::face, here[k].face, here[k - 1].face, 0});
    }
}

// ---- Faces --------------------------------------------------------------------------------------------------------

// Twice the face's area, along its normal.
Vec areaOf(const Mesh& mesh, std::span<const GLMelementcorner> corners) {
    const Vec origin = mesh.position(corners[0]);
    Vec sum{0, 0, 0};
    for (std::size_t i = 2; i < corners.size(); ++i)
        sum = sum + cross(mesh.position(corners[i - 1]) - origin, mesh.position(corners[i]) - origin);
    return sum;
}

double longestSquare(const Mesh& mesh, std::span<const GLMelementcorner> corners) {
    double most = 0;
    Vec from = mesh.position(corners.back());
    for (const GLMelementcorner& corner : corners) {
        const Vec to = mesh.position(corner), edge = to - from;
        most = std::max(most, dot(edge, edge));
        from = to;
    }
    return most;
}

bool isTwiceIn(const Mesh& mesh, std::span<const GLMelementcorner> corners) {
    // A polygon may pass through a position twice, but not stay there.
    std::uint32_t from = mesh.vertex(corners.back());
    for (const GLMelementcorner& corner : corners) {
        const std::uint32_t to = mesh.vertex(corner);
        if (from == to) return true;
        from = to;
    }
    return false;
}

Vec normalOf(const Mesh& mesh, std::span<const GLMelementcorner> corners) {
    Vec sum{0, 0, 0};
    for (const GLMelementcorner& corner : corners)
        if (corner.normal != GLM_NO_INDEX) sum = sum + vectorAt(mesh.model.normals, corner.normal);
    return sum;
}

void checkFaces(const Mesh& mesh, Shape& shape) {
    for (std::uint32_t face = 0; face < mesh.faces.size(); ++face) {
        const auto corners = mesh.corners(face);
        const Vec area = areaOf(mesh, corners);
        const bool twice = isTwiceIn(mesh, corners);
        if (twice || length(area) <= FLAT * longestSquare(mesh, corners))
            shape.add(Kind::degenerateFace, {Place::face, face, twice, 0});
        else if (mesh.model.normals != nullptr && dot(normalOf(mesh, corners), area) < 0)
            shape.add(Kind::flipped, {Place::face, face, 0, 0});
    }
}

// ---- Closed parts that are inside out -----------------------------------------------------------------------------

struct Part {
    std::uint32_t face;  // the first one
    std::uint32_t faces;
    double volume;
    bool open;
    Vec least, most;  // its extent
};

std::uint32_t rootOf(std::vector<std::uint32_t>& parents, std::uint32_t vertex) {
    while (parents[vertex] != vertex) vertex = parents[vertex] = parents[parents[vertex]];
    return vertex;
}

// A tree of positions for each part that hangs together.
std::vector<std::uint32_t> treesOf(const Mesh& mesh) {
    std::vector<std::uint32_t> parents(std::size_t{mesh.model.numvertices} + 1);
    std::iota(parents.begin(), parents.end(), 0u);
    for (std::uint32_t face = 0; face < mesh.faces.size(); ++face) {
        const auto corners = mesh.corners(face);
        std::uint32_t first = rootOf(parents, mesh.vertex(corners[0]));
        for (const GLMelementcorner& corner : corners.subspan(1)) {
            const std::uint32_t other = rootOf(parents, mesh.vertex(corner));
            // Smaller numbers are roots.
            parents[std::max(first, other)] = std::min(first, other);
            first = std::min(first, other);
        }
    }
    return parents;
}

void extend(Part& part, const Vec& at) {
    part.least = {std::min(part.least.x, at.x), std::min(part.least.y, at.y), std::min(part.least.z, at.z)};
    part.most = {std::max(part.most.x, at.x), std::max(part.most.y, at.y), std::max(part.most.z, at.z)};
}

void addFace(const Mesh& mesh, std::uint32_t face, Part& part) {
    constexpr Vec FAR{INFINITY, INFINITY, INFINITY}, BACK{-INFINITY, -INFINITY, -INFINITY};
    const auto corners = mesh.corners(face);
    if (part.faces == 0)
        part = Part{.face = face, .faces = 0, .volume = 0, .open = false, .least = FAR, .most = BACK};
    ++part.faces;
    // Around the part's first position, so that no digits are lost far from the origin.
    const Vec origin = mesh.position(mesh.corners(part.face)[0]), apex = mesh.position(corners[0]) - origin;
    for (const GLMelementcorner& corner : corners) extend(part, mesh.position(corner));
    for (std::size_t i = 2; i < corners.size(); ++i)
        part.volume += dot(apex, cross(mesh.position(corners[i - 1]) - origin, mesh.position(corners[i]) - origin));
}

bool contains(const Part& outer, const Part& inner) {
    return outer.least.x < inner.least.x && outer.least.y < inner.least.y && outer.least.z < inner.least.z &&
           outer.most.x > inner.most.x && outer.most.y > inner.most.y && outer.most.z > inner.most.z;
}

// The spots of the edges say which parts are open. A part within the largest one may be a hollow.
void checkParts(const Mesh& mesh, std::vector<std::uint32_t> trees, Shape& shape) {
    std::vector<Part> parts(trees.size());
    for (std::uint32_t face = 0; face < mesh.faces.size(); ++face)
        addFace(mesh, face, parts[rootOf(trees, mesh.vertex(mesh.corners(face)[0]))]);
    for (const Kind kind : {Kind::openEdge, Kind::nonManifoldEdge, Kind::winding})
        for (const Spot& spot : shape.spots[static_cast<std::size_t>(kind)]) parts[rootOf(trees, spot.a)].open = true;
    std::erase_if(parts, [](const Part& part) { return part.faces == 0 || part.open; });
    if (parts.empty()) return;
    const auto size = [](const Part& part) { return length(part.most - part.least); };
    const Part& largest = *std::max_element(parts.begin(), parts.end(),
                                            [&](const Part& a, const Part& b) { return size(a) < size(b); });
    for (const Part& part : parts)
        if (part.volume < 0 && !contains(largest, part))
            shape.add(Kind::flipped, {Place::face, part.face, part.faces, 0});
}

// ---- Positions and normals ----------------------------------------------------------------------------------------

struct Used {
    std::vector<bool> positions, normals, texcoords;
};

Used usedBy(const GLMmodel& model, const GLMextras& extras) {
    Used used{std::vector<bool>(std::size_t{model.numvertices} + 1),
              std::vector<bool>(std::size_t{model.numnormals} + 1),
              std::vector<bool>(std::size_t{model.numtexcoords} + 1)};
    for (std::uint32_t i = 0; i < extras.numcorners; ++i) {
        const GLMelementcorner& corner = extras.corners[i];
        used.positions[corner.position] = true;
        if (corner.normal != GLM_NO_INDEX) used.normals[corner.normal] = true;
        if (corner.texcoord < used.texcoords.size()) used.texcoords[corner.texcoord] = true;
    }
    return used;
}

void addUnused(const std::vector<bool>& used, Place place, Shape& shape) {
    for (std::uint32_t i = 1; i < used.size(); ++i)
        if (!used[i]) shape.add(Kind::unused, {place, i - 1, 0, 0});
}

void addNotFinite(const float* numbers, std::uint32_t count, std::size_t size, Place place, Shape& shape) {
    for (std::uint32_t i = 1; i <= count; ++i) {
        const float* entry = numbers + size * i;
        if (!std::all_of(entry, entry + size, [](float f) { return std::isfinite(f); }))
            shape.add(Kind::notFinite, {place, i - 1, 0, 0});
    }
}

void checkVectors(const Mesh& mesh, Shape& shape) {
    const GLMmodel& model = mesh.model;
    const Used used = usedBy(model, mesh.extras);
    addUnused(used.positions, Place::position, shape);
    addUnused(used.normals, Place::normal, shape);
    addUnused(used.texcoords, Place::texcoord, shape);
    addNotFinite(model.vertices, model.numvertices, 3, Place::position, shape);
    addNotFinite(model.normals, model.numnormals, 3, Place::normal, shape);
    addNotFinite(model.texcoords, model.numtexcoords, 2, Place::texcoord, shape);
    for (std::uint32_t i = 1; i <= model.numnormals; ++i)
        if (std::abs(length(vectorAt(model.normals, i)) - 1) > LENGTH_TOLERANCE)
            shape.add(Kind::normalLength, {Place::normal, i - 1, 0, 0});
    for (std::uint32_t i = 1; i <= model.numvertices; ++i)
        if (mesh.same[i] != i) shape.add(Kind::duplicatePosition, {Place::position, i - 1, mesh.same[i], 0});
}

void append(Shape& shape, const Shape& more) {
    for (std::size_t kind = 0; kind < KINDS; ++kind)
        shape.spots[kind].insert(shape.spots[kind].end(), more.spots[kind].begin(), more.spots[kind].end());
}

}  // namespace

Shape checkShape(const Model& read) {
    const GLMextras& extras = *read.extras;
    Mesh mesh{*read.model, extras, equalPositions(*read.model), {}};
    mesh.faces.reserve(extras.numelements);
    for (std::uint32_t i = 0; i < extras.numelements; ++i)
        if (extras.elements[i].kind == GLMelementkind::face) mesh.faces.push_back(extras.elements[i]);
    std::future<Shape> edges = std::async(std::launch::async, checkEdges, std::cref(mesh));
    Shape shape;
    std::vector<std::uint32_t> trees = treesOf(mesh);
    checkFaces(mesh, shape);
    checkDoubles(mesh, shape);
    checkVectors(mesh, shape);
    append(shape, edges.get());
    checkParts(mesh, std::move(trees), shape);
    return shape;
}
