// Paints the summer motif: a low sun over ribbons of sea, a palm that leans into it, gulls. Shown 544 x 181 pixels
// large on a screen of 1920 x 1080, to the upper right of the spheres and under the logo's end.

#include "distance.h"
#include "palette.h"
#include "picture.h"

#include <array>

namespace {

constexpr int WIDTH = 1024, HEIGHT = 341;
constexpr int SAMPLES = 4;  // per pixel and axis

// The motif's own units: the picture is 3 wide and 1 high, y up from the lower edge.
constexpr float UNIT = HEIGHT;
constexpr float SUN_X = 1.56f, SUN_Y = 0.40f, SUN_RADIUS = 0.44f;
constexpr float HORIZON = 0.30f;

struct Point {
    float x, y;
};

// --- the sun: gold above, glowing orange below, cut by widening gaps as it sinks -------------------------------------

Texel sunAt(Point p) {
    const float dx = p.x - SUN_X, dy = p.y - SUN_Y, radius = std::sqrt(dx * dx + dy * dy);
    const float fall = std::clamp(0.5f - 0.5f * dy / SUN_RADIUS, 0.0f, 1.0f);
    const Vec3 colour = fall < 0.55f ? mix(palette::SUN_GOLD, palette::SUN_ORANGE, fall / 0.55f)
                                     : mix(palette::SUN_ORANGE, palette::RIBBON_RED, (fall - 0.55f) / 0.45f);
    const Vec3 lit =
        mix(colour, {1.0f, 0.97f, 0.75f}, 0.75f * smoothstep(0.30f, 0.0f, std::hypot(dx + 0.12f, dy - 0.20f)));
    const float glow = 0.55f * std::exp(-std::max(0.0f, radius - SUN_RADIUS) / 0.10f) * smoothstep(0.98f, 0.6f, p.y) *
                       smoothstep(0.72f, 0.5f, radius);
    const Texel halo = tint(mix(palette::SUN_GOLD, palette::SUN_ORANGE, 0.5f), glow);
    return radius < SUN_RADIUS ? opaque(lit) : halo;
}

// --- the sea: ribbons that swing, each with a bright crest -----------------------------------------------------------

struct Wave {
    float y, height, length, phase, from, to, colour;
};
constexpr std::array<Wave, 5> SEA = {{
    {0.315f, 0.022f, 0.90f, 0.3f, 0.62f, 2.52f, 1.00f},
    {0.255f, 0.026f, 0.74f, 2.1f, 0.40f, 2.74f, 0.80f},
    {0.190f, 0.028f, 0.84f, 4.0f, 0.26f, 2.86f, 0.62f},
    {0.125f, 0.026f, 0.70f, 5.6f, 0.46f, 2.66f, 0.42f},
    {0.065f, 0.020f, 0.80f, 1.2f, 0.84f, 2.30f, 0.22f},
}};
constexpr float WAVE_THICKNESS = 0.034f;

Texel seaAt(Point p) {
    Texel result = CLEAR;
    for (const Wave& wave : SEA) {
        const float along = (p.x - wave.from) / (wave.to - wave.from);
        if (along <= 0 || along >= 1) continue;
        const float taper = std::pow(4 * along * (1 - along), 0.45f);
        const float centre = wave.y + wave.height * std::sin(6.2831853f * p.x / wave.length + wave.phase);
        const float across = (p.y - centre) / (WAVE_THICKNESS * taper);
        if (std::fabs(across) >= 1) continue;
        const Vec3 colour = ribbonColour(wave.colour);
        // The sun's track: warm light on what lies under it.
        const float track = smoothstep(0.42f, 0.05f, std::fabs(p.x - SUN_X));
        const Vec3 crest = mix(mix(colour, palette::FOG_WHITE, 0.45f), palette::SUN_GOLD, 0.8f * track);
        const Vec3 body = mix(mix(colour, palette::NIGHT, 0.25f), palette::SUN_ORANGE, 0.35f * track);
        result = over(opaque(mix(body, crest, smoothstep(0.1f, 0.95f, across))), result);
    }
    return result;
}

// --- the palm ---------------------------------------------------------------------------------------------------------

Point bezier(Point a, Point b, Point c, float k) {
    const float l = 1 - k;
    return {l * l * a.x + 2 * k * l * b.x + k * k * c.x, l * l * a.y + 2 * k * l * b.y + k * k * c.y};
}

// The nearest point of a curve: where along it (0..1), how far away, on which side (positive left of its direction).
struct Foot {
    float along, distance, side;
};
Foot nearestOnCurve(Point a, Point b, Point c, Point p) {
    constexpr int STEPS = 12;
    Foot best{0, 1e9f, 0};
    Point from = a;
    for (int i = 1; i <= STEPS; ++i) {
        const Point to = bezier(a, b, c, static_cast<float>(i) / STEPS);
        const float vx = to.x - from.x, vy = to.y - from.y, wx = p.x - from.x, wy = p.y - from.y;
        const float k = std::clamp((wx * vx + wy * vy) / (vx * vx + vy * vy), 0.0f, 1.0f);
        const float distance = std::hypot(wx - k * vx, wy - k * vy);
        if (distance < best.distance) best = {(static_cast<float>(i - 1) + k) / STEPS, distance, vx * wy - vy * wx};
        from = to;
    }
    return best;
}

constexpr Point FOOT = {2.27f, 0.235f}, BEND = {2.29f, 0.56f}, CROWN = {2.03f, 0.74f};
constexpr float PALM_REACH = 0.48f;  // of the fronds from the crown

struct Frond {
    Point bend, tip;  // from the crown
};
constexpr std::array<Frond, 7> FRONDS = {{
    {{-0.16f, 0.15f}, {-0.42f, 0.02f}},
    {{-0.20f, 0.04f}, {-0.36f, -0.18f}},
    {{-0.05f, 0.17f}, {-0.22f, 0.155f}},
    {{0.08f, 0.18f}, {0.26f, 0.14f}},
    {{0.20f, 0.14f}, {0.43f, 0.00f}},
    {{0.18f, 0.02f}, {0.32f, -0.20f}},
    {{-0.06f, -0.02f}, {-0.13f, -0.22f}},
}};

// A frond is two combs of leaflets along its rib, longest in the middle, hanging down from it.
bool onFrond(const Frond& frond, Point p) {
    const Point bend = {CROWN.x + frond.bend.x, CROWN.y + frond.bend.y},
                tip = {CROWN.x + frond.tip.x, CROWN.y + frond.tip.y};
    const Foot foot = nearestOnCurve(CROWN, bend, tip, p);
    const float width = 0.075f * std::pow(std::sin(3.1415927f * std::min(0.98f, 0.08f + 0.92f * foot.along)), 0.8f);
    if (foot.distance < 0.006f && foot.along < 0.99f) return true;
    // Leaflets point towards the tip: their gaps are slanted lines across the frond.
    const float comb = (foot.along * 13.0f) - 4.5f * foot.distance / 0.075f;
    const float gap = comb - std::floor(comb);
    return foot.distance < width && (gap < 0.74f || foot.distance < 0.3f * width);
}

Texel palmAt(Point p) {
    if (std::hypot(p.x - CROWN.x, p.y - CROWN.y) > PALM_REACH && (p.x < CROWN.x || p.y > CROWN.y)) return CLEAR;
    const Foot trunk = nearestOnCurve(FOOT, BEND, CROWN, p);
    const float thickness = mix(0.030f, 0.015f, trunk.along) + 0.0035f * std::sin(trunk.along * 75.0f);
    const Vec3 dark = mix(palette::NIGHT, palette::RIBBON_VIOLET, 0.18f);
    if (trunk.distance < thickness) {
        // The sun rims the trunk's left side.
        const float rim = smoothstep(0.2f, 0.9f, trunk.side > 0 ? trunk.distance / thickness : 0.0f);
        return opaque(mix(dark, palette::SUN_ORANGE, 0.85f * rim));
    }
    for (const Point& nut : {Point{-0.020f, -0.022f}, Point{0.016f, -0.026f}, Point{-0.002f, -0.046f}})
        if (std::hypot(p.x - CROWN.x - nut.x, p.y - CROWN.y - nut.y) < 0.021f)
            return opaque(mix(dark, palette::SUN_ORANGE, 0.22f));
    for (const Frond& frond : FRONDS)
        if (onFrond(frond, p)) {
            const float lift = smoothstep(0.50f, 0.92f, p.y);
            const float near = smoothstep(0.75f, 0.35f, std::hypot(p.x - SUN_X, p.y - SUN_Y));
            return opaque(mix(mix(dark, {0.05f, 0.38f, 0.20f}, 0.75f * lift), palette::SUN_ORANGE, 0.40f * near));
        }
    return CLEAR;
}

// The palm's island: a low hill of sand.
Texel islandAt(Point p) {
    const float dx = (p.x - 2.30f) / 0.33f;
    const float top = 0.235f + 0.055f * (1 - dx * dx);
    if (std::fabs(dx) >= 1 || p.y > top || p.y < 0.235f) return CLEAR;
    return opaque(mix(mix(palette::SUN_ORANGE, palette::RIBBON_VIOLET, 0.45f), palette::SUN_GOLD,
                      smoothstep(top - 0.05f, top, p.y) * smoothstep(0.5f, -0.7f, dx)));
}

// --- gulls --------------------------------------------------------------------------------------------------------------

bool onGull(Point centre, float size, Point p) {
    const float x = std::fabs(p.x - centre.x) / size, y = (p.y - centre.y) / size;
    if (x > 1) return false;
    const float wing = 0.42f * std::sin(2.5f * x) - 0.18f * x;
    return std::fabs(y - wing) < 0.10f * (1 - x) + 0.015f;
}

Texel gullsAt(Point p) {
    const bool on = onGull({1.02f, 0.74f}, 0.105f, p) || onGull({0.83f, 0.60f}, 0.070f, p);
    return on ? opaque(mix(palette::NIGHT, palette::RIBBON_VIOLET, 0.3f)) : CLEAR;
}

Texel summer(float x, float y) {
    const Point p = {x / UNIT, 1 - y / UNIT};
    // Under the horizon the sun fades into the water.
    const Texel sun = faded(sunAt(p), smoothstep(HORIZON - 0.10f, HORIZON + 0.01f, p.y));
    return over(gullsAt(p), over(seaAt(p), over(palmAt(p), over(islandAt(p), sun))));
}

}  // namespace

Canvas paintPicture(const char* /*font*/) {
    Canvas canvas = makeCanvas(WIDTH, HEIGHT);
    paint(canvas, SAMPLES, summer);
    layHalo(canvas, palette::FOG_WHITE, 4, 1.8f);
    return canvas;
}
