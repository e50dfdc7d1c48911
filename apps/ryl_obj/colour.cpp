#include "colour.h"

#include <array>
#include <cmath>
#include <cstddef>

namespace {

constexpr int STEPS = 1 << 13;  // of light, and of a file's numbers; the darkest bytes are 2 of them apart

double decoded(double value) { return value <= 0.04045 ? value / 12.92 : std::pow((value + 0.055) / 1.055, 2.4); }
double encoded(double light) { return light <= 0.0031308 ? light * 12.92 : 1.055 * std::pow(light, 1 / 2.4) - 0.055; }

const auto LIGHTS = []() {
    std::array<float, 256> lights{};
    for (std::size_t i = 0; i < lights.size(); ++i)
        lights[i] = static_cast<float>(decoded(static_cast<double>(i) / 255));
    return lights;
}();

// The middle of each step.
const auto FINE_LIGHTS = []() {
    std::array<float, STEPS> lights{};
    for (std::size_t i = 0; i < lights.size(); ++i)
        lights[i] = static_cast<float>(decoded((static_cast<double>(i) + 0.5) / STEPS));
    return lights;
}();

const auto BYTES = []() {
    std::array<std::uint8_t, STEPS> bytes{};
    for (std::size_t i = 0; i < bytes.size(); ++i)
        bytes[i] = static_cast<std::uint8_t>(std::lround(255 * encoded((static_cast<double>(i) + 0.5) / STEPS)));
    return bytes;
}();

}  // namespace

float lightOf(std::uint8_t byte) { return LIGHTS[byte]; }

float lightOf(float value) {
    if (!(value > 0)) return 0;
    return value < 1 ? FINE_LIGHTS[static_cast<std::size_t>(value * STEPS)] : 1.0f;
}

Colour lightOf(const float* rgb) { return {lightOf(rgb[0]), lightOf(rgb[1]), lightOf(rgb[2])}; }

std::uint8_t byteOf(float light) {
    if (!(light > 0)) return 0;
    return light < 1 ? BYTES[static_cast<std::size_t>(light * STEPS)] : 255;
}
