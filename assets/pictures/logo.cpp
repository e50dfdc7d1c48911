#include "logo.h"

#include "palette.h"

#include <array>
#include <numeric>

namespace {

constexpr int FIELD_HEIGHT = 512;
constexpr int FIELD_WIDTH = static_cast<int>(FIELD_HEIGHT * LOGO_ASPECT);
constexpr float EM = 374;         // size of the face, in field pixels
constexpr float STRETCH = 1.58f;  // as wide as the scenes draw their text: their picture is stretched that much
constexpr float BASELINE = 335;
constexpr float SPACING = 44;   // between the letters
constexpr float SWELLING = 11;  // how far the letters are inflated beyond their contour
constexpr float TUBE = 46;      // half the thickness of an inflated stroke
constexpr int CREASE = 5;       // radius of the blur that takes the creases out
constexpr int DEPTH = 34;       // of the letters' body, in steps of SINK
constexpr float SINK_X = 0.36f, SINK_Y = 0.93f;
constexpr float INK = 4.5f;                       // outline
constexpr float CORE = 9, GLOW = 26, REACH = 90;  // of the light around the letters
constexpr float BORDER = 36;                      // glow is gone before the picture's border
constexpr int RIBBONS = 6;
constexpr float RIBBON_PITCH = 35, RIBBON_HALF = 14, RIBBON_PAPER = 6;
constexpr float RIBBON_MARGIN = 70, RIBBON_STAGGER = 62;

// ---- Ribbons: side by side in one wave, from the left, behind the letters, out at the right -----------------------

// Where ribbon `i` begins, field pixels; half a ribbon further is its middle.
float ribbonY(float i, float x) {
    const float out = 2.0f * x / FIELD_WIDTH - 1.0f;  // from the letters, -1..1
    const float pitch = RIBBON_PITCH * (1.0f + 0.16f * out * out);
    return 262.0f - 78.0f * std::sin(1.5f * out) + 24.0f * std::sin(6.6f * out + 1.1f) + pitch * (i - RIBBONS / 2.0f);
}

// The upper ribbons begin first, the lower ones end last.
float ribbonStart(int i) { return RIBBON_MARGIN + RIBBON_STAGGER * static_cast<float>(i); }
float ribbonEnd(int i) { return FIELD_WIDTH - RIBBON_MARGIN - RIBBON_STAGGER * static_cast<float>(RIBBONS - 1 - i); }

// Distance into a ribbon with round ends, negative outside.
float insideRibbon(int i, float x, float y) {
    const float middle = ribbonY(static_cast<float>(i) + 0.5f, x);
    const float past = std::max({0.0f, ribbonStart(i) + RIBBON_HALF - x, x - ribbonEnd(i) + RIBBON_HALF});
    return RIBBON_HALF - std::hypot(past, y - middle);
}

Vec3 satin(int i, float x, float y) {
    const Vec3 colour = ribbonColour(static_cast<float>(i) / (RIBBONS - 1));
    const float wave = std::sin(9.0f * x / FIELD_WIDTH + 0.35f * static_cast<float>(i) + 0.8f);
    const float across = (y - ribbonY(static_cast<float>(i) + 0.5f, x)) / RIBBON_HALF;
    const Vec3 shaded =
        mix(colour, palette::NIGHT, 0.42f * smoothstep(0.2f, -1.0f, wave) + 0.12f * smoothstep(0, 1, across));
    return mix(shaded, palette::FOG_WHITE,
               0.55f * std::pow(std::max(0.0f, wave), 5.0f) * smoothstep(1.0f, -0.6f, across));
}

// White paper between and around the ribbons parts them from each other and from a ground of their colours.
Texel ribbonsAt(float x, float y) {
    Texel paper = CLEAR;
    for (int i = 0; i < RIBBONS; ++i) {
        const float inside = insideRibbon(i, x, y);
        if (inside > 0) return opaque(satin(i, x, y));
        if (inside > -RIBBON_PAPER) paper = opaque(palette::FOG_WHITE);
    }
    return paper;
}

// ---- Letters ------------------------------------------------------------------------------------------------------

// From the top of the l to the tail of the y.
Vec3 lacquer(float y) {
    if (y < 190) return mix(palette::FOG_WHITE, palette::WALL_PINK, smoothstep(40, 190, y));
    if (y < 330) return mix(palette::WALL_PINK, palette::RIBBON_MAGENTA, smoothstep(190, 330, y));
    return mix(palette::RIBBON_MAGENTA, palette::RIBBON_VIOLET, smoothstep(330, 500, y));
}

// What the polish mirrors: a bright sky, a dark line at the horizon, the light of the ribbons below it.
Vec3 mirrored(float up) {
    const Vec3 sky = mix(palette::WALL_PINK, palette::FOG_WHITE, smoothstep(0.1f, 0.6f, up));
    const Vec3 low = mix(palette::RIBBON_MAGENTA, palette::WALL_PINK, smoothstep(-0.45f, -0.95f, up));
    const Vec3 ground = mix(palette::RIBBON_VIOLET, low, smoothstep(-0.05f, -0.6f, up));
    return mix(ground, sky, smoothstep(-0.05f, 0.08f, up));
}

Vec3 reliefNormal(const Field& relief, float x, float y) {
    constexpr float STEP = 1.5f;
    const float gx = (sampled(relief, x + STEP, y) - sampled(relief, x - STEP, y)) / (2 * STEP);
    const float gy = (sampled(relief, x, y + STEP) - sampled(relief, x, y - STEP)) / (2 * STEP);
    const float rest =
        1.0f - std::clamp(sampled(relief, x, y) / TUBE, 0.0f, 1.0f);  // 1 at the contour, 0 on the ridge
    const float slope = rest / std::sqrt(std::max(0.02f, 1.0f - rest * rest));
    return normalize(Vec3{-gx * slope, gy * slope, 1.0f});  // y up
}

Vec3 faceColour(const Logo& logo, float x, float y) {
    const Vec3 normal = reliefNormal(logo.relief, x, y), mirror = reflect({0, 0, -1}, normal);
    const Vec3 body = lacquer(y), dark = mix(palette::RIBBON_VIOLET, palette::NIGHT, 0.35f);
    const float lit = dot(normal, normalize(Vec3{-0.40f, 0.72f, 0.56f}));
    const Vec3 shaded = mix(mix(body, dark, 0.80f), body, smoothstep(-0.25f, 0.62f, lit));
    const float fresnel = 0.14f + 0.75f * std::pow(1.0f - normal.z, 1.6f);
    const float glint = smoothstep(0.935f, 0.975f, dot(mirror, normalize(Vec3{-0.42f, 0.70f, 0.58f})));
    return mix(mix(shaded, mirrored(mirror.y), std::min(0.9f, fresnel)), palette::FOG_WHITE, glint);
}

// The first step of the letters' depth that covers a point.
int stepBehind(const Logo& logo, float x, float y) {
    for (int k = 1; k < DEPTH; ++k)
        if (sampled(logo.letters, x - SINK_X * static_cast<float>(k), y - SINK_Y * static_cast<float>(k)) > 0)
            return k;
    return DEPTH;
}

Texel lettersAt(const Logo& logo, float x, float y) {
    const float body = sampled(logo.body, x, y);
    if (body < -INK) return CLEAR;
    const float depth = sampled(logo.letters, x, y);
    if (depth > 0) return opaque(faceColour(logo, x, y));
    if (body < 0 || depth > -INK) return opaque(palette::NIGHT);
    const float sunk = static_cast<float>(stepBehind(logo, x, y)) / DEPTH;
    return opaque(mix(ribbonColour(x / FIELD_WIDTH), palette::NIGHT, 0.25f + 0.60f * sunk));
}

// A hot core close to the letters, then their colours.
Texel glowAt(const Logo& logo, float x, float y) {
    const float away = -sampled(logo.body, x, y) - INK;
    const float border = smoothstep(0, BORDER, std::min({x, y, FIELD_WIDTH - x, FIELD_HEIGHT - y}));
    const float fade = border * smoothstep(REACH, 0, away);
    const Texel halo = tint(mix(ribbonColour(x / FIELD_WIDTH), palette::RIBBON_MAGENTA, 0.5f),
                            0.85f * fade * std::exp(-away / GLOW));
    return over(tint(mix(palette::FOG_WHITE, palette::WALL_PINK, 0.35f),
                     0.95f * fade * std::exp(-away * away / (CORE * CORE))),
                halo);
}

// ---- Making the fields --------------------------------------------------------------------------------------------

// The letters side by side in the middle of the field, stretched.
Mask nameMask(const char* font) {
    constexpr std::array<const char*, 3> LETTERS = {"r", "y", "l"};
    std::array<TextExtent, LETTERS.size()> extents{};
    std::transform(LETTERS.begin(), LETTERS.end(), extents.begin(),
                   [&](const char* letter) { return measureText(font, letter, EM); });
    const float width = std::accumulate(extents.begin(), extents.end(), SPACING * (LETTERS.size() - 1.0f),
                                        [](float sum, TextExtent e) { return sum + STRETCH * (e.right - e.left); });
    Mask mask{FIELD_WIDTH, FIELD_HEIGHT, std::vector<float>(static_cast<size_t>(FIELD_WIDTH) * FIELD_HEIGHT, 0.0f)};
    float pen = (FIELD_WIDTH - width) / 2;
    for (size_t n = 0; n < LETTERS.size(); ++n) {
        constexpr float MARGIN = 4;
        const float own = extents[n].right - extents[n].left;
        const Mask letter = textMask(font, LETTERS[n], EM, static_cast<int>(own + 2 * MARGIN), FIELD_HEIGHT,
                                     MARGIN - extents[n].left, BASELINE);
        const Field narrow{letter.width, letter.height, letter.coverage};
        const float left = pen - STRETCH * MARGIN, right = left + STRETCH * static_cast<float>(letter.width - 1);
        for (int y = 0; y < FIELD_HEIGHT; ++y)
            for (int x = static_cast<int>(left) + 1; static_cast<float>(x) < right; ++x)
                mask.coverage[static_cast<size_t>(y) * FIELD_WIDTH + x] = std::clamp(
                    sampled(narrow, (static_cast<float>(x) + 0.5f - left) / STRETCH, static_cast<float>(y) + 0.5f),
                    0.0f, 1.0f);
        pen += STRETCH * own + SPACING;
    }
    return mask;
}

// Distances to the shape that the letters sweep out as they sink.
Field sweptOut(const Field& letters) {
    Field body = letters;
    forEachRow(body.height, [&](int row) {
        for (int column = 0; column < body.width; ++column) {
            const float x = static_cast<float>(column) + 0.5f, y = static_cast<float>(row) + 0.5f;
            float& value = body.values[static_cast<size_t>(row) * body.width + column];
            for (int k = 1; k <= DEPTH; ++k)
                value = std::max(
                    value, sampled(letters, x - SINK_X * static_cast<float>(k), y - SINK_Y * static_cast<float>(k)));
        }
    });
    return body;
}

}  // namespace

Logo makeLogo(const char* font, float height) {
    Field letters = smoothed(distanceField(nameMask(font)), 1);
    for (float& value : letters.values) value += SWELLING;
    return {height, letters, smoothed(letters, CREASE), sweptOut(letters)};
}

Texel logoAt(const Logo& logo, float x, float y) {
    const float scale = FIELD_HEIGHT / logo.height, fx = x * scale, fy = y * scale;
    if (fx < 0 || fy < 0 || fx >= FIELD_WIDTH || fy >= FIELD_HEIGHT) return CLEAR;
    const Texel letters = lettersAt(logo, fx, fy);
    if (letters.alpha >= 1) return letters;
    return over(glowAt(logo, fx, fy), ribbonsAt(fx, fy));
}
