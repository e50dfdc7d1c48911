#include "model_files.h"

#include <gtest/gtest.h>

#include <array>
#include <bit>
#include <cmath>
#include <cstring>
#include <limits>
#include <random>
#include <string>
#include <vector>

namespace {

using Vec = std::array<float, 3>;
using Bits = std::array<std::uint32_t, 3>;  // of a Vec: NaN equals itself

constexpr float INF = std::numeric_limits<float>::infinity();
constexpr float NOT_A_NUMBER = std::numeric_limits<float>::quiet_NaN();

// A unit cube of 12 triangles, outward.
const std::string CUBE_FACES = "f 1 4 3 2\nf 5 6 7 8\nf 1 2 6 5\nf 2 3 7 6\nf 3 4 8 7\nf 4 1 5 8\n";
const std::string CUBE = "v 0 0 0\nv 1 0 0\nv 1 1 0\nv 0 1 0\nv 0 0 1\nv 1 0 1\nv 1 1 1\nv 0 1 1\n" + CUBE_FACES;

Vec entry(const float* array, std::size_t index) {
    return {array[3 * index], array[3 * index + 1], array[3 * index + 2]};
}

Vec texcoord(const GLMmodel& model, std::size_t index) {
    return {model.texcoords[2 * index], model.texcoords[2 * index + 1]};
}

void expectNear(const Vec& got, const Vec& expected) {
    for (int axis = 0; axis < 3; ++axis) EXPECT_NEAR(got[axis], expected[axis], 1e-6f) << "axis " << axis;
}

Vec normalized(Vec v) {
    glmNormalize(v.data());
    return v;
}

Vec sum(const Vec& a, const Vec& b) { return {a[0] + b[0], a[1] + b[1], a[2] + b[2]}; }

// Text of triangles that share no positions.
struct Triangles {
    void add(const Vec& a, const Vec& b, const Vec& c) {
        for (const Vec& v : {a, b, c}) {
            char line[100];
            std::snprintf(line, sizeof line, "v %.9g %.9g %.9g\n", v[0], v[1], v[2]);
            obj += line;
        }
        positions += 3;
        for (int back = 2; back >= 0; --back) obj += (back == 2 ? "f " : " ") + std::to_string(positions - back);
        obj += "\n";
    }
    std::string obj;
    int positions = 0;
};

// A sphere: each triangle of an octahedron cut into four.
std::string dividedOctahedron() {
    Triangles triangles;
    for (int octant = 0; octant < 8; ++octant) {
        const Vec a = {(octant & 1) != 0 ? 1.f : -1.f, 0, 0};
        Vec b = {0, (octant & 2) != 0 ? 1.f : -1.f, 0}, c = {0, 0, (octant & 4) != 0 ? 1.f : -1.f};
        if (a[0] * b[1] * c[2] < 0) std::swap(b, c);  // counter-clockwise from outside
        const Vec ab = normalized(sum(a, b)), bc = normalized(sum(b, c)), ca = normalized(sum(c, a));
        triangles.add(a, ab, ca);
        triangles.add(ab, b, bc);
        triangles.add(ca, bc, c);
        triangles.add(ab, bc, ca);
    }
    return triangles.obj;
}

// Triangles between random points of a 5 x 5 x 3 grid, degenerate ones among them.
std::string randomMesh(std::mt19937& random) {
    std::string obj;
    for (int i = 0; i < 60; ++i)
        obj += "v " + std::to_string(random() % 5) + " " + std::to_string(random() % 5) + " -" +
               std::to_string(random() % 3) + "\n";
    const auto corner = [&] { return " " + std::to_string(random() % 60 + 1); };
    for (int i = 0; i < 150; ++i) obj += "f" + corner() + corner() + corner() + "\n";
    return obj;
}

void expectValidNormals(const GLMmodel& model) {
    for (std::uint32_t i = 0; i < model.numtriangles; ++i)
        for (const std::uint32_t index : model.triangles[i].nindices)
            ASSERT_TRUE(index >= 1 && index <= model.numnormals);
    for (std::uint32_t i = 1; i <= model.numnormals; ++i) {
        const Vec n = entry(model.normals, i);
        const float length = std::hypot(n[0], n[1], n[2]);
        ASSERT_TRUE(length == 0 || std::fabs(length - 1) < 1e-6f) << length;
    }
}

std::string smooth(const Model& model, float angle, bool keepExisting) {
    testing::internal::CaptureStderr();
    glmVertexNormals(model.get(), angle, keepExisting);
    return testing::internal::GetCapturedStderr();
}

// Welds the vectors, and once more by the rule as it reads: compare with the distinct ones before, in order.
void compareWelds(const std::vector<Vec>& vectors, float epsilon) {
    std::vector<Vec> counted = vectors, distinct;
    counted.insert(counted.begin(), Vec{7, 8, 9});
    auto count = static_cast<std::uint32_t>(vectors.size());
    const std::unique_ptr<float, decltype(&std::free)> kept(glmWeldVectors(counted[0].data(), &count, epsilon),
                                                            std::free);
    for (std::size_t i = 0; i < vectors.size(); ++i) {
        std::size_t k = 0;
        while (k < distinct.size() && !glmEqual(vectors[i].data(), distinct[k].data(), epsilon)) ++k;
        if (k == distinct.size()) distinct.push_back(vectors[i]);
        ASSERT_EQ(counted[i + 1][0], static_cast<float>(k + 1)) << epsilon << ", vector " << i;
    }
    ASSERT_EQ(count, distinct.size()) << epsilon;
    for (std::size_t i = 0; i < count; ++i)
        ASSERT_EQ(std::bit_cast<Bits>(entry(kept.get(), i + 1)), std::bit_cast<Bits>(distinct[i])) << epsilon;
}

}  // namespace

