#include "glm/glm_triangulate.h"
#include "model_files.h"
#include "printed.h"

#include <gtest/gtest.h>

#include <array>
#include <bit>
#include <cmath>
#include <cstring>
#include <limits>
#include <random>
#include <set>
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
// The point .525731 on an axis and .850651 on the next one, in all signs and axes.
const std::string ICOSAHEDRON =
    "v -.5257311 0 .8506508\nv .5257311 0 .8506508\nv -.5257311 0 -.8506508\nv .5257311 0 -.8506508\n"
    "v 0 .8506508 .5257311\nv 0 .8506508 -.5257311\nv 0 -.8506508 .5257311\nv 0 -.8506508 -.5257311\n"
    "v .8506508 .5257311 0\nv -.8506508 .5257311 0\nv .8506508 -.5257311 0\nv -.8506508 -.5257311 0\n"
    "f 1 2 5\nf 1 5 10\nf 10 5 6\nf 5 9 6\nf 5 2 9\nf 9 2 11\nf 9 11 4\nf 6 9 4\nf 6 4 3\nf 3 4 8\n"
    "f 8 4 11\nf 8 11 7\nf 8 7 12\nf 12 7 1\nf 1 7 2\nf 7 11 2\nf 10 12 1\nf 10 3 12\nf 10 6 3\nf 8 12 3\n";

Vec entry(const float* array, std::size_t index) {
    return {array[3 * index], array[3 * index + 1], array[3 * index + 2]};
}

void expectNear(const Vec& got, const Vec& expected) {
    for (int axis = 0; axis < 3; ++axis) EXPECT_NEAR(got[axis], expected[axis], 1e-6f) << "axis " << axis;
}

std::string smooth(const Model& model, float angle, bool keepExisting) {
    return errorsOf([&] { glmVertexNormals(model.get(), angle, keepExisting); });
}

// Calls `use` with the triangle, the position and the normal of each corner.
template <typename Use>
void forCorners(const Model& model, Use use) {
    for (std::uint32_t i = 0; i < model->numtriangles; ++i)
        for (int k = 0; k < 3; ++k) {
            const std::uint32_t normal = model->triangles[i].nindices[k];
            ASSERT_GE(normal, 1u);
            ASSERT_LE(normal, model->numnormals);
            use(i, model->triangles[i].vindices[k], entry(model->normals, normal));
            if (testing::Test::HasFatalFailure()) return;
        }
}

// Welds the vectors, and again by the plain rule: each is compared with the distinct ones before it, in order.
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

TEST(FacetNormals, AreUnitVectorsOrZero) {
    EXPECT_TRUE(std::signbit(glmAbs(-0.0f)));
    EXPECT_TRUE(std::signbit(glmMax(-0.0f, 0.0f))) << "the first of equal ones";
    EXPECT_FALSE(glmEqual(Vec{1, 0, 0}.data(), Vec{1, 0, .5f}.data(), .5f)) << "strictly less";
    const Model model = ModelFiles("v 0 0 0\nv 1e-30 0 0\nv 0 1e-15 0\nv 1e30 0 0\nv 0 1e30 1e30\n"
                                   "f 1 2 3\nf 1 3 2\nf 1 2 2\nf 1 4 5\n")
                            .read();
    glmFacetNormals(model.get());
    const Vec expected[] = {{0, 0, 1}, {0, 0, -1}, {0, 0, 0}, {0, 0, 0}};
    for (int i = 0; i < 4; ++i) EXPECT_EQ(entry(model->facetnorms, model->triangles[i].findex), expected[i]);
}

TEST(VertexNormals, JoinTheFacetsWithinTheAngle) {
    const Model cube = ModelFiles(CUBE).read(), sphere = ModelFiles(ICOSAHEDRON).read();
    std::array<Vec, 9> sums{};  // by position; a face split at the position counts twice
    EXPECT_EQ(smooth(cube, 90, false), "");
    forCorners(cube, [&](std::uint32_t i, std::uint32_t position, const Vec& normal) {
        EXPECT_EQ(normal, entry(cube->facetnorms, i + 1));
        for (int axis = 0; axis < 3; ++axis) sums[position][axis] += normal[axis];
    });
    EXPECT_EQ(smooth(cube, 180, false), "");
    forCorners(cube, [&](std::uint32_t, std::uint32_t position, const Vec& normal) {
        Vec expected = sums[position];
        glmNormalize(expected.data());
        expectNear(normal, expected);
    });
    EXPECT_EQ(smooth(sphere, 80, false), "");
    forCorners(sphere, [&](std::uint32_t, std::uint32_t position, const Vec& normal) {
        expectNear(normal, entry(sphere->vertices, position));
    });
    EXPECT_EQ(cube->numnormals, 8u);
    EXPECT_EQ(sphere->numnormals, 12u);
}

