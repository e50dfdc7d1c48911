#include "model_files.h"

#include <gtest/gtest.h>

#include <array>
#include <bit>
#include <cmath>
#include <cstring>
#include <limits>
#include <numbers>
#include <random>
#include <string>
#include <vector>

namespace {

using Vec = std::array<float, 3>;
using Bits = std::array<std::uint32_t, 3>;  // of a Vec: NaN equals itself

constexpr float INF = std::numeric_limits<float>::infinity();
constexpr float NOT_A_NUMBER = std::numeric_limits<float>::quiet_NaN();

// A unit cube of 12 triangles, outward.
const std::string CUBE =
    "v 0 0 0\nv 1 0 0\nv 1 1 0\nv 0 1 0\nv 0 0 1\nv 1 0 1\nv 1 1 1\nv 0 1 1\nf 1 4 3 2\nf 5 6 7 8\n"
    "f 1 2 6 5\nf 2 3 7 6\nf 3 4 8 7\nf 4 1 5 8\n";

Vec entry(const float* array, std::size_t index) {
    return {array[3 * index], array[3 * index + 1], array[3 * index + 2]};
}

Vec texcoord(const GLMmodel& model, std::uint32_t index) {
    return {model.texcoords[2 * std::size_t{index}], model.texcoords[2 * std::size_t{index} + 1], 0};
}

void expectNear(const Vec& got, const Vec& expected, float tolerance = 1e-6f) {
    for (int axis = 0; axis < 3; ++axis) EXPECT_NEAR(got[axis], expected[axis], tolerance) << "axis " << axis;
}

// Appends a triangle of positions of its own on the unit sphere, counter-clockwise seen from outside.
void appendTriangle(std::string& obj, Vec a, Vec b, Vec c) {
    Vec cross;
    glmCross(a.data(), b.data(), cross.data());
    if (glmDot(cross.data(), c.data()) < 0) std::swap(b, c);
    for (Vec* corner : {&a, &b, &c}) {
        glmNormalize(corner->data());
        char line[100];
        std::snprintf(line, sizeof line, "v %.9g %.9g %.9g\n", (*corner)[0], (*corner)[1], (*corner)[2]);
        obj += line;
    }
    static int position = 1;
    obj += "f " + std::to_string(position) + " " + std::to_string(position + 1) + " " + std::to_string(position + 2) +
           "\n";
    position += 3;
}

// A sphere: each of an icosahedron's 20 triangles cut into four, their corners not shared.
std::string dividedIcosahedron() {
    std::vector<Vec> points;
    for (const float one : {-1.0f, 1.0f})
        for (const float golden : {-std::numbers::phi_v<float>, std::numbers::phi_v<float>})
            points.insert(points.end(), {Vec{0, one, golden}, Vec{one, golden, 0}, Vec{golden, 0, one}});
    const auto neighbours = [&](std::size_t a, std::size_t b) {
        const Vec d = {points[a][0] - points[b][0], points[a][1] - points[b][1], points[a][2] - points[b][2]};
        return std::fabs(glmDot(d.data(), d.data()) - 4) < 0.01f;
    };
    const auto middle = [&](std::size_t a, std::size_t b) {
        return Vec{points[a][0] + points[b][0], points[a][1] + points[b][1], points[a][2] + points[b][2]};
    };
    std::string obj;
    for (std::size_t a = 0; a < points.size(); ++a)
        for (std::size_t b = 0; b < a; ++b)
            for (std::size_t c = 0; c < b; ++c) {
                if (!neighbours(a, b) || !neighbours(b, c) || !neighbours(c, a)) continue;
                appendTriangle(obj, points[a], middle(a, b), middle(a, c));
                appendTriangle(obj, points[b], middle(b, c), middle(a, b));
                appendTriangle(obj, points[c], middle(a, c), middle(b, c));
                appendTriangle(obj, middle(a, b), middle(b, c), middle(a, c));
            }
    return obj;
}

// A sphere of rings x sectors quads, whose poles are rings of equal positions.
std::string sphere(int rings, int sectors) {
    std::string obj;
    for (int ring = 0; ring <= rings; ++ring)
        for (int sector = 0; sector < sectors; ++sector) {
            const double polar = std::numbers::pi * ring / rings, around = 2 * std::numbers::pi * sector / sectors;
            char line[100];
            std::snprintf(line, sizeof line, "v %.9g %.9g %.9g\n", std::sin(polar) * std::cos(around),
                          std::cos(polar), -std::sin(polar) * std::sin(around));
            obj += line;
        }
    for (int ring = 0; ring < rings; ++ring)
        for (int sector = 0; sector < sectors; ++sector) {
            const int next = (sector + 1) % sectors, above = ring * sectors + 1, below = above + sectors;
            obj += "f " + std::to_string(above + sector) + " " + std::to_string(below + sector) + " " +
                   std::to_string(below + next) + " " + std::to_string(above + next) + "\n";
        }
    return obj;
}

// Triangles between random points of a small grid, degenerate ones among them.
std::string randomMesh(std::mt19937& random, int points, int triangles) {
    std::string obj;
    for (int i = 0; i < points; ++i)
        obj += "v " + std::to_string(random() % 5) + " " + std::to_string(random() % 5) + " -" +
               std::to_string(random() % 3) + "\n";
    for (int i = 0; i < triangles; ++i) {
        obj += "f";
        for (int k = 0; k < 3; ++k) obj += " " + std::to_string(random() % static_cast<unsigned>(points) + 1);
        obj += "\n";
    }
    return obj;
}

void expectValidNormals(const GLMmodel& model) {
    for (std::uint32_t i = 0; i < model.numtriangles; ++i)
        for (const std::uint32_t index : model.triangles[i].nindices)
            ASSERT_TRUE(index >= 1 && index <= model.numnormals);
    for (std::uint32_t i = 1; i <= model.numnormals; ++i) {
        const Vec normal = entry(model.normals, i);
        const float length = std::hypot(normal[0], normal[1], normal[2]);
        ASSERT_TRUE(length == 0 || std::fabs(length - 1) < 1e-6f) << length;
    }
}

std::string warningsOf(const std::function<void()>& operation) {
    testing::internal::CaptureStderr();
    operation();
    return testing::internal::GetCapturedStderr();
}

// The rule of welding, as it reads.
std::vector<Vec> plainWeld(const std::vector<Vec>& vectors, float epsilon, std::vector<std::uint32_t>& indices) {
    std::vector<Vec> kept;
    for (const Vec& v : vectors) {
        std::size_t k = 0;
        while (k < kept.size() && !glmEqual(v.data(), kept[k].data(), epsilon)) ++k;
        if (k == kept.size()) kept.push_back(v);
        indices.push_back(static_cast<std::uint32_t>(k + 1));
    }
    return kept;
}

void compareWelds(const std::vector<Vec>& vectors, float epsilon) {
    std::vector<std::uint32_t> expectedIndices;
    const std::vector<Vec> expected = plainWeld(vectors, epsilon, expectedIndices);
    std::vector<Vec> counted = vectors;
    counted.insert(counted.begin(), Vec{7, 8, 9});
    auto count = static_cast<std::uint32_t>(vectors.size());
    const std::unique_ptr<float, decltype(&std::free)> kept(glmWeldVectors(counted[0].data(), &count, epsilon),
                                                            std::free);
    ASSERT_EQ(count, expected.size()) << epsilon;
    for (std::size_t i = 0; i < expected.size(); ++i)
        ASSERT_EQ(std::bit_cast<Bits>(entry(kept.get(), i + 1)), std::bit_cast<Bits>(expected[i]))
            << epsilon << ", vector " << i;
    for (std::size_t i = 0; i < vectors.size(); ++i)
        ASSERT_EQ(counted[i + 1][0], static_cast<float>(expectedIndices[i])) << epsilon << ", vector " << i;
}

}  // namespace

