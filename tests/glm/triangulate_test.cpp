// Polygons cut into triangles: what they cover is what GLU's tessellator covers.
#include "glm/glm_triangulate.h"
#include "glm/glm_try.h"

#include <GL/glu.h>
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <deque>
#include <filesystem>
#include <limits>
#include <memory>
#include <random>
#include <set>
#include <string>
#include <vector>

namespace {

using Triangle = std::array<std::uint32_t, 3>;
struct Point {
    double x, y;
};
using Polygon = std::vector<Point>;  // of whole numbers, so that areas are exact
using Area = std::array<Point, 3>;   // a triangle

double twiceArea(Point a, Point b, Point c) { return (b.x - a.x) * (c.y - a.y) - (b.y - a.y) * (c.x - a.x); }
int side(Point a, Point b, Point c) {
    const double area = twiceArea(a, b, c);
    return (area > 0) - (area < 0);
}

// Cuts up the polygon and requires that the triangles have all its edges, and in pairs those that they share.
std::vector<Triangle> triangulate(const std::vector<std::array<float, 3>>& corners) {
    const auto count = static_cast<std::uint32_t>(corners.size());
    std::vector<float> positions(3);
    std::vector<std::uint32_t> indices;
    for (const auto& corner : corners) {
        indices.push_back(static_cast<std::uint32_t>(positions.size() / 3));
        positions.insert(positions.end(), corner.begin(), corner.end());
    }
    std::vector<Triangle> triangles(count - 2);
    EXPECT_EQ(__glmTriangulate(positions.data(), indices.data(), count,
                               reinterpret_cast<std::uint32_t(*)[3]>(triangles.data())),
              count - 2);
    std::multiset<std::pair<std::uint32_t, std::uint32_t>> edges;
    for (std::uint32_t i = 0; i < count; ++i) edges.emplace((i + 1) % count, i);
    for (const Triangle& t : triangles)
        for (int k = 0; k < 3; ++k) edges.emplace(t[k], t[(k + 1) % 3]);
    for (const auto& [from, to] : edges) EXPECT_EQ(edges.count({from, to}), edges.count({to, from}));
    return triangles;
}

// The polygon on a plane in space, z = ax + by or an axis exchanged for it.
std::vector<std::array<float, 3>> onPlane(const Polygon& polygon, int plane) {
    std::vector<std::array<float, 3>> corners;
    for (const auto& [x, y] : polygon) {
        const double z = (plane % 5 - 2) * x + (plane % 3) * y;
        std::array<float, 3> at = {static_cast<float>(x), static_cast<float>(y), static_cast<float>(z)};
        std::rotate(at.begin(), at.begin() + plane % 3, at.end());
        corners.push_back(at);
    }
    return corners;
}

// ---- The other opinion --------------------------------------------------------------------------------------------

struct Tessellation {
    std::deque<std::array<double, 3>> made;  // where edges meet
    std::vector<Point> corners;
};

std::vector<Area> tessellate(const Polygon& polygon) {
    using Callback = void (*)();
    Tessellation result;
    std::vector<std::array<double, 3>> corners;
    for (const auto& [x, y] : polygon) corners.push_back({x, y, 0});
    GLUtesselator* tess = gluNewTess();
    void (*vertex)(double*, Tessellation*) = [](double* at, Tessellation* to) {
        to->corners.push_back({at[0], at[1]});
    };
    void (*combine)(double*, void**, float*, void**, Tessellation*) = [](double* at, void**, float*, void** out,
                                                                         Tessellation* to) {
        *out = to->made.emplace_back(std::array{at[0], at[1], at[2]}).data();
    };
    void (*edge)(GLboolean) = [](GLboolean) {};  // asks for triangles alone
    gluTessCallback(tess, GLU_TESS_VERTEX_DATA, reinterpret_cast<Callback>(vertex));
    gluTessCallback(tess, GLU_TESS_COMBINE_DATA, reinterpret_cast<Callback>(combine));
    gluTessCallback(tess, GLU_TESS_EDGE_FLAG, reinterpret_cast<Callback>(edge));
    gluTessNormal(tess, 0, 0, 1);
    gluTessBeginPolygon(tess, &result);
    gluTessBeginContour(tess);
    for (auto& corner : corners) gluTessVertex(tess, corner.data(), corner.data());
    gluTessEndContour(tess);
    gluTessEndPolygon(tess);
    gluDeleteTess(tess);
    std::vector<Area> areas;
    for (std::size_t i = 0; i + 2 < result.corners.size(); i += 3)
        areas.push_back({result.corners[i], result.corners[i + 1], result.corners[i + 2]});
    return areas;
}

double sumOf(const std::vector<Area>& areas) {
    double sum = 0;
    for (const auto& [a, b, c] : areas) sum += std::fabs(twiceArea(a, b, c));
    return sum;
}

int coverage(const std::vector<Area>& areas, Point p) {
    int covered = 0;
    for (const auto& [a, b, c] : areas) {
        const int s = side(a, b, p), t = side(b, c, p), u = side(c, a, p);
        covered += s != 0 && s == t && t == u;
    }
    return covered;
}

// `flat` triangles without area are allowed.
void compare(const Polygon& polygon, int plane, int flat, std::mt19937& random) {
    std::vector<Area> areas;
    for (const auto& [a, b, c] : triangulate(onPlane(polygon, plane))) {
        areas.push_back({polygon[a], polygon[b], polygon[c]});
        const int turned = side(polygon[a], polygon[b], polygon[c]);
        ASSERT_GE(turned, 0) << "orientation";
        flat -= turned == 0;
    }
    ASSERT_GE(flat, 0) << "triangles without area";
    const std::vector<Area> expected = tessellate(polygon);
    ASSERT_EQ(sumOf(areas), sumOf(expected));
    for (int i = 0; i < 40; ++i) {
        // Never on a line through two whole points.
        const Point p{static_cast<double>(random() % 21) + 0.1234567 + i * 1e-9, random() % 21 + 0.7654321};
        ASSERT_EQ(coverage(areas, p), coverage(expected, p)) << p.x << ' ' << p.y;
    }
}

// ---- Polygons -----------------------------------------------------------------------------------------------------

bool touch(Point a, Point b, Point c, Point d) {
    const auto between = [](Point p, Point q, Point r) {
        return std::min(p.x, q.x) <= r.x && r.x <= std::max(p.x, q.x) && std::min(p.y, q.y) <= r.y &&
               r.y <= std::max(p.y, q.y);
    };
    const int s = side(a, b, c), t = side(a, b, d), u = side(c, d, a), v = side(c, d, b);
    return (s * t < 0 && u * v < 0) || (s == 0 && between(a, b, c)) || (t == 0 && between(a, b, d)) ||
           (u == 0 && between(c, d, a)) || (v == 0 && between(c, d, b));
}

// A simple polygon that grows by corners put into its edges, as long as it touches itself nowhere.
Polygon simplePolygon(std::mt19937& random, std::size_t count) {
    Polygon polygon = {{0, 0}, {20, 1}, {3, 20}};
    for (int tries = 0; tries < 2000 && polygon.size() < count; ++tries) {
        const std::size_t n = polygon.size(), at = random() % n;
        const Point a = polygon[at], b = polygon[(at + 1) % n];
        const Point p{static_cast<double>(random() % 21), static_cast<double>(random() % 21)};
        bool free = side(a, b, p) != 0;
        for (std::size_t i = 1; i < n && free; ++i) {
            const Point c = polygon[(at + i) % n], d = polygon[(at + i + 1) % n];
            free = (i == 1 ? side(b, d, p) != 0 && !touch(a, p, c, d) : !touch(p, b, c, d)) &&
                   (i == n - 1 ? side(a, c, p) != 0 : !touch(a, p, c, d));
        }
        if (free) polygon.insert(polygon.begin() + static_cast<std::ptrdiff_t>(at) + 1, p);
    }
    // Corners on edges.
    for (std::size_t i = 0; i < polygon.size(); ++i) {
        const Point a = polygon[i], b = polygon[(i + 1) % polygon.size()], middle{(a.x + b.x) / 2, (a.y + b.y) / 2};
        if (middle.x == std::floor(middle.x) && middle.y == std::floor(middle.y))
            polygon.insert(polygon.begin() + static_cast<std::ptrdiff_t>(++i), middle);
    }
    return polygon;
}

// A square, and from each of its corners a way to a hole, round it and back. Two ways have a corner, one of which is
// there on the way back alone.
Polygon withHoles() {
    Polygon polygon;
    const auto turned = [](Point p, int turns) {
        for (; turns > 0; --turns) p = {20 - p.y, p.x};
        return p;
    };
    const Point outer[] = {{0, 0}, {20, 0}, {20, 20}, {0, 20}}, hole[] = {{2, 3}, {3, 8}, {8, 7}, {7, 2}};
    for (int k = 0; k < 4; ++k) {
        polygon.push_back(outer[k]);
        if (k == 1) polygon.push_back(turned({2, 1}, k));  // off the straight way
        for (int i = 0; i <= 4; ++i) polygon.push_back(turned(hole[i % 4], k));
        if (k == 1) polygon.push_back(turned({2, 1}, k));
        if (k == 2) polygon.push_back(turned({1, 1.5}, k));  // on it
        polygon.push_back(outer[k]);
    }
    return polygon;
}

}  // namespace

