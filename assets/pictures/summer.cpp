// Paints the summer motif: a low sun behind ribbons of sea, palms that lean into it, gulls. Shown 544 x 181 pixels
// large on a screen of 1920 x 1080, to the upper right of the spheres and under the logo's end.

#include "distance.h"
#include "painting.h"
#include "palette.h"

#include <array>

namespace {

constexpr int WIDTH = 1024, HEIGHT = 341;
constexpr int SAMPLES = 4;  // per pixel and axis

// The motif's own units: the picture is 3 wide and 1 high, y up from the lower edge.
constexpr float UNIT = HEIGHT;
constexpr float SUN_X = 1.50f, SUN_Y = 0.45f, SUN_RADIUS = 0.42f;
constexpr float HORIZON = 0.28f;
constexpr float TURN = 6.2831853f;  // radians

struct Point {
    float x, y;
};

// ---- The sun: gold above, glowing red below, cut by gaps that widen as it sinks -----------------------------------

constexpr float GLOW_REACH = 0.085f, LOWEST_GAP = 0.30f, GAP_PITCH = 0.066f;
constexpr int GAPS = 4;

// How much of the sun is left at a height: 0 in a gap, which shows white.
float sunSlats(float y) {
    constexpr float SOFT = 0.003f;
    float left = 1;
    for (int i = 0; i < GAPS; ++i) {
        const float half = 0.0145f - 0.0030f * static_cast<float>(i);
        left *= smoothstep(half - SOFT, half + SOFT, std::fabs(y - LOWEST_GAP - GAP_PITCH * static_cast<float>(i)));
    }
    return left;
}

Vec3 sunColour(float dx, float dy) {
    const float fall = std::clamp(0.5f - 0.5f * dy / SUN_RADIUS, 0.0f, 1.0f);
    const Vec3 colour = fall < 0.45f ? mix(palette::SUN_GOLD, palette::SUN_ORANGE, fall / 0.45f)
                                     : mix(palette::SUN_ORANGE, palette::RIBBON_RED, (fall - 0.45f) / 0.35f);
    return mix(colour, palette::SUN_PALE, 0.85f * smoothstep(0.36f, 0.0f, std::hypot(dx + 0.08f, dy - 0.22f)));
}

Texel sunAt(Point p) {
    const float dx = p.x - SUN_X, dy = p.y - SUN_Y, away = std::hypot(dx, dy) - SUN_RADIUS;
    if (away < 0) return opaque(mix(palette::FOG_WHITE, sunColour(dx, dy), sunSlats(p.y)));
    const float border = smoothstep(1.0f, 0.88f, p.y) * smoothstep(4 * GLOW_REACH, GLOW_REACH, away);
    return tint(mix(palette::SUN_GOLD, palette::SUN_ORANGE, 0.35f), 0.75f * border * std::exp(-away / GLOW_REACH));
}

// ---- The sea: ribbons of water, the nearer ones over the farther --------------------------------------------------

struct Wave {
    float y, height, length, phase, from, to, colour;
};
constexpr std::array<Wave, 5> SEA = {{
    {0.272f, 0.013f, 0.86f, 0.4f, 0.42f, 2.62f, 1.00f},
    {0.228f, 0.018f, 0.74f, 2.1f, 0.14f, 2.84f, 0.80f},
    {0.178f, 0.021f, 0.90f, 4.2f, 0.30f, 2.70f, 0.58f},
    {0.126f, 0.022f, 0.72f, 5.7f, 0.54f, 2.50f, 0.36f},
    {0.074f, 0.020f, 0.84f, 1.2f, 0.86f, 2.20f, 0.14f},
}};
constexpr float WAVE_HALF = 0.047f, CREST = 0.0075f;

// The sun's track: a glint on the upper side of each wave, 0..1, wider on the nearer ones. `up` is -1..1 on the wave.
float glintAt(const Wave& wave, float x, float up) {
    const float spread = 0.16f + 1.3f * (HORIZON - wave.y);
    const float across = std::fabs(x - SUN_X) / spread;
    return smoothstep(1.0f, 0.2f, across) * smoothstep(-0.5f + across, 0.55f + 0.5f * across, up);
}

Texel seaAt(Point p) {
    Texel result = CLEAR;
    for (const Wave& wave : SEA) {
        const float along = (p.x - wave.from) / (wave.to - wave.from);
        if (along <= 0 || along >= 1) continue;
        const float half = WAVE_HALF * std::pow(4 * along * (1 - along), 0.55f);
        const float up = p.y - wave.y - wave.height * std::sin(TURN * p.x / wave.length + wave.phase);
        if (std::fabs(up) >= half) continue;
        const Vec3 colour = ribbonColour(wave.colour);
        const Vec3 body = mix(mix(colour, palette::NIGHT, 0.38f), colour, smoothstep(-half, 0.7f * half, up));
        const float lit = glintAt(wave, p.x, up / half);
        const Vec3 water = mix(body, mix(palette::SUN_ORANGE, palette::SUN_GOLD, lit), 0.90f * lit);
        const Vec3 crest = mix(mix(colour, palette::FOG_WHITE, 0.72f), palette::SUN_PALE, lit);
        result = over(opaque(mix(water, crest, smoothstep(half - 2 * CREST, half - CREST, up))), result);
    }
    return result;
}

// ---- Palms --------------------------------------------------------------------------------------------------------

Point bezier(Point a, Point b, Point c, float k) {
    const float l = 1 - k;
    return {l * l * a.x + 2 * k * l * b.x + k * k * c.x, l * l * a.y + 2 * k * l * b.y + k * k * c.y};
}

// The nearest point of a curve: where along it (0..1), how far away, on which side (positive left of its direction).
struct Foot {
    float along, distance, side;
};
Foot nearestOnCurve(Point a, Point b, Point c, Point p) {
    constexpr int STEPS = 9;
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

// A palm is drawn in units of its own size from its crown; `lean` -1 mirrors it.
struct Palm {
    Point crown;
    float size, lean;
};
constexpr std::array<Palm, 2> PALMS = {{{{2.36f, 0.60f}, 0.70f, -1.0f}, {{2.02f, 0.72f}, 1.0f, 1.0f}}};
constexpr float PALM_REACH = 0.50f;  // of the fronds from the crown
constexpr Point FOOT = {0.26f, -0.52f}, BEND = {0.27f, -0.18f}, CROWN = {0, 0};

struct Frond {
    Point bend, tip;
};
constexpr std::array<Frond, 7> FRONDS = {{
    {{-0.17f, 0.17f}, {-0.45f, 0.00f}},
    {{-0.20f, 0.05f}, {-0.36f, -0.21f}},
    {{-0.05f, 0.20f}, {-0.27f, 0.18f}},
    {{0.08f, 0.21f}, {0.31f, 0.15f}},
    {{0.20f, 0.15f}, {0.45f, -0.02f}},
    {{0.18f, 0.03f}, {0.34f, -0.22f}},
    {{-0.06f, -0.03f}, {-0.13f, -0.25f}},
}};

// A frond is a blade along its rib with saw teeth that point to its tip.
bool onFrond(const Frond& frond, Point p) {
    constexpr float WIDEST = 0.078f, TEETH = 9;
    const Foot foot = nearestOnCurve(CROWN, frond.bend, frond.tip, p);
    const float blade = WIDEST * std::pow(std::sin(0.5f * TURN * (0.06f + 0.94f * foot.along)), 0.7f);
    const float comb = foot.along * TEETH - 2.2f * foot.distance / WIDEST, tooth = comb - std::floor(comb);
    return foot.distance < blade * (0.34f + 0.66f * tooth);
}

// Dark against the sun, with its light on the edges that face it.
Texel palmAt(const Palm& palm, Point p) {
    const Point own = {palm.lean * (p.x - palm.crown.x) / palm.size, (p.y - palm.crown.y) / palm.size};
    if (std::fabs(own.x) > PALM_REACH || own.y > PALM_REACH || own.y < FOOT.y) return CLEAR;
    const Vec3 dark = mix(palette::NIGHT, palette::RIBBON_VIOLET, 0.22f);
    for (const Frond& frond : FRONDS)
        if (onFrond(frond, own)) {
            const float sunny = smoothstep(0.80f, 0.40f, std::hypot(p.x - SUN_X, p.y - SUN_Y));
            const Vec3 leaf = mix(palette::CUBE_SHADE, palette::CUBE_GREEN, 0.45f * smoothstep(-0.10f, 0.20f, own.y));
            return opaque(mix(mix(dark, leaf, 0.85f), mix(dark, palette::RIBBON_RED, 0.28f), 0.85f * sunny));
        }
    const Foot trunk = nearestOnCurve(FOOT, BEND, CROWN, own);
    const float rings = std::fabs(std::sin(trunk.along * 34.0f));
    const float thickness = mix(0.034f, 0.017f, trunk.along) + 0.004f * rings;
    if (trunk.distance >= thickness) return CLEAR;
    const float facing = palm.lean * trunk.side > 0 ? trunk.distance / thickness : 0.0f;
    return opaque(mix(dark, palette::SUN_ORANGE, 0.90f * smoothstep(0.1f, 0.8f, facing)));
}

// The palms' island: a low hill of sand that the farthest wave washes.
Texel islandAt(Point p) {
    constexpr float MIDDLE = 2.24f, HALF = 0.40f, LOW = 0.20f, HIGH = 0.335f;
    const float dx = (p.x - MIDDLE) / HALF, top = mix(LOW, HIGH, 1 - dx * dx);
    if (std::fabs(dx) >= 1 || p.y > top || p.y < LOW) return CLEAR;
    const Vec3 sand = mix(palette::RIBBON_VIOLET, palette::SUN_ORANGE, 0.55f);
    return opaque(mix(sand, palette::SUN_GOLD, smoothstep(top - 0.045f, top, p.y) * smoothstep(0.7f, -0.7f, dx)));
}

// ---- Gulls --------------------------------------------------------------------------------------------------------

bool onGull(Point centre, float size, Point p) {
    const float x = std::fabs(p.x - centre.x) / size, y = (p.y - centre.y) / size;
    if (x > 1) return false;
    const float wing = 0.46f * std::sin(2.6f * x) - 0.20f * x;
    return std::fabs(y - wing) < 0.15f * (1 - x) + 0.02f;
}

Texel gullsAt(Point p) {
    const bool on =
        onGull({0.90f, 0.76f}, 0.125f, p) || onGull({0.62f, 0.62f}, 0.090f, p) || onGull({0.95f, 0.53f}, 0.065f, p);
    return on ? opaque(mix(palette::NIGHT, palette::RIBBON_VIOLET, 0.3f)) : CLEAR;
}

Texel summer(float x, float y) {
    const Point p = {x / UNIT, 1 - y / UNIT};
    Texel result = faded(sunAt(p), smoothstep(HORIZON - 0.09f, HORIZON - 0.01f, p.y));
    result = over(islandAt(p), result);
    for (const Palm& palm : PALMS) result = over(palmAt(palm, p), result);
    return over(gullsAt(p), over(seaAt(p), result));
}

}  // namespace

Canvas paintPicture(const char* /*font*/) {
    Canvas canvas = makeCanvas(WIDTH, HEIGHT);
    paint(canvas, SAMPLES, summer);
    layHalo(canvas, palette::FOG_WHITE, 2, 2.2f);
    return canvas;
}
