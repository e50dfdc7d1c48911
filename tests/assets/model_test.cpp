// The cube model, read by a counter of its own: plain positions and faces.
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <fstream>
#include <map>
#include <set>
#include <sstream>
#include <string>
#include <vector>

namespace {

using Position = std::array<double, 3>;
using Triangle = std::array<std::size_t, 3>;

struct Model {
    std::vector<Position> positions;
    std::vector<Triangle> triangles;
};

Model readModel() {
    Model model;
    std::ifstream file("data/cubeobj.obj");
    for (std::string line; std::getline(file, line);) {
        std::istringstream words(line);
        std::string what;
        words >> what;
        if (what == "v") {
            Position p{};
            words >> p[0] >> p[1] >> p[2];
            model.positions.push_back(p);
        } else if (what == "f") {
            std::vector<std::size_t> corners;
            for (std::size_t corner = 0; words >> corner;) corners.push_back(corner - 1);
            for (std::size_t i = 2; i < corners.size(); ++i)
                model.triangles.push_back({corners[0], corners[i - 1], corners[i]});
        }
    }
    return model;
}

Position cross(const Position& a, const Position& b) {
    return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}
double dot(const Position& a, const Position& b) { return a[0] * b[0] + a[1] * b[1] + a[2] * b[2]; }
Position minus(const Position& a, const Position& b) { return {a[0] - b[0], a[1] - b[1], a[2] - b[2]}; }

}  // namespace

TEST(CubeModel, IsAClosedBevelledCubeOf44Triangles) {
    const Model model = readModel();
    EXPECT_EQ(model.positions.size(), 24u);
    ASSERT_EQ(model.triangles.size(), 44u);

    // Closed and oriented: every edge is walked once in each direction.
    std::map<std::pair<std::size_t, std::size_t>, int> edges;
    std::map<int, int> kinds;  // faces, edge strips and corners by the number of axes their normal points along
    for (const Triangle& t : model.triangles) {
        for (std::size_t i = 0; i < 3; ++i) ++edges[{t[i], t[(i + 1) % 3]}];
        const Position a = model.positions.at(t[0]), b = model.positions.at(t[1]), c = model.positions.at(t[2]);
        const Position normal = cross(minus(b, a), minus(c, a));
        EXPECT_GT(dot(normal, a), 0) << "a triangle faces inwards";
        int axes = 0;
        for (const double part : normal) axes += std::fabs(part) > 1e-9 ? 1 : 0;
        ++kinds[axes];
    }
    for (const auto& [edge, times] : edges) {
        EXPECT_EQ(times, 1);
        EXPECT_EQ(edges.count({edge.second, edge.first}), 1u);
    }
    EXPECT_EQ(kinds, (std::map<int, int>{{1, 12}, {2, 24}, {3, 8}}));
}

TEST(CubeModel, IsCentredAndFitsTheFloorsCells) {
    Position low{1e9, 1e9, 1e9}, high{-1e9, -1e9, -1e9};
    for (const Position& p : readModel().positions)
        for (std::size_t i = 0; i < 3; ++i) {
            low[i] = std::min(low[i], p[i]);
            high[i] = std::max(high[i], p[i]);
        }
    for (std::size_t i = 0; i < 3; ++i) {
        EXPECT_EQ(low[i], -high[i]);
        EXPECT_EQ(high[i], high[0]);
        EXPECT_GE(2 * high[i], 1.0);
        EXPECT_LE(2 * high[i] * std::sqrt(3.0), 10.0) << "turning cubes would touch";
    }
}

TEST(CubeModel, MaterialsItUsesExist) {
    std::ifstream obj("data/cubeobj.obj"), mtl;
    std::set<std::string> used, defined;
    for (std::string word; obj >> word;) {
        if (word == "mtllib") {
            obj >> word;
            mtl.open("data/" + word);
        } else if (word == "usemtl") {
            obj >> word;
            used.insert(word);
        }
    }
    for (std::string word; mtl >> word;)
        if (word == "newmtl") {
            mtl >> word;
            defined.insert(word);
        }
    EXPECT_FALSE(used.empty());
    EXPECT_EQ(used, defined);
}