TEST(Triangulate, ConvexPolygonsAreFans) {
    for (std::uint32_t count = 3; count < 200; ++count)
        for (const int turned : {1, -1}) {
            std::vector<std::array<float, 3>> corners;
            for (std::uint32_t i = 0; i < count; ++i)
                corners.push_back({std::cos(0.031f * i), 5, std::sin(turned * 0.031f * i)});
            const std::vector<Triangle> triangles = triangulate(corners);
            for (std::uint32_t i = 0; i + 2 < count; ++i) EXPECT_EQ(triangles[i], (Triangle{0, i + 1, i + 2}));
        }
}

TEST(Triangulate, CoversWhatTheTessellatorCovers) {
    std::mt19937 random(3);
    for (int i = 0; i < 500; ++i) {
        Polygon polygon = simplePolygon(random, 4 + random() % 100);
        std::rotate(polygon.begin(), polygon.begin() + static_cast<std::ptrdiff_t>(random() % polygon.size()),
                    polygon.end());
        compare(polygon, i, 0, random);
        // Corners that stand twice or three times.
        int more = 0;
        for (std::size_t k = 0; k < polygon.size(); k += 1 + random() % 9, ++more)
            polygon.insert(polygon.begin() + static_cast<std::ptrdiff_t>(k), polygon[k]);
        compare(polygon, i, more, random);
        if (HasFatalFailure()) return;
    }
    Polygon square = withHoles();
    for (std::size_t i = 0; i < square.size(); ++i) {
        std::rotate(square.begin(), square.begin() + 1, square.end());
        compare(square, 2, 0, random);
    }
    // Two parts that meet in a point, and one whose inner loop touches its corner.
    compare({{0, 0}, {9, 0}, {9, 9}, {0, 0}, {0, 9}, {-9, 9}}, 2, 2, random);
    compare({{0, 0}, {9, 0}, {9, 9}, {0, 9}, {0, 0}, {3, 6}, {6, 3}}, 2, 0, random);
}

