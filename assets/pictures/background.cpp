// Paints the demo's poster.

#include "canvas.h"
#include "palette.h"

namespace {

constexpr int WIDTH = 1920, HEIGHT = 1080;

Vec3 ribbonColour(float phase) {
    const Vec3 warm = mix(palette::RIBBON_RED, palette::RIBBON_MAGENTA, 0.5f + 0.5f * std::sin(phase));
    return mix(warm, palette::RIBBON_BLUE, 0.5f + 0.5f * std::cos(phase));
}

Texel poster(float x, float y) {
    const float sway = x / 40 + std::sin(y / 150 + x / 300);
    const float along = sway - std::floor(sway);
    return opaque(mix(ribbonColour(std::floor(sway)), palette::NIGHT, 0.6f * along));
}

}  // namespace

int main(int, char* argv[]) {
    Canvas canvas = makeCanvas(WIDTH, HEIGHT);
    paint(canvas, 2, poster);
    return writePng(canvas, argv[1]) ? 0 : 1;
}
