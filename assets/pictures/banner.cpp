// Paints the demo's name. Shown 884 x 211 pixels large on a screen of 1920 x 1080.

#include "canvas.h"
#include "palette.h"
#include "text.h"

namespace {

constexpr int WIDTH = 1280, HEIGHT = 306;

}  // namespace

int main(int, char* argv[]) {
    const float size = 260;
    const TextExtent extent = measureText(argv[2], "ryl", size);
    const Mask mask = textMask(argv[2], "ryl", size, WIDTH, HEIGHT, (WIDTH - extent.left - extent.right) / 2,
                               (HEIGHT - extent.top - extent.bottom) / 2);
    Canvas canvas = makeCanvas(WIDTH, HEIGHT);
    paint(canvas, 1, [&](float x, float y) {
        const Vec3 colour = mix(palette::RIBBON_RED, palette::RIBBON_BLUE, x / WIDTH);
        return tint(colour, mask.coverage[static_cast<size_t>(y) * WIDTH + static_cast<size_t>(x)]);
    });
    return writePng(canvas, argv[1]) ? 0 : 1;
}