TEST(Vectors, Edges) {
    EXPECT_TRUE(std::signbit(glmAbs(-0.0f)));
    EXPECT_TRUE(std::signbit(glmMax(-0.0f, 0.0f))) << "the first of equal ones";
    EXPECT_EQ(normalized({0, 0, 0}), (Vec{0, 0, 0}));
    expectNear(normalized({3e-30f, 0, -4e-30f}), {.6f, 0, -.8f});
    EXPECT_FALSE(glmEqual(Vec{1, 0, 0}.data(), Vec{1, 0, .5f}.data(), .5f)) << "strictly less";
}

TEST(FacetNormals, PointAtTheViewerAndAreFinite) {
    const Model model =
        ModelFiles("v 0 0 0\nv 1 0 0\nv 0 1 0\nv 1e30 0 0\nv 0 1e30 1e30\nf 1 2 3\nf 1 3 2\nf 1 2 2\nf 1 4 5\n")
            .read();
    glmFacetNormals(model.get());
    EXPECT_EQ(model->numfacetnorms, 4u);
    EXPECT_EQ(model->triangles[3].findex, 4u);
    const Vec expected[] = {{0, 0, 1}, {0, 0, -1}, {0, 0, 0}, {0, 0, 0}};
    for (int i = 0; i < 4; ++i) EXPECT_EQ(entry(model->facetnorms, i + 1), expected[i]);
}

TEST(VertexNormals, OfACube) {
    const Model model = ModelFiles(CUBE).read();
    glmVertexNormals(model.get(), 90, false);
    for (std::uint32_t i = 0; i < model->numtriangles; ++i)
        for (const std::uint32_t index : model->triangles[i].nindices)
            EXPECT_EQ(entry(model->normals, index), entry(model->facetnorms, i + 1));
    glmVertexNormals(model.get(), 180, false);
    EXPECT_EQ(model->numnormals, 8u);
    std::array<Vec, 9> sums{};  // by position; a face split at the position counts twice
    for (std::uint32_t i = 0; i < model->numtriangles; ++i)
        for (const std::uint32_t position : model->triangles[i].vindices)
            sums[position] = sum(sums[position], entry(model->facetnorms, i + 1));
    for (std::uint32_t i = 0; i < model->numtriangles; ++i)
        for (int k = 0; k < 3; ++k)
            expectNear(entry(model->normals, model->triangles[i].nindices[k]),
                       normalized(sums[model->triangles[i].vindices[k]]));
}

// At each point the triangles lie symmetrically, so the normal is the direction from the middle, up to rounding.
TEST(VertexNormals, OfAWeldedSphereAreItsPositions) {
    const Model model = ModelFiles(dividedOctahedron()).read();
    glmWeld(model.get(), 1e-5f);
    EXPECT_EQ(model->numvertices, 18u);
    glmVertexNormals(model.get(), 80, false);
    EXPECT_EQ(model->numnormals, 18u);
    for (std::uint32_t i = 0; i < model->numtriangles; ++i)
        for (int k = 0; k < 3; ++k)
            expectNear(entry(model->normals, model->triangles[i].nindices[k]),
                       entry(model->vertices, model->triangles[i].vindices[k]));
}

