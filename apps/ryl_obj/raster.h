// raster.h - which samples of a picture a triangle, a line or a point covers, and how near it is there
//
// Coordinates are whole 1/256 of a pixel, so that triangles with a common edge share no sample and leave none out.
// Samples come in cells of four: the four of a pixel, or one in each of 2 x 2 pixels.
#pragma once

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <utility>

constexpr int SUBPIXELS = 256;
constexpr int LANES = 4;

using Int4 = std::int32_t __attribute__((vector_size(16)));
using Long4 = std::int64_t __attribute__((vector_size(32)));
using Float4 = float __attribute__((vector_size(16)));

// Where a position of the model lands. A depth of 0: nowhere.
struct ScreenPoint {
    std::int32_t x, y;
    float depth;
};

// No coordinate is greater; products of three times this fit into 64 bits.
constexpr std::int32_t MOST_COORDINATE = 1 << 29;

struct Cells {
    int sizeBits;
    std::int32_t size;            // of a side, 2 to the power of sizeBits
    std::array<int, LANES> x, y;  // of the samples in it
};
constexpr Cells FOUR_A_PIXEL = {8, SUBPIXELS, {32, 224, 96, 160}, {96, 160, 224, 32}};
constexpr Cells ONE_A_PIXEL = {9, 2 * SUBPIXELS, {128, 384, 128, 384}, {128, 128, 384, 384}};

// Samples lie at `first` and every 2 to the power of `stepBits` from there on, on each axis.
struct Lattice {
    std::int32_t first;
    int stepBits;
};
constexpr Lattice FINE_LATTICE = {32, 6}, PIXEL_LATTICE = {128, 8};

// Columns of cells that are drawn, in rows firstRow to endRow - 1.
struct Window {
    const Cells& cells;
    int columns, firstRow, endRow;
};

struct CellBox {
    int left, right, upper, lower;  // cells; none when one end is beyond the other
};

// The cells of a window that a box of coordinates touches.
inline CellBox cellsOf(const Window& window, std::int32_t left, std::int32_t right, std::int32_t upper,
                       std::int32_t lower) {
    const int bits = window.cells.sizeBits;
    return {std::max(left >> bits, 0), std::min(right >> bits, window.columns - 1),
            std::max(upper >> bits, window.firstRow), std::min(lower >> bits, window.endRow - 1)};
}

// Depth is linear in the picture: the value at a point of it, and its growth along x and y.
struct DepthPlane {
    double x, y, depth, growthX, growthY;
    float least, most;  // in the triangle, which rounding must not leave
};

template <typename Int>
struct Edge {
    Int growthX, growthY;  // the value grows towards the inside, and is 0 or above there
    Int start;             // value at the origin of the cell that the drawing starts with
    Int band;              // wireframes: up to this value a sample is on the line
};

template <typename Int>
Edge<Int> edgeOf(const ScreenPoint& from, const ScreenPoint& to, std::int64_t x, std::int64_t y, double lineWidth) {
    const std::int64_t growthX = std::int64_t{from.y} - to.y, growthY = std::int64_t{to.x} - from.x;
    // A sample on an edge belongs to one of the two triangles there.
    const bool owned = growthX > 0 || (growthX == 0 && growthY > 0);
    const std::int64_t start = growthX * (x - from.x) + growthY * (y - from.y) - (owned ? 0 : 1);
    const double band = lineWidth > 0 ? lineWidth * std::hypot(growthX, growthY) : 0;
    return {static_cast<Int>(growthX), static_cast<Int>(growthY), static_cast<Int>(start), static_cast<Int>(band)};
}

inline std::int64_t doubleArea(const ScreenPoint& a, const ScreenPoint& b, const ScreenPoint& c) {
    return (std::int64_t{b.x} - a.x) * (std::int64_t{c.y} - a.y) -
           (std::int64_t{b.y} - a.y) * (std::int64_t{c.x} - a.x);
}

