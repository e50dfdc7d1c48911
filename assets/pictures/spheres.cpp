// Paints the glossy spheres. Shown 952 x 571 pixels large on a screen of 1920 x 1080.

#include "canvas.h"
#include "palette.h"

#include <array>

namespace {

constexpr int WIDTH = 1280, HEIGHT = 767;

struct Ball {
    float x, y, radius;
    Vec3 colour;
};
constexpr std::array<Ball, 3> BALLS = {{{400, 400, 280, palette::RIBBON_RED},
                                        {800, 480, 220, palette::RIBBON_BLUE},
                                        {1100, 620, 110, palette::CUBE_GREEN}}};

Texel balls(float x, float y) {
    Texel result = CLEAR;
    for (const Ball& ball : BALLS) {
        const float u = (x - ball.x) / ball.radius, v = (y - ball.y) / ball.radius;
        const float inside = 1 - u * u - v * v;
        if (inside < 0) continue;
        const Vec3 normal = {u, -v, std::sqrt(inside)};
        const float light = std::max(0.0f, dot(normal, normalize({-0.4f, 0.7f, 0.6f})));
        result = over(
            opaque(mix(ball.colour * (0.25f + 0.75f * light), palette::FOG_WHITE, std::pow(light, 60.0f))),
            result);
    }
    return result;
}

}  // namespace

int main(int, char* argv[]) {
    Canvas canvas = makeCanvas(WIDTH, HEIGHT);
    paint(canvas, 4, balls);
    return writePng(canvas, argv[1]) ? 0 : 1;
}
