// Arrays for vertex buffers hold what the model's corners hold, each different vertex once.
#include "glm/glm_arrays.h"
#include "model_files.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <map>
#include <random>
#include <set>
#include <string>
#include <vector>

namespace {

using Arrays = std::unique_ptr<GLMarrays, decltype(&glmFreeArrays)>;

Arrays make(const GLMmodel& model, const GLMarrayoptions& options = {}) {
    return {glmTryMakeArrays(&model, nullptr, options), glmFreeArrays};
}

std::vector<float> vertexOf(const GLMarrays& arrays, std::uint32_t index) {
    const std::size_t floats = arrays.stride / sizeof(float);
    return {arrays.vertices + index * floats, arrays.vertices + (index + 1) * floats};
}

// What the vertex of a corner is to hold, from the model alone.
std::vector<float> expectedVertex(const GLMmodel& model, const GLMarrayoptions& options, const GLMtriangle& triangle,
                                  int k) {
    std::vector<float> vertex;
    const auto add = [&](const float* array, std::uint32_t index, std::size_t size) {
        for (std::size_t i = 0; i < size; ++i)
            vertex.push_back(index == GLM_NO_INDEX ? 0 : array[size * index + i] + 0.0f);
    };
    add(model.vertices, triangle.vindices[k], 3);
    const bool smooth = !options.flat && triangle.nindices[k] != GLM_NO_INDEX;
    if (options.normals)
        add(smooth ? model.normals : model.facetnorms, smooth ? triangle.nindices[k] : triangle.findex, 3);
    if (options.texcoords && model.numtexcoords > 0) add(model.texcoords, triangle.tindices[k], 2);
    if (options.extras != nullptr) add(options.extras->colors, triangle.vindices[k], 3);
    return vertex;
}

void compare(const GLMmodel& model, const GLMarrayoptions& options) {
    const Arrays arrays = make(model, options);
    ASSERT_EQ(arrays->numindices, 3 * model.numtriangles);
    std::uint32_t at = 0, used = 0;
    std::set<std::string> bytes;
    for (std::uint32_t i = 0; i < arrays->numvertices; ++i) {
        const std::vector<float> vertex = vertexOf(*arrays, i);
        bytes.emplace(reinterpret_cast<const char*>(vertex.data()), arrays->stride);
    }
    EXPECT_EQ(bytes.size(), arrays->numvertices) << "no two are equal";
    for (std::uint32_t r = 0; r < arrays->numranges; ++r) {
        const GLMrange& range = arrays->ranges[r];
        EXPECT_EQ(range.first, at);
        EXPECT_TRUE(r == 0 || arrays->ranges[r - 1].material < range.material);
        for (std::uint32_t i = 0; i < model.numtriangles; ++i)
            for (int k = 0; k < 3 && model.triangles[i].material == range.material; ++k, ++at) {
                const std::uint32_t index = arrays->indices[at];
                ASSERT_LE(index, used) << "in the order of use";
                used = std::max(used, index + 1);
                const std::vector<float> got = vertexOf(*arrays, index),
                                         expected = expectedVertex(model, options, model.triangles[i], k);
                ASSERT_EQ(got.size(), expected.size());
                ASSERT_EQ(std::memcmp(got.data(), expected.data(), arrays->stride), 0);
            }
        EXPECT_EQ(range.first + range.count, at);
    }
    EXPECT_EQ(at, arrays->numindices);
    EXPECT_EQ(used, arrays->numvertices);
}

}  // namespace

