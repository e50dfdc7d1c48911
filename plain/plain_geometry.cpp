#include "plain_geometry.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <map>
#include <numbers>
#include <tuple>
#include <vector>

namespace {

// Replaces a malloc'ed array of vectors that counts from 1.
void store(const std::vector<float>& vectors, float*& array, std::uint32_t& count) {
    std::free(array);
    array = static_cast<float*>(std::malloc((vectors.size() + 3) * sizeof(float)));
    std::copy(vectors.begin(), vectors.end(), array + 3);
    count = static_cast<std::uint32_t>(vectors.size() / 3);
}

}  // namespace

void plain::vertexNormals(GLMmodel& model, float angle) {
    const auto cosAngle = static_cast<float>(std::cos(angle * std::numbers::pi / 180.0));
    std::vector<std::vector<std::uint32_t>> trianglesOf(model.numvertices + std::size_t{1});
    for (std::uint32_t i = 0; i < model.numtriangles; ++i)
        for (const std::uint32_t position : model.triangles[i].vindices) trianglesOf[position].push_back(i);

    std::vector<float> normals;
    const auto add = [&](const float* normal) {
        normals.insert(normals.end(), normal, normal + 3);
        return static_cast<std::uint32_t>(normals.size() / 3);
    };
    for (std::uint32_t position = 1; position <= model.numvertices; ++position) {
        const std::vector<std::uint32_t>& members = trianglesOf[position];
        if (members.empty()) continue;
        const auto facet = [&](std::uint32_t triangle) { return model.facetnorms + std::size_t{3} * (triangle + 1); };
        const auto hasNoArea = [&](std::uint32_t i) { return glmDot(facet(i), facet(i)) == 0; };
        const auto last = std::find_if_not(members.rbegin(), members.rend(), hasNoArea);
        float sum[3] = {};
        std::vector<bool> joins(members.size());
        for (std::size_t i = 0; i < members.size(); ++i) {
            joins[i] = hasNoArea(members[i]) || glmDot(facet(members[i]), facet(*last)) > cosAngle;
            for (int axis = 0; joins[i] && axis < 3; ++axis) sum[axis] += facet(members[i])[axis];
        }
        glmNormalize(sum);
        const std::uint32_t shared = add(sum);
        for (std::size_t i = 0; i < members.size(); ++i) {
            GLMtriangle& triangle = model.triangles[members[i]];
            const std::uint32_t normal = joins[i] ? shared : add(facet(members[i]));
            for (int corner = 0; corner < 3; ++corner)
                if (triangle.vindices[corner] == position) triangle.nindices[corner] = normal;
        }
    }
    store(normals, model.normals, model.numnormals);
}

void plain::weld(GLMmodel& model, float epsilon) {
    using Cell = std::tuple<long, long, long>;
    std::map<Cell, std::vector<std::uint32_t>> cells;  // of side epsilon; equals share a cell or are neighbours
    std::vector<float> kept;
    std::vector<std::uint32_t> newIndices(model.numvertices + std::size_t{1});
    for (std::uint32_t i = 1; i <= model.numvertices; ++i) {
        const float* v = model.vertices + std::size_t{3} * i;
        const auto cell = [&](int axis) { return std::lround(std::floor(static_cast<double>(v[axis]) / epsilon)); };
        const long x = cell(0), y = cell(1), z = cell(2);
        std::uint32_t first = 0;
        for (long a = x - 1; a <= x + 1; ++a)
            for (long b = y - 1; b <= y + 1; ++b)
                for (long c = z - 1; c <= z + 1; ++c) {
                    const auto found = cells.find({a, b, c});
                    if (found == cells.end()) continue;
                    for (const std::uint32_t index : found->second)
                        if ((first == 0 || index < first) &&
                            glmEqual(v, kept.data() + std::size_t{3} * (index - 1), epsilon))
                            first = index;
                }
        if (first == 0) {
            kept.insert(kept.end(), v, v + 3);
            first = static_cast<std::uint32_t>(kept.size() / 3);
            cells[{x, y, z}].push_back(first);
        }
        newIndices[i] = first;
    }
    for (std::uint32_t i = 0; i < model.numtriangles; ++i)
        for (std::uint32_t& position : model.triangles[i].vindices) position = newIndices[position];
    store(kept, model.vertices, model.numvertices);
}
