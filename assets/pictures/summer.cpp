// Paints the summer motif. Shown 544 x 181 pixels large on a screen of 1920 x 1080.

#include "canvas.h"
#include "palette.h"

namespace {

constexpr int WIDTH = 1024, HEIGHT = 341;

Texel sun(float x, float y) {
    const float dx = x - 0.5f * WIDTH, dy = y - 0.5f * HEIGHT;
    const float radius = std::sqrt(dx * dx + dy * dy);
    const Vec3 colour = mix(palette::SUN_GOLD, palette::SUN_ORANGE, y / HEIGHT);
    return tint(colour, radius < 0.4f * HEIGHT ? 1.0f : 0.0f);
}

}  // namespace

int main(int, char* argv[]) {
    Canvas canvas = makeCanvas(WIDTH, HEIGHT);
    paint(canvas, 4, sun);
    return writePng(canvas, argv[1]) ? 0 : 1;
}
