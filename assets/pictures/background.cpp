// Paints the demo's poster: a hundred ribbons bursting from a sun on a white horizon, the floor of green cubes in the
// fog, the spheres and the name.

#include "logo.h"
#include "painting.h"
#include "palette.h"
#include "studio.h"

namespace {

constexpr int WIDTH = 640, HEIGHT = 360;
constexpr int SAMPLES = 3;  // per pixel and axis

constexpr float HORIZON = 0.60f;  // of the height
constexpr float LOGO_WIDTH = 574, LOGO_TOP = 14.5f;
constexpr float SPHERES_HEIGHT = 196.5f, SPHERES_TOP = 159.5f;

// ---- The ribbons: bands around the vanishing point that swing as they come forward --------------------------------

Vec3 ribbonsAt(float radius, float angle) {
    const float swing = 0.55f * std::sin(5.5f * radius + 1.3f * angle) + 0.25f * std::sin(11 * radius - 2 * angle);
    const float band = angle * 15.0f + swing;
    const float index = std::floor(band), across = band - index;
    const float phase = 0.5f + 0.5f * std::sin(0.82f * index);
    const float fold = std::sin(3.1415927f * across);
    const Vec3 colour = ribbonColour(phase);
    const Vec3 shaded = mix(mix(palette::NIGHT, colour, 0.35f), colour, 0.35f + 0.65f * fold);
    const float sheen = std::pow(fold, 10.0f) * (0.5f + 0.5f * std::sin(7 * radius + 2.4f * index));
    const Vec3 lit = mix(shaded, palette::FOG_WHITE, 0.45f * sheen);
    return mix(lit, palette::NIGHT, 0.60f * smoothstep(0.55f, 1.25f, radius));
}

// Ribbons and sun at a point above the horizon, from the vanishing point in half widths, v up.
Vec3 skyAt(float u, float v) {
    const float radius = std::hypot(u, v);
    const Vec3 glow = mix(mix(palette::FOG_WHITE, palette::SUN_PALE, smoothstep(0.10f, 0.22f, radius)),
                          palette::SUN_ORANGE, 0.75f * smoothstep(0.18f, 0.46f, radius));
    const Vec3 burst = mix(glow, ribbonsAt(radius, std::atan2(v, u)), smoothstep(0.10f, 0.52f, radius));
    return mix(palette::FOG_WHITE, burst, smoothstep(0.0f, 0.13f, v));
}

// ---- The floor: cubes on a grid in white fog, with a clearing for the spheres -------------------------------------

struct Cube {
    float half, height;  // units; no height: none
    Vec3 colour;
};

constexpr float CELL = 0.62f, HIGHEST = 0.34f, EYE_HEIGHT = 1.0f, FARTHEST = 14;
constexpr float BEVEL = 0.015f;
constexpr float SHADOW_AWAY = 0.05f;  // how far a cube's shadow falls towards the viewer
constexpr float MIRRORED = 0.30f;     // of the sky in the ground

Cube cubeIn(int column, int row) {
    const float x = (static_cast<float>(column) + 0.5f) * CELL, z = (static_cast<float>(row) + 0.5f) * CELL;
    if (std::fabs(x) < (z < 2.2f ? 1.25f : 2.2f) && z < 7.4f) return {0, 0, {}};
    const float chance = hash01(column, row, 5);
    if (chance > 0.55f) return {0.165f, HIGHEST, palette::CUBE_GREEN};
    if (chance > 0.28f)
        return {0.06f + 0.18f * chance, 0.12f + 0.36f * chance, mix(palette::CUBE_GREEN, palette::CUBE_SHADE, 0.30f)};
    return {0.12f, 0.24f, mix(palette::CUBE_SHADE, palette::CUBE_GREEN, 0.25f)};
}

Vec3 fogged(Vec3 colour, float distance) {
    return mix(palette::FOG_WHITE, colour, std::exp(-0.022f * distance * distance));
}

// Where a ray meets the floor's cubes or ground. The ray leaves the eye straight ahead (z) and goes `u` to the right
// and `down` per unit of z.
struct FloorHit {
    float x, height, z;
    int column, row;
    bool cube;
};

FloorHit castRay(float u, float down) {
    const float last = EYE_HEIGHT / down;
    float z = (EYE_HEIGHT - HIGHEST) / down;
    while (z < last) {
        const auto column = static_cast<int>(std::floor(u * z / CELL)), row = static_cast<int>(std::floor(z / CELL));
        const Cube cube = cubeIn(column, row);
        const float cx = (static_cast<float>(column) + 0.5f) * CELL, cz = (static_cast<float>(row) + 0.5f) * CELL;
        // The part of the ray inside the cube: the overlap of three slabs.
        const float xA = u != 0 ? (cx - cube.half) / u : -1e9f, xB = u != 0 ? (cx + cube.half) / u : 1e9f;
        const float enter = std::max({cz - cube.half, std::min(xA, xB), (EYE_HEIGHT - cube.height) / down});
        const float leave = std::min(cz + cube.half, std::max(xA, xB));
        if (cube.height > 0 && enter <= leave && enter < last)
            return {u * enter, EYE_HEIGHT - down * enter, enter, column, row, true};
        // On to the next cell of the grid.
        const float nextZ = static_cast<float>(row + 1) * CELL;
        const float nextX = u > 1e-6f    ? static_cast<float>(column + 1) * CELL / u
                            : u < -1e-6f ? static_cast<float>(column) * CELL / u
                                         : 1e9f;
        z = std::max(std::min(nextZ, nextX), z) + 1e-4f;
    }
    return {u * last, 0, last, 0, 0, false};
}

// The light comes from the horizon's sun and the sky: tops are bright, the sides towards the viewer fall off to the
// ground, the bevels catch the light.
Vec3 cubeColour(const FloorHit& hit) {
    const Cube cube = cubeIn(hit.column, hit.row);
    const float dx = hit.x - (static_cast<float>(hit.column) + 0.5f) * CELL,
                dz = hit.z - (static_cast<float>(hit.row) + 0.5f) * CELL;
    // Distances to the faces: the least belongs to the face that was hit, the next is the distance to its edge.
    const float toTop = cube.height - hit.height, toSide = cube.half - std::fabs(dx), toFront = cube.half + dz;
    const float face = std::min({toTop, toSide, toFront});
    const float toEdge = std::max(std::min(toTop, toSide), std::min(std::max(toTop, toSide), toFront));
    const float low = hit.height / cube.height, away = 0.5f + 0.5f * dz / cube.half;
    const Vec3 top = mix(mix(cube.colour, palette::FOG_WHITE, 0.12f), palette::SUN_PALE, 0.45f * away);
    const Vec3 colour = face == toTop     ? top
                        : face == toFront ? mix(palette::CUBE_SHADE, cube.colour, 0.25f + 0.55f * low * low)
                                          : mix(palette::CUBE_SHADE, cube.colour, 0.10f + 0.45f * low * low);
    const float catching = face == toTop || toTop < BEVEL ? 0.80f : 0.30f * low;
    return mix(colour, palette::FOG_WHITE, catching * smoothstep(BEVEL, 0.5f * BEVEL, toEdge));
}

// Polished ground: it mirrors the sky and is dimmed in front of each cube, away from the sun.
Vec3 groundColour(const FloorHit& hit, Vec3 sky) {
    const float column = std::floor(hit.x / CELL), row = std::floor((hit.z + SHADOW_AWAY) / CELL);
    const Cube cube = cubeIn(static_cast<int>(column), static_cast<int>(row));
    const float dx = hit.x - (column + 0.5f) * CELL, dz = hit.z + SHADOW_AWAY - (row + 0.5f) * CELL;
    const float away =
        std::hypot(std::max(0.0f, std::fabs(dx) - cube.half), std::max(0.0f, std::fabs(dz) - cube.half));
    const float shade = cube.height > 0 ? 0.42f * smoothstep(0.16f, 0.0f, away) : 0.0f;
    return mix(mix(palette::FOG_WHITE, sky, MIRRORED), mix(palette::NIGHT, palette::RIBBON_VIOLET, 0.35f), shade);
}

Vec3 floorAt(float u, float down) {
    if (EYE_HEIGHT / down > FARTHEST) return palette::FOG_WHITE;
    const FloorHit hit = castRay(u, down);
    return fogged(hit.cube ? cubeColour(hit) : groundColour(hit, skyAt(u, down)), hit.z);
}

Texel poster(float x, float y) {
    const float u = (x - WIDTH / 2.0f) / (WIDTH / 2.0f), v = (HORIZON * HEIGHT - y) / (WIDTH / 2.0f);
    if (v > 0) return opaque(skyAt(u, v));
    return opaque(v < -0.004f ? floorAt(u, -v) : palette::FOG_WHITE);
}

Texel spheres(float x, float y) {
    const float left = (WIDTH - SPHERES_HEIGHT * SPHERES_ASPECT) / 2;
    const float sx = (x - left) / SPHERES_HEIGHT, sy = (y - SPHERES_TOP) / SPHERES_HEIGHT;
    if (sx < 0 || sy < 0 || sx > SPHERES_ASPECT || sy > 1) return CLEAR;
    return spheresAt(sx, sy, hash01(static_cast<int>(x * SAMPLES), static_cast<int>(y * SAMPLES), 3));
}

}  // namespace

Canvas paintPicture(const char* font) {
    Canvas canvas = makeCanvas(WIDTH, HEIGHT);
    paint(canvas, SAMPLES, poster);
    paint(canvas, SAMPLES, spheres);
    const Logo logo = makeLogo(font, LOGO_WIDTH / LOGO_ASPECT);
    paint(canvas, SAMPLES,
          [&](float x, float y) { return logoAt(logo, x - (WIDTH - LOGO_WIDTH) / 2, y - LOGO_TOP); });
    return canvas;
}