TEST(Vectors, EdgesOfTheFunctions) {
    EXPECT_TRUE(std::signbit(glmAbs(-0.0f)));
    EXPECT_TRUE(std::signbit(glmMax(-0.0f, 0.0f))) << "equal arguments: the first";
    Vec v = {0, 0, 0};
    glmNormalize(v.data());
    EXPECT_EQ(v, (Vec{0, 0, 0}));
    v = {3e-30f, 0, -4e-30f};
    glmNormalize(v.data());
    expectNear(v, {.6f, 0, -.8f});
    const Vec x = {1, 0, 0}, y = {0, 2, 0};
    glmCross(x.data(), y.data(), v.data());
    EXPECT_EQ(v, (Vec{0, 0, 2}));
    EXPECT_TRUE(glmEqual(x.data(), Vec{1, 0, .5f}.data(), .50001f));
    EXPECT_FALSE(glmEqual(x.data(), Vec{1, 0, .5f}.data(), .5f)) << "strictly less";
}

TEST(FacetNormals, PointAtTheViewerAndAreFinite) {
    const Model model =
        ModelFiles("v 0 0 0\nv 1 0 0\nv 0 1 0\nv 1e30 0 0\nv 0 1e30 1e30\nf 1 2 3\nf 1 3 2\nf 1 2 2\nf 1 4 5\n")
            .read();
    glmFacetNormals(model.get());
    EXPECT_EQ(model->numfacetnorms, 4u);
    EXPECT_EQ(entry(model->facetnorms, 1), (Vec{0, 0, 1}));
    EXPECT_EQ(entry(model->facetnorms, 2), (Vec{0, 0, -1}));
    EXPECT_EQ(entry(model->facetnorms, 3), (Vec{0, 0, 0}));
    EXPECT_EQ(entry(model->facetnorms, 4), (Vec{0, 0, 0}));
    EXPECT_EQ(model->triangles[3].findex, 4u);
}