// Triangles without area, the last ones of each position, do not come between the two that make an edge of 17
// degrees.
TEST(VertexNormals, PassOverTrianglesWithoutArea) {
    const Model model = ModelFiles("v 0 0 0\nv 1 0 0\nv 0 1 0\nv -1 0 .3\nv 5 5 5\n"
                                   "f 1 2 3\nf 1 3 4\nf 1 3 3\nf 1 1 5\nf 1 2 2\n")
                            .read();
    for (const float angle : {60.0f, 120.0f}) {
        EXPECT_EQ(smooth(model, angle, false), "");
        EXPECT_EQ(model->numnormals, 5u) << "one for each position";
        Vec edge{entry(model->facetnorms, 2)};
        edge[2] += 1;
        glmNormalize(edge.data());
        const Vec expected[] = {edge, {0, 0, 1}, edge, entry(model->facetnorms, 2), {0, 0, 0}};
        forCorners(model, [&](std::uint32_t, std::uint32_t position, const Vec& normal) {
            expectNear(normal, expected[position - 1]);
        });
    }
}

TEST(VertexNormals, KeepExistingAddsOnlyWhatIsMissing) {
    const Model model =
        ModelFiles("v 0 0 0\nv 1 0 0\nv 1 1 0\nv 0 1 0\nv 9 9 9\nvn 1 0 0\nf 1//1 2//1 3//1\nf 1 3 4\n").read();
    const std::string lonely = "GLM: Warning: glmVertexNormals(): vertex 5 w/o a triangle\n";
    for (int again = 0; again < 2; ++again) {
        EXPECT_EQ(smooth(model, 90, true), lonely);
        EXPECT_EQ(model->numnormals, 4u);
    }
    forCorners(model, [&](std::uint32_t i, std::uint32_t, const Vec& normal) {
        EXPECT_EQ(normal, (i == 0 ? Vec{1, 0, 0} : Vec{0, 0, 1}));
    });
    model->triangles[0].findex = GLM_NO_INDEX;
    EXPECT_EQ(smooth(model, 90, false), lonely);
    EXPECT_EQ(model->triangles[0].nindices[0], GLM_NO_INDEX);
    EXPECT_EQ(model->numnormals, 3u);
    // Copies of facet normals grow the array by 100, and say so; a shared normal by 1000, silently.
    const Model copied = ModelFiles(CUBE + CUBE_FACES + CUBE_FACES).read();
    const std::string grown = "GLM: Warning: glmVertexNormals(): realloc ";
    EXPECT_EQ(smooth(copied, 0, true), grown + "100+100\n\n" + grown + "200+100\n\n");
    EXPECT_EQ(copied->numnormals, 108u) << "at 0 degrees no triangle joins";
    EXPECT_EQ(smooth(copied, 0, true), grown + "208+100\n\n");
    EXPECT_EQ(copied->numnormals, 108u) << "copies that no corner takes are dropped";
    EXPECT_EQ(smooth(ModelFiles(CUBE).read(), 180, true), "");
}

TEST(Geometry, IsMeasuredScaledAndMapped) {
    const Model model =
        ModelFiles("v 2 -1 1\nv 4 1 1\nv 3 0 2\nvn 1 0 0\nvn 0 1 0\nvn 0 0 1\nf 1//1 2//-1 3//2\n").read();
    const auto expectTexcoords = [&](std::initializer_list<Vec> expected) {
        std::size_t at = 0;
        for (const Vec& texcoord : expected)
            expectNear({model->texcoords[at += 2], model->texcoords[at + 1]}, texcoord);
    };
    Vec dimensions;
    glmDimensions(model.get(), dimensions.data());
    EXPECT_EQ(dimensions, (Vec{6, 2, 3}));
    EXPECT_FLOAT_EQ(glmUnitize(model.get()), 2.0f / 6.0f);
    expectNear(entry(model->vertices, 1), {-1 / 3.f, -1 / 3.f, -1 / 6.f});
    glmScale(model.get(), -3);  // 2 wide
    expectNear(entry(model->vertices, 2), {-1, -1, .5f});
    glmLinearTexture(model.get());
    expectTexcoords({{1, .75f}, {0, .75f}, {.5f, .25f}});
    EXPECT_EQ(model->triangles[0].tindices[1], 2u);
    glmSpheremapTexture(model.get());
    expectTexcoords({{0, 0}, {1, .5f}, {.5f, .5f}});
    EXPECT_EQ(model->triangles[0].tindices[1], GLM_NO_INDEX);
    EXPECT_EQ(model->triangles[0].tindices[2], 2u);
    for (const char* pointless : {"", "v 0 0 0\n"}) EXPECT_EQ(glmUnitize(ModelFiles(pointless).read().get()), 1);
}