TEST(VertexNormals, KeepExistingAddsOnlyWhatIsMissing) {
    const Model model =
        ModelFiles("v 0 0 0\nv 1 0 0\nv 1 1 0\nv 0 1 0\nv 9 9 9\nvn 1 0 0\nf 1//1 2//1 3//1\nf 1 3 4\n").read();
    const std::string lonely = "GLM: Warning: glmVertexNormals(): vertex 5 w/o a triangle\n";
    EXPECT_EQ(smooth(model, 90, true), lonely);
    EXPECT_EQ(model->numnormals, 4u);
    EXPECT_EQ(entry(model->normals, model->triangles[0].nindices[2]), (Vec{1, 0, 0}));
    for (const std::uint32_t index : model->triangles[1].nindices)
        EXPECT_EQ(entry(model->normals, index), (Vec{0, 0, 1}));
    EXPECT_EQ(smooth(model, 90, true), lonely);
    EXPECT_EQ(model->numnormals, 4u) << "nothing is missing any more";
    model->triangles[0].findex = GLM_NO_INDEX;
    EXPECT_EQ(smooth(model, 90, false), lonely);
    EXPECT_EQ(model->triangles[0].nindices[0], GLM_NO_INDEX);
    EXPECT_EQ(model->numnormals, 3u);

    // Copies of facet normals grow the array by 100, and say so; a shared normal by 1000, silently.
    const Model copied = ModelFiles(CUBE + CUBE_FACES + CUBE_FACES).read();
    EXPECT_EQ(smooth(copied, 0, true), "GLM: Warning: glmVertexNormals(): realloc 100+100\n\n"
                                       "GLM: Warning: glmVertexNormals(): realloc 200+100\n\n");
    EXPECT_EQ(copied->numnormals, 108u) << "at 0 degrees no triangle joins";
    EXPECT_EQ(smooth(copied, 0, true), "GLM: Warning: glmVertexNormals(): realloc 208+100\n\n");
    EXPECT_EQ(copied->numnormals, 108u) << "copies that no corner takes are dropped";
    const Model shared = ModelFiles(CUBE).read();
    EXPECT_EQ(smooth(shared, 180, true), "");
    EXPECT_EQ(shared->numnormals, 8u);
}

TEST(Geometry, UnitizeDimensionsAndScale) {
    const Model model = ModelFiles("v 2 -1 1\nv 4 1 1\nv 3 0 2\n").read();
    Vec dimensions;
    glmDimensions(model.get(), dimensions.data());
    EXPECT_EQ(dimensions, (Vec{6, 2, 3}));
    EXPECT_FLOAT_EQ(glmUnitize(model.get()), 2.0f / 6.0f);
    expectNear(entry(model->vertices, 1), {-1 / 3.f, -1 / 3.f, -1 / 6.f});
    glmScale(model.get(), -3);
    expectNear(entry(model->vertices, 2), {-1, -1, .5f});
    for (const char* pointless : {"", "v 0 0 0\n"}) {
        const Model none = ModelFiles(pointless).read();
        EXPECT_EQ(glmUnitize(none.get()), 1.0f);
        glmLinearTexture(none.get());
        for (std::uint32_t i = 1; i <= none->numvertices; ++i) EXPECT_EQ(texcoord(*none, i), (Vec{.5f, .5f}));
    }
}

TEST(Geometry, TextureMappings) {
    const Model model =
        ModelFiles(
            "v -1 .5 1\nv 1 .5 0\nv 0 -.5 -.5\nvn 1 0 0\nvn 0 1 0\nvn 0 0 1\nf 1//1 2//3 3//2\nf 1//3 2//-1 3//2\n")
            .read();
    glmLinearTexture(model.get());
    EXPECT_EQ(model->numtexcoords, 3u);
    EXPECT_EQ(texcoord(*model, 1), (Vec{0, 1}));
    EXPECT_EQ(texcoord(*model, 3), (Vec{.5f, .25f}));
    EXPECT_EQ(model->triangles[1].tindices[1], 2u);
    glmSpheremapTexture(model.get());
    EXPECT_EQ(texcoord(*model, 1), (Vec{0, 0}));
    expectNear(texcoord(*model, 2), {1, .5f});
    expectNear(texcoord(*model, 3), {.5f, .5f});
    EXPECT_EQ(model->triangles[0].tindices[1], 3u);
    EXPECT_EQ(model->triangles[1].tindices[1], GLM_NO_INDEX);
}