inline DepthPlane depthPlaneOf(const ScreenPoint& a, const ScreenPoint& b, const ScreenPoint& c, std::int64_t area) {
    const double ab = static_cast<double>(b.depth) - a.depth, ac = static_cast<double>(c.depth) - a.depth;
    const auto size = static_cast<double>(area);
    const double bx = b.x - a.x, by = b.y - a.y, cx = c.x - a.x, cy = c.y - a.y;
    return {static_cast<double>(a.x),
            static_cast<double>(a.y),
            a.depth,
            (ab * cy - ac * by) / size,
            (ac * bx - ab * cx) / size,
            std::min({a.depth, b.depth, c.depth}),
            std::max({a.depth, b.depth, c.depth})};
}

// Narrows a row's cells to those that an edge does not rule out.
template <typename Int>
void narrow(const Edge<Int>& edge, Int value, const Cells& cells, int& left, int& right, int first) {
    // The most that the value can be in a cell.
    const double most = static_cast<double>(value) + std::max(0.0, static_cast<double>(edge.growthX) * cells.size) +
                        std::max(0.0, static_cast<double>(edge.growthY) * cells.size);
    const double step = static_cast<double>(edge.growthX) * cells.size;
    if (step == 0) return;
    const double zero = std::clamp(-most / step, -1e6, 1e6);
    if (step > 0)
        left = std::max(left, first + static_cast<int>(std::floor(zero)));
    else
        right = std::min(right, first + static_cast<int>(std::ceil(zero)));
}

template <typename Int>
struct LanesOf {
    using Type = Int4;
};
template <>
struct LanesOf<std::int64_t> {
    using Type = Long4;
};

// The depths of a cell's samples.
inline Float4 depthsOf(const DepthPlane& plane, const Cells& cells, int row, int column) {
    Float4 offsets = {};
    for (std::size_t lane = 0; lane < LANES; ++lane)
        offsets[lane] = static_cast<float>(plane.growthX * cells.x[lane] + plane.growthY * cells.y[lane]);
    const double rowDepth = plane.depth + plane.growthY * (static_cast<double>(row) * cells.size - plane.y);
    Float4 depths =
        offsets + static_cast<float>(rowDepth + plane.growthX * (static_cast<double>(column) * cells.size - plane.x));
    depths = depths < plane.least ? plane.least + Float4{} : depths;
    return depths > plane.most ? plane.most + Float4{} : depths;
}

// Calls emit(row, column, inside) for the cells of the window in which a triangle covers samples; inside has all bits
// of a lane set where its sample is covered.
template <typename Int, typename Emit>
void rasterize(const std::array<Edge<Int>, 3>& edges, const Window& window, const CellBox& box, bool lines,
               const Emit& emit) {
    using Vector = typename LanesOf<Int>::Type;
    const Cells& cells = window.cells;
    Vector offsets[3];
    for (std::size_t lane = 0; lane < LANES; ++lane)
        for (std::size_t i = 0; i < 3; ++i)
            offsets[i][lane] = edges[i].growthX * cells.x[lane] + edges[i].growthY * cells.y[lane];
    std::array<Int, 3> rows = {edges[0].start, edges[1].start, edges[2].start};
    for (int row = box.upper; row <= box.lower; ++row) {
        int left = box.left, right = box.right;
        if constexpr (sizeof(Int) > 4)
            for (std::size_t i = 0; i < 3; ++i) narrow(edges[i], rows[i], cells, left, right, box.left);
        std::array<Int, 3> values;
        for (std::size_t i = 0; i < 3; ++i) values[i] = rows[i] + edges[i].growthX * cells.size * (left - box.left);
        for (int column = left; column <= right; ++column) {
            const Vector a = values[0] + offsets[0], b = values[1] + offsets[1], c = values[2] + offsets[2];
            auto outside = (a | b | c) < 0;
            if (lines) outside |= (a > edges[0].band) & (b > edges[1].band) & (c > edges[2].band);
            const Int4 inside = __builtin_convertvector(~outside, Int4);
            for (std::size_t i = 0; i < 3; ++i) values[i] += edges[i].growthX * cells.size;
            if ((inside[0] | inside[1] | inside[2] | inside[3]) != 0) emit(row, column, inside);
        }
        for (std::size_t i = 0; i < 3; ++i) rows[i] += edges[i].growthY * cells.size;
    }
}