TEST(VertexNormals, OfACube) {
    const Model model = ModelFiles(CUBE).read();
    glmVertexNormals(model.get(), 90, false);
    expectValidNormals(*model);
    for (std::uint32_t i = 0; i < model->numtriangles; ++i)
        for (const std::uint32_t index : model->triangles[i].nindices)
            EXPECT_EQ(entry(model->normals, index), entry(model->facetnorms, model->triangles[i].findex));

    glmVertexNormals(model.get(), 180, false);
    EXPECT_EQ(model->numnormals, 8u);
    for (std::uint32_t position = 1; position <= 8; ++position) {
        Vec sum = {0, 0, 0};  // a face split at the position counts twice
        std::uint32_t normal = 0;
        for (std::uint32_t i = 0; i < model->numtriangles; ++i)
            for (int k = 0; k < 3; ++k) {
                if (model->triangles[i].vindices[k] != position) continue;
                for (int axis = 0; axis < 3; ++axis) sum[axis] += entry(model->facetnorms, i + 1)[axis];
                EXPECT_TRUE(normal == 0 || normal == model->triangles[i].nindices[k]) << "shared by all corners";
                normal = model->triangles[i].nindices[k];
            }
        const float length = std::hypot(sum[0], sum[1], sum[2]);
        expectNear(entry(model->normals, normal), {sum[0] / length, sum[1] / length, sum[2] / length});
    }
}

// At each point the triangles lie symmetrically, so the normal is the direction from the middle, up to rounding.
TEST(VertexNormals, OfASphereAreItsPositions) {
    const Model model = ModelFiles(dividedIcosahedron()).read();
    EXPECT_EQ(model->numtriangles, 80u);
    glmWeld(model.get(), 1e-5f);
    EXPECT_EQ(model->numvertices, 42u);
    glmVertexNormals(model.get(), 60, false);
    EXPECT_EQ(model->numnormals, 42u);
    for (std::uint32_t i = 0; i < model->numtriangles; ++i)
        for (int k = 0; k < 3; ++k)
            expectNear(entry(model->normals, model->triangles[i].nindices[k]),
                       entry(model->vertices, model->triangles[i].vindices[k]));
}

TEST(VertexNormals, KeepExistingAddsOnlyWhatIsMissing) {
    const std::string strip = "v 0 0 0\nv 1 0 0\nv 1 1 0\nv 0 1 0\nv 9 9 9\nvn 1 0 0\nf 1//1 2//1 3//1\n";
    const Model full = ModelFiles(strip).read();
    EXPECT_EQ(
        warningsOf([&] { glmVertexNormals(full.get(), 90, true); }),
        "GLM: Warning: glmVertexNormals(): vertex 4 w/o a triangle\nGLM: Warning: glmVertexNormals(): vertex 5 w/o a triangle\n");
    EXPECT_EQ(full->numnormals, 1u);

    const Model half = ModelFiles(strip + "f 1 3 4\n").read();
    warningsOf([&] { glmVertexNormals(half.get(), 90, true); });
    EXPECT_EQ(half->numnormals, 4u);
    EXPECT_EQ(entry(half->normals, 1), (Vec{1, 0, 0}));
    EXPECT_EQ(half->triangles[0].nindices[2], 1u);
    for (const std::uint32_t index : half->triangles[1].nindices)
        EXPECT_EQ(entry(half->normals, index), (Vec{0, 0, 1}));

    warningsOf([&] { glmVertexNormals(half.get(), 90, false); });
    EXPECT_EQ(half->numnormals, 4u);
    EXPECT_EQ(entry(half->normals, half->triangles[0].nindices[0]), (Vec{0, 0, 1}));
}

