// Welding: finds vectors that are equal within a tolerance by a spatial hash.
#include "glm/glm.h"

#include "glm/glm_util.h"

#include <algorithm>
#include <bit>
#include <cassert>
#include <cmath>
#include <cstdlib>

namespace {

// Larger than the difference of any two floats. Stands for an infinite epsilon, by which nothing can be divided.
constexpr double LARGEST_EPSILON = 1e39;

using Indices = std::unique_ptr<std::uint32_t[], __glmFree>;

bool isFinite(const float* v) { return std::isfinite(v[0]) && std::isfinite(v[1]) && std::isfinite(v[2]); }

// The distinct vectors so far, by place. Space is cut into cells of 2 * reach, and the vectors that equal one are in
// at most 2 cells along each axis. Several cells may share a bucket, which costs comparisons and changes no result.
// Distinct vectors are at least epsilon apart on some axis, so a cell holds few.
struct WeldTable {
    const float* kept;  // the distinct vectors, from entry 1
    float epsilon;
    double reach;      // epsilon, finite
    std::size_t mask;  // number of buckets - 1; a power of two - 1
    Indices heads;     // of each bucket's list of distinct vectors; 0 ends a list
    Indices next;
};

WeldTable makeTable(const float* kept, std::uint32_t count, float epsilon) {
    const std::size_t buckets = std::bit_ceil(std::size_t{count} + 1);
    return {.kept = kept,
            .epsilon = epsilon,
            .reach = std::min(static_cast<double>(epsilon), LARGEST_EPSILON),
            .mask = buckets - 1,
            .heads = Indices(__glmArray<std::uint32_t>(buckets)),
            .next = Indices(__glmArray<std::uint32_t>(count + std::size_t{1}))};
}

double cellOf(const WeldTable& table, double coordinate) { return std::floor(coordinate / (2 * table.reach)); }

struct CellRange {
    double low;
    int steps;  // number of further cells; far from 0, adding 1 to a cell's number does not change it
};

// The cells of all coordinates that equal this one. Each step of the computation keeps the order of numbers, so
// numbers between coordinate - epsilon and coordinate + epsilon are in the cells between theirs. These are few; if
// the coordinate is so large that adding epsilon does not change it, there is one.
CellRange cellsAround(const WeldTable& table, double coordinate) {
    const double low = cellOf(table, coordinate - table.reach);
    return {.low = low, .steps = static_cast<int>(cellOf(table, coordinate + table.reach) - low)};
}

std::size_t bucketOf(const WeldTable& table, double x, double y, double z) {
    std::uint64_t hash = 0;
    for (const double cell : {x, y, z}) {
        // Adding 0 turns -0 into 0; the multiplier is the 64-bit golden ratio.
        hash = (hash ^ std::bit_cast<std::uint64_t>(cell + 0.0)) * 0x9e3779b97f4a7c15;
        hash ^= hash >> 32;
    }
    return hash & table.mask;
}

// Index of the first distinct vector that equals v, or 0.
std::uint32_t findEqual(const WeldTable& table, const float* v) {
    std::uint32_t first = 0;
    const CellRange x = cellsAround(table, v[0]), y = cellsAround(table, v[1]), z = cellsAround(table, v[2]);
    for (int i = 0; i <= x.steps; ++i)
        for (int j = 0; j <= y.steps; ++j)
            for (int k = 0; k <= z.steps; ++k) {
                const std::size_t bucket = bucketOf(table, x.low + i, y.low + j, z.low + k);
                for (std::uint32_t index = table.heads[bucket]; index != 0; index = table.next[index])
                    if ((first == 0 || index < first) && glmEqual(v, __glmVector(table.kept, index), table.epsilon))
                        first = index;
            }
    return first;
}

void addDistinct(WeldTable& table, std::uint32_t index) {
    const float* v = __glmVector(table.kept, index);
    std::uint32_t& head = table.heads[bucketOf(table, cellOf(table, v[0]), cellOf(table, v[1]), cellOf(table, v[2]))];
    table.next[index] = head;
    head = index;
}

struct Welded {
    float* kept;  // the distinct vectors, from entry 1
    std::uint32_t count;
    Indices newIndices;  // of each vector
};

Welded weld(const float* vectors, std::uint32_t count, float epsilon) {
    Welded welded{.kept = __glmEntries(count, GLM_VECTOR_SIZE),
                  .count = 0,
                  .newIndices = Indices(__glmArray<std::uint32_t>(count + std::size_t{1}))};
    std::copy_n(vectors, 3 * (count + std::size_t{1}), welded.kept);
    WeldTable table = makeTable(welded.kept, count, epsilon);
    for (std::uint32_t i = 1; i <= count; ++i) {
        const float* v = __glmVector(vectors, i);
        // Nothing equals a vector that is not finite, and no distance is below 0.
        const bool comparable = epsilon > 0 && isFinite(v);
        std::uint32_t index = comparable ? findEqual(table, v) : 0;
        if (index == 0) {
            index = ++welded.count;
            std::copy_n(v, 3, __glmVector(welded.kept, index));
            if (comparable) addDistinct(table, index);
        }
        welded.newIndices[i] = index;
    }
    return welded;
}

}  // namespace

bool glmEqual(const float* u, const float* v, float epsilon) {
    return glmAbs(u[0] - v[0]) < epsilon && glmAbs(u[1] - v[1]) < epsilon && glmAbs(u[2] - v[2]) < epsilon;
}

float* glmWeldVectors(float* vectors, std::uint32_t* count, float epsilon) {
    const Welded welded = weld(vectors, *count, epsilon);
    for (std::uint32_t i = 1; i <= *count; ++i) *__glmVector(vectors, i) = static_cast<float>(welded.newIndices[i]);
    *count = welded.count;
    return welded.kept;
}

void glmWeld(GLMmodel* model, float epsilon) {
    assert(model->vertices != nullptr);
    // The indices are used as they are: as floats, those above 2^24 would be rounded.
    const Welded welded = weld(model->vertices, model->numvertices, epsilon);
    for (std::uint32_t i = 0; i < model->numtriangles; ++i)
        for (std::uint32_t& position : model->triangles[i].vindices) {
            assert(position <= model->numvertices);
            position = welded.newIndices[position];
        }
    std::free(model->vertices);
    model->numvertices = welded.count;
    model->vertices = __glmResizeEntries(welded.kept, welded.count, GLM_VECTOR_SIZE);
}
