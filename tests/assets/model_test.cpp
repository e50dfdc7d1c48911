// The cube model as the program reads it.
#include "glm/glm.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <map>
#include <utility>

TEST(CubeModel, IsAClosedBevelledCubeOf44TrianglesThatFitsTheFloorsCells) {
    testing::internal::CaptureStderr();
    const GLMmodel& model = *glmReadOBJ("data/cubeobj.obj");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "") << "a material that is not there, for one";
    ASSERT_EQ(model.numtriangles, 44U);
    EXPECT_GT(model.nummaterials, 1U);

    std::map<std::pair<unsigned, unsigned>, int> edges;
    std::map<int, int> kinds;  // faces, edge strips and corners by the number of axes their normal points along
    for (unsigned t = 0; t < model.numtriangles; ++t) {
        const GLMtriangle& triangle = model.triangles[t];
        const float* corner = model.vertices + 3 * triangle.vindices[0];
        const float* normal = model.facetnorms + 3 * triangle.findex;
        EXPECT_GT(normal[0] * corner[0] + normal[1] * corner[1] + normal[2] * corner[2], 0.0f) << "faces inwards";
        ++kinds[static_cast<int>(std::count_if(normal, normal + 3, [](float n) { return std::fabs(n) > 1e-6f; }))];
        for (int i = 0; i < 3; ++i) ++edges[{triangle.vindices[i], triangle.vindices[(i + 1) % 3]}];
    }
    EXPECT_EQ(kinds, (std::map<int, int>{{1, 12}, {2, 24}, {3, 8}}));
    for (const auto& [edge, times] : edges) {
        EXPECT_EQ(times, 1);
        EXPECT_EQ(edges.count({edge.second, edge.first}), 1U) << "a hole, or a side turned inside out";
    }

    const auto [low, high] = std::minmax_element(model.vertices + 3, model.vertices + 3 * (model.numvertices + 1));
    EXPECT_EQ(*low, -*high);
    EXPECT_GE(2 * *high, 1.0f);
    EXPECT_LE(2 * *high * std::sqrt(3.0f), 10.0f) << "turning cubes would touch";
}