// Copies of facet normals grow the array by 100, and say so; a shared normal by 1000, silently.
TEST(VertexNormals, GrowthIsAnnounced) {
    const std::string faces = CUBE.substr(CUBE.find('f'));
    const Model copied = ModelFiles(CUBE + faces + faces).read();
    EXPECT_EQ(
        warningsOf([&] { glmVertexNormals(copied.get(), 0, true); }),
        "GLM: Warning: glmVertexNormals(): realloc 100+100\n\nGLM: Warning: glmVertexNormals(): realloc 200+100\n\n")
        << "at 0 degrees no triangle joins";
    EXPECT_EQ(copied->numnormals, 108u);
    const Model shared = ModelFiles(CUBE).read();
    EXPECT_EQ(warningsOf([&] { glmVertexNormals(shared.get(), 180, true); }), "");
    EXPECT_EQ(shared->numnormals, 8u);
}

TEST(VertexNormals, TrianglesWithoutAFacetNormal) {
    const Model model = ModelFiles("v 0 0 0\nv 1 0 0\nv 0 1 0\nvn 0 0 -1\nf 1//1 2//1 3//1\nf 1 2 3\n").read();
    model->triangles[0].findex = GLM_NO_INDEX;
    glmVertexNormals(model.get(), 60, true);
    EXPECT_EQ(model->triangles[0].nindices[0], 1u);
    EXPECT_EQ(entry(model->normals, model->triangles[1].nindices[0]), (Vec{0, 0, 1}));
    glmVertexNormals(model.get(), 60, false);
    EXPECT_EQ(model->triangles[0].nindices[0], GLM_NO_INDEX);
    EXPECT_EQ(model->numnormals, 3u);
}

TEST(Geometry, UnitizeDimensionsAndScale) {
    const Model model = ModelFiles("v 2 -1 1\nv 4 1 1\nv 3 0 2\n").read();
    Vec dimensions;
    glmDimensions(model.get(), dimensions.data());
    EXPECT_EQ(dimensions, (Vec{6, 2, 3}));
    EXPECT_FLOAT_EQ(glmUnitize(model.get()), 2.0f / 6.0f);
    expectNear(entry(model->vertices, 1), {-1 / 3.f, -1 / 3.f, -1 / 6.f});
    expectNear(entry(model->vertices, 2), {1 / 3.f, 1 / 3.f, -1 / 6.f});
    glmScale(model.get(), -3);
    expectNear(entry(model->vertices, 3), {0, 0, -.5f});

    const Model empty = ModelFiles("").read();
    glmDimensions(empty.get(), dimensions.data());
    EXPECT_EQ(dimensions, (Vec{0, 0, 0}));
    EXPECT_EQ(glmUnitize(empty.get()), 1.0f);
    const Model origin = ModelFiles("v 0 0 0\n").read();
    EXPECT_EQ(glmUnitize(origin.get()), 1.0f);
    glmLinearTexture(origin.get());
    EXPECT_EQ(texcoord(*origin, 1), (Vec{.5f, .5f, 0}));
}

TEST(Geometry, TextureMappings) {
    const Model model =
        ModelFiles(
            "v -1 5 1\nv 1 5 0\nv 0 -5 -.5\nvn 1 0 0\nvn 0 1 0\nvn 0 0 1\nf 1//1 2//2 3//1\nf 1//3 2//-1 3//2\n")
            .read();
    glmScale(model.get(), 0.2f);
    glmLinearTexture(model.get());
    EXPECT_EQ(model->numtexcoords, 3u);
    expectNear(texcoord(*model, 1), {.4f, .6f, 0});
    expectNear(texcoord(*model, 3), {.5f, .45f, 0});
    EXPECT_EQ(model->triangles[1].tindices[2], 3u);
    glmSpheremapTexture(model.get());
    EXPECT_EQ(model->numtexcoords, 3u);
    EXPECT_EQ(texcoord(*model, 1), (Vec{0, 0, 0}));
    expectNear(texcoord(*model, 2), {1, .5f, 0});
    expectNear(texcoord(*model, 3), {.5f, .5f, 0});
    EXPECT_EQ(model->triangles[1].tindices[0], 3u);
    EXPECT_EQ(model->triangles[1].tindices[1], GLM_NO_INDEX);
}

