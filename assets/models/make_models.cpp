// make_models - writes models to look at: one for each thing that a model file can hold
//
//   make_models FOLDER      the same bytes every time

#include "canvas.h"
#include "obj_file.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <numbers>
#include <string>
#include <vector>

namespace {

constexpr double TURN = 2 * std::numbers::pi;

Point around(double angle, double radius, double height) {
    return {radius * std::sin(angle), height, radius * std::cos(angle)};
}

// ---- Noise --------------------------------------------------------------------------------------------------------

double smooth(double t) { return t * t * (3 - 2 * t); }

// Smooth random numbers in 0 .. 1, about one apart.
double noise(double x, double y, double z) {
    const double fx = std::floor(x), fy = std::floor(y), fz = std::floor(z);
    const double tx = smooth(x - fx), ty = smooth(y - fy), tz = smooth(z - fz);
    double sum = 0;
    for (int i = 0; i < 8; ++i) {
        const int dx = i & 1, dy = i >> 1 & 1, dz = i >> 2;
        sum += (dx != 0 ? tx : 1 - tx) * (dy != 0 ? ty : 1 - ty) * (dz != 0 ? tz : 1 - tz) *
               hash01(static_cast<int>(fx) + dx, static_cast<int>(fy) + dy, static_cast<int>(fz) + dz);
    }
    return sum;
}

double clouds(Point p, int octaves) {
    double sum = 0, size = 0.5;
    for (int i = 0; i < octaves; ++i, size /= 2, p = p * 2.03 + Point{17, 5, 11}) sum += size * noise(p.x, p.y, p.z);
    return sum;
}

// ---- Gears: materials, facets beside curves -----------------------------------------------------------------------

void gear(ObjFile& file, Point centre, int teeth, double radius, double thickness, double turn) {
    const double hole = radius * 0.35, depth = 0.2;
    const auto rim = [&](double u) {
        const double part = u * teeth - std::floor(u * teeth);
        const double flank = std::clamp((0.25 - std::abs(part - 0.5)) / 0.07 + 0.5, 0.0, 1.0);
        return radius - depth / 2 + depth * flank;
    };
    // Hole, front, rim, back: the outline of a cut through the gear's axis.
    const auto place = [&](double u, double v) {
        const double angle = TURN * (u + turn);
        const long side = std::lround(v * 4) % 4;
        const double r = side == 1 || side == 2 ? rim(u) : hole;
        const double z = side == 0 || side == 1 ? thickness / 2 : -thickness / 2;
        return centre + Point{r * std::cos(angle), r * std::sin(angle), z};
    };
    grid(file, {teeth * 12, 4, true, true}, place);
}

void makeGears(ObjFile file) {
    material(file, "brass", "Kd 0.86 0.66 0.28\nKs 0.9 0.8 0.5\nNs 90\nillum 2");
    gear(file, {-1.0, 0, 0}, 20, 1.0, 0.36, 0);
    material(file, "steel", "Kd 0.58 0.62 0.68\nKs 0.9 0.9 0.9\nNs 140\nillum 2");
    gear(file, {0.46, 0.46, 0}, 10, 0.5, 0.44, 0.028);
    material(file, "copper", "Kd 0.80 0.42 0.28\nKs 0.8 0.5 0.4\nNs 110\nillum 2");
    gear(file, {0.16, -1.0, 0}, 12, 0.6, 0.30, 0.005);
}

// ---- Terrain: a colour at each position ---------------------------------------------------------------------------

void makeTerrain(ObjFile file) {
    const auto heightAt = [](double x, double z) {
        const double hill = clouds({x * 1.3 + 3, 0.5, z * 1.3 + 8}, 5);
        const double ridge = 1 - std::abs(2 * clouds({x * 0.9 + 40, 9, z * 0.9}, 4) - 0.9);
        const double fade = std::max(0.0, 1 - 0.36 * (x * x + z * z));
        return std::max(0.0, (hill - 0.42) * 0.7 + ridge * ridge * 0.75 * fade - 0.30);
    };
    const auto place = [&](double u, double v) {
        const double x = 3 * u - 1.5, z = 1.5 - 3 * v;
        return Point{x, heightAt(x, z), z};
    };
    const auto paint = [](Point p) {
        if (p.y <= 0) return Point{0.16, 0.36, 0.56};
        const double grain = 0.05 * (noise(p.x * 30, p.y * 30, p.z * 30) - 0.5);
        constexpr Point COLOURS[] = {{0.20, 0.42, 0.60}, {0.80, 0.74, 0.52}, {0.36, 0.54, 0.24},
                                     {0.24, 0.40, 0.18}, {0.48, 0.43, 0.38}, {0.96, 0.97, 0.99}};
        constexpr double HEIGHTS[] = {-0.03, 0.0, 0.05, 0.16, 0.27, 0.38};
        int i = 0;
        while (i < 4 && p.y + grain > HEIGHTS[i + 1]) ++i;
        const double part = std::clamp((p.y + grain - HEIGHTS[i]) / (HEIGHTS[i + 1] - HEIGHTS[i]), 0.0, 1.0);
        return mix(COLOURS[i], COLOURS[i + 1], part * part);
    };
    grid(file, {220, 220}, place, paint);
}

// ---- Knot, vase, shell, ring: curved surfaces ---------------------------------------------------------------------

// A tube about a closed curve, thick as radius(u) says.
template <typename Curve>
void tube(ObjFile& file, const Curve& curve, double radius, int columns, int rows) {
    grid(file, {columns, rows, true, true}, [&](double u, double v) {
        const Point p = curve(u), ahead = normalize(curve(u + 1e-4) - p);
        const Point side = normalize(cross(ahead, p)), up = cross(side, ahead);
        return p + side * (radius * std::cos(TURN * v)) + up * (radius * std::sin(TURN * v));
    });
}

void makeKnot(ObjFile file) {
    material(file, "lacquer", "Kd 0.75 0.10 0.16\nKs 0.7 0.7 0.7\nNs 60\nillum 2");
    const auto curve = [](double u) {
        const double r = 2 + std::cos(3 * TURN * u);
        return Point{r * std::cos(2 * TURN * u), r * std::sin(2 * TURN * u), 1.2 * std::sin(3 * TURN * u)};
    };
    tube(file, curve, 0.48, 320, 36);
}

void makeVase(ObjFile file) {
    const Canvas canvas = [] {
        Canvas made = makeCanvas(1024, 512);
        paint(made, 2, [](float x, float y) {
            const double u = x / 1024.0, v = y / 512.0;
            const double wave = std::abs(std::fmod(u * 12 + 0.5 * std::sin(v * 25), 1.0) - 0.5);
            const bool band = (v > 0.20 && v < 0.23) || (v > 0.70 && v < 0.73) || v < 0.03 || v > 0.97;
            const bool leaf =
                v > 0.26 && v < 0.67 && wave < 0.32 * std::sin((v - 0.26) / 0.41 * std::numbers::pi) - 0.06;
            return opaque(band || leaf ? Vec3{0.10f, 0.22f, 0.52f} : Vec3{0.94f, 0.94f, 0.90f});
        });
        return made;
    }();
    writePng(canvas, (file.folder + "/vase.png").c_str());
    material(file, "porcelain", "Kd 1 1 1\nKs 0.6 0.6 0.6\nNs 120\nillum 2\nmap_Kd vase.png");
    const auto radius = [](double v) {
        return 0.36 + 0.30 * std::sin(v * 4.6 + 0.35) * (1 - 0.35 * v) + 0.22 * std::pow(v, 6);
    };
    grid(file, {72, 96, true, false, true}, [&](double u, double v) { return around(TURN * u, radius(v), 2.2 * v); });
    material(file, "inside", "Kd 0.80 0.79 0.75");
    grid(file, {72, 40, true}, [&](double u, double v) {
        return around(-TURN * u, radius(0.3 + 0.7 * v) - 0.02 * (1 - v), 2.2 * (0.3 + 0.7 * v));
    });
}

void makeShell(ObjFile file) {
    const auto place = [](double u, double v) {
        const double turn = 3.6 * TURN * u, size = std::exp(0.155 * turn) * 0.06,
                     ridge = 1 + 0.05 * std::sin(turn * 12);
        const double r = size * (1 + 0.86 * ridge * std::cos(TURN * v));
        return Point{r * std::cos(turn), -1.55 * size + 0.86 * ridge * size * std::sin(TURN * v), r * std::sin(turn)};
    };
    const auto paint = [](Point p) {
        const double size = std::sqrt(p.x * p.x + p.z * p.z);
        const double stripe = 0.5 + 0.5 * std::sin(9 * std::log(size + 0.02) + 5 * p.y);
        return mix(Point{0.96, 0.88, 0.76}, {0.66, 0.36, 0.22}, smooth(stripe) * 0.8);
    };
    grid(file, {420, 48, false, true}, place, paint);
}

// One side only, so its back is seen too.
void makeRing(ObjFile file) {
    material(file, "ribbon", "Kd 0.10 0.55 0.55\nKs 0.4 0.4 0.4\nNs 40\nillum 2");
    grid(file, {240, 14}, [](double u, double v) {
        const double angle = TURN * u, across = (v - 0.5) * 0.9;
        const double r = 1.1 + across * std::cos(1.5 * angle);
        return Point{r * std::cos(angle), across * std::sin(1.5 * angle), -r * std::sin(angle)};
    });
}

// ---- Globe: a texture ---------------------------------------------------------------------------------------------

Vec3 globeColour(double u, double v) {
    const double angle = TURN * u, latitude = (v - 0.5) * std::numbers::pi, level = std::cos(latitude);
    const Point p = {level * std::sin(angle), std::sin(latitude), level * std::cos(angle)};
    const double height = clouds(p * 1.9 + Point{20, 31, 7}, 7) - 0.50, wet = clouds(p * 3.1 + Point{5, 60, 3}, 4);
    const double cold = std::abs(latitude) + 0.35 * (clouds(p * 5 + Point{9, 9, 9}, 4) - 0.5);
    if (cold > 1.22) return {0.95f, 0.97f, 0.99f};
    if (height < 0)
        return mix(Vec3{0.10f, 0.30f, 0.55f}, Vec3{0.03f, 0.12f, 0.32f},
                   static_cast<float>(std::min(1.0, -height * 9)));
    const Vec3 land = mix(Vec3{0.72f, 0.62f, 0.38f}, Vec3{0.16f, 0.40f, 0.14f},
                          static_cast<float>(std::clamp((wet - 0.38) * 6, 0.0, 1.0)));
    return mix(land, Vec3{0.50f, 0.42f, 0.34f}, static_cast<float>(std::clamp((height - 0.06) * 9, 0.0, 1.0)));
}

void makeGlobe(ObjFile file) {
    Canvas canvas = makeCanvas(1024, 512);
    // A canvas is written bottom row first, and v = 0 is an image's lower edge.
    paint(canvas, 1, [](float x, float y) { return opaque(globeColour(x / 1024.0, 1 - y / 512.0)); });
    writePng(canvas, (file.folder + "/globe.png").c_str());
    material(file, "earth", "Kd 1 1 1\nKs 0.25 0.25 0.25\nNs 25\nillum 2\nmap_Kd globe.png");
    grid(file, {96, 48, true, false, true}, [](double u, double v) {
        const double latitude = (v - 0.5) * std::numbers::pi;
        return around(TURN * u, std::cos(latitude), std::sin(latitude));
    });
    material(file, "stand", "Kd 0.35 0.24 0.15\nKs 0.3 0.3 0.3\nNs 30\nillum 2");
    tube(
        file,
        [](double u) {
            return Point{1.14 * std::cos(TURN * u), 1.14 * std::sin(TURN * u), 0.001};
        },
        0.05, 96, 12);
    grid(file, {48, 3, true}, [](double u, double v) {
        const long step = std::lround(v * 3);
        constexpr double RADII[] = {0.62, 0.62, 0.10, 0.08}, HEIGHTS[] = {-1.42, -1.34, -1.28, -1.16};
        return around(TURN * u, RADII[step], HEIGHTS[step]);
    });
}

// ---- Glass: materials that let light through ----------------------------------------------------------------------

void ball(ObjFile& file, Point centre, double radius) {
    grid(file, {64, 32, true}, [&](double u, double v) {
        const double latitude = (v - 0.5) * std::numbers::pi;
        return centre + around(TURN * u, radius * std::cos(latitude), radius * std::sin(latitude));
    });
}

void makeGlass(ObjFile file) {
    for (const bool dark : {true, false}) {
        material(file, dark ? "slate" : "marble", dark ? "Kd 0.16 0.18 0.22" : "Kd 0.92 0.90 0.86");
        for (int i = 0; i < 64; ++i)
            if (((i + i / 8) % 2 == 0) == dark) {
                const int row = i / 8;
                const double x = i % 8 * 0.5 - 2, z = row * 0.5 - 2;
                box(file, {x, -0.1, z}, {x + 0.5, 0, z + 0.5});
            }
    }
    constexpr const char* SHINE = "\nKs 1 1 1\nNs 300\nillum 2";
    material(file, "red glass", std::string("Kd 0.90 0.08 0.10\nd 0.45") + SHINE);
    ball(file, {-0.85, 0.62, 0.35}, 0.62);
    material(file, "blue glass", std::string("Kd 0.08 0.25 0.90\nd 0.40") + SHINE);
    ball(file, {0.80, 0.5, 0.70}, 0.5);
    material(file, "green glass", std::string("Kd 0.10 0.70 0.25\nd 0.40") + SHINE);
    ball(file, {0.15, 0.85, -0.75}, 0.85);
    material(file, "gold", "Kd 0.95 0.70 0.20\nKs 1 0.9 0.6\nNs 80\nillum 2");
    ball(file, {-0.12, 0.28, 0.95}, 0.28);
    material(file, "window", std::string("Kd 0.75 0.90 0.95\nd 0.25") + SHINE);
    box(file, {-1.7, 0, -1.25}, {1.7, 1.9, -1.2});
}

// ---- Letters: concave polygons ------------------------------------------------------------------------------------

void makeStar(ObjFile file) {
    material(file, "star", "Kd 0.95 0.72 0.12\nKs 0.3 0.3 0.3\nNs 30\nillum 2");
    std::vector<std::array<double, 2>> outline;
    for (int i = 0; i < 10; ++i) {
        const double angle = TURN * (i / 10.0 + 0.25), r = i % 2 == 0 ? 1.0 : 0.42;
        outline.push_back({r * std::cos(angle) - 1.15, r * std::sin(angle)});
    }
    extrude(file, outline, -0.2, 0.2);
    material(file, "spiral", "Kd 0.20 0.45 0.80\nKs 0.3 0.3 0.3\nNs 30\nillum 2");
    outline.clear();
    constexpr int STEPS = 90;
    for (int i = 0; i <= 2 * STEPS + 1; ++i) {
        const int step = i <= STEPS ? i : 2 * STEPS + 1 - i;
        const double angle = 2.25 * TURN * step / STEPS, width = i <= STEPS ? 0.11 : -0.11;
        const double r = 0.16 + 0.78 * step / STEPS + width;
        outline.push_back({r * std::cos(angle) + 1.05, r * std::sin(angle)});
    }
    // From the inner end along the outer side and back: clockwise, so it is turned over.
    std::reverse(outline.begin(), outline.end());
    if (outline.front()[0] != outline.back()[0]) std::reverse(outline.begin(), outline.end());
    extrude(file, outline, -0.2, 0.2);
}

// ---- Points and lines ---------------------------------------------------------------------------------------------

void makeGalaxy(ObjFile file) {
    constexpr int STARS = 9000;
    for (int i = 0; i < STARS; ++i) {
        const auto random = [i](int seed) { return static_cast<double>(hash01(i, seed, 77)); };
        const double far = std::pow(random(0), 0.6), spread = (random(1) + random(2) + random(3) - 1.5) * 0.5;
        const double angle = TURN * (std::floor(random(4) * 2) / 2) + 7.5 * far + spread;
        const double bulge = std::exp(-9 * far * far);
        const Point p = around(angle, far * 1.5, (random(5) + random(6) - 1) * (0.05 + 0.30 * bulge));
        const Point arm = mix(Point{0.12, 0.25, 0.75}, {0.75, 0.20, 0.50}, random(7) * far);
        const int star = position(file, p, mix(arm, {0.95, 0.65, 0.15}, bulge));
        element(file, "p", {star});
    }
}

void makeWires(ObjFile file) {
    constexpr int STEPS = 900;
    constexpr const char* COLOURS[] = {"Kd 0.80 0.10 0.20", "Kd 0.05 0.35 0.70", "Kd 0.05 0.50 0.30"};
    for (int k = 0; k < 3; ++k) {
        material(file, "wire" + std::to_string(k), COLOURS[k]);
        std::vector<int> line;
        for (int i = 0; i < STEPS; ++i) {
            const double t = TURN * i / STEPS, tilt = TURN * k / 3;
            const double r = 1 + 0.4 * std::cos(13 * t + tilt), y = 0.4 * std::sin(13 * t + tilt);
            line.push_back(position(file, around(t, r, y)));
        }
        line.push_back(line.front());
        element(file, "l", line);
    }
}

// ---- Sponge, pawns, temple, leaves: many bodies -------------------------------------------------------------------

void sponge(ObjFile& file, Point low, double size, int level) {
    if (level == 0) return box(file, low, low + Point{size, size, size});
    for (int i = 0; i < 27; ++i) {
        const int x = i % 3, y = i / 3 % 3, z = i / 9;
        if ((x == 1) + (y == 1) + (z == 1) >= 2) continue;
        sponge(file, low + Point{x * size / 3, y * size / 3, z * size / 3}, size / 3, level - 1);
    }
}

void makeSponge(ObjFile file) {
    material(file, "sponge", "Kd 0.55 0.60 0.30\nKs 0.1 0.1 0.1\nNs 10\nillum 2");
    sponge(file, {-1, -1, -1}, 2, 3);
}

void pawn(ObjFile& file, Point centre) {
    constexpr double RADII[] = {0.34, 0.36, 0.34, 0.26, 0.15, 0.11, 0.10, 0.19, 0.20, 0.10, 0.16, 0.19, 0.16, 0.001};
    constexpr double HEIGHTS[] = {0, 0.05, 0.12, 0.16, 0.26, 0.42, 0.56, 0.59, 0.63, 0.66, 0.72, 0.82, 0.92, 0.99};
    constexpr int RINGS = 13;
    grid(file, {36, RINGS * 4, true}, [&](double u, double v) {
        const double at = v * RINGS;
        const int ring = std::min(static_cast<int>(at), RINGS - 1);
        const double part = at - ring;
        return centre + around(TURN * u, RADII[ring] + (RADII[ring + 1] - RADII[ring]) * smooth(part),
                               HEIGHTS[ring] + (HEIGHTS[ring + 1] - HEIGHTS[ring]) * part);
    });
}

void makeChess(ObjFile file) {
    for (const bool dark : {true, false}) {
        material(file, dark ? "walnut" : "maple",
                 std::string(dark ? "Kd 0.36 0.22 0.13" : "Kd 0.90 0.76 0.55") + "\nKs 0.3 0.3 0.3\nNs 50\nillum 2");
        for (int i = 0; i < 64; ++i) {
            if (((i + i / 8) % 2 == 0) != dark) continue;
            const int row = i / 8;
            const double x = i % 8 - 4, z = row - 4;
            box(file, {x, -0.2, z}, {x + 1, 0, z + 1});
        }
        for (int i = 0; i < 8; ++i) {
            put(file, std::string("g ") + (dark ? "dark" : "light") + std::to_string(i + 1));
            pawn(file, {i - 3.5, 0, dark ? -2.5 + (i == 3 ? 2 : 0) : 2.5 - (i == 4 ? 2 : 0)});
        }
    }
}

void column(ObjFile& file, double x, double z) {
    put(file, "s 1");
    grid(file, {96, 6, true}, [&](double u, double v) {
        const double flute = 0.02 * std::abs(std::sin(u * TURN * 8));
        const Point p = around(TURN * u, 0.20 - 0.04 * v - flute, 0.2 + 1.6 * v);
        return Point{p.x + x, p.y, p.z + z};
    });
    put(file, "s off");
    box(file, {x - 0.26, 0.1, z - 0.26}, {x + 0.26, 0.2, z + 0.26});
    box(file, {x - 0.26, 1.8, z - 0.26}, {x + 0.26, 1.92, z + 0.26});
}

// Round where a smoothing group says so, with facets elsewhere.
void makeTemple(ObjFile file) {
    material(file, "marble", "Kd 0.93 0.89 0.80\nKs 0.1 0.1 0.1\nNs 15\nillum 2");
    put(file, "s off");
    box(file, {-2.3, -0.2, -1.5}, {2.3, -0.05, 1.5});
    box(file, {-2.15, -0.05, -1.35}, {2.15, 0.1, 1.35});
    for (int i = 0; i < 6; ++i)
        for (const double z : {-1.05, 1.05}) column(file, -1.85 + 0.74 * i, z);
    for (const double x : {-1.85, 1.85}) column(file, x, 0);
    put(file, "s off");
    box(file, {-2.15, 1.92, -1.33}, {2.15, 2.15, 1.33});
    material(file, "tiles", "Kd 0.72 0.36 0.26");
    // The outline lies in the plane of x and y: the gable looks to the front.
    extrude(file, {{-2.4, 2.15}, {2.4, 2.15}, {0, 2.95}}, -1.45, 1.45);
}

Texel leafTexel(float x, float y) {
    const double u = x / 256.0 - 0.5, v = y / 256.0;
    const double half =
        0.46 * std::sin(std::numbers::pi * std::pow(v, 0.8)) * (1 - 0.10 * std::abs(std::sin(v * 40)));
    if (std::abs(u) > half) return CLEAR;
    const double vein = std::min(std::abs(u), std::abs(std::fmod(v * 8 + std::abs(u) * 5, 1.0) - 0.5) * 0.12);
    return opaque(
        mix(Vec3{0.62f, 0.74f, 0.30f}, Vec3{0.20f, 0.46f, 0.14f}, static_cast<float>(std::min(1.0, vein / 0.02))));
}

// Leaves that their texture's alpha cuts out of quads.
void makePlant(ObjFile file) {
    Canvas canvas = makeCanvas(256, 256);
    paint(canvas, 2, leafTexel);
    writePng(canvas, (file.folder + "/leaf.png").c_str());
    material(file, "pot", "Kd 0.74 0.38 0.24");
    grid(file, {48, 4, true}, [](double u, double v) {
        const long step = std::lround(v * 4);
        constexpr double RADII[] = {0.30, 0.44, 0.50, 0.50, 0.42}, HEIGHTS[] = {0, 0.55, 0.55, 0.68, 0.68};
        return around(TURN * u, RADII[step], HEIGHTS[step]);
    });
    material(file, "soil", "Kd 0.22 0.16 0.12");
    grid(file, {48, 1, true}, [](double u, double v) { return around(TURN * u, 0.44 * (1 - v) + 0.001, 0.62); });
    material(file, "leaf", "Kd 1 1 1\nKs 0.15 0.15 0.15\nNs 20\nillum 2\nmap_Kd leaf.png");
    constexpr int LEAVES = 26;
    for (int i = 0; i < LEAVES; ++i) {
        const double angle = i * 2.399963, rise = 0.35 + 1.15 * i / LEAVES, reach = 1.25 - 0.75 * i / LEAVES;
        const Point out = around(angle, 1, 0), side = around(angle + TURN / 4, 1, 0);
        grid(file, {4, 8, false, false, true}, [&](double u, double v) {
            const double width = 0.42 * (u - 0.5), droop = rise * v * 1.7 - 0.85 * v * v * rise * 1.2;
            return out * (reach * v) + side * width + Point{0, 0.62 + droop - 0.35 * std::abs(u - 0.5) * 0.4, 0};
        });
    }
}

// A wire that is wound up, and polygons of many corners at its ends.
void makeSpring(ObjFile file) {
    material(file, "steel", "Kd 0.66 0.69 0.74\nKs 0.9 0.9 0.9\nNs 150\nillum 2");
    constexpr double TURNS = 7, RADIUS = 0.85, THICK = 0.13, HEIGHT = 2.4;
    constexpr int COLUMNS = 480, ROWS = 24;
    const int first = file.positions + 1;
    grid(file, {COLUMNS, ROWS, false, true}, [](double u, double v) {
        // The wire's ends lie flat on each other.
        const double rise = HEIGHT * smooth(std::clamp(u * 1.16 - 0.08, 0.0, 1.0));
        const double angle = TURN * TURNS * u;
        return around(angle, RADIUS + THICK * std::cos(TURN * v), rise + THICK * std::sin(TURN * v));
    });
    std::vector<int> begin, end;
    for (int row = 0; row < ROWS; ++row) {
        begin.push_back(first + (ROWS - 1 - row) * (COLUMNS + 1));
        end.push_back(first + row * (COLUMNS + 1) + COLUMNS);
    }
    element(file, "f", begin);
    element(file, "f", end);
}

// ---- All of them --------------------------------------------------------------------------------------------------

struct Made {
    const char* name;
    void (*make)(ObjFile file);
};
constexpr Made MODELS[] = {
    {"gears", makeGears},   {"terrain", makeTerrain}, {"knot", makeKnot},   {"vase", makeVase},
    {"globe", makeGlobe},   {"glass", makeGlass},     {"star", makeStar},   {"galaxy", makeGalaxy},
    {"wires", makeWires},   {"shell", makeShell},     {"chess", makeChess}, {"temple", makeTemple},
    {"sponge", makeSponge}, {"ring", makeRing},       {"plant", makePlant}, {"spring", makeSpring}};

}  // namespace

int main(int argc, char* argv[]) {
    if (argc != 2) {
        std::fputs("usage: make_models FOLDER\n", stderr);
        return 1;
    }
    for (const Made& model : MODELS) {
        ObjFile file = openObj(argv[1], model.name);
        if (!file.obj || !file.mtl) {
            std::fprintf(stderr, "[! %s/%s.obj] cannot be written\n", argv[1], model.name);
            return 1;
        }
        model.make(std::move(file));
    }
    return 0;
}
