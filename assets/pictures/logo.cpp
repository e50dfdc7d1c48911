#include "logo.h"

#include "palette.h"

#include <array>

namespace {

constexpr int FIELD_HEIGHT = 512;
constexpr int FIELD_WIDTH = static_cast<int>(FIELD_HEIGHT * LOGO_ASPECT);
constexpr float EM = 400;         // size of the face, in field pixels
constexpr float STRETCH = 1.22f;  // the letters are drawn this much wider than the face
constexpr float BASELINE = 345;
constexpr float SPACING = 34;   // between the letters
constexpr float SWELLING = 12;  // how far the letters are inflated beyond their contour
constexpr float TUBE = 33;      // half the thickness of an inflated stroke
constexpr int DEPTH = 30;       // of the letters' body, in steps of SINK
constexpr float SINK_X = 0.40f, SINK_Y = 0.92f;
constexpr float OUTLINE = 4;
constexpr float GLOW = 24;  // reach
constexpr int RIBBONS = 9;
constexpr float RIBBON_Y = 268;
constexpr float WAVES = 7.4f;  // radians of the ribbons' wave over their length

// --- ribbons: they come in from a point at the left, pass behind the letters and leave to a point at the right ------

struct Strip {
    float y, halfWidth;  // of its centre line, field pixels
    float turned;        // 1 faces the viewer, -1 shows its back
};

Strip stripAt(int i, float u) {
    const float k = static_cast<float>(i) / (RIBBONS - 1) - 0.5f;
    // Each ribbon has ends of its own, so that they fly apart like the tails of kites.
    const float from = 0.10f * hash01(i, 0, 1), to = 1.0f - 0.10f * hash01(i, 1, 1);
    const float along = std::clamp((u - from) / (to - from), 0.0f, 1.0f);
    const float taper = std::pow(4.0f * along * (1.0f - along), 0.7f);
    const float spread = 0.55f + 0.45f * std::cos(5.2f * (u - 0.5f));
    const float phase = WAVES * u + 1.9f * k;
    const float turned = std::cos(phase * 1.13f + 0.9f + 1.5f * k);
    return {RIBBON_Y + 215.0f * k * (1.15f - spread) + (34.0f + 46.0f * std::fabs(u - 0.5f)) * std::sin(phase),
            taper * (4.0f + 19.0f * std::fabs(turned)), turned};
}

Texel ribbonsAt(float x, float y) {
    const float u = x / FIELD_WIDTH;
    Texel result = CLEAR;
    for (int n = 0; n < RIBBONS; ++n) {
        const int i = (n * 4 + 2) % RIBBONS;  // some go over, some under their neighbours
        const Strip strip = stripAt(i, u);
        if (strip.halfWidth < 0.3f) continue;
        const float across = (y - strip.y) / strip.halfWidth;
        // Each ribbon darkens what lies a little below and behind it, other ribbons more than the ground.
        const float shadowed = std::fabs(y - strip.y - 9) / (strip.halfWidth + 12);
        result = over(tint(palette::NIGHT, (0.20f + 0.15f * result.alpha) * std::min(1.0f, strip.halfWidth / 9) *
                                               smoothstep(1.0f, 0.2f, shadowed)),
                      result);
        if (std::fabs(across) >= 1) continue;
        const Vec3 colour = ribbonColour(0.72f * u + 0.28f * static_cast<float>(i) / (RIBBONS - 1));
        const float light = 0.78f + 0.22f * strip.turned;
        const float sheen = std::pow(std::max(0.0f, strip.turned), 8.0f) * (1 - across * across);
        const Vec3 shaded =
            mix(mix(mix(palette::NIGHT, colour, 0.45f), colour, light), palette::FOG_WHITE, 0.55f * sheen);
        const float edge = 0.22f * smoothstep(0.7f, 1.0f, std::fabs(across));
        result = over(opaque(mix(shaded, palette::NIGHT, edge)), result);
    }
    return result;
}

// --- letters ---------------------------------------------------------------------------------------------------------

// Distance into the inflated letters, field pixels.
float inflated(const Logo& logo, float x, float y) { return sampled(logo.letters, x / STRETCH, y) + SWELLING; }

// What a polished surface mirrors: a bright sky, a dark horizon, the glow of the ribbons below.
Vec3 mirrored(float up) {
    const Vec3 sky = mix(palette::WALL_PINK, palette::FOG_WHITE, smoothstep(0.0f, 0.55f, up));
    const Vec3 ground = mix(palette::NIGHT, palette::RIBBON_MAGENTA, smoothstep(0.0f, -0.75f, up));
    return mix(ground, sky, smoothstep(-0.06f, 0.06f, up));
}

Vec3 faceColour(const Logo& logo, float x, float y, float depth) {
    constexpr float STEP = 1.5f;
    const float gx = (inflated(logo, x + STEP, y) - inflated(logo, x - STEP, y)) / (2 * STEP);
    const float gy = (inflated(logo, x, y + STEP) - inflated(logo, x, y - STEP)) / (2 * STEP);
    const float rest = 1.0f - std::clamp(depth / TUBE, 0.0f, 1.0f);  // 1 at the contour, 0 on the ridge
    const float slope = rest / std::sqrt(std::max(0.02f, 1.0f - rest * rest));
    const Vec3 normal = normalize({-gx * slope, gy * slope, 1.0f});  // y up from here on

    const float fall = std::clamp((y - 40) / 400, 0.0f, 1.0f);
    const Vec3 body = fall < 0.5f ? mix(palette::FOG_WHITE, palette::WALL_PINK, 1.4f * fall)
                                  : mix(mix(palette::FOG_WHITE, palette::WALL_PINK, 0.7f), palette::RIBBON_MAGENTA,
                                        1.5f * fall - 0.75f);
    const float lit = std::max(0.0f, dot(normal, normalize({-0.35f, 0.75f, 0.56f})));
    const Vec3 shaded = mix(mix(body, palette::RIBBON_VIOLET, 0.65f), body, smoothstep(0.05f, 0.75f, lit));
    const Vec3 mirror = reflect({0, 0, -1}, normal);
    const float fresnel = 0.16f + 0.5f * std::pow(1.0f - normal.z, 2.0f);
    const float glint = smoothstep(0.955f, 0.985f, dot(mirror, normalize({-0.42f, 0.66f, 0.62f})));
    return mix(mix(shaded, mirrored(mirror.y), fresnel), palette::FOG_WHITE, glint);
}

Texel lettersAt(const Logo& logo, float x, float y) {
    const float depth = inflated(logo, x, y);
    if (depth > 0) return opaque(faceColour(logo, x, y, depth));
    if (depth > -OUTLINE) return opaque(palette::NIGHT);
    for (int k = 1; k <= DEPTH; ++k) {
        const auto sunk = static_cast<float>(k);
        const float side = inflated(logo, x - SINK_X * sunk, y - SINK_Y * sunk);
        if (side > -OUTLINE) {
            const Vec3 colour = mix(palette::RIBBON_VIOLET, palette::NIGHT, 0.35f + 0.65f * sunk / DEPTH);
            return opaque(side > 0 ? colour : mix(colour, palette::NIGHT, 0.5f));
        }
    }
    return CLEAR;
}

Texel glowAt(const Logo& logo, float x, float y) {
    const float glow =
        std::max(0.0f, sampled(logo.glow, (x - 0.5f * SINK_X * DEPTH) / STRETCH, y - 0.5f * SINK_Y * DEPTH));
    const float border = smoothstep(0, 40, std::min({x, y, FIELD_WIDTH - x, FIELD_HEIGHT - y}));
    return tint(mix(palette::RIBBON_VIOLET, palette::RIBBON_MAGENTA, smoothstep(0.0f, 0.22f, glow)),
                border * std::min(0.9f, 2.6f * glow));
}

}  // namespace

