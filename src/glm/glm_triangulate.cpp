// Polygons to triangles by clipping ears: a corner whose triangle with its two neighbours has no other corner in it
// is cut off, and so on with what is left (Meisters, "Polygons have ears", 1975). Only corners that do not turn left
// can be in the way; a k-d tree finds them (Bentley, 1975).
#include "glm/glm_triangulate.h"

#include "glm/glm_util.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <numeric>
#include <utility>

namespace {

constexpr std::uint32_t NONE = GLM_NO_INDEX;

// ---- Geometry in the plane ----------------------------------------------------------------------------------------

struct Point {
    float at[2];
};

struct Box {
    Point low, high;
};

void extend(Box& box, const Point& point) {
    for (int axis = 0; axis < 2; ++axis) {
        box.low.at[axis] = std::min(box.low.at[axis], point.at[axis]);
        box.high.at[axis] = std::max(box.high.at[axis], point.at[axis]);
    }
}

// The sign of the exact sum: the partial sums are kept as numbers that do not overlap, the largest last (Shewchuk,
// "Adaptive Precision Floating-Point Arithmetic", 1997, grow-expansion).
int signOfSum(const double (&terms)[6]) {
    double parts[6];
    for (int i = 0; i < 6; ++i) {
        double sum = terms[i];
        for (int k = 0; k < i; ++k) {
            const double total = sum + parts[k], added = total - sum;
            parts[k] = (sum - (total - added)) + (parts[k] - added);
            sum = total;
        }
        parts[i] = sum;
    }
    for (int i = 5; i >= 0; --i)
        if (parts[i] != 0) return parts[i] > 0 ? 1 : -1;
    return 0;
}

// 1 when c is to the left of the line from a to b, -1 when it is to the right, 0 when it is on it: exactly.
int turn(const Point& a, const Point& b, const Point& c) {
    constexpr double ROUNDING =
        4.5e-16;  // above the 3 * 2^-53 and a little that the difference may be off by (Shewchuk)
    const double ax = a.at[0], ay = a.at[1], bx = b.at[0], by = b.at[1], cx = c.at[0], cy = c.at[1];
    const double left = (bx - ax) * (cy - ay), right = (by - ay) * (cx - ax);
    const double difference = left - right, bound = ROUNDING * (std::fabs(left) + std::fabs(right));
    if (difference > bound) return 1;
    if (difference < -bound) return -1;
    // The products of two floats are exact in double precision.
    return signOfSum({ax * by, -ay * bx, bx * cy, -by * cx, cx * ay, -cy * ax});
}

// ---- The polygon's plane ------------------------------------------------------------------------------------------

// Which two coordinates to look at, in the order in which the polygon turns left.
struct Plane {
    int axes[2];
};

// False when the polygon has no area, or none that a number can tell.
bool findPlane(const float* positions, const std::uint32_t* corners, std::uint32_t count, Plane& plane) {
    double normal[3] = {}, before[3] = {};
    const float* origin = __glmVector(positions, corners[0]);
    for (std::uint32_t i = 1; i < count; ++i) {
        const float* position = __glmVector(positions, corners[i]);
        double at[3];
        for (int axis = 0; axis < 3; ++axis) at[axis] = static_cast<double>(position[axis]) - origin[axis];
        for (int axis = 0; axis < 3; ++axis) {
            const int u = (axis + 1) % 3, v = (axis + 2) % 3;
            normal[axis] += before[u] * at[v] - before[v] * at[u];
        }
        std::copy_n(at, 3, before);
    }
    int axis = 2;
    for (const int other : {1, 0})
        if (std::fabs(normal[other]) > std::fabs(normal[axis])) axis = other;
    const int u = (axis + 1) % 3, v = (axis + 2) % 3;
    plane = normal[axis] > 0 ? Plane{{u, v}} : Plane{{v, u}};
    return normal[axis] != 0 && std::isfinite(normal[0] + normal[1] + normal[2]);
}

Point pointOf(const float* positions, const Plane& plane, std::uint32_t corner) {
    const float* position = __glmVector(positions, corner);
    return {{position[plane.axes[0]], position[plane.axes[1]]}};
}

// True when the triangles of the fan around the first corner have area and the polygon's orientation. They cover what
// the polygon winds around as often as it does.
bool fits(const float* positions, const Plane& plane, const std::uint32_t* corners, std::uint32_t count) {
    const Point first = pointOf(positions, plane, corners[0]);
    Point before = pointOf(positions, plane, corners[1]);
    for (std::uint32_t i = 2; i < count; ++i) {
        const Point point = pointOf(positions, plane, corners[i]);
        if (turn(first, before, point) <= 0) return false;
        before = point;
    }
    return true;
}

void fan(std::uint32_t count, std::uint32_t (*triangles)[3]) {
    for (std::uint32_t i = 2; i < count; ++i) {
        triangles[i - 2][0] = 0;
        triangles[i - 2][1] = i - 1;
        triangles[i - 2][2] = i;
    }
}

// ---- What is left of a polygon ------------------------------------------------------------------------------------

// Neighbours in a circular list; what is in none is its own neighbour.
struct Links {
    std::uint32_t before, after;
};

struct Corner {
    Point point;
    Links ring;             // the corners that are left, in order
    Links queue;            // those to be tried; its two ends meet at the entry behind the last corner
    std::uint32_t place;    // in the tree
    bool notch;             // left, and does not turn left: may be in the way of others
    Box box;                // of the corners at and below the place in the tree that has this one's number
    std::uint32_t notches;  // how many of those there are
};

struct Polygon {
    Corner* corners;
    std::uint32_t* tree;  // all corners: the middle of each range is its root, and parts it along one axis
    std::uint32_t count, left;
    std::uint32_t cursor;  // one of those that are left
    std::uint64_t budget;  // how many corners may still be looked at
    std::uint32_t (*triangles)[3];
};

void unlink(Corner* corners, Links Corner::*list, std::uint32_t i) {
    const Links links = corners[i].*list;
    (corners[links.before].*list).after = links.after;
    (corners[links.after].*list).before = links.before;
    corners[i].*list = {i, i};
}

int turnAt(const Polygon& polygon, std::uint32_t i) {
    const Links& ring = polygon.corners[i].ring;
    return turn(polygon.corners[ring.before].point, polygon.corners[i].point, polygon.corners[ring.after].point);
}

// True for the end of a way there and back, and for a corner that stands where its neighbour does.
bool isPointless(const Polygon& polygon, std::uint32_t i) {
    if (turnAt(polygon, i) != 0) return false;
    const Links& ring = polygon.corners[i].ring;
    const float *a = polygon.corners[ring.before].point.at, *b = polygon.corners[i].point.at,
                *c = polygon.corners[ring.after].point.at;
    const auto goesOn = [&](int axis) {
        return (a[axis] < b[axis] && b[axis] < c[axis]) || (a[axis] > b[axis] && b[axis] > c[axis]);
    };
    return !goesOn(0) && !goesOn(1);
}

// Moves a corner to the end of the queue, or to its beginning.
void enqueue(Polygon& polygon, std::uint32_t i) {
    Corner* corners = polygon.corners;
    unlink(corners, &Corner::queue, i);
    const Links ends = corners[polygon.count].queue;
    const bool first = isPointless(polygon, i);
    const Links links = first ? Links{polygon.count, ends.after} : Links{ends.before, polygon.count};
    corners[i].queue = links;
    corners[links.before].queue.after = corners[links.after].queue.before = i;
}

std::uint32_t middleOf(std::uint32_t low, std::uint32_t high) { return low + (high - low) / 2; }

void setNotch(Polygon& polygon, std::uint32_t i, bool notch) {
    Corner* corners = polygon.corners;
    if (corners[i].notch == notch) return;
    corners[i].notch = notch;
    const std::uint32_t place = corners[i].place;
    std::uint32_t low = 0, high = polygon.count, middle = NONE;
    while (middle != place) {
        middle = middleOf(low, high);
        corners[middle].notches += notch ? 1 : -1;
        (place < middle ? high : low) = place < middle ? middle : middle + 1;
    }
}

// The order of the corners by the axis is total, so that there is one such tree only.
void buildTree(Polygon& polygon, std::uint32_t low, std::uint32_t high, int axis) {
    if (low == high) return;
    const std::uint32_t middle = middleOf(low, high);
    std::nth_element(polygon.tree + low, polygon.tree + middle, polygon.tree + high,
                     [&](std::uint32_t a, std::uint32_t b) {
                         const float atA = polygon.corners[a].point.at[axis], atB = polygon.corners[b].point.at[axis];
                         return atA < atB || (atA == atB && a < b);
                     });
    polygon.corners[polygon.tree[middle]].place = middle;
    buildTree(polygon, low, middle, 1 - axis);
    buildTree(polygon, middle + 1, high, 1 - axis);
    const Point& root = polygon.corners[polygon.tree[middle]].point;
    Box& box = polygon.corners[middle].box = {root, root};
    for (const auto& [from, to] : {std::pair(low, middle), std::pair(middle + 1, high)})
        if (from < to) {
            const Box& below = polygon.corners[middleOf(from, to)].box;
            extend(box, below.low);
            extend(box, below.high);
        }
}

// ---- Ears ---------------------------------------------------------------------------------------------------------

// A corner between its two neighbours. Its third side, from the last point to the first, is new.
struct Ear {
    std::uint32_t corners[3];
    Point points[3];
    Box box;
};

Ear earAt(const Polygon& polygon, std::uint32_t i) {
    const Links& ring = polygon.corners[i].ring;
    Ear ear{.corners = {ring.before, i, ring.after}, .points = {}, .box = {}};
    for (int k = 0; k < 3; ++k) ear.points[k] = polygon.corners[ear.corners[k]].point;
    ear.box = {ear.points[0], ear.points[0]};
    for (const Point& point : ear.points) extend(ear.box, point);
    return ear;
}

int turnFrom(const Ear& ear, int side, const Point& point) {
    return turn(ear.points[side], ear.points[(side + 1) % 3], point);
}

bool isApart(const Ear& ear, const Box& box) {
    for (int axis = 0; axis < 2; ++axis)
        if (box.high.at[axis] < ear.box.low.at[axis] || ear.box.high.at[axis] < box.low.at[axis]) return true;
    for (int side = 0; side < 3; ++side) {
        const Point &from = ear.points[side], &to = ear.points[(side + 1) % 3];
        const Point leftmost = {{to.at[1] > from.at[1] ? box.low.at[0] : box.high.at[0],
                                 to.at[0] > from.at[0] ? box.high.at[1] : box.low.at[1]}};
        if (turnFrom(ear, side, leftmost) < 0) return true;
    }
    return false;
}

// Corner i is in the way when it is inside of the ear, on the new side, or on the border with an edge into the ear.
// It may stand where a corner of the ear stands: the polygon then touches itself there, as it does along a way to a
// hole.
bool isInTheWay(const Polygon& polygon, const Ear& ear, std::uint32_t i) {
    if (std::find(ear.corners, std::end(ear.corners), i) != std::end(ear.corners)) return false;
    int turns[3];
    for (int side = 0; side < 3; ++side) {
        turns[side] = turnFrom(ear, side, polygon.corners[i].point);
        if (turns[side] < 0) return false;
    }
    if (turns[0] > 0 && turns[1] > 0) return true;
    const auto entersTo = [&](std::uint32_t end) {
        for (int side = 0; side < 3; ++side)
            if (turns[side] == 0 && turnFrom(ear, side, polygon.corners[end].point) <= 0) return false;
        return true;
    };
    return entersTo(polygon.corners[i].ring.before) || entersTo(polygon.corners[i].ring.after);
}

// Whether one of the tree's corners from `low` up to `high` is in the way. No, when the budget is used up.
bool isBlocked(Polygon& polygon, const Ear& ear, std::uint32_t low, std::uint32_t high) {
    if (low == high || polygon.budget == 0) return false;
    const std::uint32_t middle = middleOf(low, high);
    const Corner& place = polygon.corners[middle];
    if (place.notches == 0 || isApart(ear, place.box)) return false;
    --polygon.budget;
    const std::uint32_t root = polygon.tree[middle];
    if (polygon.corners[root].notch && isInTheWay(polygon, ear, root)) return true;
    return isBlocked(polygon, ear, low, middle) || isBlocked(polygon, ear, middle + 1, high);
}

bool isEar(Polygon& polygon, std::uint32_t i) {
    if (polygon.budget > 0) --polygon.budget;
    if (isPointless(polygon, i)) return true;
    return turnAt(polygon, i) > 0 && !isBlocked(polygon, earAt(polygon, i), 0, polygon.count);
}

// ---- Clipping -----------------------------------------------------------------------------------------------------

// Cuts the corner off. Its neighbours are tried again after all others, which keeps triangles from becoming thin.
void clip(Polygon& polygon, std::uint32_t i) {
    const Links ring = polygon.corners[i].ring;
    std::uint32_t* triangle = *polygon.triangles++;
    triangle[0] = ring.before;
    triangle[1] = i;
    triangle[2] = ring.after;
    setNotch(polygon, i, false);
    unlink(polygon.corners, &Corner::ring, i);
    unlink(polygon.corners, &Corner::queue, i);
    for (const std::uint32_t neighbour : {ring.before, ring.after}) {
        setNotch(polygon, neighbour, turnAt(polygon, neighbour) <= 0);
        enqueue(polygon, neighbour);
    }
    polygon.cursor = ring.before;
    --polygon.left;
}

void enqueueAll(Polygon& polygon) {
    for (std::uint32_t k = 0; k < polygon.left; ++k, polygon.cursor = polygon.corners[polygon.cursor].ring.after)
        enqueue(polygon, polygon.cursor);
}

// A corner to cut off where there is no ear, as edges cross: one that turns left, if there is one.
std::uint32_t anyCorner(Polygon& polygon) {
    std::uint32_t i = polygon.cursor;
    for (std::uint32_t k = 0; k < polygon.left && polygon.budget > 0; ++k, --polygon.budget) {
        if (turnAt(polygon, i) > 0) return i;
        i = polygon.corners[i].ring.after;
    }
    return i;
}

// Of a simple polygon each corner is tried once, and again when a neighbour is gone: nothing else makes it an ear.
void clipEars(Polygon& polygon) {
    const Links& queue = polygon.corners[polygon.count].queue;
    bool fresh = true;  // none has been cut off since all were tried
    while (polygon.left > 2) {
        const std::uint32_t i = queue.after;
        if (i != polygon.count) {
            unlink(polygon.corners, &Corner::queue, i);
            if (polygon.left > 3 && !isEar(polygon, i)) continue;
            clip(polygon, i);
            fresh = false;
        } else if (!fresh && polygon.budget > 0) {
            enqueueAll(polygon);
            fresh = true;
        } else {
            clip(polygon, anyCorner(polygon));
            fresh = false;
        }
    }
}

void clipPolygon(Polygon& polygon, const float* positions, const Plane& plane, const std::uint32_t* corners) {
    const std::uint32_t count = polygon.count;
    for (std::uint32_t i = 0; i < count; ++i)
        polygon.corners[i] = {.point = pointOf(positions, plane, corners[i]),
                              .ring = {i == 0 ? count - 1 : i - 1, i + 1 == count ? 0 : i + 1},
                              .queue = {i, i},
                              .place = 0,
                              .notch = false,
                              .box = {},
                              .notches = 0};
    polygon.corners[count].queue = {count, count};
    std::iota(polygon.tree, polygon.tree + count, 0);
    buildTree(polygon, 0, count, 0);
    for (std::uint32_t i = 0; i < count; ++i) {
        setNotch(polygon, i, turnAt(polygon, i) <= 0);
        enqueue(polygon, i);
    }
    clipEars(polygon);
}

// Looks for each corner, and in all: many more than simple polygons take, and an end for those whose edges cross.
constexpr std::uint64_t BUDGET = 64, LARGEST_BUDGET = std::uint64_t{1} << 30;

constexpr std::uint32_t FEW = 64;  // corners that need no memory

// False when memory is short.
bool cut(const float* positions, const Plane& plane, const std::uint32_t* corners, std::uint32_t count,
         std::uint32_t (*triangles)[3]) {
    Corner few[FEW + 1];
    std::uint32_t fewPlaces[FEW];
    Polygon polygon{.corners = few,
                    .tree = fewPlaces,
                    .count = count,
                    .left = count,
                    .cursor = 0,
                    .budget = std::min(BUDGET * count, LARGEST_BUDGET),
                    .triangles = triangles};
    std::unique_ptr<Corner[], __glmFree> many;
    std::unique_ptr<std::uint32_t[], __glmFree> manyPlaces;
    if (count > FEW) {
        many.reset(static_cast<Corner*>(__glmZeroed(count + std::size_t{1}, sizeof(Corner))));
        manyPlaces.reset(static_cast<std::uint32_t*>(__glmZeroed(count, sizeof(std::uint32_t))));
        if (many == nullptr || manyPlaces == nullptr) return false;
        polygon.corners = many.get();
        polygon.tree = manyPlaces.get();
    }
    clipPolygon(polygon, positions, plane, corners);
    return true;
}

}  // namespace

std::uint32_t __glmTriangulate(const float* positions, const std::uint32_t* corners, std::uint32_t count,
                               std::uint32_t (*triangles)[3]) {
    if (count < 3) return 0;
    Plane plane{};
    if (count == 3 || !findPlane(positions, corners, count, plane) || fits(positions, plane, corners, count)) {
        fan(count, triangles);
        return count - 2;
    }
    return cut(positions, plane, corners, count, triangles) ? count - 2 : 0;
}
