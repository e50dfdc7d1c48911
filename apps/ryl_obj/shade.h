// shade.h - the colour of a point of a surface, as the camera sees it
#pragma once

#include "camera.h"
#include "colour.h"
#include "raster.h"
#include "render.h"
#include "surface.h"

#include <cstdint>
#include <span>

// Light on its way to the eye: multiplied by the alpha.
struct Seen {
    Colour light;
    float alpha;
};

// What is drawn: triangles of the surface by their number, behind them its strokes, behind these the normals that
// stand on triangles.
struct Drawing {
    const Surface& surface;
    const Projection& projection;
    const Look& look;
    std::span<const ScreenPoint> points;  // where the positions land

    std::uint32_t triangles() const { return surface.model->numtriangles; }
    std::uint32_t strokes() const { return static_cast<std::uint32_t>(surface.strokes.size()); }
};

// Remembers the triangle that was last asked for. One for each thread.
class Shader {
public:
    explicit Shader(const Drawing& drawing);
    // The thing of that number at (x, y), 1/256 pixel.
    Seen shade(std::uint32_t number, double x, double y);

private:
    struct Corner {
        double x, y, weight;  // on the picture; what perspective makes of a share of the corner
        Vec3 normal;
        double u, v;
        Colour colour;
    };
    struct Shares {
        double of[3];
    };

    void meet(std::uint32_t triangle);
    Shares sharesAt(double x, double y) const;
    Seen shadeTriangle(double x, double y);
    Seen shadeStroke(const Stroke& stroke, double x, double y) const;
    Colour litBy(Vec3 normal, Colour diffuse) const;
    Colour highlight(Vec3 normal, const Material& from) const;
    double reachOf(const Shares& here, double x, double y) const;
    float edgeAt(double x, double y) const;

    const Drawing& drawing;
    Vec3 key, fill, halfKey;  // towards the lights; between the first and the eye
    std::uint32_t met;
    Corner corners[3] = {};
    double area = 0;    // twice the triangle's, on the picture
    Vec3 outward = {};  // of the triangle, on the viewer's side
    const Material* material = nullptr;
    bool textured = false;
};
