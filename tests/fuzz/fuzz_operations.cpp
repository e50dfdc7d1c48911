// The bytes describe a model and operations on it. The model stays drawable, and what is written reads back.
#include "fuzz.h"
#include "glm/glm_arrays.h"
#include "glm/glm_try.h"
#include "model_files.h"
#include "temp_dir.h"

#include <cmath>
#include <cstddef>
#include <cstring>
#include <vector>

namespace {

constexpr const char* COORDINATES[] = {"0", "1", "-1", "0.5", "1e-30", "-1e30", "3.4e38", "nan", "-inf", "1e-45"};
constexpr int ALL = GLM_SMOOTH | GLM_TEXTURE | GLM_MATERIAL;
constexpr float NUMBERS[] = {0, 0.25f, 1, -2, 60, 180, 1e-30f, 1e30f, INFINITY, NAN};

struct Bytes {
    const char *at, *end;
    int below(int limit) { return at < end ? static_cast<unsigned char>(*at++) % limit : 0; }
    std::string index(int count) { return std::to_string(1 + below(count)); }
    float number() { return NUMBERS[below(std::size(NUMBERS))]; }
};

std::string modelText(Bytes& bytes) {
    std::string text = "mtllib m.mtl\n";
    const auto add = [&](const char* keyword, int count, int size) {
        for (int i = 0; i < count; ++i, text += "\n") {
            text += keyword;
            for (int k = 0; k < size; ++k) (text += " ") += COORDINATES[bytes.below(std::size(COORDINATES))];
        }
        return count;
    };
    const int positions = add("v", 1 + bytes.below(16), 3);
    const int normals = add("vn", bytes.below(4), 3), texcoords = add("vt", bytes.below(4), 2);
    for (int triangles = bytes.below(24); triangles > 0; --triangles, text += "\n") {
        const int kind = bytes.below(16);
        if (kind % 4 == 1) text += "g " + std::string(kind % 8 == 1 ? 126 : kind, 'f') + "\n";
        if (kind % 4 == 2) text += kind == 2 ? "usemtl glass\n" : "usemtl default\n";
        const bool texcoord = texcoords > 0 && (kind & 4) != 0, normal = normals > 0 && (kind & 8) != 0;
        text += "f";
        for (int corner = 0; corner < 3; ++corner) {
            text += " " + bytes.index(positions);
            if (texcoord) text += "/" + bytes.index(texcoords);
            if (normal) text += (texcoord ? "/" : "//") + bytes.index(normals);
        }
    }
    return text;
}

// Compares six decimals of each coordinate, and each group's triangles. Group names get a blank in front.
void requireReadsBack(const GLMmodel& model, int mode) {
    glmWriteOBJ(&model, "back.obj", mode);
    const Model back(glmReadOBJ("back.obj"));
    assert(back->numvertices == model.numvertices && back->numtriangles == model.numtriangles);
    for (std::size_t i = 3; i < 3 * (model.numvertices + std::size_t{1}); ++i)
        assert(!(std::fabs(model.vertices[i] - back->vertices[i]) > 1e-6f));
    if (mode != ALL) return;
    for (const GLMgroup* group = model.groups; group != nullptr; group = group->next) {
        const GLMgroup* again = glmFindGroup(back.get(), (" " + std::string(group->name)).substr(0, 127).c_str());
        assert(again != nullptr && again->numtriangles == group->numtriangles);
        for (std::uint32_t i = 0; i < group->numtriangles; ++i) {
            const GLMtriangle &was = model.triangles[group->triangles[i]], &is = back->triangles[again->triangles[i]];
            assert(std::memcmp(&was, &is, offsetof(GLMtriangle, findex)) == 0);
            const char *chosen = model.materials[was.material].name, *read = back->materials[is.material].name;
            assert(was.material == 0 || std::strcmp(chosen, read) == 0);
        }
    }
}

// What the ranges name is there.
void requireArrays(const GLMmodel& model, int mode) {
    GLMarrayoptions options;
    options.normals = (mode & 1) != 0;
    options.flat = (mode & 2) != 0;
    options.texcoords = (mode & 4) != 0;
    GLMarrays* arrays = glmTryMakeArrays(&model, nullptr, options);
    assert(arrays->numindices == 3 * model.numtriangles);
    for (std::uint32_t i = 0; i < arrays->numindices; ++i) assert(arrays->indices[i] < arrays->numvertices);
    for (std::uint32_t r = 0; r < arrays->numranges; ++r)
        assert(arrays->ranges[r].first + arrays->ranges[r].count <= arrays->numindices);
    glmFreeArrays(arrays);
}

// The model's triangles become those of one polygon, whose edges they have: the others are there in both directions.
void cutPolygon(GLMmodel* model, Bytes& bytes) {
    std::vector<GLMelementcorner> corners(3 + bytes.below(80));
    for (auto& corner : corners)
        corner = {1 + static_cast<std::uint32_t>(bytes.below(static_cast<int>(model->numvertices))), GLM_NO_INDEX,
                  GLM_NO_INDEX};
    GLMelement polygon{};
    polygon.kind = GLMelementkind::face;
    polygon.count = static_cast<std::uint32_t>(corners.size());
    char name[] = "default", *names[] = {name};
    GLMextras extras{};
    extras.numgroups = extras.numelements = 1;
    extras.groupnames = names;
    extras.numcorners = polygon.count;
    extras.corners = corners.data();
    extras.elements = &polygon;
    polygon.object = GLM_NO_INDEX;
    assert(glmTryTriangulate(model, &extras) && model->numtriangles == polygon.count - 2);
    std::vector<int> balance(std::size_t{17} * 17);
    const auto edge = [&](std::uint32_t from, std::uint32_t to) {
        ++balance[17 * from + to], --balance[17 * to + from];
    };
    for (std::size_t i = 0; i < corners.size(); ++i)
        edge(corners[(i + 1) % corners.size()].position, corners[i].position);
    for (std::uint32_t i = 0; i < model->numtriangles; ++i)
        for (int k = 0; k < 3; ++k) edge(model->triangles[i].vindices[k], model->triangles[i].vindices[(k + 1) % 3]);
    for (const int difference : balance) assert(difference == 0);
}

// To the bit, and the same text again.
void requireReadsBackByDefault(const GLMmodel& model) {
    constexpr const char* PATH = "put.obj";
    GLMoptions options;
    options.replace = true;
    assert(glmTryWriteOBJ(&model, PATH, GLM_ALL, nullptr, options));
    const std::string text = readFile(PATH);
    const GLMfreed back(glmTryReadOBJ(PATH));
    assert(back->numvertices == model.numvertices && back->numtriangles == model.numtriangles);
    for (std::size_t i = 3; i < 3 * (model.numvertices + std::size_t{1}); ++i)
        assert(model.vertices[i] == back->vertices[i] || std::isnan(model.vertices[i]));
    assert(glmTryWriteOBJ(back.get(), PATH, GLM_ALL, nullptr, options));
    assert(readFile(PATH) == text);
}

constexpr void (*OPERATIONS[])(GLMmodel*, Bytes&) = {
    [](GLMmodel* model, Bytes& bytes) { glmWeld(model, bytes.number()); },
    [](GLMmodel* model, Bytes&) { glmFacetNormals(model); },
    [](GLMmodel* model, Bytes& bytes) { glmVertexNormals(model, bytes.number(), bytes.below(2) != 0); },
    [](GLMmodel* model, Bytes&) { glmLinearTexture(model); },
    [](GLMmodel* model, Bytes&) { model->normals != nullptr ? glmSpheremapTexture(model) : void(); },
    [](GLMmodel* model, Bytes&) { glmUnitize(model); },
    [](GLMmodel* model, Bytes& bytes) { glmScale(model, bytes.number()); },
    [](GLMmodel* model, Bytes&) { glmReverseWinding(model); },
    [](GLMmodel* model, Bytes&) { requireReadsBackByDefault(*model); },
    [](GLMmodel* model, Bytes& bytes) { requireReadsBack(*model, bytes.below(2) != 0 ? ALL : bytes.below(64)); },
    [](GLMmodel* model, Bytes& bytes) { requireArrays(*model, bytes.below(8)); },
    cutPolygon,
};

}  // namespace

void feed(const std::string& input) {
    Bytes bytes{.at = input.data(), .end = input.data() + input.size()};
    writeFile("m.mtl", "newmtl red\nKd 1 0 0\nmap_Kd none\nnewmtl glass\nd 0.5\nmap_Kd none\n");
    writeFile("m.obj", modelText(bytes));
    const Model model(glmReadOBJ("m.obj"));  // an end of the process has nobody to catch it here
    for (int left = 16; bytes.at < bytes.end && left > 0; --left) {
        OPERATIONS[bytes.below(std::size(OPERATIONS))](model.get(), bytes);
        glmDraw(model.get(), bytes.below(64));  // asserts that the indices are in range
    }
}