// Calls emit(row, column, inside, depth) for the cells of the window in which a triangle covers samples. With a line
// width (1/256 pixel) above 0 only the triangle's edges count, as lines inside of it.
template <typename Emit>
void rasterizeTriangle(const ScreenPoint& a, ScreenPoint b, ScreenPoint c, const Window& window, double lineWidth,
                       const Emit& emit) {
    std::int64_t area = doubleArea(a, b, c);
    if (area == 0) return;
    if (area < 0) {
        std::swap(b, c);
        area = -area;
    }
    const auto [left, right] = std::minmax({a.x, b.x, c.x});
    const auto [upper, lower] = std::minmax({a.y, b.y, c.y});
    const CellBox box = cellsOf(window, left, right, upper, lower);
    if (box.left > box.right || box.upper > box.lower) return;
    // Most small triangles cover no sample, and need no plane.
    std::optional<DepthPlane> plane;
    const auto emitDepths = [&](int row, int column, Int4 inside) {
        if (!plane) plane = depthPlaneOf(a, b, c, area);
        emit(row, column, inside, depthsOf(*plane, window.cells, row, column));
    };
    const std::int64_t x = std::int64_t{box.left} * window.cells.size,
                       y = std::int64_t{box.upper} * window.cells.size;
    const auto draw = [&](auto number) {
        using Int = decltype(number);
        const std::array<Edge<Int>, 3> edges = {edgeOf<Int>(a, b, x, y, lineWidth),
                                                edgeOf<Int>(b, c, x, y, lineWidth),
                                                edgeOf<Int>(c, a, x, y, lineWidth)};
        rasterize<Int>(edges, window, box, lineWidth > 0, emitDepths);
    };
    constexpr std::int32_t SMALL = 1 << 14;  // products of twice this fit into 32 bits
    if (right - left < SMALL && lower - upper < SMALL)
        draw(std::int32_t{});
    else
        draw(std::int64_t{});
}

// The same for a line with round ends, or a point where both ends are one; `radius` in 1/256 pixel.
template <typename Emit>
void rasterizeStroke(const ScreenPoint& a, const ScreenPoint& b, double radius, const Window& window,
                     const Emit& emit) {
    const auto reach = static_cast<std::int32_t>(std::ceil(radius));
    const auto [left, right] = std::minmax({a.x, b.x});
    const auto [upper, lower] = std::minmax({a.y, b.y});
    const CellBox box = cellsOf(window, left - reach, right + reach, upper - reach, lower + reach);
    const Cells& cells = window.cells;
    const double dx = static_cast<double>(b.x) - a.x, dy = static_cast<double>(b.y) - a.y;
    const double square = dx * dx + dy * dy;
    for (int row = box.upper; row <= box.lower; ++row) {
        int first = box.left, last = box.right;
        if (std::abs(dy) > 2 * cells.size) {  // only a part of the line is near this row
            const double y = static_cast<double>(row) * cells.size - a.y;
            const double one = (y - radius) / dy, two = (y + cells.size + radius) / dy;
            const double begin = a.x + dx * std::clamp(std::min(one, two), 0.0, 1.0);
            const double end = a.x + dx * std::clamp(std::max(one, two), 0.0, 1.0);
            first = std::max(first, static_cast<int>((std::min(begin, end) - radius) / cells.size) - 1);
            last = std::min(last, static_cast<int>((std::max(begin, end) + radius) / cells.size) + 1);
        }
        for (int column = first; column <= last; ++column) {
            Int4 inside = {};
            Float4 depth = {};
            for (std::size_t lane = 0; lane < LANES; ++lane) {
                const double x = static_cast<double>(column) * cells.size + cells.x[lane] - a.x;
                const double y = static_cast<double>(row) * cells.size + cells.y[lane] - a.y;
                const double along = square > 0 ? std::clamp((x * dx + y * dy) / square, 0.0, 1.0) : 0;
                const double offX = x - along * dx, offY = y - along * dy;
                inside[lane] = offX * offX + offY * offY <= radius * radius ? -1 : 0;
                depth[lane] = static_cast<float>(a.depth + along * (static_cast<double>(b.depth) - a.depth));
            }
            if ((inside[0] | inside[1] | inside[2] | inside[3]) != 0) emit(row, column, inside, depth);
        }
    }
}
