// Paints the demo's name. Shown 884 x 211 pixels large on a screen of 1920 x 1080.

#include "logo.h"
#include "painting.h"

namespace {

constexpr int WIDTH = 1280, HEIGHT = 306;
constexpr int SAMPLES = 4;  // per pixel and axis
static_assert(static_cast<int>(HEIGHT * LOGO_ASPECT) >= WIDTH, "the logo fills the picture");

}  // namespace

Canvas paintPicture(const char* font) {
    const Logo logo = makeLogo(font, HEIGHT);
    Canvas canvas = makeCanvas(WIDTH, HEIGHT);
    paint(canvas, SAMPLES, [&](float x, float y) { return logoAt(logo, x, y); });
    return canvas;
}
