// ryl-obj convert: PLY files, binary (little-endian) or ascii. A vertex there has all of a corner, so corners that
// differ in anything become vertices of their own, behind those of the positions.
#include "convert.h"

#include <algorithm>
#include <bit>
#include <cerrno>
#include <charconv>
#include <cmath>
#include <cstring>

namespace {

static_assert(std::endian::native == std::endian::little);

// ---- Vertices -----------------------------------------------------------------------------------------------------

// Whether a position's first vertex has its normal and texture coordinate yet.
constexpr std::uint32_t UNSET = GLM_NO_INDEX - 1;

struct Vertices {
    std::vector<GLMelementcorner> all;     // those of positions 1, 2, ... first
    std::vector<std::uint32_t> ofCorners;  // of each corner of the extras
    std::vector<std::uint32_t> table;      // numbers of those behind, by hash, plus 1
    std::size_t positions = 0;
};

bool same(const GLMelementcorner& a, const GLMelementcorner& b) {
    return a.position == b.position && a.texcoord == b.texcoord && a.normal == b.normal;
}

std::size_t hashOf(const GLMelementcorner& corner) {
    std::uint64_t hash = corner.position;
    for (const std::uint32_t part : {corner.texcoord, corner.normal}) {
        hash = (hash ^ part) * 0x9e3779b97f4a7c15u;
        hash ^= hash >> 29;
    }
    return hash * 0xd6e8feb86659fd93u >> 20;
}

// The slot of the vertex, or the free one for it.
std::size_t slotOf(const Vertices& vertices, const GLMelementcorner& corner) {
    const std::size_t mask = vertices.table.size() - 1;
    std::size_t slot = hashOf(corner) & mask;
    while (vertices.table[slot] != 0 && !same(vertices.all[vertices.table[slot] - 1], corner))
        slot = (slot + 1) & mask;
    return slot;
}

void growTable(Vertices& vertices) {
    const std::size_t behind = vertices.all.size() - vertices.positions;
    if (2 * behind < vertices.table.size()) return;
    vertices.table.assign(std::max(std::size_t{64}, 2 * vertices.table.size()), 0);
    for (std::size_t i = vertices.positions; i < vertices.all.size(); ++i)
        vertices.table[slotOf(vertices, vertices.all[i])] = static_cast<std::uint32_t>(i + 1);
}

std::uint32_t vertexOf(Vertices& vertices, const GLMelementcorner& corner) {
    // A corner without both goes with any.
    if (corner.normal == GLM_NO_INDEX && corner.texcoord == GLM_NO_INDEX) return corner.position - 1;
    GLMelementcorner& first = vertices.all[corner.position - 1];
    if (first.normal == UNSET) first = corner;
    if (same(first, corner)) return corner.position - 1;
    growTable(vertices);
    std::uint32_t& slot = vertices.table[slotOf(vertices, corner)];
    if (slot == 0) {
        vertices.all.push_back(corner);
        slot = static_cast<std::uint32_t>(vertices.all.size());
    }
    return slot - 1;
}

Vertices verticesOf(const Model& read) {
    Vertices vertices;
    vertices.positions = read.model->numvertices;
    vertices.all.resize(vertices.positions);
    for (std::uint32_t i = 0; i < vertices.positions; ++i) vertices.all[i] = {i + 1, GLM_NO_INDEX, UNSET};
    vertices.ofCorners.reserve(read.extras->numcorners);
    for (std::uint32_t i = 0; i < read.extras->numcorners; ++i)
        vertices.ofCorners.push_back(vertexOf(vertices, read.extras->corners[i]));
    return vertices;
}

// ---- Text and bytes -----------------------------------------------------------------------------------------------

struct Sink {
    std::FILE* file;
    bool ascii;
    std::string buffer = {};
    bool failed = false;
};

void flush(Sink& sink, std::size_t limit) {
    if (sink.buffer.size() < limit) return;
    sink.failed |= std::fwrite(sink.buffer.data(), 1, sink.buffer.size(), sink.file) != sink.buffer.size();
    sink.buffer.clear();
}

template <typename Number>
void put(Sink& sink, Number number) {
    if (!sink.ascii) {
        sink.buffer.append(reinterpret_cast<const char*>(&number), sizeof number);
        return;
    }
    std::array<char, 64> digits{};
    char* end = nullptr;
    if constexpr (sizeof(Number) == 1)
        end = std::to_chars(digits.data(), digits.data() + digits.size(), static_cast<int>(number)).ptr;
    else
        end = std::to_chars(digits.data(), digits.data() + digits.size(), number).ptr;
    *end++ = ' ';
    sink.buffer.append(digits.data(), end);
}

// The end of an element, which is a line of text.
void endElement(Sink& sink) {
    constexpr std::size_t LIMIT = 1 << 18;
    if (sink.ascii) sink.buffer.back() = '\n';
    flush(sink, LIMIT);
}

// ---- The file -----------------------------------------------------------------------------------------------------

struct Counts {
    std::uint64_t faces = 0, edges = 0;
    std::uint32_t most = 0;  // corners of a face
};

Counts countsOf(const GLMextras& extras) {
    Counts counts;
    for (std::uint32_t i = 0; i < extras.numelements; ++i) {
        const GLMelement& element = extras.elements[i];
        if (element.kind == GLMelementkind::line) counts.edges += element.count - 1;
        if (element.kind != GLMelementkind::face) continue;
        ++counts.faces;
        counts.most = std::max(counts.most, element.count);
    }
    return counts;
}

constexpr std::uint32_t SHORT_LIST = 255;  // corners that a byte counts

// The image of the diffuse map, if there is just one: some programs look for it in a comment.
std::string textureComment(const GLMmodel& model) {
    if (model.numtextures != 1) return "";
    return "comment TextureFile " + printable(model.textures[0].name) + "\n";
}

void putHeader(Sink& sink, const Model& read, const Vertices& vertices, const Counts& counts) {
    const GLMmodel& model = *read.model;
    std::string& text = sink.buffer;
    text = "ply\nformat " + std::string(sink.ascii ? "ascii" : "binary_little_endian") + " 1.0\n";
    text += textureComment(model);
    text += "element vertex " + std::to_string(vertices.all.size()) + "\n";
    text += "property float x\nproperty float y\nproperty float z\n";
    if (model.numnormals > 0) text += "property float nx\nproperty float ny\nproperty float nz\n";
    if (model.numtexcoords > 0) text += "property float s\nproperty float t\n";
    if (read.extras->colors != nullptr) text += "property uchar red\nproperty uchar green\nproperty uchar blue\n";
    text += "element face " + std::to_string(counts.faces) + "\nproperty list " +
            (counts.most > SHORT_LIST ? "uint" : "uchar") + " int vertex_indices\n";
    if (counts.edges > 0)
        text += "element edge " + std::to_string(counts.edges) + "\nproperty int vertex1\nproperty int vertex2\n";
    text += "end_header\n";
}

// `count` numbers of an entry of `vectors`; zeros for none.
void putVector(Sink& sink, const float* vectors, std::uint32_t index, std::size_t count) {
    const bool none = index == GLM_NO_INDEX || index == UNSET;
    for (std::size_t i = 0; i < count; ++i) put(sink, none ? 0.0f : vectors[count * index + i]);
}

// A position without a colour is white.
std::uint8_t byteOf(float color) {
    constexpr float MOST = 255;
    return static_cast<std::uint8_t>(std::isnan(color) ? MOST : std::round(MOST * std::clamp(color, 0.0f, 1.0f)));
}

void putVertices(Sink& sink, const Model& read, const Vertices& vertices) {
    const GLMmodel& model = *read.model;
    for (const GLMelementcorner& vertex : vertices.all) {
        putVector(sink, model.vertices, vertex.position, 3);
        if (model.numnormals > 0) putVector(sink, model.normals, vertex.normal, 3);
        if (model.numtexcoords > 0) putVector(sink, model.texcoords, vertex.texcoord, 2);
        for (std::size_t i = 0; read.extras->colors != nullptr && i < 3; ++i)
            put(sink, byteOf(read.extras->colors[std::size_t{3} * vertex.position + i]));
        endElement(sink);
    }
}

void putElements(Sink& sink, const Model& read, const Vertices& vertices, const Counts& counts) {
    const auto index = [&](std::uint32_t corner) { return static_cast<std::int32_t>(vertices.ofCorners[corner]); };
    const std::span<const GLMelement> elements(read.extras->elements, read.extras->numelements);
    for (const GLMelement& element : elements) {
        if (element.kind != GLMelementkind::face) continue;
        if (counts.most > SHORT_LIST)
            put(sink, element.count);
        else
            put(sink, static_cast<std::uint8_t>(element.count));
        for (std::uint32_t i = 0; i < element.count; ++i) put(sink, index(element.first + i));
        endElement(sink);
    }
    for (const GLMelement& element : elements)
        for (std::uint32_t i = 1; element.kind == GLMelementkind::line && i < element.count; ++i) {
            put(sink, index(element.first + i - 1));
            put(sink, index(element.first + i));
            endElement(sink);
        }
}

}  // namespace

bool writePly(std::FILE* file, const Model& model, bool ascii) {
    const Vertices vertices = verticesOf(model);
    const Counts counts = countsOf(*model.extras);
    Sink sink{file, ascii};
    putHeader(sink, model, vertices, counts);
    putVertices(sink, model, vertices);
    putElements(sink, model, vertices, counts);
    flush(sink, 0);
    return !sink.failed;
}
