// Paints the frame that lies over the whole picture: a soft vignette with film grain, and the thin corners of a
// viewfinder. The middle is clear. Shown 1955 x 897 pixels large on a screen of 1920 x 1080, so 1 % is cut off at either
// side.

#include "palette.h"
#include "picture.h"

namespace {

constexpr int WIDTH = 2048, HEIGHT = 940;
constexpr float INSET_X = 104, INSET_Y = 66;        // of the corners, pixels
constexpr float ARM_X = 74, ARM_Y = 56, TICK = 13;  // lengths
constexpr float LINE = 1.6f;                        // half thickness
constexpr float DARKEST = 0.34f;                    // alpha in the far corners

float vignetteAt(float x, float y) {
    const float u = std::fabs(2 * x / WIDTH - 1), v = std::fabs(2 * y / HEIGHT - 1);
    // Between an ellipse and a rectangle, so that the long sides are shaded as well.
    const float distance = std::cbrt(u * u * u + v * v * v);
    const float shade = smoothstep(0.74f, 1.28f, distance);
    const float grain = 0.5f * (hash01(static_cast<int>(x), static_cast<int>(y), 11) +
                                hash01(static_cast<int>(x / 2), static_cast<int>(y / 2), 12)) -
                        0.5f;
    return DARKEST * shade * (1.0f + 0.4f * grain);
}

float distanceToBox(float x, float y, float centreX, float centreY, float halfX, float halfY) {
    const float dx = std::max(0.0f, std::fabs(x - centreX) - halfX),
                dy = std::max(0.0f, std::fabs(y - centreY) - halfY);
    return std::hypot(dx, dy);
}

// Distance from the viewfinder's lines, folded into one quarter of the picture.
float distanceToLines(float x, float y) {
    const float fx = std::min(x, WIDTH - x), fy = std::min(y, HEIGHT - y);
    const float across = distanceToBox(fx, fy, INSET_X + ARM_X / 2, INSET_Y, ARM_X / 2, 0);
    const float down = distanceToBox(fx, fy, INSET_X, INSET_Y + ARM_Y / 2, 0, ARM_Y / 2);
    const float sideTick = distanceToBox(fx, fy, INSET_X, HEIGHT / 2.0f, TICK, 0);
    const float endTick = distanceToBox(fx, fy, WIDTH / 2.0f, INSET_Y, 0, TICK);
    return std::min({across, down, sideTick, endTick});
}

// White lines with a dark rim: one of the two shows on whatever lies below.
Texel linesAt(float x, float y) {
    const float distance = distanceToLines(x, y);
    const Texel rim = tint(palette::NIGHT, 0.50f * smoothstep(LINE + 3.2f, LINE, distance));
    return over(tint(palette::FOG_WHITE, 0.92f * smoothstep(LINE + 0.5f, LINE - 0.5f, distance)), rim);
}

}  // namespace

Canvas paintPicture(const char* /*font*/) {
    Canvas canvas = makeCanvas(WIDTH, HEIGHT);
    paint(canvas, 1, [](float x, float y) {
        return tint(mix(palette::NIGHT, palette::RIBBON_VIOLET, 0.25f), vignetteAt(x, y));
    });
    paint(canvas, 3, linesAt);
    return canvas;
}
