// glm_triangulate.h - polygons to triangles, concave ones too
#pragma once

#include <cstdint>

#pragma GCC visibility push(default)  // see glm_util.h

// Cuts the polygon whose `count` corners are at the entries `corners` of `positions` (entry i at offset 3 * i) into
// count - 2 triangles, of which each corner is a number from 0 to count - 1, and returns how many there are: 0 for
// fewer than three corners, and where memory is short, which only polygons of more than 64 corners can meet.
//
// A polygon that its first corner sees all of, as it does in a convex one, becomes the fan around that corner. In
// every other simple polygon - as it looks along the axis that its normal is nearest to - no triangle reaches
// outside, all keep its orientation, and none is without area unless it must be, as where a corner stands twice.
// Bridges to holes may run there and back. Edges that cross and coordinates that are not finite give triangles too,
// in whatever places. The result depends on the coordinates alone, to the bit. Time is about that of sorting the
// corners, and bounded.
std::uint32_t __glmTriangulate(const float* positions, const std::uint32_t* corners, std::uint32_t count,
                               std::uint32_t (*triangles)[3]);

#pragma GCC visibility pop