TEST(Geometry, RandomMeshesStayValidAndTurnOver) {
    std::mt19937 random(11);
    for (const float angle : {0.0f, 30.0f, 90.0f, 120.0f, 180.0f, 400.0f, NOT_A_NUMBER}) {
        const Model model = ModelFiles(randomMesh(random)).read();
        smooth(model, angle, false);
        expectValidNormals(*model);
        glmWeld(model.get(), 0.5f);
        const std::uint32_t welded = model->numvertices;
        EXPECT_LT(welded, 60u);
        glmWeld(model.get(), 0.5f);
        EXPECT_EQ(model->numvertices, welded) << "welding again changes nothing";

        glmLinearTexture(model.get());
        const std::vector<GLMtriangle> triangles(model->triangles, model->triangles + model->numtriangles);
        const std::vector<float> facets(model->facetnorms + 3, model->facetnorms + 3 * (model->numfacetnorms + 1));
        const Vec normal = entry(model->normals, 1);
        glmReverseWinding(model.get());
        EXPECT_EQ(model->triangles[0].nindices[2], triangles[0].nindices[0]);
        EXPECT_EQ(model->triangles[0].tindices[0], triangles[0].tindices[2]);
        EXPECT_EQ(entry(model->normals, 1), (Vec{-normal[0], -normal[1], -normal[2]}));
        glmFacetNormals(model.get());
        glmReverseWinding(model.get());
        EXPECT_TRUE(std::equal(facets.begin(), facets.end(), model->facetnorms + 3))
            << "a turned triangle's normal is turned";
        EXPECT_EQ(std::memcmp(triangles.data(), model->triangles, triangles.size() * sizeof triangles[0]), 0);
    }
}

TEST(Weld, EqualsThePlainComparison) {
    std::mt19937 random(5);
    const auto pick = [&](std::initializer_list<float> values) { return values.begin()[random() % values.size()]; };
    for (const float epsilon : {1e-3f, 1.0f, 0.1f, 1e-12f, 1e-45f, 1e38f, INF, 0.0f, -1.0f, NOT_A_NUMBER}) {
        const float step = std::isfinite(epsilon) && epsilon > 0 ? epsilon : 1.0f;
        std::vector<Vec> clusters(1500), wild(1500);
        for (std::size_t i = 0; i < clusters.size(); ++i)
            for (int axis = 0; axis < 3; ++axis) {
                // Multiples of epsilon, and the floats beside them: differences at the very edge.
                clusters[i][axis] = static_cast<float>(random() % 7) * step * 0.5f;
                if (random() % 2 == 0) clusters[i][axis] = std::nextafter(clusters[i][axis], pick({-INF, INF}));
                wild[i][axis] =
                    pick({0, -0.0f, 1, 3e38f, -3e38f, INF, -INF, NOT_A_NUMBER, 1e30f, 1e-30f, 12345.678f}) *
                    pick({1, 1, 1.0000001f, 0.5f});
            }
        compareWelds(clusters, epsilon);
        compareWelds(wild, epsilon);
    }
    compareWelds({}, 1);
    compareWelds({{0, 0, 0}, {5, 0, 0}, {0, 0, 0}}, 1);
}

// Comparing each position with each would exceed the test's time limit.
TEST(Weld, LargeMeshesAreDoneInSeconds) {
    Triangles triangles;
    for (int x = 0; x < 500; ++x)
        for (int z = 0; z < 400; ++z) {
            const auto left = static_cast<float>(x), back = static_cast<float>(z);
            triangles.add({left, 0, back}, {left, 0, back + 1}, {left + 1, 0, back});
        }
    const Model model = ModelFiles(triangles.obj).read();
    EXPECT_EQ(model->numtriangles, 200000u);
    glmWeld(model.get(), 1e-3f);
    EXPECT_EQ(model->numvertices, 501u * 401u - 1u) << "one corner of the field is on no triangle";
    EXPECT_EQ(smooth(model, 90, false), "");
    expectValidNormals(*model);
}
