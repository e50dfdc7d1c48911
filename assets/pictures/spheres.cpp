// Paints the glossy spheres. Shown 952 x 571 pixels large on a screen of 1920 x 1080; the logo stands above them, the
// sun to their upper right.

#include "painting.h"
#include "studio.h"

namespace {

constexpr int WIDTH = 1280, HEIGHT = 767;
constexpr int SAMPLES = 3;  // per pixel and axis

Texel spheres(float x, float y) {
    const float turn = hash01(static_cast<int>(x * SAMPLES), static_cast<int>(y * SAMPLES), 3);
    return spheresAt(x / HEIGHT, y / HEIGHT, turn);
}

}  // namespace

Canvas paintPicture(const char* /*font*/) {
    Canvas canvas = makeCanvas(WIDTH, HEIGHT);
    paint(canvas, SAMPLES, spheres);
    return canvas;
}