TEST(Geometry, ReverseTwiceRestoresAndOnceTurnsOver) {
    std::mt19937 random(3);
    const Model model = ModelFiles(randomMesh(random, 30, 100)).read();
    glmVertexNormals(model.get(), 100, false);
    glmLinearTexture(model.get());
    const std::vector<GLMtriangle> triangles(model->triangles, model->triangles + model->numtriangles);
    const std::vector<float> normals(model->normals + 3, model->normals + 3 * (model->numnormals + 1));
    glmReverseWinding(model.get());
    EXPECT_EQ(model->triangles[0].vindices[0], triangles[0].vindices[2]);
    EXPECT_EQ(model->triangles[0].nindices[2], triangles[0].nindices[0]);
    EXPECT_EQ(model->triangles[0].tindices[1], triangles[0].tindices[1]);
    EXPECT_EQ(model->normals[3], -normals[0]);
    const std::vector<float> facets(model->facetnorms + 3, model->facetnorms + 3 * (model->numfacetnorms + 1));
    glmFacetNormals(model.get());
    for (std::size_t i = 0; i < facets.size(); ++i) EXPECT_EQ(model->facetnorms[i + 3], facets[i]);
    glmReverseWinding(model.get());
    EXPECT_EQ(std::memcmp(triangles.data(), model->triangles, triangles.size() * sizeof triangles[0]), 0);
    EXPECT_EQ(std::memcmp(normals.data(), model->normals + 3, normals.size() * sizeof(float)), 0);
}

TEST(Geometry, RandomMeshesStayValid) {
    std::mt19937 random(11);
    for (const float angle : {0.0f, 30.0f, 90.0f, 120.0f, 180.0f, 400.0f, NOT_A_NUMBER}) {
        const Model model = ModelFiles(randomMesh(random, 60, 150)).read();
        warningsOf([&] { glmVertexNormals(model.get(), angle, false); });
        expectValidNormals(*model);
        glmWeld(model.get(), 0.5f);
        EXPECT_LE(model->numvertices, 75u) << "the grid has 75 points";
        const std::uint32_t welded = model->numvertices;
        glmWeld(model.get(), 0.5f);
        EXPECT_EQ(model->numvertices, welded) << "welding again changes nothing";
        warningsOf([&] { glmVertexNormals(model.get(), angle, true); });
        expectValidNormals(*model);
    }
}

TEST(Weld, StripOfSplitCorners) {
    const Model model =
        ModelFiles("v 0 0 0\nv 1 0 0\nv 0 1 0\nv 1 0 1e-6\nv 0 1 1e-6\nv 1 1 0\nf 1 2 3\nf 4 6 5\n").read();
    glmWeld(model.get(), 1e-5f);
    EXPECT_EQ(model->numvertices, 4u);
    EXPECT_EQ(entry(model->vertices, 2), (Vec{1, 0, 0})) << "the first of a cluster, not an average";
    EXPECT_EQ(entry(model->vertices, 4), (Vec{1, 1, 0}));
    const GLMtriangle& second = model->triangles[1];
    EXPECT_EQ((std::array{second.vindices[0], second.vindices[1], second.vindices[2]}), (std::array{2u, 4u, 3u}));
}

TEST(Weld, EqualsThePlainComparison) {
    std::mt19937 random(5);
    const auto pick = [&](std::initializer_list<float> values) { return values.begin()[random() % values.size()]; };
    for (const float epsilon : {1e-3f, 1.0f, 0.1f, 1e-12f, 1e-45f, 1e38f, INF, 0.0f, -1.0f, NOT_A_NUMBER}) {
        const float step = std::isfinite(epsilon) && epsilon > 0 ? epsilon : 1.0f;
        std::vector<Vec> clusters, wild;
        for (int i = 0; i < 1500; ++i) {
            Vec near, far;
            for (int axis = 0; axis < 3; ++axis) {
                // Multiples of epsilon, and the floats beside them: differences at the very edge.
                near[axis] = static_cast<float>(random() % 7) * step * 0.5f;
                if (random() % 2 == 0) near[axis] = std::nextafter(near[axis], pick({-INF, INF}));
                far[axis] = pick({0, -0.0f, 1, 3e38f, -3e38f, INF, -INF, NOT_A_NUMBER, 1e30f, 1e-30f, 12345.678f}) *
                            pick({1, 1, 1.0000001f, 0.5f});
            }
            clusters.push_back(near);
            wild.push_back(far);
        }
        compareWelds(clusters, epsilon);
        compareWelds(wild, epsilon);
    }
    compareWelds({}, 1);
    compareWelds({{1, 2, 3}}, 1);
    compareWelds({{0, 0, 0}, {5, 0, 0}, {0, 0, 0}}, 1);
}

// The mesh's own size is the test's limit: comparing each with each would take minutes.
TEST(Weld, LargeMeshesDoNotComparePairwise) {
    const Model model = ModelFiles(sphere(250, 400)).read();
    EXPECT_EQ(model->numtriangles, 200000u);
    glmWeld(model.get(), 1e-6f);
    EXPECT_EQ(model->numvertices, 100400u - 2u * 399u) << "each pole is one position";
    glmVertexNormals(model.get(), 90, false);
    glmUnitize(model.get());
    glmSpheremapTexture(model.get());
    glmReverseWinding(model.get());
    expectValidNormals(*model);
}
