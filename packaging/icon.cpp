// Paints the icon of the menu entry: the logo's letters on a night sky, its ribbons running out at the sides.

#include "logo.h"
#include "painting.h"
#include "palette.h"

#include <algorithm>
#include <cmath>

namespace {

constexpr int SIDE = 256;
constexpr int SAMPLES = 4;                // per pixel and axis
constexpr float CORNER = 48;              // radius of the ground's corners, pixels
constexpr float LOGO_HEIGHT = 128;        // pixels; the letters take the middle two fifths of the logo's width
constexpr float LETTERS_CENTRE = 0.505f;  // of the logo's width, and of its height

// Pixels from the edge of the ground, positive inside.
float depthInGround(float x, float y) {
    const float half = SIDE / 2.0f, straight = half - CORNER;
    const float dx = std::max(std::abs(x - half) - straight, 0.0f),
                dy = std::max(std::abs(y - half) - straight, 0.0f);
    return CORNER - std::hypot(dx, dy);
}

// Night, with the ribbons' violet rising from below.
Vec3 groundColour(float y) { return mix(palette::NIGHT, palette::RIBBON_VIOLET, 0.75f * std::pow(y / SIDE, 2.0f)); }

}  // namespace

Canvas paintPicture(const char* font) {
    const Logo logo = makeLogo(font, LOGO_HEIGHT);
    const float left = SIDE / 2.0f - LOGO_HEIGHT * LOGO_ASPECT * LETTERS_CENTRE;
    const float top = SIDE / 2.0f - LOGO_HEIGHT * LETTERS_CENTRE;
    Canvas canvas = makeCanvas(SIDE, SIDE);
    paint(canvas, SAMPLES, [&](float x, float row) {
        // writePng writes the bottom row first, but an icon stands upright in its file.
        const float y = SIDE - row;
        if (depthInGround(x, y) < 0) return CLEAR;
        return over(logoAt(logo, x - left, y - top), opaque(groundColour(y)));
    });
    return canvas;
}