// Anything slower than linear would exceed the time limit.
TEST(Weld, KeepsEachCornersPositionInALargeMesh) {
    std::mt19937 random(11);
    std::vector<Vec> points(200002);
    std::string obj;
    char line[100];
    for (unsigned i = 0; i < points.size(); ++i) {
        for (float& coordinate : points[i]) coordinate = static_cast<float>(random() % 50);
        const auto [x, y, z] = points[i];
        std::snprintf(line, sizeof line, i < 2 ? "v %g %g %g\n" : "v %g %g %g\nf %u %u %u\n", x, y, z, i - 1, i,
                      i + 1);
        obj += line;
    }
    const Model model = ModelFiles(obj).read();
    for (int again = 0; again < 2; ++again) {
        glmWeld(model.get(), 0.5f);
        EXPECT_EQ(model->numvertices, std::set<Vec>(points.begin(), points.end()).size());
    }
    smooth(model, 90, false);
    std::size_t corner = 0;
    forCorners(model, [&](std::uint32_t i, std::uint32_t position, const Vec& normal) {
        ASSERT_EQ(entry(model->vertices, position), points[i + corner++ % 3]);
        const float length = std::hypot(normal[0], normal[1], normal[2]);
        if (length != 0) ASSERT_NEAR(length, 1, 1e-6f);
    });
}

TEST(Geometry, ReversedTwiceIsAsItWas) {
    const Model model =
        ModelFiles("v 0 0 0\nv 1 0 0\nv 0 1 0\nvn 0 .6 .8\nvn 0 0 1\nvt 0 1\nvt 1 0\nf 1/1/1 2/1/1 3/2/2\n").read();
    const GLMtriangle first = model->triangles[0];
    const Vec normal = entry(model->normals, 1), facet = entry(model->facetnorms, 1);
    for (const float sign : {-1.0f, 1.0f}) {
        glmReverseWinding(model.get());
        EXPECT_EQ(entry(model->normals, 1), (Vec{0, sign * normal[1], sign * normal[2]}));
        EXPECT_EQ(entry(model->facetnorms, 1)[2], sign * facet[2]);
        for (const auto indices : {&GLMtriangle::vindices, &GLMtriangle::nindices, &GLMtriangle::tindices})
            EXPECT_EQ((model->triangles[0].*indices)[2], (first.*indices)[sign < 0 ? 0 : 2]);
    }
}

TEST(Weld, EqualsThePlainComparison) {
    std::mt19937 random(5);
    const auto pick = [&](std::initializer_list<float> values) { return values.begin()[random() % values.size()]; };
    for (const float epsilon : {1e-3f, 1.0f, 0.1f, 1e-12f, 1e-45f, 1e38f, INF, 0.0f, -1.0f, NOT_A_NUMBER}) {
        const float step = std::isfinite(epsilon) && epsilon > 0 ? epsilon : 1.0f;
        std::vector<Vec> clusters(1500), wild(1500);
        for (Vec& v : clusters)
            for (float& f : v) {
                // Multiples of epsilon, and the floats beside them: differences at the very edge.
                f = static_cast<float>(random() % 7) * step * 0.5f;
                if (random() % 2 == 0) f = std::nextafter(f, pick({-INF, INF}));
            }
        for (Vec& v : wild)
            for (float& f : v)
                f = pick({0, -0.0f, 1, 1.0000001f, 3e38f, -3e38f, INF, -INF, NOT_A_NUMBER, 1e30f, 1e-30f, 12345.68f});
        compareWelds(clusters, epsilon);
        compareWelds(wild, epsilon);
    }
    compareWelds({}, 1);
    compareWelds({{0, 0, 0}, {5, 0, 0}, {0, 0, 0}}, 1);
}

// What this program printed once: every compiler, on 32-bit machines too, is to cut in the same way.
TEST(Triangulate, TheSameOnEveryMachine) {
    std::mt19937 random(8);
    std::uint64_t hash = 0;
    for (int i = 0; i < 3000; ++i) {
        const std::uint32_t count = 3 + random() % 100;
        std::vector<float> positions(3 * (count + 1));
        for (float& coordinate : positions)
            coordinate = static_cast<float>(random() % (i % 2 == 0 ? 4 : 1000000)) * 1e-3f;
        // Nearly on a line, where what is left or right is in the last digits of numbers of unlike size.
        for (std::size_t k = 0; k < positions.size() && i % 4 == 0; k += 3) {
            const int exponent = -static_cast<int>(random() % 40);
            positions[k] = std::ldexp(static_cast<float>(random() % 4000000), exponent);
            positions[k + 1] = std::nextafter(3 * positions[k], random() % 2 == 0 ? 1e30f : -1e30f);
        }
        std::vector<std::uint32_t> corners(count), triangles(3 * (count - 2));
        for (std::uint32_t k = 0; k < count; ++k) corners[k] = k + 1;
        __glmTriangulate(positions.data(), corners.data(), count,
                         reinterpret_cast<std::uint32_t(*)[3]>(triangles.data()));
        for (const std::uint32_t corner : triangles) hash = (hash ^ corner) * 0x100000001b3;
    }
    EXPECT_EQ(hash, 823116141319019235u);
}
