// Paints the frame that lies over the whole picture: a soft vignette with fine film grain, and the thin corners of a
// viewfinder. The middle is clear. Shown 1303 x 598 pixels large on a screen of 1280 x 720, 1955 x 897 on one of
// 1920 x 1080, so 1 % is cut off at either side.

#include "painting.h"
#include "palette.h"

namespace {

constexpr int WIDTH = 1536, HEIGHT = 705;
constexpr float INSET_X = 72, INSET_Y = 45;           // of the corners, pixels
constexpr float ARM = 46, ROUND = 11, TICK = 14;      // lengths, and the radius of the corners' bend
constexpr float LINE = 1.2f, SHADOW = 7;              // half thickness, and reach of the shadow around it
constexpr float DARKEST = 0.37f, GRAIN = 0.16f;       // alpha in the far corners, and the part of it that varies
constexpr float CLEAR_TO = 0.70f, DARK_FROM = 1.34f;  // of the way from the middle to a side

float vignetteAt(float x, float y) {
    const float u = std::fabs(2 * x / WIDTH - 1), v = std::fabs(2 * y / HEIGHT - 1);
    // Between an ellipse and a rectangle, so that the long sides are shaded as well.
    const float distance = std::cbrt(u * u * u + v * v * v);
    const float shade = smoothstep(CLEAR_TO, DARK_FROM, distance);
    const float grain = hash01(static_cast<int>(x), static_cast<int>(y), 11) - 0.5f;
    return DARKEST * shade * std::sqrt(shade) * (1.0f + GRAIN * grain);
}

// Distance from a line along an axis that starts at the origin.
float distanceToLine(float along, float across, float length) {
    return std::hypot(along - std::clamp(along, 0.0f, length), across);
}

// Distance from a corner with a round bend that opens to the lower right.
float distanceToCorner(float x, float y) {
    if (x < ROUND && y < ROUND) return std::fabs(std::hypot(x - ROUND, y - ROUND) - ROUND);
    return std::min(distanceToLine(x - ROUND, y, ARM - ROUND), distanceToLine(y - ROUND, x, ARM - ROUND));
}

// Distance from the viewfinder's lines, folded into one quarter of the picture.
float distanceToLines(float x, float y) {
    const float fx = std::min(x, WIDTH - x), fy = std::min(y, HEIGHT - y);
    const float sideTick = distanceToLine(fx - INSET_X, fy - HEIGHT / 2.0f, TICK);
    const float endTick = distanceToLine(fy - INSET_Y, fx - WIDTH / 2.0f, TICK);
    return std::min({distanceToCorner(fx - INSET_X, fy - INSET_Y), sideTick, endTick});
}

// White lines over a soft shadow: one of the two shows on whatever lies below.
Texel linesAt(float x, float y) {
    const float distance = distanceToLines(x, y);
    const float fall = smoothstep(SHADOW, 0.0f, distance);
    const Texel shadow = tint(palette::NIGHT, 0.62f * fall * fall);
    return over(tint(palette::FOG_WHITE, smoothstep(LINE + 0.5f, LINE - 0.5f, distance)), shadow);
}

}  // namespace

Canvas paintPicture(const char* /*font*/) {
    Canvas canvas = makeCanvas(WIDTH, HEIGHT);
    paint(canvas, 1, [](float x, float y) {
        return tint(mix(palette::NIGHT, palette::RIBBON_VIOLET, 0.12f), vignetteAt(x, y));
    });
    paint(canvas, 3, linesAt);
    return canvas;
}
