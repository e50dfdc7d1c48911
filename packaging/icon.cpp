// Paints the icon of the menu entry: the logo's letters on a night sky, its ribbons running out at the sides.
// "make_icon FONT.ttf SIDE FILE.png" makes it SIDE pixels wide and high.

#include "canvas.h"
#include "logo.h"
#include "palette.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>

namespace {

constexpr int SAMPLES = 4;                // per pixel and axis
constexpr int SIDE_LIMIT = 1024;          // pixels
constexpr float LETTERS_CENTRE = 0.505f;  // of the logo's width, and of its height

// Of the side.
constexpr float CORNER = 48 / 256.0f;        // radius of the ground's corners
constexpr float LOGO_HEIGHT = 128 / 256.0f;  // the letters take the middle two fifths of the logo's width

// Pixels from the edge of the ground, positive inside.
float depthInGround(float x, float y, float side) {
    const float half = side / 2, corner = CORNER * side, straight = half - corner;
    const float dx = std::max(std::abs(x - half) - straight, 0.0f),
                dy = std::max(std::abs(y - half) - straight, 0.0f);
    return corner - std::hypot(dx, dy);
}

// Night, with the ribbons' violet rising from below. height: 0 at the top, 1 at the bottom.
Vec3 groundColour(float height) {
    return mix(palette::NIGHT, palette::RIBBON_VIOLET, 0.75f * std::pow(height, 2.0f));
}

Canvas paintIcon(const char* font, int pixels) {
    const float side = static_cast<float>(pixels), logoHeight = LOGO_HEIGHT * side;
    const Logo logo = makeLogo(font, logoHeight);
    const float left = side / 2 - logoHeight * LOGO_ASPECT * LETTERS_CENTRE;
    const float top = side / 2 - logoHeight * LETTERS_CENTRE;
    Canvas canvas = makeCanvas(pixels, pixels);
    paint(canvas, SAMPLES, [&](float x, float row) {
        // writePng writes the bottom row first, but an icon stands upright in its file.
        const float y = side - row;
        if (depthInGround(x, y, side) < 0) return CLEAR;
        return over(logoAt(logo, x - left, y - top), opaque(groundColour(y / side)));
    });
    return canvas;
}

}  // namespace

int main(int argc, char* argv[]) {
    const long side = argc == 4 ? std::strtol(argv[2], nullptr, 10) : 0;
    if (side < 1 || side > SIDE_LIMIT) {
        std::fputs("usage: make_icon FONT.ttf SIDE FILE.png\n", stderr);
        return 1;
    }
    return writePng(paintIcon(argv[1], static_cast<int>(side)), argv[3]) ? 0 : 1;
}
