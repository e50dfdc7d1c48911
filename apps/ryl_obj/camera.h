// camera.h - where a model is seen from, and where its points land on the picture
#pragma once

#include "vec.h"

// The axis that points up in the picture, and the sign of its direction. The front of a model looks along +z when y
// is up, and along -y when z is up.
enum class UpAxis { x, y, z, minusX, minusY, minusZ };

struct Camera {
    double azimuth = 30;      // degrees; to the right around the model, 0 in front of it
    double elevation = 20;    // degrees above the horizon
    double roll = 0;          // degrees; the picture turns clockwise
    double fieldOfView = 30;  // degrees; 0: parallel lines stay parallel
    UpAxis up = UpAxis::y;
};

// What a camera looks at: all points lie within `radius` of the centre.
struct Sphere {
    Vec3 centre = {0, 0, 0};
    double radius = 1;
};

// Where points land before they are scaled to a picture: x to the right, y up, and the depth, which is linear across
// a surface in the picture and greater for what is nearer; above 0.
struct Landing {
    double x, y, depth;
};

struct Projection {
    Vec3 right, up, back;  // unit vectors; `back` points at the camera
    Vec3 centre;
    double inverseRadius;
    double distance;  // of the camera in radii; 0: parallel
    // The picture: x and y in pixels are scale * landing + offset, y downwards.
    double scale = 1, offsetX = 0, offsetY = 0;
};

constexpr double MOST_FIELD_OF_VIEW = 120;

Projection projectionOf(const Camera& camera, const Sphere& sphere);

// Offset of parallel depths, which keeps them above 0.
constexpr double PARALLEL_DEPTH = 2;

inline Landing land(const Projection& projection, Vec3 point) {
    const Vec3 p = (point - projection.centre) * projection.inverseRadius;
    const double x = dot(p, projection.right), y = dot(p, projection.up), z = dot(p, projection.back);
    if (projection.distance == 0) return {x, y, z + PARALLEL_DEPTH};
    const double depth = 1 / (projection.distance - z);
    return {x * depth, y * depth, depth};
}

// A rectangle that landings lie in; empty as it is made.
struct Extent {
    double left = 1e300, right = -1e300, bottom = 1e300, top = -1e300;
};
inline void include(Extent& extent, double x, double y) {
    extent.left = x < extent.left ? x : extent.left;
    extent.right = x > extent.right ? x : extent.right;
    extent.bottom = y < extent.bottom ? y : extent.bottom;
    extent.top = y > extent.top ? y : extent.top;
}

// What the whole sphere lands in, from every side.
Extent sphereExtent(const Projection& projection);

// Scales the projection so that the extent fills a picture of width x height pixels but for a margin, times `zoom`.
void fit(Projection& projection, const Extent& extent, int width, int height, double zoom);