TEST(Arrays, HoldWhatTheCornersHold) {
    std::string obj = "mtllib m.mtl\n";
    std::mt19937 random(6);
    const char* numbers[] = {"0", "-0", "1", "nan", "2.5"};
    for (const auto& [keyword, size] : {std::pair("v", 3), {"vn", 3}, {"vt", 2}})
        for (int i = 0; i < 60; ++i, obj += "\n") {
            obj += keyword;
            for (int k = 0; k < size; ++k) (obj += " ") += numbers[random() % 5];
        }
    for (int i = 0; i < 500; ++i, obj += "\n") {
        if (random() % 9 == 0) (obj += "usemtl ") += "abc"[random() % 3] + std::string("\n");
        const auto index = [&] { return std::to_string(1 + random() % 60); };
        obj += "f";
        const unsigned form = random() % 4;
        for (int k = 0; k < 3; ++k)
            obj += " " + index() + (form == 0 ? "" : form == 1 ? "/" + index() : "/" + index() + "/" + index());
    }
    const Model model = ModelFiles(obj, "newmtl a\nnewmtl b\nnewmtl c\n").read();
    std::vector<float> colors(3 * 61);
    for (float& color : colors) color = 0.25f * static_cast<float>(random() % 3);
    GLMextras extras{};
    extras.colors = colors.data();
    extras.numcolors = model->numvertices;
    for (int way = 0; way < 16; ++way) {
        GLMarrayoptions options;
        options.normals = (way & 1) != 0;
        options.flat = (way & 2) != 0;
        options.texcoords = (way & 4) != 0;
        if ((way & 8) != 0) options.extras = &extras;
        compare(*model, options);
    }
}

TEST(Arrays, LayOutWhatIsThere) {
    const Model cube = ModelFiles("v 0 0 0\nv 1 0 0\nv 1 1 0\nv 0 1 0\nv 0 0 1\nv 1 0 1\nv 1 1 1\nv 0 1 1\n"
                                  "f 1 4 3 2\nf 5 6 7 8\nf 1 2 6 5\nf 2 3 7 6\nf 3 4 8 7\nf 4 1 5 8\n")
                           .read();
    const Arrays flat = make(*cube);
    EXPECT_EQ(flat->numvertices, 24u);
    EXPECT_EQ(flat->stride, 24u);
    EXPECT_EQ(flat->normal, 12u);
    EXPECT_EQ(flat->texcoord, GLM_NO_INDEX);
    EXPECT_EQ(flat->color, GLM_NO_INDEX);
    GLMarrayoptions positions;
    positions.normals = false;
    EXPECT_EQ(make(*cube, positions)->numvertices, 8u);
    glmVertexNormals(cube.get(), 180, false);
    EXPECT_EQ(make(*cube)->numvertices, 8u);
    const Arrays empty = make(*ModelFiles("v 0 0 0\n").read());
    EXPECT_EQ(empty->numvertices, 0u);
    EXPECT_EQ(empty->numranges, 0u);
    EXPECT_EQ(empty->stride, 12u);
}

// A grid of a million triangles; what is not linear would exceed the test's time limit.
TEST(Arrays, LargeModels) {
    constexpr std::uint32_t SIDE = 708;
    GLMmodel grid{};
    std::vector<float> positions(3 * (SIDE * SIDE + 1));
    std::vector<GLMtriangle> triangles;
    for (std::uint32_t i = 0; i < SIDE * SIDE; ++i) {
        const std::uint32_t column = i % SIDE, row = i / SIDE;
        positions[3 * (i + 1)] = static_cast<float>(column);
        positions[3 * (i + 1) + 1] = static_cast<float>(row);
        if (column + 1 == SIDE || row + 1 == SIDE) continue;
        GLMtriangle triangle{{i + 1, i + 2, i + 1 + SIDE}, {}, {}, GLM_NO_INDEX, 0};
        triangles.push_back(triangle);
        triangle.vindices[0] = i + 2 + SIDE;
        std::swap(triangle.vindices[1], triangle.vindices[2]);
        triangles.push_back(triangle);
    }
    grid.numvertices = SIDE * SIDE;
    grid.vertices = positions.data();
    grid.numtriangles = static_cast<std::uint32_t>(triangles.size());
    grid.triangles = triangles.data();
    const Arrays arrays = make(grid);
    EXPECT_EQ(arrays->numvertices, SIDE * SIDE);
    EXPECT_EQ(arrays->numindices, 3 * grid.numtriangles);
}
