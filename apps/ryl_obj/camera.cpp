#include "camera.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace {

constexpr double MARGIN = 0.04;  // of the picture's smaller side, at each edge

double radians(double degrees) { return degrees * std::numbers::pi / 180; }

struct Frame {
    Vec3 up, front;
};

// In the order of UpAxis.
constexpr Frame FRAMES[] = {{{1, 0, 0}, {0, 0, 1}},  {{0, 1, 0}, {0, 0, 1}},  {{0, 0, 1}, {0, -1, 0}},
                            {{-1, 0, 0}, {0, 0, 1}}, {{0, -1, 0}, {0, 0, 1}}, {{0, 0, -1}, {0, -1, 0}}};

}  // namespace

Projection projectionOf(const Camera& camera, const Sphere& sphere) {
    const double azimuth = radians(camera.azimuth), elevation = radians(camera.elevation),
                 roll = radians(camera.roll);
    const Frame& frame = FRAMES[static_cast<int>(camera.up)];
    const Vec3 level = frame.front * std::cos(azimuth) + cross(frame.up, frame.front) * std::sin(azimuth);
    const Vec3 back = level * std::cos(elevation) + frame.up * std::sin(elevation);
    const Vec3 upright = frame.up * std::cos(elevation) - level * std::sin(elevation);
    const Vec3 sideways = cross(upright, back);
    Projection projection = {};
    projection.right = sideways * std::cos(roll) + upright * std::sin(roll);
    projection.up = upright * std::cos(roll) - sideways * std::sin(roll);
    projection.back = back;
    projection.centre = sphere.centre;
    projection.inverseRadius = sphere.radius > 0 ? 1 / sphere.radius : 1;
    const double angle = std::min(camera.fieldOfView, MOST_FIELD_OF_VIEW);
    projection.distance = angle > 0 ? 1 / std::sin(radians(angle) / 2) : 0;
    return projection;
}

Extent sphereExtent(const Projection& projection) {
    const double d = projection.distance;
    const double reach = d > 0 ? 1 / std::sqrt(d * d - 1) : 1;
    return {-reach, reach, -reach, reach};
}

void fit(Projection& projection, const Extent& extent, int width, int height, double zoom) {
    const double margin = 2 * MARGIN * std::min(width, height);
    const double wide = extent.right - extent.left, high = extent.top - extent.bottom;
    const Extent whole = sphereExtent(projection);
    constexpr double LEAST = 1e-6;  // of the sphere; a point fills no picture
    const double least = LEAST * (whole.right - whole.left);
    double scale = std::min((width - margin) / std::max(wide, least), (height - margin) / std::max(high, least));
    if (!(wide > least) && !(high > least)) scale = (std::min(width, height) - margin) / (whole.right - whole.left);
    projection.scale = scale * zoom;
    const bool empty = wide < 0;
    projection.offsetX = width / 2.0 - (empty ? 0 : projection.scale * (extent.left + extent.right) / 2);
    projection.offsetY = height / 2.0 + (empty ? 0 : projection.scale * (extent.bottom + extent.top) / 2);
}