// What is not nearly linear would exceed the test's time limit.
TEST(Triangulate, LargePolygonsTakeNoTime) {
    constexpr int COUNT = 100000;
    std::mt19937 random(9);
    const auto cut = [](const std::string& name, bool simple, auto&& at) {
        std::vector<std::array<float, 3>> corners;
        for (int i = 0; i < (simple ? COUNT : COUNT / 5); ++i) {
            const auto [x, y] = at(i);
            corners.push_back({static_cast<float>(x), static_cast<float>(y), 1});
        }
        for (const auto& [a, b, c] : triangulate(corners)) {
            const auto point = [&](std::uint32_t i) { return Point{corners[i][0], corners[i][1]}; };
            if (simple) {
                ASSERT_GE(twiceArea(point(a), point(b), point(c)), -1e-6) << name;
            }
        }
    };
    cut("comb", true, [](int i) { return i < 2 ? Point{i * 1e6, 0} : Point{1e6 - i * 10, i % 2 == 0 ? 1e6 : 1.0}; });
    cut("spiral", true, [](int i) {
        const bool back = i >= COUNT / 2;
        const double turn = (back ? COUNT - 1 - i : i) * 0.01, radius = 10 + turn - (back ? 2 : 0);
        return Point{radius * std::cos(turn), radius * std::sin(turn)};
    });
    cut("star", true, [&](int i) {
        const double turn = i * 6.283185307179586 / COUNT, radius = 1000 + 1000 * (i % 2) * (random() % 100);
        return Point{radius * std::cos(turn), radius * std::sin(turn)};
    });
    cut("chaos", false, [&](int) { return Point{double(random() % 1000), double(random() % 1000)}; });
    cut("there and back", false, [](int i) { return Point{double(i % 2), double(i % 3 == 0)}; });
}