Logo makeLogo(const char* font, float height) {
    constexpr std::array<const char*, 3> LETTERS = {"r", "y", "l"};
    float width = -SPACING;
    for (const char* letter : LETTERS) {
        const TextExtent extent = measureText(font, letter, EM);
        width += extent.right - extent.left + SPACING;
    }
    constexpr int COLUMNS = static_cast<int>(FIELD_WIDTH / STRETCH);
    Mask mask{COLUMNS, FIELD_HEIGHT, std::vector<float>(static_cast<size_t>(COLUMNS) * FIELD_HEIGHT, 0.0f)};
    float pen = (static_cast<float>(COLUMNS) - width) / 2;
    for (const char* letter : LETTERS) {
        const TextExtent extent = measureText(font, letter, EM);
        const Mask one = textMask(font, letter, EM, COLUMNS, FIELD_HEIGHT, pen - extent.left, BASELINE);
        for (size_t i = 0; i < mask.coverage.size(); ++i)
            mask.coverage[i] = std::max(mask.coverage[i], one.coverage[i]);
        pen += extent.right - extent.left + SPACING;
    }
    return {height, smoothed(distanceField(mask), 2), smoothed({mask.width, mask.height, mask.coverage}, GLOW)};
}

Texel logoAt(const Logo& logo, float x, float y) {
    const float scale = FIELD_HEIGHT / logo.height, fx = x * scale, fy = y * scale;
    if (fx < 0 || fy < 0 || fx >= FIELD_WIDTH || fy >= FIELD_HEIGHT) return CLEAR;
    const Texel letters = lettersAt(logo, fx, fy);
    if (letters.alpha >= 1) return letters;
    return over(over(letters, glowAt(logo, fx, fy)), ribbonsAt(fx, fy));
}