TEST(Triangulate, AnyCornersGiveTriangles) {
    constexpr float VALUES[] = {0,
                                1,
                                -1,
                                2,
                                3.4e38f,
                                -3.4e38f,
                                1e-45f,
                                1e-30f,
                                1.0000001f,
                                std::numeric_limits<float>::infinity(),
                                std::numeric_limits<float>::quiet_NaN()};
    std::mt19937 random(4);
    for (int i = 0; i < 20000; ++i) {
        std::vector<std::array<float, 3>> corners(3 + random() % (i % 100 == 0 ? 100 : 9));
        for (auto& corner : corners)
            for (float& value : corner)
                value = VALUES[random() % (i % 3 == 0 ? std::size(VALUES) : std::size(VALUES) - 2)];
        triangulate(corners);
    }
    triangulate({{0, 0, 0}, {1, 1, 0}, {1, 0, 0}, {0, 1, 0}});  // a bow tie
    triangulate(std::vector<std::array<float, 3>>(500, {1, 2, 3}));
}

// Models in the manner of many programs.
TEST(Triangulate, KeptPolygonsBecomeTheTrianglesOfAReading) {
    struct Reading {
        explicit Reading(const std::string& path, bool polygons) {
            GLMoptions options;
            options.extras = &extras;
            options.polygons = polygons;
            model = glmTryReadOBJ(path.c_str(), nullptr, options);
        }
        ~Reading() {
            glmFreeExtras(extras);
            glmFree(model);
        }
        GLMmodel* model = nullptr;
        GLMextras* extras = nullptr;
    };
    const auto isSame = [](const auto* a, const auto* b, std::size_t count) {
        return (a == nullptr) == (b == nullptr) && (a == nullptr || std::memcmp(a, b, count * sizeof *a) == 0);
    };
    int files = 0;
    for (const auto& entry : std::filesystem::directory_iterator(RYL_EXPORTERS)) {
        if (entry.path().extension() != ".obj") continue;
        SCOPED_TRACE(entry.path());
        ++files;
        const Reading expected(entry.path(), false), kept(entry.path(), true);
        ASSERT_TRUE(expected.model != nullptr && kept.model != nullptr && kept.model->numtriangles == 0);
        ASSERT_TRUE(glmTryTriangulate(kept.model, kept.extras));
        const std::size_t count = kept.model->numtriangles;
        ASSERT_EQ(count, expected.model->numtriangles);
        EXPECT_TRUE(isSame(expected.model->triangles, kept.model->triangles, count));
        EXPECT_TRUE(isSame(expected.model->facetnorms, kept.model->facetnorms, 3 * (count + 1)));
        EXPECT_TRUE(isSame(expected.extras->objects, kept.extras->objects, count));
        EXPECT_TRUE(isSame(expected.extras->smoothing, kept.extras->smoothing, count));
        const GLMgroup* group = expected.model->groups;
        for (const GLMgroup* own = kept.model->groups; own != nullptr; own = own->next, group = group->next) {
            ASSERT_TRUE(group != nullptr && group->numtriangles == own->numtriangles);
            EXPECT_STREQ(group->name, own->name);
            EXPECT_EQ(group->material, own->material);
            EXPECT_TRUE(isSame(group->triangles, own->triangles, own->numtriangles));
        }
        EXPECT_EQ(group, nullptr);
    }
    EXPECT_EQ(files, 40);
}
